#include "sim/adapters/plugged.h"

namespace brisk::sim {
namespace {

void (*before)() = nullptr;

}  // namespace

void BeforeLibraryUse() {
  if (before != nullptr) before();
}

void SetBeforeLibraryUse(void (*step)()) { before = step; }

}  // namespace brisk::sim
