#include "platform/libraries.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <string_view>
#include <unistd.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// Libraries whose file on Linux is not lib<name>.so.
struct FileName {
  std::string_view name;
  const char* file;
};
constexpr FileName kFileNames[] = {
    {"FTD2XX", "libftd2xx.so"},
    {"usb-1.0", "libusb-1.0.so.0"},
};

std::string FileNameOf(std::string_view name) {
  for (const FileName& entry : kFileNames) {
    if (entry.name == name) return entry.file;
  }
  return "lib" + std::string(name) + ".so";
}

// The folder of the file that this code is in, with a trailing slash; empty when it is not known.
std::string OwnFolder() {
  static const char kHere = 0;
  Dl_info info{};
  if (dladdr(&kHere, &info) == 0 || info.dli_fname == nullptr) return {};
  char path[PATH_MAX];
  if (std::string_view(info.dli_fname).find('/') == std::string_view::npos ||
      realpath(info.dli_fname, path) == nullptr) {
    return {};  // the bare name a program was started by would mean the current directory
  }
  const std::string_view whole(path);
  return std::string(whole.substr(0, whole.rfind('/') + 1));
}

class SharedObject final : public DynamicLibrary {
 public:
  explicit SharedObject(void* handle) : handle_(handle) {}
  SharedObject(const SharedObject&) = delete;
  SharedObject& operator=(const SharedObject&) = delete;
  ~SharedObject() override { dlclose(handle_); }

  void* Symbol(const char* name, uint16_t /*ordinal*/) override { return dlsym(handle_, name); }

 private:
  void* handle_;
};

// All symbols are resolved now, so that a library that lacks one of its own fails here and not in
// the middle of a transfer; its symbols are nobody else's.
std::unique_ptr<DynamicLibrary> LoadFile(const std::string& path, std::string* whyNot) {
  if (void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    return std::make_unique<SharedObject>(handle);
  }
  const char* error = dlerror();  // NOLINT(concurrency-mt-unsafe): per thread in glibc
  if (whyNot != nullptr) *whyNot = error != nullptr ? error : path + ": cannot be loaded";
  return nullptr;
}

class SharedObjects final : public Libraries {
 public:
  // The folder is found when the library is loaded: a relative path means another one after a
  // chdir. No std::string keeps it, because nothing would free that one when we are unloaded.
  SharedObjects() { OwnFolder().copy(ownFolder_.data(), ownFolder_.size() - 1); }

  // A library in our own folder comes first. When it is there and cannot be loaded, that is the
  // reason told, whatever the system's folders answer.
  std::unique_ptr<DynamicLibrary> Load(const char* name, std::string* whyNot) override {
    const std::string file = FileNameOf(name);
    const std::string own = ownFolder_.data() + file;
    if (ownFolder_[0] != '\0' && access(own.c_str(), F_OK) == 0) {
      std::string ownWhyNot;
      if (auto library = LoadFile(own, &ownWhyNot)) return library;
      auto library = LoadFile(file, whyNot);
      if (library == nullptr && whyNot != nullptr) *whyNot = ownWhyNot;
      return library;
    }
    return LoadFile(file, whyNot);
  }

 private:
  std::array<char, PATH_MAX> ownFolder_{};
};

}  // namespace

Libraries& TheLibraries() { return Permanent<SharedObjects>(); }

}  // namespace brisk::os
