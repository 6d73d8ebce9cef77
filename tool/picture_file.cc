#include "picture_file.h"

#include <vector>

#include "files.h"

namespace brisk::tool {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kBmpSignature = 0x424D;   // "BM"
constexpr uint32_t kJpegSignature = 0xFFD8;  // start of image

uint32_t Little32(const Bytes& bytes, size_t at) {
  if (at + 4 > bytes.size()) return 0;
  return uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8U | uint32_t{bytes[at + 2]} << 16U |
         uint32_t{bytes[at + 3]} << 24U;
}

uint32_t Big16(const Bytes& bytes, size_t at) {
  if (at + 2 > bytes.size()) return 0;
  return uint32_t{bytes[at]} << 8U | bytes[at + 1];
}

// ITU-T T.81 B.1.1.3: C0 to CF start a frame, but for the tables C4, C8 and CC.
bool StartsFrame(uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

PictureFile JpegOf(const Bytes& bytes) {
  PictureFile picture{.kind = PictureFile::Kind::kJpeg};
  size_t at = 2;
  while (at + 4 <= bytes.size() && bytes[at] == 0xFF) {
    const uint8_t marker = bytes[at + 1];
    if (StartsFrame(marker)) {
      picture.height = Big16(bytes, at + 5);
      picture.width = Big16(bytes, at + 7);
      break;
    }
    // A marker may have more than one FF before it.
    at += marker == 0xFF ? 1 : 2 + Big16(bytes, at + 2);
  }
  return picture;
}

}  // namespace

PictureFile LookIntoPicture(const std::string& path) {
  const std::string tried = "open the picture " + path;
  const Bytes bytes = ReadInput(path, tried);
  const uint32_t signature = Big16(bytes, 0);
  if (signature == kBmpSignature) {
    return {PictureFile::Kind::kBmp, Little32(bytes, 18), Little32(bytes, 22)};
  }
  if (signature == kJpegSignature) return JpegOf(bytes);
  throw OperationFailure(tried, "its content is neither BMP nor JPEG",
                         "convert it to a 24-bit BMP or a baseline JPEG");
}

}  // namespace brisk::tool
