#include "platform/win32/parts.h"

namespace brisk::win32 {
namespace {

class X86Ports final : public PortIo {
 public:
  void Out(uint16_t port, uint8_t value) override {
    asm volatile("outb %0,%1" : : "a"(value), "Nd"(port) : "memory");
  }
  uint8_t In(uint16_t port) override {
    uint8_t value = 0;
    asm volatile("inb %1,%0" : "=a"(value) : "Nd"(port) : "memory");
    return value;
  }
};

}  // namespace

PortIo& Ports() {
  static X86Ports ports;
  return ports;
}

}  // namespace brisk::win32
