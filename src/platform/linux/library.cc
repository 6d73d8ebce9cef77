#include "api/attach.h"

namespace brisk {
namespace {

// Loading the library attaches it and unloading, or the end of the process, detaches it. Static
// objects that attaching uses for the first time are complete before this one is, and are therefore
// destroyed after it.
class Attachment {
 public:
  Attachment() { AttachLibrary(); }
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;
  ~Attachment() { DetachLibrary(); }
};

const Attachment attachment;

}  // namespace
}  // namespace brisk
