#include "platform/port_io.h"

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// Without the permission that the port-access driver gives, or on Linux its stand-in, the
// instruction raises a general protection fault, which arrives as an exception or as SIGSEGV.
class InstructionPortIo final : public PortIo {
 public:
  void Out(uint16_t port, uint8_t value) override {
    asm volatile("outb %0, %1" : : "a"(value), "Nd"(port) : "memory");
  }

  uint8_t In(uint16_t port) override {
    uint8_t value;  // NOLINT(cppcoreguidelines-init-variables): set by the instruction
    asm volatile("inb %1, %0" : "=a"(value) : "Nd"(port) : "memory");
    return value;
  }
};

}  // namespace

PortIo& ThePortIo() { return Permanent<InstructionPortIo>(); }

}  // namespace brisk::os
