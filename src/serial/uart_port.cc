#include "serial/uart_port.h"

#include <algorithm>
#include <string>

#include "base/debug.h"
#include "platform/platform.h"

namespace brisk::serial {
namespace {

constexpr uint32_t kTokenTimeoutMs = 1000;

int64_t Milliseconds() {
  Clock& clock = platform().clock;
  const int64_t frequency = clock.PerformanceFrequency();
  const int64_t count = clock.PerformanceCounter();
  // In two steps: a nanosecond counter times 1000 overflows after 106 days.
  return count / frequency * 1000 + count % frequency * 1000 / frequency;
}

}  // namespace

Stopwatch::Stopwatch() : start_(Milliseconds()) {}

bool Stopwatch::Exceeds(uint32_t milliseconds) const {
  return Milliseconds() - start_ > int64_t{milliseconds};
}

bool RateIsUsable(uint32_t rate, const char* caller) {
  if (rate == 0) debugLog.Print(0, "%s fails : the rate is 0\n", caller);
  return rate != 0;
}

bool UartPort::Open(uint8_t number, uint32_t bitsPerSecond) {
  std::string whyNot;
  port_ = platform().serialPorts.Open(number, &whyNot);
  if (port_ == nullptr) {
    // The line that tools know, whichever bridge connects.
    debugLog.Print(0, "uart_connect fails : can't open the com port\n");
    if (!whyNot.empty()) debugLog.Print(0, "%s\n", whyNot.c_str());
    return false;
  }
  port_->Configure(bitsPerSecond);
  dropFirst_ = false;
  return true;
}

int UartPort::Close() {
  if (port_ == nullptr) return 0;
  const int result = port_->Close();
  port_.reset();
  return result;
}

void UartPort::uart_write(const uint8_t* bytes, size_t count) {
  if (port_ == nullptr) return;
  if (dropFirst_) DropWaiting();
  port_->Write(bytes, count);
}

// Only what is there now, so that a line that never falls silent holds nothing up.
void UartPort::DropWaiting() {
  uint8_t dropped[256];
  for (size_t waiting = uart_bytes_waiting(); waiting != 0;) {
    const size_t read = uart_read(dropped, std::min(waiting, sizeof dropped));
    if (read == 0) return;
    waiting -= read;
  }
}

void UartPort::uart_write(std::string_view text) {
  uart_write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

size_t UartPort::uart_read(uint8_t* buffer, size_t count) {
  return port_ == nullptr ? 0 : port_->Read(buffer, count);
}

uint32_t UartPort::uart_bytes_waiting() { return port_ == nullptr ? 0 : port_->BytesWaiting(); }

size_t UartPort::TakeWaiting(uint8_t* buffer, size_t count) {
  return uart_bytes_waiting() == 0 ? 0 : uart_read(buffer, count);
}

void UartPort::Yield() { platform().clock.Sleep(0); }

bool UartPort::uart_wait_token(std::string_view token) {
  const Stopwatch watch;
  std::string received;  // its last bytes, as many as the token has
  for (;;) {
    uint8_t byte = 0;
    const bool came = TakeWaiting(&byte, 1) != 0;
    if (came) {
      if (received.size() == token.size()) received.erase(0, 1);
      received += static_cast<char>(byte);
      if (received == token) return true;
    }
    if (watch.Exceeds(kTokenTimeoutMs)) return false;
    if (!came) Yield();
  }
}

size_t UartPort::WaitBytes(uint8_t* buffer, size_t count) {
  const Stopwatch watch;
  for (;;) {
    const size_t came = TakeWaiting(buffer, count);
    if (came != 0 || watch.Exceeds(ReplyTimeout())) {
      NoteReply(came != 0);
      return came;
    }
    Yield();
  }
}

bool UartPort::WaitByte(uint8_t* byte) { return WaitBytes(byte, 1) != 0; }

bool UartPort::WaitMarker(uint8_t marker) {
  const Stopwatch watch;
  for (;;) {
    uint8_t byte = 0;
    const bool came = TakeWaiting(&byte, 1) != 0;
    if (came && byte == marker) return true;
    if (watch.Exceeds(ReplyTimeout())) {
      NoteReply(false);
      return false;
    }
    if (!came) Yield();
  }
}

}  // namespace brisk::serial
