#pragma once

#include <cstdint>
#include <optional>

#include "image/picture.h"
#include "platform/files.h"

namespace brisk::image {

// Uncompressed 24-bit Windows bitmaps, at most 1600 x 1200. The headers are taken as the usual 14
// and 40 bytes and the pixels as following at once: signature, sizes and offsets in the file are
// not looked at, so that a file with a longer header is misread.
constexpr int32_t kMaxBmpWidth = 1600;
constexpr int32_t kMaxBmpHeight = 1200;

struct BmpSize {
  int32_t width;
  int32_t height;
};

// Reads and checks the headers. On rejection (too large, not one plane, not 24 bits, compressed, a
// size of zero or less, fewer than 54 bytes) a message is on the standard output and the result is
// empty. Top-down files, whose height is negative, are rejected too.
std::optional<BmpSize> ReadBmpHeader(File& file);

// Fills an allocated buffer from the rows behind the headers, which the file stores bottom row
// first. Cells that a short file does not reach stay as they are, which is black in a fresh buffer;
// the debug log tells.
void ReadBmpPixels(File& file, PictureBuffer& picture, const CDebug& log);

}  // namespace brisk::image
