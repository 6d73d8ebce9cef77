// Exports of port lines and port registers.
#include "brisk/brisk.h"

#include "api/call.h"

using brisk::DeviceType;
using brisk::Dispatched;
using brisk::Instance;
using brisk::PortLines;
using brisk::PortRegisters;
using brisk::ZeroWhenDone;
using brisk::groups::kLines;

BRISK_API uint32_t BRISK_CALL Lpt_Output(uint8_t value) {
  return Dispatched(kLines, [&](PortLines& lines) { return ZeroWhenDone(lines.Output(value)); });
}

BRISK_API uint32_t BRISK_CALL Lpt_Input(uint8_t* value) {
  return Dispatched(kLines, [&](PortLines& lines, const DeviceType& type) -> uint32_t {
    return value != nullptr ? ZeroWhenDone(lines.Input(value)) : type.inputWithoutPointer;
  });
}

// The port registers have a dispatch of their own, and no debug lines. The result is the answer of
// the board's library, or 1 for done where there is none.
BRISK_API uint32_t BRISK_CALL SetPortVal(uint8_t port, uint8_t value) {
  return brisk::Locked([&](Instance& instance) -> uint32_t {
    PortRegisters* const ports = instance.WritablePorts();
    return ports != nullptr ? ports->WritePort(port, value).code() : 0;
  });
}

BRISK_API uint32_t BRISK_CALL GetPortVal(uint8_t port, uint8_t* value) {
  return brisk::Locked([&](Instance& instance) -> uint32_t {
    PortRegisters* const ports = instance.ReadablePorts();
    return ports != nullptr && value != nullptr ? ports->ReadPort(port, value).code() : 0;
  });
}
