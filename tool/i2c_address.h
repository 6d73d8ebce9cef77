#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>

namespace brisk::tool {

// A device's address as the command line gives it: in the 8-bit form unless `sevenBit`.
struct DeviceAddress {
  uint32_t given = 0;
  bool sevenBit = false;

  // The 8-bit address byte for writing. An odd one is refused, because it may be either a read
  // address or the 7-bit form.
  uint8_t Byte() const;
};

void AddDevice(CLI::App* app, DeviceAddress& address);

}  // namespace brisk::tool
