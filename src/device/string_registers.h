#pragma once

#include "device/host.h"
#include "i2c/string_command.h"
#include "image/transfer.h"

namespace brisk {

// The controller's registers as picture transfers read them: with string commands on its bus.
class StringRegisters final : public image::RegisterReader {
 public:
  explicit StringRegisters(i2c::StringCommands& strings) : strings_(strings) {}

  Outcome<uint32_t> ReadRegister(const char* command) override {
    const auto read = strings_.Read(command);
    return read.ok() ? Outcome(read.value().number) : read.status();
  }

 private:
  i2c::StringCommands& strings_;
};

inline image::PictureServices PictureServicesOf(const Host& host) {
  return {host.system.files, host.system.system, host.system.messageQueue, host.log};
}

}  // namespace brisk
