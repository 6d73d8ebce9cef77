#include "serial/uart_port.h"

#include <algorithm>
#include <string>

namespace brisk::serial {
namespace {

constexpr uint32_t kTokenTimeoutMs = 1000;

}  // namespace

int64_t Stopwatch::Milliseconds() const {
  const int64_t frequency = clock_.PerformanceFrequency();
  const int64_t count = clock_.PerformanceCounter();
  // In two steps: a nanosecond counter times 1000 overflows after 106 days.
  return count / frequency * 1000 + count % frequency * 1000 / frequency;
}

bool Stopwatch::Exceeds(uint32_t milliseconds) const {
  return Milliseconds() - start_ > int64_t{milliseconds};
}

bool UartPort::RateIsUsable(uint32_t rate, const char* caller) {
  if (rate == 0) log_.Print(0, "%s fails : the rate is 0\n", caller);
  return rate != 0;
}

Status UartPort::Open(uint8_t number, uint32_t bitsPerSecond) {
  std::string whyNot;
  port_ = ports_.Open(number, &whyNot);
  if (port_ == nullptr) {
    // The line that tools know, whichever bridge connects.
    log_.Print(0, "uart_connect fails : can't open the com port\n");
    if (!whyNot.empty()) log_.Print(0, "%s\n", whyNot.c_str());
    return Cause::kNoAdapter;
  }
  port_->Configure(bitsPerSecond);
  outOfStep_ = false;
  return {};
}

int UartPort::Close() {
  if (port_ == nullptr) return 0;
  const int result = port_->Close();
  port_.reset();
  return result;
}

void UartPort::uart_write(const uint8_t* bytes, size_t count) {
  if (port_ == nullptr) return;
  if (outOfStep_) BringIntoStep();
  port_->Write(bytes, count);
}

void UartPort::uart_write(std::string_view text) {
  uart_write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Only what is there now, so that a line that never falls silent holds nothing up.
void UartPort::BringIntoStep() {
  uint8_t dropped[256];
  for (size_t waiting = uart_bytes_waiting(); waiting != 0;) {
    const size_t read = uart_read(dropped, std::min(waiting, sizeof dropped));
    if (read == 0) return;
    waiting -= read;
  }
}

size_t UartPort::uart_read(uint8_t* buffer, size_t count) {
  return port_ == nullptr ? 0 : port_->Read(buffer, count);
}

uint32_t UartPort::uart_bytes_waiting() { return port_ == nullptr ? 0 : port_->BytesWaiting(); }

size_t UartPort::TakeWaiting(uint8_t* buffer, size_t count) {
  return uart_bytes_waiting() == 0 ? 0 : uart_read(buffer, count);
}

bool UartPort::uart_wait_token(std::string_view token) {
  std::string received;  // its last bytes, as many as the token has
  return Wait(kTokenTimeoutMs, [&] {
    uint8_t byte = 0;
    if (TakeWaiting(&byte, 1) == 0) return Came::kNothing;
    if (received.size() == token.size()) received.erase(0, 1);
    received += static_cast<char>(byte);
    return received == token ? Came::kWanted : Came::kSomething;
  });
}

size_t UartPort::WaitBytes(uint8_t* buffer, size_t count) {
  size_t came = 0;
  const bool inTime = WaitReply([&] {
    came = TakeWaiting(buffer, count);
    return came != 0 ? Came::kWanted : Came::kNothing;
  });
  if (inTime) outOfStep_ = false;
  return came;
}

bool UartPort::WaitMarker(uint8_t marker) {
  return WaitReply([&] {
    uint8_t byte = 0;
    if (TakeWaiting(&byte, 1) == 0) return Came::kNothing;
    return byte == marker ? Came::kWanted : Came::kSomething;
  });
}

}  // namespace brisk::serial
