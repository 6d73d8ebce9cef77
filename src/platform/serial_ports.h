#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace brisk {

// An open serial port. Failures after opening (an unplugged adapter) show as silence: nothing is
// waiting and written bytes are lost.
class SerialPort {
 public:
  virtual ~SerialPort() = default;
  // Called once, before anything else. Sets rate, 8 data bits, no parity, one stop bit, binary
  // mode, no null stripping, and reads that return at once with what has arrived; leaves every
  // other setting as the port had it. A port that does not take them goes on with those it had.
  virtual void Configure(uint32_t bitsPerSecond) = 0;
  // Queues the bytes; they are copied, so the caller's buffer may go away at once. Where the
  // system's queue is full it may block until there is room, and drop the rest when there is none.
  virtual void Write(const uint8_t* bytes, size_t count) = 0;
  // Bytes in the input queue; 0 on failure. Never blocks.
  virtual uint32_t BytesWaiting() = 0;
  // Reads what has arrived, at most `count` bytes, and returns how many. Never blocks.
  virtual size_t Read(uint8_t* buffer, size_t count) = 0;
  // Closes the port once everything queued has been sent or given up, for which it blocks; non-zero
  // on success. The destructor does the same.
  virtual int Close() = 0;
};

class SerialPorts {
 public:
  virtual ~SerialPorts() = default;
  // Opens COM port `number` for exclusive use, without waiting for it. Null on failure; `whyNot`
  // names the path and reason.
  virtual std::unique_ptr<SerialPort> Open(unsigned number, std::string* whyNot) = 0;
};

}  // namespace brisk
