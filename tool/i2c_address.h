#pragma once

#include <cstdint>
#include <optional>

#include "outcome.h"

namespace brisk::tool {

// The 8-bit address byte for writing. Addresses are given in the 8-bit form unless `sevenBit`; an
// odd one is refused, because it may be either a read address or the 7-bit form.
std::optional<Failure> ToAddressByte(uint32_t given, bool sevenBit, uint8_t& address);

}  // namespace brisk::tool
