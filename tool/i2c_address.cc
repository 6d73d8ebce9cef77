#include "i2c_address.h"

#include "text.h"

namespace brisk::tool {

std::optional<Failure> ToAddressByte(uint32_t given, bool sevenBit, uint8_t& address) {
  const std::string tried = "take " + Hex(given) + " as a device address";
  if (sevenBit) {
    if (given > 0x7F) {
      return UsageFailure(tried, "7-bit addresses end at 0x7F",
                          "leave --7bit out for the 8-bit form");
    }
    address = static_cast<uint8_t>(given << 1U);
    return std::nullopt;
  }
  if ((given & 1U) != 0) {
    return UsageFailure(
        tried, "it is odd, and the 8-bit form of an address is even",
        "give " + Hex(given - 1) + ", or add --7bit if " + Hex(given) + " is the 7-bit address");
  }
  address = static_cast<uint8_t>(given);
  return std::nullopt;
}

}  // namespace brisk::tool
