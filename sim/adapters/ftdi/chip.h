#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "contracts/d2xx.h"
#include "sim/adapters/ftdi/mpsse_interpreter.h"
#include "sim/board/board.h"

namespace brisk::sim {

// What there is to know of a kind of chip from outside.
struct FtdiChipKind {
  std::string_view name;
  uint32_t type;  // as D2XX reports it
  uint32_t id;    // USB vendor and product
  bool hiSpeed;
  unsigned interfaces;
  unsigned mpsses;         // on the first interfaces
  uint32_t packetPayload;  // a USB packet less its two status bytes
};

inline constexpr FtdiChipKind kFtdiChips[] = {
    {"ft2232c", d2xx::kFt2232c, 0x04036010, false, 2, 1, 62},
    {"ft2232h", d2xx::kFt2232h, 0x04036010, true, 2, 2, 510},
    {"ft4232h", d2xx::kFt4232h, 0x04036011, true, 4, 2, 510},
};

// A chip as its EEPROM and its place on the bus describe it. Interface n has the description with
// " A", " B", ... behind it, the serial number likewise, and location + n.
struct FtdiDescription {
  const FtdiChipKind* kind = &kFtdiChips[0];
  std::string description = "Dual RS232";
  std::string serial = "FTSIM1";
  uint32_t location = 0x21;
  bool openElsewhere = false;  // another program has its interfaces open
};

// The board's lines on an interface's pins: SCL on 0, SDA on 1 and 2, CS# on 3, SCK on 5, MOSI on
// 6 of the low byte, MISO on 2 of the high one. An output drives I2C lines through open-drain
// buffers; every input has a pull-up.
class BoardPins final : public MpssePins {
 public:
  // Without a board, nothing is connected.
  explicit BoardPins(Board* board);
  void DriveLow(uint8_t value, uint8_t direction) override;
  void DriveHigh(uint8_t value, uint8_t direction) override;
  uint8_t SampleLow() override;
  uint8_t SampleHigh() override;

 private:
  Board* board_;
  I2cWires::Driver driver_ = 0;
  uint8_t low_ = 0;
  uint8_t lowDirection_ = 0;
  uint8_t high_ = 0;
  uint8_t highDirection_ = 0;
};

// One interface of a chip: bit mode, answers on their way to the PC, latency timer.
class FtdiInterface {
 public:
  FtdiInterface(const FtdiDescription& chip, unsigned index, Board* board, VirtualClock& clock);

  const FtdiDescription& chip() const { return chip_; }
  const std::string& description() const { return description_; }
  const std::string& serial() const { return serial_; }
  uint32_t location() const { return location_; }

  // Drops the answers on their way.
  void Reset();
  // The MPSSE's mode starts the engine afresh; in every other one its pins are inputs.
  void SetBitMode(uint8_t mode);
  void SetLatency(uint8_t milliseconds) { latencyMs_ = milliseconds; }
  uint8_t latency() const { return latencyMs_; }
  // Commands, which run at once; the clock is charged with what the engine takes for them.
  void Write(const uint8_t* bytes, size_t count);
  // Answers that the PC has by now: sent at once on request, or when a packet was full, or when the
  // latency timer ran out.
  size_t Waiting();
  size_t Read(uint8_t* buffer, size_t count);

  Mpsse& mpsse() { return mpsse_; }
  bool unplugged = false;  // every call on it fails

 private:
  void Collect();

  const FtdiDescription chip_;
  const std::string description_;
  const std::string serial_;
  const uint32_t location_;
  const bool hasMpsse_;
  VirtualClock& clock_;
  BoardPins pins_;
  Mpsse mpsse_;
  bool mpsseMode_ = false;
  uint8_t latencyMs_ = 16;
  std::vector<uint8_t> held_;    // answers in the chip
  uint64_t heldSince_ = 0;       // when the first of them came
  std::deque<uint8_t> arrived_;  // answers in the PC
};

}  // namespace brisk::sim
