#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sim/adapters/adapter.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// Where the cable connects the I2C lines. The flash is on data bits 2 (SCK), 3 (CS#) and 6 (MOSI)
// and status bit 6 (MISO), the picture port on data bits 1 (ONE) and 6 (ZERO), in every wiring. A
// data bit with two lines on it moves both.
struct LptWiring {
  uint8_t sdaOut;       // in the data register
  bool sdaOutInverted;  // 1 pulls the line low
  bool sclInControl;    // SCL is in the control register, else in the data register
  uint8_t sclOut;       // 1 = released
  uint8_t sdaIn;        // in the status register
  bool sdaInInverted;
};

inline constexpr LptWiring kLptWiringA = {0x01, false, false, 0x02, 0x10, false};
inline constexpr LptWiring kLptWiringB = {0x80, true, true, 0x08, 0x80, false};
inline constexpr LptWiring kLptWiringC = {0x80, true, true, 0x08, 0x80, true};

// The PC's parallel port with the board on its cable. Registers from the base on: data, status,
// control. Data and control read back what was written.
class LptAdapter final : public Adapter, public PortDevice {
 public:
  static constexpr uint16_t kBase = 0x378;

  // Null when the port has an adapter already, and `whyNot` says so.
  static std::unique_ptr<LptAdapter> Make(const LptWiring& wiring, Board& board, PortBus& ports,
                                          std::string* whyNot);
  LptAdapter(const LptWiring& wiring, Board& board);

  void Write(unsigned offset, uint8_t value) override;
  uint8_t Read(unsigned offset) override;

 private:
  void WriteData(uint8_t value);
  void WriteControl(uint8_t value);
  void DriveI2c();
  uint8_t Status() const;

  const LptWiring wiring_;
  const uint8_t i2cInData_;  // mask
  Board& board_;
  const uint32_t i2cDriver_;
  uint8_t data_;
  uint8_t control_;
};

}  // namespace brisk::sim
