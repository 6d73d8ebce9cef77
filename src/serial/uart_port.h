#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/serial_ports.h"

namespace brisk::serial {

// What both bridges share: a serial port, the rate that sets the reply time-out, and the waits.
// While no port is open nothing is sent and nothing is waiting, so that every wait runs out.
//
// An answer that comes too late would be taken for the next one, and so on for good. From a wait
// that ran out, or a notice of bytes that nobody wants, until a wait that did not run out, whatever
// has arrived is dropped before anything is sent.
class UartPort {
 public:
  // `recordedRate` in bits per second, until the first connect; never 0.
  explicit UartPort(uint32_t recordedRate) : recordedRate_(recordedRate) {}

  // Says in the debug log why not. The port must be closed.
  bool Open(uint8_t number, uint32_t bitsPerSecond);
  bool IsOpen() const { return port_ != nullptr; }
  int Close();  // non-zero on success; 0 when no port is open

  uint32_t recordedRate() const { return recordedRate_; }
  void Record(uint32_t rate) { recordedRate_ = rate; }
  // Milliseconds that an awaited byte may take; a wait of exactly this long has not run out.
  uint32_t ReplyTimeout() const { return 1152000 / recordedRate_ + 10; }

  void uart_write(const uint8_t* bytes, size_t count);
  void uart_write(std::string_view text);
  size_t uart_read(uint8_t* buffer, size_t count);
  uint32_t uart_bytes_waiting();
  // The handshake wait, at most a second: true once what has come contains `token`. Bytes after it
  // stay in the port.
  bool uart_wait_token(std::string_view token);

  // One byte within the reply time-out.
  bool WaitByte(uint8_t* byte);
  // As WaitByte for up to `count` bytes, of which at least one; returns how many, 0 = none came.
  size_t WaitBytes(uint8_t* buffer, size_t count);
  // At most `count` bytes of what has arrived; 0 = nothing has. Does not wait.
  size_t TakeWaiting(uint8_t* buffer, size_t count);
  // Drops bytes until `marker`, all within one reply time-out.
  bool WaitMarker(uint8_t marker);
  // For waits of others: whether the reply came in time.
  void NoteReply(bool inTime) { dropFirst_ = !inTime; }
  // More may come than was asked for.
  void ExpectSurplus() { dropFirst_ = true; }

  // What every busy poll does while nothing has arrived: gives the processor to whoever is ready
  // and comes straight back when nobody is. The shortest sleep would cost an answer a millisecond.
  static void Yield();

 private:
  void DropWaiting();

  std::unique_ptr<SerialPort> port_;
  uint32_t recordedRate_;
  bool dropFirst_ = false;
};

// A rate of 0 has no reply time-out and no line: false, and the debug log says so for `caller`.
bool RateIsUsable(uint32_t rate, const char* caller);

// How long a wait has lasted, in whole milliseconds of a clock that is finer than the system's
// tick: ticks of 10 to 16 ms would end a reply time-out of 20 ms early.
class Stopwatch {
 public:
  Stopwatch();
  bool Exceeds(uint32_t milliseconds) const;

 private:
  int64_t start_;
};

}  // namespace brisk::serial
