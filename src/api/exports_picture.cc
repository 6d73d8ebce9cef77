// Exports of the controller's picture port and of the clock generators' settings.
#include "brisk/brisk.h"

#include "api/call.h"
#include "pll/pll.h"

using brisk::Dispatched;
using brisk::Instance;
using brisk::ZeroWhenDone;
using brisk::image::PictureTransfer;

namespace groups = brisk::groups;

namespace {

// The computations touch no hardware: only the device type's cell tells whether they are made.
template <typename Computation>
uint32_t Computed(Computation computation) {
  return brisk::Locked([&](Instance& instance) {
    const brisk::Cell cell = instance.SelectedDevice().type->dividers;
    return cell == brisk::kOwn ? ZeroWhenDone(computation()) : static_cast<uint32_t>(cell);
  });
}

}  // namespace

BRISK_API void BRISK_CALL Sddi_Erase(uint32_t colour) {
  Dispatched(groups::kDisplay, [&](PictureTransfer& display) { display.Fill(colour); });
}

BRISK_API void BRISK_CALL Sddi_Bitblt(uint32_t x, uint32_t y, uint32_t /*unused*/) {
  Dispatched(groups::kDisplay, [&](PictureTransfer& display) { display.DrawPattern(x, y); });
}

BRISK_API void BRISK_CALL Sddi_Bitblt_Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2,
                                           uint32_t w, uint32_t h) {
  Dispatched(groups::kDisplay,
             [&](PictureTransfer& display) { display.Copy(x1, y1, x2, y2, w, h); });
}

BRISK_API uint32_t BRISK_CALL Sddi_Bitmap(const char* path, uint32_t plane) {
  return Dispatched(groups::kDisplay, [&](PictureTransfer& display) {
    return ZeroWhenDone(display.ShowBitmap(path, plane != 0));
  });
}

BRISK_API uint32_t BRISK_CALL Sddi_Jpeg(const char* path, uint32_t plane) {
  return Dispatched(groups::kDisplay, [&](PictureTransfer& display) {
    return ZeroWhenDone(display.ShowJpeg(path, plane != 0));
  });
}

BRISK_API void BRISK_CALL Sddi_Tx(uint32_t bits, uint32_t value) {
  Dispatched(groups::kWords, [&](brisk::image::WordWriter& words) { words.SendWord(bits, value); });
}

BRISK_API void BRISK_CALL C1_TxDebug(uint32_t bits, uint32_t value) {
  Dispatched(groups::kDebugWords,
             [&](brisk::image::PortWords& words) { words.C1_TxDebug(bits, value); });
}

BRISK_API uint32_t BRISK_CALL Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider,
                                        uint16_t* exponent, uint16_t* multiplier) {
  return Computed(
      [&] { return brisk::pll::Pll_Clock(target, reference, divider, exponent, multiplier); });
}

BRISK_API uint32_t BRISK_CALL Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high,
                                        uint16_t* middle, uint16_t* low) {
  return Computed([&] { return brisk::pll::Pll_Nandu(target, reference, high, middle, low); });
}

BRISK_API uint32_t BRISK_CALL Pll_Write(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) {
  return Dispatched(groups::kGenerator, [&](brisk::ClockGenerator& generator) {
    return ZeroWhenDone(generator.WriteDividers(a, b, c, d, e));
  });
}
