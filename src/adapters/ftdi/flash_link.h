#pragma once

#include <cstdint>
#include <functional>

#include "adapters/ftdi/boards.h"
#include "flash/link.h"

namespace brisk::ftdi {

// The flash on pins of the MPSSE's port, moved by software: CS# on bit 3, SCK on bit 5, MOSI on bit
// 6 of the low byte of every board alike, MISO on GPIOH2 of the first one. Every change of a pin is
// a USB transfer and every bit read takes at least 5 ms.
//
// When no board takes a pin change any more, or the first one gives no answer, `lost` is called and
// nothing more is tried until the next Begin: each further bit could cost the 5 seconds of an
// answer that does not come. Bits then read as 0, which no busy flash answers.
class FlashLink final : public flash::Link {
 public:
  FlashLink(Boards& boards, std::function<void()> lost) : boards_(boards), lost_(std::move(lost)) {}

  // An operation of the flash begins.
  void Begin() { isLost_ = false; }
  // All three lines low.
  void Rest();

  void Select() override;
  void Deselect() override;
  void SendByte(uint8_t byte) override;
  void SendAddress(uint32_t address) override;
  uint8_t ReadByte() override;
  uint8_t ReadStatus() override;

 private:
  void Set(uint8_t pins) { shadow_ |= pins; }
  void Clear(uint8_t pins) { shadow_ &= static_cast<uint8_t>(~pins); }
  void SendBit(bool bit);
  void Write();
  bool Sample();
  void Lose();

  Boards& boards_;
  std::function<void()> lost_;
  uint8_t shadow_ = 0;
  bool isLost_ = false;
};

}  // namespace brisk::ftdi
