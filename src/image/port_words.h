#pragma once

#include <cstdint>

#include "image/word_writer.h"

namespace brisk::image {

// The picture port knows no clock: ONE and ZERO are a line each, and a bit is a high pulse on one
// of them. Both high at once is idle, which frames the words; a word's length tells its kind. The
// lines share the parallel port's data byte with everything else there:
//
//   bit 1   ONE   (also SCL of the first I2C wiring)
//   bit 6   ZERO  (also MOSI of the flash)
//   bit 4   serial debug data, bit 5 its clock
//
// The picture port's two lines and the serial debug output as bits of an output byte: the parallel
// port's data register, or what an adapter makes of one.
class PortWords : public WordWriter {
 public:
  // `base` is the byte that words leave every other line as: the last Lpt_Output value.
  explicit PortWords(const uint8_t& base) : base_(base) {}

  // Nothing is sent unless `bits` is 1 to 32. A word starts and ends with both lines high; every
  // bit raises one line and ends with both low. The lines come from the word alone: the base byte's
  // own bits 1 and 6 are taken out.
  void SendWord(uint32_t bits, uint32_t value) override;

  // The serial output for bench work: least significant bit first, data before the rising clock,
  // all other lines low. Nothing is sent unless `bits` is 1 to 32.
  void C1_TxDebug(uint32_t bits, uint32_t value);

 private:
  virtual void WritePort(uint8_t value) = 0;

  const uint8_t& base_;
};

}  // namespace brisk::image
