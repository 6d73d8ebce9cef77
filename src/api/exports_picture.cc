#include "brisk/brisk.h"

#include "api/call.h"

using brisk::BackEnd;
using brisk::Dispatched;

BRISK_API void BRISK_CALL Sddi_Erase(uint32_t colour) {
  Dispatched([&](BackEnd& board) { board.Sddi_Erase(colour); });
}

BRISK_API void BRISK_CALL Sddi_Bitblt(uint32_t x, uint32_t y, uint32_t unused) {
  Dispatched([&](BackEnd& board) { board.Sddi_Bitblt(x, y, unused); });
}

BRISK_API void BRISK_CALL Sddi_Bitblt_Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2,
                                           uint32_t w, uint32_t h) {
  Dispatched([&](BackEnd& board) { board.Sddi_Bitblt_Copy(x1, y1, x2, y2, w, h); });
}

BRISK_API uint32_t BRISK_CALL Sddi_Bitmap(const char* path, uint32_t plane) {
  return Dispatched([&](BackEnd& board) { return board.Sddi_Bitmap(path, plane); });
}

BRISK_API uint32_t BRISK_CALL Sddi_Jpeg(const char* path, uint32_t plane) {
  return Dispatched([&](BackEnd& board) { return board.Sddi_Jpeg(path, plane); });
}

BRISK_API void BRISK_CALL Sddi_Tx(uint32_t bits, uint32_t value) {
  Dispatched([&](BackEnd& board) { board.Sddi_Tx(bits, value); });
}

BRISK_API void BRISK_CALL C1_TxDebug(uint32_t bits, uint32_t value) {
  Dispatched([&](BackEnd& board) { board.C1_TxDebug(bits, value); });
}

BRISK_API uint32_t BRISK_CALL Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider,
                                        uint16_t* exponent, uint16_t* multiplier) {
  return Dispatched([&](BackEnd& board) {
    return board.Pll_Clock(target, reference, divider, exponent, multiplier);
  });
}

BRISK_API uint32_t BRISK_CALL Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high,
                                        uint16_t* middle, uint16_t* low) {
  return Dispatched(
      [&](BackEnd& board) { return board.Pll_Nandu(target, reference, high, middle, low); });
}

BRISK_API uint32_t BRISK_CALL Pll_Write(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) {
  return Dispatched([&](BackEnd& board) { return board.Pll_Write(a, b, c, d, e); });
}
