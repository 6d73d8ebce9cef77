#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace brisk::image {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

// Large memory that starts as zeros. calloc rather than a vector: the system's fresh pages are
// already clear, and a picture that does not fit is an ordinary failure.
template <typename T>
using ZeroedArray = std::unique_ptr<T[], FreeMemory>;

// Null when the memory cannot be had.
template <typename T>
ZeroedArray<T> MakeZeroedArray(size_t count) {
  return ZeroedArray<T>(static_cast<T*>(std::calloc(count, sizeof(T))));
}

}  // namespace brisk::image
