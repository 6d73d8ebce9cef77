#pragma once

#include <cstdint>
#include <vector>

#include "adapters/ftdi/engine_owner.h"

namespace brisk::ftdi {

// Every FT2232C board attached, driven together: writes go to each, reads combine their answers.
// All functions take the engine lock themselves and hold it throughout, so that neither a connect
// nor the I2C_ functions of another thread come between two boards.
class Boards {
 public:
  Boards() : owner_(EngineOwner::Instance()) {}
  Boards(const Boards&) = delete;
  Boards& operator=(const Boards&) = delete;

  // Closes the boards and opens every interface A that nobody has open. The result counts those
  // found; one that could not be opened keeps its place, and operations on it fail.
  uint32_t Connect();
  void Close();

  // The last board's success; false without boards. The first byte is the I2C address byte.
  bool WriteDeferred(const std::vector<uint8_t>& bytes);
  // `control` is the address byte and the register bytes. Answers of several boards are combined
  // byte by byte with AND, and a byte that any board reads as 0xFF comes back as 0.
  bool Read(std::vector<uint8_t>& control, uint8_t* destination, uint32_t count);
  // The rate now in force, kHz. A rate of 0 counts as 1.
  uint32_t SetClockRate(uint32_t kHz);
  void SetPins(uint8_t direction, uint8_t levels);

  // Chip select, clock and data out as the bits of the low byte. False when no board took them.
  bool WriteSpiPins(uint8_t pins);
  // GPIOH2 of the first board; false when it gave no answer.
  bool SampleMiso(bool* level);

 private:
  void OpenBoard(CMpsseI2c& engine, uint32_t index, uint32_t* handle);
  Status WriteToBoard(CMpsseI2c& engine, uint32_t handle, const std::vector<uint8_t>& bytes);
  Status ReadFromBoard(CMpsseI2c& engine, uint32_t handle, std::vector<uint8_t>& control,
                       uint8_t* destination, uint32_t count);

  EngineOwner& owner_;
  std::vector<uint32_t> handles_;  // 0 for an interface that could not be opened
  bool talvoSeen_ = false;         // for good: the faster limit stays
  uint32_t clockRateKHz_ = 100;
};

}  // namespace brisk::ftdi
