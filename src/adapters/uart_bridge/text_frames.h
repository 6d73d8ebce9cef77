#pragma once

#include <cstdint>

#include "adapters/uart_bridge/frames.h"
#include "base/status.h"
#include "device/device.h"
#include "serial/uart_port.h"

namespace brisk::uart_bridge {

// Register frames that the caller spells out, two digits a byte. They go to the bridge as they are;
// what is not a letter or a digit counts as 0.
//
// Null pointers, a count of 0 or above 20 and a text shorter than its count says fail with nothing
// sent. So does an answer of another width than the frame's second byte asks for; a frame of one
// byte asks for four. A header whose marker came alone waits for the width byte, and a read for
// each part of its bytes, one reply time-out each; a read that ends short fails. A failure leaves
// the count as it was.
class TextFrames final : public RegisterFrames {
 public:
  explicit TextFrames(serial::UartPort& port) : port_(port) {}

  Outcome<uint32_t> ReadFrame(uint8_t* count, const char* text) override;
  Status WriteFrame(uint8_t* count, const char* text) override;

 private:
  Status Exchange(const uint8_t* count, const char* text, const WidthCodes& codes, uint8_t* width);
  bool WaitHeader(uint8_t* width);

  serial::UartPort& port_;
};

}  // namespace brisk::uart_bridge
