#include "platform/port_io.h"

#include "platform/linux/never_destroyed.h"
#include "platform/linux/parts.h"

namespace brisk::linux_system {
namespace {

// Without the permission that the port driver's device asks for (see port_driver.h) the instruction
// raises a general protection fault, which arrives as SIGSEGV.
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

PortIo& ThePortIo() {
  static NeverDestroyed<InstructionPortIo> ports;
  return *ports;
}

}  // namespace brisk::linux_system
