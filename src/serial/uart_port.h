#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "base/debug.h"
#include "base/status.h"
#include "platform/clock.h"
#include "platform/serial_ports.h"

namespace brisk::serial {

// How long a wait has lasted, in whole milliseconds of a clock that is finer than the system's
// tick: ticks of 10 to 16 ms would end a reply time-out of 20 ms early.
class Stopwatch {
 public:
  explicit Stopwatch(Clock& clock) : clock_(clock), start_(Milliseconds()) {}
  // A wait of exactly this long has not run out.
  bool Exceeds(uint32_t milliseconds) const;

 private:
  int64_t Milliseconds() const;

  Clock& clock_;
  const int64_t start_;
};

// What a look at the port found: nothing, something to go on with, or what the wait is for.
enum class Came : uint8_t { kNothing, kSomething, kWanted };

// What both bridges share: a serial port, the rate that sets the reply time-out, and the waits.
// While no port is open nothing is sent and nothing is waiting, so that every wait runs out.
//
// An answer that comes too late would be taken for the next one, and so on for good: after a wait
// that ran out, or a notice of bytes that nobody wants, the line is out of step. Until a wait has
// its bytes, whatever has arrived is then dropped before anything is sent.
class UartPort {
 public:
  // `recordedRate` in bits per second, until the first connect; never 0.
  UartPort(SerialPorts& ports, Clock& clock, CDebug& log, uint32_t recordedRate)
      : ports_(ports), clock_(clock), log_(log), recordedRate_(recordedRate) {}

  // Opens COM port `number`; it must be closed. The debug log is told why not.
  Status Open(uint8_t number, uint32_t bitsPerSecond);
  bool IsOpen() const { return port_ != nullptr; }
  // Blocks until what was written is sent, or given up. Non-zero on success; 0 when no port is
  // open.
  int Close();

  // A rate of 0 has no reply time-out and no line: false, and the debug log says so for `caller`.
  bool RateIsUsable(uint32_t rate, const char* caller);
  uint32_t recordedRate() const { return recordedRate_; }
  void Record(uint32_t rate) { recordedRate_ = rate; }
  // Milliseconds that an awaited byte may take.
  uint32_t ReplyTimeout() const { return 1152000 / recordedRate_ + 10; }

  void uart_write(const uint8_t* bytes, size_t count);
  void uart_write(std::string_view text);
  size_t uart_read(uint8_t* buffer, size_t count);
  uint32_t uart_bytes_waiting();
  // The handshake wait, at most a second: true once what has come contains `token`. Bytes after it
  // stay in the port.
  bool uart_wait_token(std::string_view token);

  // At most `count` bytes of what has arrived; 0 = nothing has. Does not wait.
  size_t TakeWaiting(uint8_t* buffer, size_t count);
  // One byte within the reply time-out.
  bool WaitByte(uint8_t* byte) { return WaitBytes(byte, 1) != 0; }
  // As WaitByte for up to `count` bytes, of which at least one; returns how many, 0 = none came.
  size_t WaitBytes(uint8_t* buffer, size_t count);
  // Drops bytes until `marker`, all within one reply time-out.
  bool WaitMarker(uint8_t marker);
  // Calls `look` until it finds what it wants, all within one reply time-out.
  template <typename Look>
  bool WaitReply(Look look);
  // More may come than was asked for.
  void ExpectSurplus() { outOfStep_ = true; }

 private:
  template <typename Look>
  bool Wait(uint32_t milliseconds, Look look);
  void BringIntoStep();
  // What a busy poll does while nothing has arrived: gives the processor to whoever is ready and
  // comes straight back when nobody is. The shortest sleep would cost an answer a millisecond.
  void Yield() { clock_.Sleep(0); }

  SerialPorts& ports_;
  Clock& clock_;
  CDebug& log_;
  std::unique_ptr<SerialPort> port_;
  uint32_t recordedRate_;
  bool outOfStep_ = false;
};

template <typename Look>
bool UartPort::Wait(uint32_t milliseconds, Look look) {
  const Stopwatch watch(clock_);
  for (;;) {
    const Came came = look();
    if (came == Came::kWanted) return true;
    if (watch.Exceeds(milliseconds)) return false;
    if (came == Came::kNothing) Yield();
  }
}

template <typename Look>
bool UartPort::WaitReply(Look look) {
  const bool inTime = Wait(ReplyTimeout(), look);
  if (!inTime) outOfStep_ = true;
  return inTime;
}

}  // namespace brisk::serial
