#pragma once

#include <cstdint>

#include "i2c/bus.h"

namespace brisk::i2c {

// The register command language: fixed-layout text such as "F4-70-F5=" (read two bytes of register
// 0x70) or "F4-10=1234." (write 34 12 to register 0x10).
//
//   write  DD s RR item*       items: -aa =aabb +aabbcc, ended by . or the text's end
//   read   DD s RR s DD size   size: - = + for one, two, three bytes
//
// Values go low byte first on the bus. DD and RR are two hex digits, s any one character. A field
// that is not two hex digits counts as 0 and is sent all the same. Nothing is read beyond the
// terminating NUL: a command that ends inside a fixed field or inside an item's digits fails at
// that point, with a stop condition when the bus was started; an item's bytes go out only when all
// its digits are there.

// 0 = done, 1 = failure: the device did not acknowledge, an unknown item, a short or null command.
uint32_t String(Bus& bus, const char* command);

// As String; the value goes to `result` as 2, 4 or 6 upper-case hex digits and a NUL (at most 7
// characters), high byte first. On failure `result` is the empty text; an unknown size character
// receives nothing, leaves `result` unwritten and is no failure.
uint32_t ReadString(Bus& bus, char* result, const char* command);

// The value read, 0 to 0xFFFFFF, or -2 on failure.
int32_t ReadStringEx(Bus& bus, const char* command);

}  // namespace brisk::i2c
