#include "picture_file.h"

#include <vector>

#include "files.h"

namespace brisk::tool {
namespace {

using Bytes = std::vector<uint8_t>;

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

void ReadJpegSize(const Bytes& bytes, PictureFile& picture) {
  size_t at = 2;
  while (at + 4 <= bytes.size()) {
    if (bytes[at] != 0xFF) return;
    const uint8_t marker = bytes[at + 1];
    if (marker == 0xFF) {
      ++at;
      continue;
    }
    if (StartsFrame(marker)) {
      picture.height = Big16(bytes, at + 5);
      picture.width = Big16(bytes, at + 7);
      return;
    }
    at += 2 + Big16(bytes, at + 2);
  }
}

}  // namespace

std::optional<Failure> LookIntoPicture(const std::string& path, PictureFile& picture) {
  const std::string tried = "open the picture " + path;
  std::string error;
  const std::optional<Bytes> bytes = ReadFile(path, error);
  if (!bytes) return OperationFailure(tried, error, "check its name and that you may read it");
  if (bytes->size() >= 2 && (*bytes)[0] == 'B' && (*bytes)[1] == 'M') {
    picture.kind = PictureFile::Kind::kBmp;
    picture.width = Little32(*bytes, 18);
    picture.height = Little32(*bytes, 22);
    return std::nullopt;
  }
  if (bytes->size() >= 2 && (*bytes)[0] == 0xFF && (*bytes)[1] == 0xD8) {
    picture.kind = PictureFile::Kind::kJpeg;
    ReadJpegSize(*bytes, picture);
    return std::nullopt;
  }
  return OperationFailure(tried, "its content is neither BMP nor JPEG",
                          "convert it to a 24-bit BMP or a baseline JPEG");
}

}  // namespace brisk::tool
