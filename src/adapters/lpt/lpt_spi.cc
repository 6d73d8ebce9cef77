#include "adapters/lpt/lpt_spi.h"

namespace brisk::lpt {

void LptSpi::Init() {
  Set(kSpiPins.sck | kSpiPins.chipSelect | kSpiPins.mosi, false);
  Write();
}

// Drives chip select high and then low, whatever state the pins were in.
void LptSpi::Select() {
  Set(kSpiPins.sck | kSpiPins.chipSelect | kSpiPins.mosi, true);
  Write();
  SetAndWrite(kSpiPins.sck, false);
  SetAndWrite(kSpiPins.chipSelect, false);
}

void LptSpi::Deselect() { SetAndWrite(kSpiPins.chipSelect, true); }

void LptSpi::PutBit(bool bit) {
  Set(kSpiPins.mosi, bit);
  SetAndWrite(kSpiPins.sck, false);
  SetAndWrite(kSpiPins.sck, true);
}

void LptSpi::SendByte(uint8_t byte) {
  for (unsigned mask = 0x80; mask != 0; mask >>= 1) PutBit((byte & mask) != 0);
  SetAndWrite(kSpiPins.sck, false);
}

void LptSpi::SendAddress(uint32_t address) {
  for (uint32_t mask = 0x800000; mask != 0; mask >>= 1) {
    PutBit((address & mask) != 0);
    SetAndWrite(kSpiPins.sck, false);
  }
}

uint8_t LptSpi::ReadByte() {
  uint8_t byte = 0;
  for (int bit = 0; bit < 8; ++bit) {
    byte = static_cast<uint8_t>(byte << 1 | (Miso() ? 1 : 0));
    SetAndWrite(kSpiPins.sck, true);
    SetAndWrite(kSpiPins.sck, false);
  }
  return byte;
}

uint8_t LptSpi::ReadStatus() {
  uint8_t byte = 0;
  for (int bit = 0; bit < 8; ++bit) {
    SetAndWrite(kSpiPins.sck, true);
    byte = static_cast<uint8_t>(byte << 1 | (Miso() ? 1 : 0));
    SetAndWrite(kSpiPins.sck, false);
  }
  return byte;
}

}  // namespace brisk::lpt
