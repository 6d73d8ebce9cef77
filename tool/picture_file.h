#pragma once

#include <cstdint>
#include <string>

namespace brisk::tool {

// What a picture file says of itself, told by its content, never by its name.
struct PictureFile {
  enum class Kind { kBmp, kJpeg };
  Kind kind = Kind::kBmp;
  uint32_t width = 0;  // 0 when the headers do not say: the library then rejects the file
  uint32_t height = 0;
};

PictureFile LookIntoPicture(const std::string& path);

}  // namespace brisk::tool
