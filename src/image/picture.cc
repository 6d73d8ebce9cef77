#include "image/picture.h"

#include <limits>

namespace brisk::image {

bool PictureBuffer::Allocate(System& system, int32_t width, int32_t height) {
  cells_.reset();
  width_ = height_ = 0;
  if (width < 1 || height < 1) return false;
  const uint64_t cells = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
  if (cells > std::numeric_limits<size_t>::max() / sizeof(uint32_t)) return false;
  cells_ = MakeZeroedArray<uint32_t>(system, static_cast<size_t>(cells));
  if (cells_ == nullptr) return false;
  width_ = width;
  height_ = height;
  return true;
}

void PictureBuffer::ConvertToYCbCr() {
  uint32_t* const cells = cells_.get();
  const size_t count = Offset(height_);
  for (size_t i = 0; i < count; ++i) cells[i] = RgbToYCbCr(cells[i]);
}

}  // namespace brisk::image
