#include "console.h"

#include <array>
#include <new>

#include "os.h"

namespace brisk::tool {
namespace {

Stream Copy(std::FILE* stream) {
  Stream copy(os::CopyOfStream(stream));
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

}  // namespace

void Put(std::FILE* stream, const std::string& text) {
  std::fputs(text.c_str(), stream);
  std::fflush(stream);
}

Console::Console(bool showLibrary) : out_(Copy(stdout)), err_(Copy(stderr)) {
  if (!showLibrary) library_.reset(os::OpenScratch());
  std::FILE* const target = library_ != nullptr ? library_.get() : err_.get();
  os::Redirect(stdout, target);
  if (library_ != nullptr) os::Redirect(stderr, target);
}

Console::~Console() {
  // What is written from here on, by destructors of the library or by a sanitizer, is for the user.
  std::fflush(stdout);
  std::fflush(stderr);
  os::Redirect(stderr, err_.get());
}

void Console::Warn(const std::string& text) {
  warnings_.push_back(text);
  Put(err(), "brisk: warning: " + text + "\n");
}

std::vector<std::string> Console::LibraryLines(size_t count) {
  std::vector<std::string> lines;
  if (library_ == nullptr) return lines;
  std::fflush(stdout);
  std::fflush(stderr);
  std::rewind(library_.get());
  std::string line;
  for (int c = std::fgetc(library_.get()); c != EOF; c = std::fgetc(library_.get())) {
    if (c != '\n') {
      if (c != '\r') line += static_cast<char>(c);
      continue;
    }
    if (!line.empty()) lines.push_back(line);
    line.clear();
  }
  if (!line.empty()) lines.push_back(line);
  std::fseek(library_.get(), 0, SEEK_END);
  if (lines.size() > count) lines.erase(lines.begin(), lines.end() - static_cast<long>(count));
  return lines;
}

}  // namespace brisk::tool
