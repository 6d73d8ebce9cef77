#pragma once

#include <cstdint>
#include <vector>

#include "image/jpeg_headers.h"
#include "image/jpeg_kernels.h"

namespace brisk::image {

// A scan is a run of minimum coded units (MCUs): for every component as many 8 x 8 blocks as its
// sampling factors say. Its values are differences to the block before; restart markers end a
// chain.
//
// Decodes the one scan of a picture, an MCU row at a time. The planes hold one MCU row; chroma
// stays at its own resolution in them and is doubled when the colours are converted.
class ScanDecoder {
 public:
  // `file` is followed by BitReader::kPadding zero bytes and has lost its byte stuffing from the
  // scan data on.
  ScanDecoder(const JpegHeaders& headers, Bytes file, const JpegKernels& kernels);

  static uint32_t OutputWidth(const JpegHeaders& headers);
  static uint32_t OutputHeight(const JpegHeaders& headers);

  // Into output rows of `stride` bytes; status 0, 4 or 5.
  JpegStatus Run(MessageQueue& messages, uint8_t* pixels, size_t stride);

 private:
  struct Plane {
    std::vector<uint8_t> samples;
    size_t stride = 0;
    uint32_t predictor = 0;
  };
  struct Block {
    Plane* plane;
    const HuffmanTable* dc;
    const HuffmanTable* ac;
    const QuantisationTable* quantisation;
    size_t offset;   // of its samples in the plane, in the first MCU
    size_t advance;  // from one MCU to the next
  };

  void LayOut();
  void DecodeMcuRow();
  void DecodeMcu(size_t column);
  void Restart();
  void ConvertMcuRow(uint32_t rows, uint8_t* pixels, size_t stride) const;
  JpegStatus CheckEnd();

  const JpegHeaders& headers_;
  const JpegKernels& kernels_;
  Bytes file_;
  BitReader bits_;
  uint32_t countdown_;
  uint32_t mcusPerRow_;
  std::array<Plane, JpegHeaders::kComponents> planes_;
  std::vector<Block> blocks_;  // of one MCU, in the order of the data
};

}  // namespace brisk::image
