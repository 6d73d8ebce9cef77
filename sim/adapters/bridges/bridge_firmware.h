#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace brisk::sim {

class Board;
class Faults;
class VirtualClock;

// The bridge's side of the serial line.
class BridgeLine {
 public:
  virtual ~BridgeLine() = default;
  virtual void Answer(std::span<const uint8_t> bytes) = 0;
};

// What runs in a bridge: it takes the bytes of the line one by one.
class BridgeFirmware {
 public:
  BridgeFirmware() = default;
  BridgeFirmware(const BridgeFirmware&) = delete;
  BridgeFirmware& operator=(const BridgeFirmware&) = delete;
  virtual ~BridgeFirmware() = default;

  virtual void Receive(uint8_t byte) = 0;
  // A bridge that streams sends one more character each time the line has been quiet for a pause.
  virtual bool Streaming() const { return false; }
  virtual void StreamOn() {}
};

// A bridge on the board's I2C wires.
struct BridgeParts {
  Board& board;
  VirtualClock& clock;
  Faults& faults;
  BridgeLine& line;
};

std::unique_ptr<BridgeFirmware> MakeUartFirmware(const BridgeParts& parts);
std::unique_ptr<BridgeFirmware> MakeTextFirmware(const BridgeParts& parts);

}  // namespace brisk::sim
