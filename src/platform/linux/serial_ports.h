#pragma once

#include <string>

#include "platform/serial_ports.h"

namespace brisk::os {

// Port n is the device <folder>COMn when that name exists, a dangling link included, else
// <folder>ttyS(n-1). Opening it takes it for this process alone (TIOCEXCL, and a lock that also
// stops the superuser's second opening) and asks the driver for low latency where it offers it.
//
// The line is fully raw: every byte value passes in both directions. Flow control by the handshake
// lines stays as the port had it.
//
// Nothing waits for ever: when the other side takes no bytes for kPatienceMs, what is left of a
// write is dropped, and closing drops what is still queued.
class TtyPorts final : public SerialPorts {
 public:
  explicit TtyPorts(const char* folder = "/dev/") : folder_(folder) {}
  std::unique_ptr<SerialPort> Open(unsigned number, std::string* whyNot) override;

  static constexpr int kPatienceMs = 500;

 private:
  const char* folder_;
};

}  // namespace brisk::os
