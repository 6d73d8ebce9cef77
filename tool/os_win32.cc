#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// After windows.h.
#include <array>
#include <fcntl.h>
#include <io.h>

#include "os.h"

namespace brisk::tool::os {

std::filesystem::path ExecutablePath() {
  std::array<wchar_t, 32768> path{};
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  return length == 0 || length >= path.size() ? std::filesystem::path() : path.data();
}

void* OpenLibrary(const std::string& name, std::string& error) {
  // The altered search path lets the library's own folder serve for what it loads itself.
  const bool withFolder = name.find_first_of("\\/") != std::string::npos;
  const HMODULE module =
      LoadLibraryExA(name.c_str(), nullptr, withFolder ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
  if (module == nullptr) error = "Windows error " + std::to_string(GetLastError());
  return module;
}

void CloseLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

void* FindSymbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

bool IsTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

std::FILE* CopyOfStream(std::FILE* stream) {
  const int copy = _dup(_fileno(stream));
  return copy < 0 ? nullptr : _fdopen(copy, "w");
}

bool Redirect(std::FILE* stream, std::FILE* target) {
  std::fflush(stream);
  return _dup2(_fileno(target), _fileno(stream)) >= 0;
}

// Not std::tmpfile, which the C runtime puts into the root folder, where users may not write.
std::FILE* OpenScratch() {
  std::array<char, MAX_PATH + 1> folder{};
  std::array<char, MAX_PATH + 1> name{};
  if (GetTempPathA(static_cast<DWORD>(folder.size()), folder.data()) == 0) return nullptr;
  if (GetTempFileNameA(folder.data(), "brk", 0, name.data()) == 0) return nullptr;
  const int file = _open(name.data(), _O_RDWR | _O_BINARY | _O_TEMPORARY, 0);
  return file < 0 ? nullptr : _fdopen(file, "w+b");
}

}  // namespace brisk::tool::os
