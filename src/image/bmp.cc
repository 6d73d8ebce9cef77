#include "image/bmp.h"

#include <array>
#include <cstring>
#include <vector>

#include "base/user_message.h"

namespace brisk::image {
namespace {

constexpr size_t kFileHeaderSize = 14;
constexpr size_t kInfoHeaderSize = 40;

using Header = std::array<uint8_t, kFileHeaderSize + kInfoHeaderSize>;

// A Windows bitmap: a file header of 14 bytes, BITMAPINFOHEADER of 40, then rows of blue, green,
// red bytes, bottom row first, each padded to a multiple of four bytes. Offsets from the start of
// the file; every field is little-endian.
constexpr size_t kWidth = 18;
constexpr size_t kHeight = 22;
constexpr size_t kPlanes = 26;
constexpr size_t kBitsPerPixel = 28;
constexpr size_t kCompression = 30;

uint32_t Load16(const Header& header, size_t offset) {
  return header[offset] | uint32_t{header[offset + 1]} << 8;
}

uint32_t Load32(const Header& header, size_t offset) {
  return Load16(header, offset) | Load16(header, offset + 2) << 16;
}

// Null when the picture can be read.
const char* Objection(const Header& header, const BmpSize& size) {
  if (size.width > kMaxBmpWidth || size.height > kMaxBmpHeight) {
    return "\nSize of the BMP is too large";
  }
  if (Load16(header, kPlanes) != 1) return "\nColor planes of the BMP is not 1";
  if (Load16(header, kBitsPerPixel) != 24) return "\nThis BMP is not a 24 bit picture";
  if (Load32(header, kCompression) != 0) return "\nThis BMP is a compressed picture";
  if (size.width < 1 || size.height < 1) return "\nSize of the BMP is zero or negative";
  return nullptr;
}

// `bytes` is readable one byte past the last pixel.
void ExpandRow(const uint8_t* bytes, uint32_t* cells, size_t count) {
  for (size_t x = 0; x < count; ++x) {
    uint32_t cell = 0;
    std::memcpy(&cell, bytes + 3 * x, sizeof cell);
    cells[x] = cell & 0xFFFFFF;
  }
}

}  // namespace

std::optional<BmpSize> ReadBmpHeader(File& file) {
  Header header{};
  if (file.Read(header.data(), header.size()) != header.size()) {
    TellUser("\nHeader of the BMP is too short");
    return std::nullopt;
  }
  const BmpSize size{static_cast<int32_t>(Load32(header, kWidth)),
                     static_cast<int32_t>(Load32(header, kHeight))};
  if (const char* objection = Objection(header, size)) {
    TellUser(objection);
    return std::nullopt;
  }
  return size;
}

void ReadBmpPixels(File& file, PictureBuffer& picture, const CDebug& log) {
  const auto width = static_cast<size_t>(picture.width());
  const size_t rowLength = (3 * width + 3) / 4 * 4;
  std::vector<uint8_t> row(rowLength + 1);
  for (int32_t y = picture.height() - 1; y >= 0; --y) {
    const size_t got = file.Read(row.data(), rowLength);
    ExpandRow(row.data(), picture.Row(y), got < 3 * width ? got / 3 : width);
    // The padding of the file's last row may be missing: nothing of the picture is lost.
    if (got < rowLength) {
      const int32_t missing = got < 3 * width ? y + 1 : y;
      if (missing > 0) log.Print(0, "BMP ends early, %d rows are black\n", missing);
      return;
    }
  }
}

}  // namespace brisk::image
