#include <windows.h>

#include "platform/win32/parts.h"

namespace brisk::win32 {
namespace {

class DebuggerStream final : public DebugStream {
 public:
  void Write(const char* text) override { OutputDebugStringA(text); }
};

}  // namespace

DebugStream& DebuggerOutput() {
  static DebuggerStream stream;
  return stream;
}

}  // namespace brisk::win32
