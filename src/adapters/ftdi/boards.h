#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "adapters/ftdi/engine_owner.h"
#include "adapters/ftdi/status.h"
#include "base/bytes.h"
#include "base/debug.h"
#include "device/device.h"
#include "i2c/bus.h"
#include "i2c/registers.h"

namespace brisk::ftdi {

// Every FT2232C board attached, driven together: writes go to each, reads combine their answers.
// All functions take the engine lock themselves and hold it throughout, so that neither a connect
// nor the I2C_ functions of another thread come between two boards.
//
// Short writes are deferred for at most 10 ms, so their result says only that they were taken; no
// acknowledge is looked at in either direction. The last board's success counts; without boards
// everything fails.
class Boards final : public Connection,
                     public i2c::BlockRegisters,
                     public i2c::BusClock,
                     public PortRegisters {
 public:
  Boards(EngineOwner& owner, CDebug& log) : owner_(owner), log_(log) {}
  Boards(const Boards&) = delete;
  Boards& operator=(const Boards&) = delete;

  // Closes the boards and opens every interface A that nobody has open. The result counts those
  // found; one that could not be opened keeps its place, and operations on it fail.
  uint32_t Connect() override;
  void Close();

  Status WriteData(uint8_t device, Bytes command, Bytes data) override;
  // Answers of several boards are combined byte by byte with AND, and a byte that any board reads
  // as 0xFF comes back as 0. The data is 0xFF where no board answered.
  Status ReadData(uint8_t device, Bytes command, Buffer data) override;
  // At most 300 kHz when a Talvo board has been seen, else 200. A rate of 0 counts as 1.
  void SetClockRate(uint32_t kHz) override;
  // GPIOH0 to GPIOH3: outputs and levels, a nibble each. Always done.
  Status WritePort(uint8_t outputs, uint8_t levels) override;

  // Chip select, clock and data out as the bits of the low byte. False when no board took them.
  bool WriteSpiPins(uint8_t levels);
  // GPIOH2 of the first board; nothing when it gave no answer.
  std::optional<bool> SampleMiso();

 private:
  void CloseAll(CMpsseI2c& engine);
  uint32_t OpenBoard(CMpsseI2c& engine, uint32_t index);
  StatusCode WriteToBoard(CMpsseI2c& engine, uint32_t handle, Bytes bytes);
  StatusCode ReadFromBoard(CMpsseI2c& engine, uint32_t handle, Buffer control, Buffer data);
  void Combine(Bytes answers, Buffer data) const;

  EngineOwner& owner_;
  CDebug& log_;
  std::vector<uint32_t> handles_;  // 0 for an interface that could not be opened
  bool talvoSeen_ = false;         // for good: the faster limit stays
  uint32_t clockRateKHz_ = 100;
};

}  // namespace brisk::ftdi
