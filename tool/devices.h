#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brisk::tool {

// What a device type can do for the tool; everything else it answers with a fixed result.
enum Ability : unsigned {
  kI2c = 1U << 0U,
  kString = 1U << 1U,
  kFlash = 1U << 2U,
  kPicture = 1U << 3U,
  kPll = 1U << 4U,
  kLines = 1U << 5U,         // the port's lines as one byte
  kRegisterRead = 1U << 6U,  // numbered port registers
  kRegisterWrite = 1U << 7U,
};

// How a lone address can be tried.
enum class Probe {
  kAddress,     // an empty write transaction
  kRegister,    // reading register 0: an empty write never leaves the PC
  kFtdiFamily,  // the device samples no acknowledge, the I2C_ functions do
  kNone,        // the hardware does not report acknowledges
};

// What programming a single byte erases first.
enum class ByteErases { kNothing, kSector, kChip };

struct DeviceType {
  uint8_t number;
  const char* name;
  const char* adapter = nullptr;  // the simulated bench's name for it, if another
  const char* text;
  unsigned abilities;
  Probe probe = Probe::kAddress;
  bool serial = false;              // connected by port number and rate
  uint8_t simulatedPort = 0;        // where the simulated bench plugs it in
  bool acknowledges = true;         // a missing acknowledge shows in the results
  bool readsBlocks = true;          // else one register is read at a time
  bool erasesOnProgram = false;     // programming a file always erases the whole chip first
  bool packetsStray = false;        // block writes of some lengths send more than was asked for
  bool alignsPages = false;         // the adapter itself splits at the flash's page boundaries
  uint32_t mostBytes = UINT32_MAX;  // data bytes of one I2C transaction
  // Bytes for each call where a running one cannot be stopped; 0: any.
  uint32_t longestTransfer = 0;
  ByteErases byteErases = ByteErases::kSector;

  bool Can(unsigned wanted) const { return (abilities & wanted) == wanted; }
  std::string The() const { return std::string("the ") + text; }
  const char* Adapter() const { return adapter != nullptr ? adapter : name; }
  // Lists what answers on its I2C bus.
  std::string ScanCommand() const { return std::string("brisk --device ") + name + " i2c scan"; }
};

std::span<const DeviceType> DeviceTypes();

// By name or number; null when there is none.
const DeviceType* FindDevice(std::string_view nameOrNumber);

// The names of those that have all these abilities.
std::vector<std::string> DevicesThatCan(unsigned abilities);

std::vector<std::string> AbilityNames(unsigned abilities);

}  // namespace brisk::tool
