#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "adapters/ftdi/boards.h"
#include "adapters/ftdi/mpsse.h"
#include "flash/bit_spi.h"

namespace brisk::ftdi {

inline constexpr flash::SpiPins kFlashPins{
    .sck = kSpiClock,
    .chipSelect = kChipSelect,
    .mosi = kSpiOut,
};

// The flash on pins of the MPSSE's port, moved by software: CS#, SCK and MOSI on the low byte of
// every board alike, MISO on GPIOH2 of the first one. Every change of a pin is a USB transfer and
// every bit read takes at least 5 ms.
//
// When no board takes a pin change any more, or the first one gives no answer, `onDisconnect` is
// called and nothing more is tried until the next Begin: each further bit could cost the 5 seconds
// of an answer that does not come. Bits then read as 0, which no busy flash answers.
class FlashPins final : public flash::BitSpi<FlashPins, kFlashPins> {
 public:
  FlashPins(Boards& boards, std::function<void()> onDisconnect)
      : boards_(boards), onDisconnect_(std::move(onDisconnect)) {}

  void Begin() override { disconnected_ = false; }

  void WriteLevels(uint8_t levels) {
    if (!disconnected_ && !boards_.WriteSpiPins(levels)) Disconnect();
  }
  bool Sample() {
    if (disconnected_) return false;
    const auto level = boards_.SampleMiso();
    if (!level.has_value()) Disconnect();
    return level.value_or(false);
  }

 private:
  void Disconnect() {
    disconnected_ = true;
    onDisconnect_();
  }

  Boards& boards_;
  std::function<void()> onDisconnect_;
  bool disconnected_ = false;
};

}  // namespace brisk::ftdi
