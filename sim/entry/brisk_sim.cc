#include "brisk/brisk_sim.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "api/attach.h"
#include "sim/board/picture_receiver.h"
#include "sim/config/bench.h"

namespace {

// A text that is wrong is found before the library is detached.
std::string Configure(const char* text) {
  if (text == nullptr) return "no options are given";
  brisk::sim::Options options;
  std::string wrong = brisk::sim::ParseOptions(text, &options);
  if (!wrong.empty()) return wrong;
  brisk::DetachLibrary();
  wrong = brisk::sim::ReplaceBench(text);
  brisk::AttachLibrary();
  return wrong;
}

// Empty when done, else what is wrong.
std::string SaveSnapshot(const char* path, uint32_t plane) {
  if (path == nullptr) return "no file is given";
  if (plane > 1) return "plane " + std::to_string(plane) + " is given: there are 0 and 1";
  const std::vector<uint8_t> picture = brisk::sim::bench().board().receiver().Snapshot(plane == 1);
  std::FILE* const file = std::fopen(path, "wb");
  bool saved = file != nullptr;
  if (saved) {
    saved = std::fwrite(picture.data(), 1, picture.size(), file) == picture.size();
    saved = std::fclose(file) == 0 && saved;
  }
  return saved ? "" : "'" + std::string(path) + "' cannot be written: " + std::strerror(errno);
}

// Cut where there is no room for all of it; always terminated.
void Store(const std::string& text, char* message, uint32_t size) {
  if (message == nullptr || size == 0) return;
  const size_t length = std::min<size_t>(text.size(), size - 1);
  std::memcpy(message, text.data(), length);
  message[length] = '\0';
}

// No exception may leave the library.
template <typename Operation>
int Tell(char* message, uint32_t size, Operation operation) {
  std::string wrong;
  try {
    wrong = operation();
  } catch (const std::exception& error) {
    wrong = error.what();
  }
  Store(wrong, message, size);
  return wrong.empty() ? 0 : 1;
}

}  // namespace

int BRISK_CALL BriskSimConfigure(const char* options, char* message, uint32_t messageSize) {
  return Tell(message, messageSize, [&] { return Configure(options); });
}

int BRISK_CALL BriskSimSnapshot(const char* path, uint32_t plane, char* message,
                                uint32_t messageSize) {
  return Tell(message, messageSize, [&] { return SaveSnapshot(path, plane); });
}
