#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

class DebuggerStream final : public DebugStream {
 public:
  void Write(const char* text) override { OutputDebugStringA(text); }
};

}  // namespace

DebugStream& TheDebugStream() { return Permanent<DebuggerStream>(); }

}  // namespace brisk::os
