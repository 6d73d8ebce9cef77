#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "base/status.h"
#include "i2c/bus.h"
#include "serial/uart_port.h"

namespace brisk::uart_bridge {

// The I2C bus behind the bridge, a frame for each primitive. What is answered blocks for at most a
// reply time-out per byte and fails with kTimeOut; what is not answered cannot fail.
class FrameBus final : public i2c::Bus {
 public:
  explicit FrameBus(serial::UartPort& port) : port_(port) {}

  void Start() override;
  void RepeatedStart() override;
  void Stop() override;
  Status Send(uint8_t byte) override;
  Status Receive(uint8_t* byte, uint32_t last) override;

 private:
  void SendFrame(Bytes frame) { port_.uart_write(frame.data(), frame.size()); }
  bool WaitAnswer(uint8_t* value);

  serial::UartPort& port_;
};

}  // namespace brisk::uart_bridge
