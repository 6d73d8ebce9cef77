#include "platform/win32/parts.h"

namespace brisk::win32 {
namespace {

// The loader maps this section once for all processes that load the module; the `shared` attribute
// is what makes it so. The section holds an address, which the loader fixes up when it places the
// module elsewhere than at its preferred base, for everybody: hence the library's fixed base.
__attribute__((section(".SHAREDA"), shared)) constinit SharedSection section = {};

class PeSection final : public SharedMemory {
 public:
  SharedSection& Section() override { return section; }
};

}  // namespace

SharedMemory& Shared() {
  static PeSection memory;
  return memory;
}

}  // namespace brisk::win32
