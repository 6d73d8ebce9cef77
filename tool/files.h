#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "outcome.h"

namespace brisk::tool {

// A folder for this run's files alone, removed with everything in it at the end.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string File(const std::string& name) const { return (folder_ / name).string(); }
  const std::filesystem::path& path() const { return folder_; }

 private:
  std::filesystem::path folder_;
};

// Empty when the file cannot be read whole.
std::optional<std::vector<uint8_t>> ReadFile(const std::string& path, std::string& error);

// The bytes of a file that the user names.
std::vector<uint8_t> ReadInput(const std::string& path, const std::string& tried);

bool WriteFile(const std::string& path, const uint8_t* data, size_t size);

// Empty when there is no such file.
std::optional<uint64_t> FileSize(const std::string& path);

}  // namespace brisk::tool
