#pragma once

#include <string>
#include <windows.h>

namespace brisk::os {

// The module this code is linked into: the library, or a program that holds its objects.
HMODULE OwnModule();
// Its folder, without a trailing separator.
std::string OwnFolder();
std::string SystemFolder();

// "error 5 (Access is denied.)"
std::string ErrorText(DWORD error);

// Closes a handle at the end of its scope; null and INVALID_HANDLE_VALUE both count as none.
class UniqueHandle {
 public:
  explicit UniqueHandle(HANDLE handle) : handle_(handle) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { Close(); }

  explicit operator bool() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }
  bool Close() {
    if (!*this) return false;
    const bool closed = CloseHandle(handle_) != 0;
    handle_ = nullptr;
    return closed;
  }

 private:
  HANDLE handle_;
};

// A function of a system library that older Windows versions lack. Null when it is absent.
template <typename Function>
Function BoundFunction(HMODULE module, const char* name) {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace brisk::os
