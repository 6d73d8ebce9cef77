#pragma once

#include <cstdint>

#include "base/status.h"
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
class StringCommands {
 public:
  explicit StringCommands(Bus& bus) : bus_(bus) {}

  struct Value {
    uint32_t number = 0;
    uint32_t bytes = 0;  // 0: an unknown size character, for which nothing was received
  };

  // Fails when the device does not acknowledge its address, for an unknown item, and for a short or
  // null command.
  Status Write(const char* command);
  Outcome<Value> Read(const char* command);

 private:
  Status Fail(Cause cause);

  Bus& bus_;
};

}  // namespace brisk::i2c
