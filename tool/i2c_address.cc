#include "i2c_address.h"

#include "command.h"
#include "text.h"

namespace brisk::tool {

uint8_t DeviceAddress::Byte() const {
  const std::string tried = "take " + Hex(given) + " as a device address";
  if (sevenBit && given > 0x7F) {
    throw UsageFailure(tried, "7-bit addresses end at 0x7F", "leave --7bit out for the 8-bit form");
  }
  if (!sevenBit && given % 2 != 0) {
    throw UsageFailure(
        tried, "it is odd, and the 8-bit form of an address is even",
        "give " + Hex(given - 1) + ", or add --7bit if " + Hex(given) + " is the 7-bit address");
  }
  return static_cast<uint8_t>(sevenBit ? given << 1U : given);
}

void AddDevice(CLI::App* app, DeviceAddress& address) {
  AddNumber(app, "DEVICE", address.given, "device address, 8-bit form (0xF4)", 0xFF)->required();
  app->add_flag("--7bit", address.sevenBit, "DEVICE is in the 7-bit form (0x7A)");
}

}  // namespace brisk::tool
