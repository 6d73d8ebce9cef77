#pragma once

#include <cstdint>
#include <type_traits>

#include "contracts/u2c.h"
#include "device/device.h"
#include "device/host.h"
#include "i2c/bus.h"
#include "image/port_words.h"
#include "vendor/library.h"

namespace brisk::u2c {

// A U2C USB adapter through its two libraries: the connection, which opens on first use and stays
// open until the process ends, its I2C primitives, clocks, SPI, and the output byte made of its
// lines. Every primitive is one call of the library, which is one USB round trip.
//
// A library or function that is missing is named once on the debug log; what needs it fails.
class U2cLink final : public i2c::Bus, public Connection {
 public:
  explicit U2cLink(const Host& host);
  U2cLink(const U2cLink&) = delete;
  U2cLink& operator=(const U2cLink&) = delete;

  // Opens the adapter unless it is open. Without one, every call goes to the library with the
  // invalid handle and fails there, and the next connect tries again.
  uint32_t Connect() override;
  bool connected() const { return connected_; }

  void Start() override { Call(kStart); }
  void RepeatedStart() override { Call(kRepeatedStart); }
  void Stop() override { Call(kStop); }
  Status Send(uint8_t byte) override;
  Status Receive(uint8_t* byte, uint32_t last) override;

  // A whole transaction as one record, of which Read fills the buffer.
  Status Write(Transaction& transaction);
  Status Read(Transaction& transaction);

  // The nearest clock that the adapter has; of two equally near, the faster.
  void SetI2cClock(uint32_t kHz);
  void SetSpiClock(uint32_t kHz);
  void SetFastestSpiClock() { Call(kSpiSetFreq, 0); }
  // Chip select is the caller's. True when the library succeeded.
  bool SpiWrite(const uint8_t* bytes, uint16_t count) {
    return Call(kSpiWrite, bytes, count) == kDone;
  }
  bool SpiRead(uint8_t* byte) { return Call(kSpiRead, byte, 1) == kDone; }

  // Line 0: an output, and the flash's chip select.
  void MakeLineAnOutput();
  void SetLine(bool high) { Call(kIoWrite, uint32_t{high}, kLine0); }

  // The virtual output byte: bit 6 is line 0, bit 0 SDA, bit 1 SCL, always set in this order; the
  // other bits reach no line.
  void WritePort(uint8_t value);

 private:
  static constexpr uint32_t kLine0 = 1;

  // The function's status, or kMissing where the library has none.
  template <typename... Parameters>
  int32_t Call(Function<Parameters...> function,
               std::type_identity_t<Parameters>... arguments) const {
    const auto pointer = bridge_.Get<typename Function<Parameters...>::Pointer>(function.row);
    return pointer != nullptr ? pointer(handle_, arguments...) : kMissing;
  }

  vendor::Library common_;
  vendor::Library bridge_;
  Handle handle_ = kNoHandle;
  bool connected_ = false;
};

}  // namespace brisk::u2c
