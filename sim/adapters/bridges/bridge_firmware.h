#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "sim/adapters/adapter.h"

namespace brisk::sim {

// The bridge's side of the serial line.
class BridgeLine {
 public:
  virtual ~BridgeLine() = default;
  // Queues the bytes; they take their time on the line from when the bridge is through.
  virtual void Answer(std::span<const uint8_t> bytes) = 0;
  void Say(std::string_view text) {
    Answer({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  }
};

// What runs in a bridge: it takes the bytes of the line one by one.
class BridgeFirmware {
 public:
  BridgeFirmware() = default;
  BridgeFirmware(const BridgeFirmware&) = delete;
  BridgeFirmware& operator=(const BridgeFirmware&) = delete;
  virtual ~BridgeFirmware() = default;

  // May answer, and charges the clock with what the bus takes.
  virtual void Receive(uint8_t byte) = 0;
  // A bridge that streams sends one more character each time the line has been quiet for a pause.
  virtual bool Streaming() const { return false; }
  virtual void StreamOn() {}
};

// Puts a firmware on the board's I2C wires and the line.
using FirmwareMaker = std::unique_ptr<BridgeFirmware> (*)(const Site& site, BridgeLine& line);

}  // namespace brisk::sim
