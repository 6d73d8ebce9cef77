#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "devices.h"

namespace brisk::tool {

// What holds for every command.
struct Options {
  bool simulated = false;
  std::string simulation;  // the bench's parameters
  const DeviceType* device = FindDevice("lpt");
  std::optional<uint32_t> rate;  // kHz
  std::optional<uint32_t> comPort;
  std::optional<uint32_t> baud;
  std::string trace;
  std::string firmware;
  bool json = false;
  bool verbose = false;

  // Whether the bench's parameters say something of this key.
  bool SimulationHas(const std::string& key) const {
    return ("," + simulation).find("," + key + "=") != std::string::npos;
  }
};

}  // namespace brisk::tool
