#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace brisk::tool {

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// Writes at once, so that the lines of several streams keep their order.
void Put(std::FILE* stream, const std::string& text);

// The tool's own output, kept apart from what the library writes: messages on standard output and,
// on Linux, the debug log on standard error. Unless they are to be seen, both go to a scratch file,
// and a failure quotes its end.
class Console {
 public:
  // With `showLibrary` the library's lines are seen, on standard error.
  explicit Console(bool showLibrary);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  std::FILE* out() const { return out_.get(); }
  std::FILE* err() const { return err_.get(); }

  // Told to people at once, and repeated in the JSON object.
  void Warn(const std::string& text);
  const std::vector<std::string>& warnings() const { return warnings_; }

  // The last lines that the library wrote, at most `count`; none when they were shown.
  std::vector<std::string> LibraryLines(size_t count);

 private:
  Stream out_;
  Stream err_;
  Stream library_;
  std::vector<std::string> warnings_;
};

}  // namespace brisk::tool
