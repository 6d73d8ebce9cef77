#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "image/picture.h"
#include "image/zeroed_array.h"

namespace brisk::image {

enum class JpegStatus : int32_t {
  kDecoded = 0,
  kUnreadable = 1,   // the file cannot be read or does not begin with a start of image
  kUnsupported = 2,  // a header that is bad, outside what is decoded here, or too large
  kGreyscale = 3,    // one component
  kNoEnd = 4,        // decoded, but something other than the end of the image follows
  kStopped = 5,      // Escape or a left click
};

// The Windows bitmap information header: the form of the decoded picture.
struct BitmapInfoHeader {
  uint32_t headerSize;
  int32_t width;
  int32_t height;
  uint16_t planes;
  uint16_t bitsPerPixel;
  uint32_t compression;
  uint32_t imageSize;
  int32_t xPixelsPerMetre;
  int32_t yPixelsPerMetre;
  uint32_t coloursUsed;
  uint32_t coloursImportant;
};
static_assert(sizeof(BitmapInfoHeader) == 40);

// One decode: the path goes in, everything else comes out. The pixels exist on kDecoded only.
struct DecodeRequest {
  std::string path;
  JpegStatus status = JpegStatus::kUnreadable;
  uint32_t imageWidth = 0;  // as the frame header has them
  uint32_t imageHeight = 0;
  uint32_t stride = 0;  // bytes from one output row to the next
  // The output size: the image rounded up to whole MCUs. Rows below the image are black, columns to
  // its right hold what the last MCU column decoded.
  BitmapInfoHeader header{};
  ZeroedArray<uint8_t> pixels;  // stride x output height, top row first: blue, green, red
};

// Largest output and file that memory is taken for; larger ones end with status 2 and 1.
constexpr uint64_t kMaxJpegPixels = uint64_t{64} << 20;
constexpr size_t kMaxJpegFileSize = size_t{256} << 20;

// Decodes baseline and extended Huffman JPEG (ITU-T T.81), 8 bits, JFIF YCbCr in 4:4:4, 4:2:2 or
// 4:2:0, all components in one scan. Everything else ends with the status that says so: other
// processes, precisions and samplings, component counts, tables that are missing or impossible,
// headers that contradict their length. A height of 0 is taken from the DNL segment behind the
// scan. Damaged entropy-coded data gives a damaged picture.
//
// Looks for a stop request in the calling thread's messages once an MCU row.
void DecodeJpeg(const PictureServices& services, DecodeRequest& request);

// The same for a file in memory, which is copied.
void DecodeJpeg(const PictureServices& services, DecodeRequest& request, const uint8_t* file,
                size_t size);

}  // namespace brisk::image
