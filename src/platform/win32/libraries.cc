#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/win32/module.h"

namespace brisk::os {
namespace {

class LoadedLibrary final : public DynamicLibrary {
 public:
  explicit LoadedLibrary(HMODULE module) : module_(module) {}
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  ~LoadedLibrary() override { FreeLibrary(module_); }

  void* Symbol(const char* name, uint16_t ordinal) override {
    const char* wanted = ordinal != 0 ? MAKEINTRESOURCEA(ordinal) : name;
    return reinterpret_cast<void*>(GetProcAddress(module_, wanted));
  }
  bool CloseSystemHandle(void* handle) override {
    CloseHandle(handle);
    return true;
  }

 private:
  HMODULE module_;
};

class WindowsLibraries final : public Libraries {
 public:
  // Full paths only: a bare name would also be looked for in the current directory. The altered
  // search path makes the library's own folder the first place for what it needs in turn.
  std::unique_ptr<DynamicLibrary> Load(const char* name, std::string* whyNot) override {
    const std::string file = std::string(name) + ".dll";
    std::string reasons;
    for (const std::string& folder : {OwnFolder(), SystemFolder()}) {
      const std::string path = folder + "\\" + file;
      if (HMODULE module = LoadLibraryExA(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
        return std::make_unique<LoadedLibrary>(module);
      }
      reasons += (reasons.empty() ? "" : "; ") + path + ": " + ErrorText(GetLastError());
    }
    if (whyNot != nullptr) *whyNot = reasons;
    return nullptr;
  }
};

}  // namespace

Libraries& TheLibraries() { return Permanent<WindowsLibraries>(); }

}  // namespace brisk::os
