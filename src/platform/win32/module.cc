#include "platform/win32/module.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // set by the linker to the start of the module

namespace brisk::os {

HMODULE OwnModule() { return reinterpret_cast<HMODULE>(&__ImageBase); }

// The ANSI forms throughout: they exist from Windows 95 on, and a path beyond MAX_PATH would not
// load a library anyway.
std::string OwnFolder() {
  char path[MAX_PATH + 1] = {};
  if (GetModuleFileNameA(OwnModule(), path, MAX_PATH) == 0) return {};
  const std::string file = path;
  return file.substr(0, file.find_last_of('\\'));
}

std::string SystemFolder() {
  char path[MAX_PATH + 1] = {};
  return GetSystemDirectoryA(path, MAX_PATH) == 0 ? std::string() : std::string(path);
}

std::string ErrorText(DWORD error) {
  char text[256] = {};
  DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                error, 0, text, sizeof text - 1, nullptr);
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) --length;
  std::string result = "error " + std::to_string(error);
  if (length > 0) result += " (" + std::string(text, length) + ")";
  return result;
}

}  // namespace brisk::os
