#include "firmware.h"

#include "outcome.h"

namespace brisk::tool {

constexpr const char* kName = "firmware.hex";

FirmwareFolder::~FirmwareFolder() {
  if (folder_ == nullptr) return;
  // Left before the folder is removed.
  std::error_code ignored;
  std::filesystem::current_path(before_, ignored);
}

void FirmwareFolder::Enter(const std::string& file, Console& console) {
  if (file.empty()) {
    std::error_code ignored;
    if (!std::filesystem::exists(kName, ignored)) {
      console.Warn(
          std::string("no ") + kName +
          " in the working directory: the board gets no firmware; name it with --firmware");
    }
    return;
  }
  folder_ = std::make_unique<ScratchFolder>();
  before_ = std::filesystem::current_path();
  std::error_code error;
  std::filesystem::copy_file(file, folder_->path() / kName, error);
  if (error) {
    throw OperationFailure("read the firmware file " + file, error.message(),
                           "check the name after --firmware");
  }
  std::filesystem::current_path(folder_->path());
}

}  // namespace brisk::tool
