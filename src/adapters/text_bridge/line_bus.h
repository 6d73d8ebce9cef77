#pragma once

#include <cstdint>
#include <string_view>

#include "base/bytes.h"
#include "base/status.h"
#include "i2c/bus.h"
#include "i2c/channels.h"
#include "serial/uart_port.h"

namespace brisk::text_bridge {

// Bytes as the bridge's text, sent for themselves: the bridge starts and stops the bus by lines.
// Sending is not answered and cannot fail.
class LineBus final : public i2c::Bus {
 public:
  explicit LineBus(serial::UartPort& port) : port_(port) {}

  void Start() override {}
  void RepeatedStart() override {}
  void Stop() override {}
  Status Send(uint8_t byte) override;
  // Two characters, a reply time-out each. Both nibbles are the character minus '0', so that 10 to
  // 15 are the six characters that follow '9' in ASCII (":;<=>?"); letters are not digits here.
  Status Receive(uint8_t* byte, uint32_t last) override;

  void SendBytes(Bytes bytes);
  void SendText(std::string_view text) { port_.uart_write(text); }

 private:
  serial::UartPort& port_;
};

// Transactions as lines (lines.h). A status that does not come within the reply time-out is a
// failure: a silent bridge has acknowledged nothing. One whose second character is missing counts
// as its digit says. A byte that was not received keeps its place in the buffer as it was.
class LineChannels final : public i2c::Channels {
 public:
  LineChannels(serial::UartPort& port, LineBus& bus) : port_(port), bus_(bus) {}

  Status Write(uint8_t channel, uint16_t address, Bytes first, Bytes second) override;
  Status Read(uint8_t channel, uint16_t address, Buffer data) override;
  Status WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) override;

 private:
  void SendAddress(uint16_t address, uint8_t direction);
  Status EndLine();

  serial::UartPort& port_;
  LineBus& bus_;
};

}  // namespace brisk::text_bridge
