#include "adapters/ftdi/flash_link.h"

#include "adapters/ftdi/mpsse.h"

namespace brisk::ftdi {

void FlashLink::Rest() {
  Clear(kSpiClock | kChipSelect | kSpiOut);
  Write();
}

// Chip select goes up before it goes down: whatever the pins were, this begins a transaction.
void FlashLink::Select() {
  Set(kChipSelect | kSpiClock | kSpiOut);
  Write();
  Clear(kSpiClock);
  Write();
  Clear(kChipSelect);
  Write();
}

void FlashLink::Deselect() {
  Set(kChipSelect);
  Write();
}

void FlashLink::SendBit(bool bit) {
  Clear(kSpiClock | kSpiOut);
  if (bit) Set(kSpiOut);
  Write();
  Set(kSpiClock);
  Write();
}

void FlashLink::SendByte(uint8_t byte) {
  for (int bit = 7; bit >= 0; --bit) SendBit((byte >> bit & 1) != 0);
  Clear(kSpiClock);
  Write();
}

void FlashLink::SendAddress(uint32_t address) {
  for (int bit = 23; bit >= 0; --bit) {
    SendBit((address >> bit & 1) != 0);
    Clear(kSpiClock);
    Write();
  }
}

uint8_t FlashLink::ReadByte() {
  unsigned byte = 0;
  for (int bit = 0; bit < 8; ++bit) {
    byte = byte << 1 | (Sample() ? 1U : 0U);
    Set(kSpiClock);
    Write();
    Clear(kSpiClock);
    Write();
  }
  return static_cast<uint8_t>(byte);
}

// Sampled after the rising edge.
uint8_t FlashLink::ReadStatus() {
  unsigned byte = 0;
  for (int bit = 0; bit < 8; ++bit) {
    Set(kSpiClock);
    Write();
    byte = byte << 1 | (Sample() ? 1U : 0U);
    Clear(kSpiClock);
    Write();
  }
  return static_cast<uint8_t>(byte);
}

void FlashLink::Write() {
  if (!isLost_ && !boards_.WriteSpiPins(shadow_)) Lose();
}

bool FlashLink::Sample() {
  bool level = false;
  if (!isLost_ && !boards_.SampleMiso(&level)) Lose();
  return level;
}

void FlashLink::Lose() {
  isLost_ = true;
  lost_();
}

}  // namespace brisk::ftdi
