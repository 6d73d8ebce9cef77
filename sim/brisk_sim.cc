#include "brisk/brisk_sim.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>

#include "api/attach.h"
#include "bench.h"

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

void Store(const std::string& text, char* message, uint32_t size) {
  if (message == nullptr || size == 0) return;
  const size_t length = std::min<size_t>(text.size(), size - 1);
  std::memcpy(message, text.data(), length);
  message[length] = '\0';
}

}  // namespace

int BRISK_CALL BriskSimConfigure(const char* options, char* message, uint32_t messageSize) {
  std::string wrong;
  try {
    wrong = Configure(options);
  } catch (const std::exception& error) {
    wrong = error.what();
  }
  Store(wrong, message, messageSize);
  return wrong.empty() ? 0 : 1;
}
