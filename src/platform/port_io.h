#pragma once

#include <cstdint>

namespace brisk {

// The processor's port instructions, one byte at a time. Called for every line change, so an
// implementation does nothing beyond the access. Never blocks and cannot fail visibly: without
// permission the instruction faults.
class PortIo {
 public:
  virtual ~PortIo() = default;
  virtual void Out(uint16_t port, uint8_t value) = 0;
  virtual uint8_t In(uint16_t port) = 0;
};

}  // namespace brisk
