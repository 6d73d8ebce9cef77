#include <dlfcn.h>
#include <unistd.h>

#include "os.h"

namespace brisk::tool::os {

std::filesystem::path ExecutablePath() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored);
}

void* OpenLibrary(const std::string& name, std::string& error) {
  void* const library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* const reason = dlerror();
    error = reason == nullptr ? "no reason given" : reason;
  }
  return library;
}

void CloseLibrary(void* library) { dlclose(library); }

void* FindSymbol(void* library, const char* name) { return dlsym(library, name); }

bool IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

std::FILE* CopyOfStream(std::FILE* stream) {
  const int copy = dup(fileno(stream));
  return copy < 0 ? nullptr : fdopen(copy, "w");
}

bool Redirect(std::FILE* stream, std::FILE* target) {
  std::fflush(stream);
  return dup2(fileno(target), fileno(stream)) >= 0;
}

std::FILE* OpenScratch() { return std::tmpfile(); }

}  // namespace brisk::tool::os
