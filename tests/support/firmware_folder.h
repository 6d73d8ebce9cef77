#pragma once

#include <filesystem>
#include <string>

#include "files.h"

namespace brisk {

inline void WriteText(const std::string& path, const std::string& text) {
  WriteFile(path, std::vector<uint8_t>(text.begin(), text.end()));
}

// A folder of the test's own as the current one, with a firmware image that does nothing: what the
// timing-controller board loads is looked for there.
class FirmwareFolder {
 public:
  FirmwareFolder() : home_(std::filesystem::current_path()) {
    std::filesystem::current_path(std::filesystem::path(folder_.File("x")).parent_path());
    WriteText("firmware.hex", ":03000000020100FA\n:00000001FF\n");
  }
  FirmwareFolder(const FirmwareFolder&) = delete;
  FirmwareFolder& operator=(const FirmwareFolder&) = delete;
  ~FirmwareFolder() { std::filesystem::current_path(home_); }

  std::string File(const std::string& name) const { return folder_.File(name); }

 private:
  TemporaryFolder folder_;
  std::filesystem::path home_;
};

}  // namespace brisk
