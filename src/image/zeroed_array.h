#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

#include "platform/system.h"

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
ZeroedArray<T> MakeZeroedArray(System& system, size_t count) {
  ZeroedArray<T> memory(static_cast<T*>(std::calloc(count, sizeof(T))));
  if (memory != nullptr) system.ExpectFullUse(memory.get(), count * sizeof(T));
  return memory;
}

}  // namespace brisk::image
