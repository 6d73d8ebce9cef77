#pragma once

#include <cstdint>

#include "adapters/u2c/u2c_library.h"
#include "i2c/bus.h"

namespace brisk::u2c {

// The adapter: its connection, which opens on first use and stays open until the process ends, its
// I2C primitives, clocks and the output byte made of its lines.
class U2cAdapter : public i2c::Bus {
 public:
  // Opens the adapter unless it is open. Without one, every call goes to the library with the
  // invalid handle and fails there, and the next connect tries again.
  void Connect();
  bool connected() const { return connected_; }

  void I2c_Start() override { library_.Start(handle_); }
  void I2c_RStart() override { library_.RepeatedStart(handle_); }
  void I2c_Stop() override { library_.Stop(handle_); }
  uint32_t I2c_Tx(uint32_t byte) override;
  // Stores what came, zero-extended; 0 whatever the library said. 1 for a null pointer.
  uint32_t I2c_Rx(uint32_t* data, uint32_t last) override;
  // The same, with the library's word for it: true = received.
  bool Receive(uint8_t* byte, bool acknowledge);

  // True when the library succeeded.
  bool Write(Transaction& transaction) { return library_.Write(handle_, &transaction) == kDone; }
  bool Read(Transaction& transaction) { return library_.Read(handle_, &transaction) == kDone; }

  // The nearest clock that the adapter has; of two equally near, the faster.
  void SetI2cClock(uint32_t kHz);
  void SetSpiClock(uint32_t kHz);
  void SetFastestSpiClock() { library_.SpiSetFreq(handle_, 0); }
  bool SpiWrite(uint8_t* bytes, uint16_t count) {
    return library_.SpiWrite(handle_, bytes, count) == kDone;
  }
  bool SpiRead(uint8_t* byte) { return library_.SpiRead(handle_, byte, 1) == kDone; }

  // Line 0: an output, and the flash's chip select.
  void MakeLineAnOutput();
  void SetLine(bool high) { library_.IoWrite(handle_, high ? 1 : 0, kLine0); }

  // The virtual output byte: bit 6 is line 0, bit 0 SDA, bit 1 SCL, always set in this order; the
  // other bits reach no line.
  void WritePort(uint8_t value);

 private:
  static constexpr uint32_t kLine0 = 1;

  U2cLibrary library_;
  Handle handle_ = kNoHandle;
  bool connected_ = false;
};

}  // namespace brisk::u2c
