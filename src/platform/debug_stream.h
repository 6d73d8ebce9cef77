#pragma once

namespace brisk {

// The debugger output stream: OutputDebugStringA, or standard error. Never fails visibly, may be
// called from any thread and from the library's attach and detach.
class DebugStream {
 public:
  virtual ~DebugStream() = default;
  virtual void Write(const char* text) = 0;
};

}  // namespace brisk
