#pragma once

#include <cstdint>

#include "flash/link.h"

namespace brisk::flash {

// Lines of an output byte. SCK idles low, chip select is active low, MOSI is what the flash takes
// with the rising edge of SCK.
struct SpiPins {
  uint8_t sck, chipSelect, mosi;
};

// SPI mode 0, most significant bit first, made of single changes of an output byte:
//
//   byte out      MOSI with SCK low, SCK high; SCK low after the last bit    17 changes
//   address out   MOSI with SCK low, SCK high, SCK low                       3 a bit
//   byte in       sample MISO, SCK high, SCK low                             2 a bit
//   status in     SCK high, sample MISO, SCK low                             2 a bit
//
// `Port` is the class that derives from this one. It has WriteLevels(uint8_t), which puts the byte
// on the lines, and Sample(), which is the level of MISO as a bool. It is a parameter, and not an
// interface, because a page is some 4450 such calls, each next to the cost of the port's own write.
template <typename Port, SpiPins kPins>
class BitSpi : public Link {
 public:
  // All three lines low, chip select included; the next Select raises it first.
  void Rest() final { Put(kPins.sck | kPins.chipSelect | kPins.mosi, false); }

  void Select() final {
    Put(kPins.sck | kPins.chipSelect | kPins.mosi, true);
    Put(kPins.sck, false);
    Put(kPins.chipSelect, false);
  }
  void Deselect() final { Put(kPins.chipSelect, true); }

  void SendByte(uint8_t byte) final {
    for (unsigned mask = 0x80; mask != 0; mask >>= 1) SendBit((byte & mask) != 0);
    Put(kPins.sck, false);
  }

  void SendAddress(uint32_t address) final {
    for (uint32_t mask = 0x800000; mask != 0; mask >>= 1) {
      SendBit((address & mask) != 0);
      Put(kPins.sck, false);
    }
  }

  uint8_t ReadByte() final {
    unsigned byte = 0;
    for (int bit = 0; bit < 8; ++bit) {
      byte = byte << 1 | (port().Sample() ? 1U : 0U);
      Put(kPins.sck, true);
      Put(kPins.sck, false);
    }
    return static_cast<uint8_t>(byte);
  }

  uint8_t ReadStatus() final {
    unsigned byte = 0;
    for (int bit = 0; bit < 8; ++bit) {
      Put(kPins.sck, true);
      byte = byte << 1 | (port().Sample() ? 1U : 0U);
      Put(kPins.sck, false);
    }
    return static_cast<uint8_t>(byte);
  }

 private:
  friend Port;
  BitSpi() = default;

  Port& port() { return static_cast<Port&>(*this); }

  void Set(uint8_t lines, bool high) {
    bSpiImage = static_cast<uint8_t>(high ? bSpiImage | lines : bSpiImage & ~lines);
  }
  void Put(uint8_t lines, bool high) {
    Set(lines, high);
    port().WriteLevels(bSpiImage);
  }
  void SendBit(bool bit) {
    Set(kPins.mosi, bit);
    Put(kPins.sck, false);
    Put(kPins.sck, true);
  }

  uint8_t bSpiImage = 0;  // the lines it does not name stay 0
};

}  // namespace brisk::flash
