#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
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

SharedMemory& TheSharedMemory() { return Permanent<PeSection>(); }

}  // namespace brisk::os
