#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "console.h"
#include "files.h"

namespace brisk::tool {

// The library takes the timing-controller board's firmware from "firmware.hex" in the working
// directory. This makes another file that one: a copy under that name in a scratch folder, which is
// the working directory while the board connects.
class FirmwareFolder {
 public:
  FirmwareFolder() = default;
  ~FirmwareFolder();
  FirmwareFolder(const FirmwareFolder&) = delete;
  FirmwareFolder& operator=(const FirmwareFolder&) = delete;

  // An empty name leaves the working directory, and warns when it has no firmware.
  void Enter(const std::string& file, Console& console);

 private:
  std::unique_ptr<ScratchFolder> folder_;
  std::filesystem::path before_;
};

}  // namespace brisk::tool
