#include "files.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <random>
#include <stdexcept>

namespace brisk::tool {

ScratchFolder::ScratchFolder() {
  const std::filesystem::path parent = std::filesystem::temp_directory_path();
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::filesystem::path folder = parent / ("brisk-" + std::to_string(random()));
    if (!std::filesystem::create_directory(folder)) continue;
    folder_ = folder;
    std::error_code ignored;
    std::filesystem::permissions(folder_, std::filesystem::perms::owner_all, ignored);
    return;
  }
  throw std::runtime_error("no scratch folder can be made in " + parent.string());
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::optional<std::vector<uint8_t>> ReadFile(const std::string& path, std::string& error) {
  std::error_code status;
  if (std::filesystem::is_directory(path, status)) {
    error = "it is a folder";
    return std::nullopt;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  std::vector<uint8_t> bytes;
  bytes.reserve(static_cast<size_t>(FileSize(path).value_or(0)));
  std::array<char, 65536> block{};
  while (file.read(block.data(), block.size()) || file.gcount() > 0) {
    bytes.insert(bytes.end(), block.begin(), block.begin() + file.gcount());
  }
  if (file.bad()) {
    error = "reading stopped after " + std::to_string(bytes.size()) + " bytes";
    return std::nullopt;
  }
  return bytes;
}

std::vector<uint8_t> ReadInput(const std::string& path, const std::string& tried) {
  std::string error;
  std::optional<std::vector<uint8_t>> bytes = ReadFile(path, error);
  if (!bytes) throw OperationFailure(tried, error, "check its name and that you may read it");
  return std::move(*bytes);
}

bool WriteFile(const std::string& path, const uint8_t* data, size_t size) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  file.close();
  return !file.fail();
}

std::optional<uint64_t> FileSize(const std::string& path) {
  std::error_code error;
  const uintmax_t size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  return size;
}

}  // namespace brisk::tool
