#pragma once

#include <memory>

#include "contracts/libusb.h"
#include "vendor/library.h"

namespace brisk::os {

// A loaded libusb with a context of its own. Shared by everything that uses it, and gone with the
// last of that. It is looked for when a board is, so that nobody needs it otherwise.
class UsbLibrary : public libusb::Functions {
 public:
  // The one in use, or a new one; null when libusb is not there or refuses to start, of which
  // nothing is told: a machine without such boards has none. May block on the disk.
  static std::shared_ptr<UsbLibrary> Get();

  UsbLibrary();
  UsbLibrary(const UsbLibrary&) = delete;
  UsbLibrary& operator=(const UsbLibrary&) = delete;
  ~UsbLibrary();

  libusb::Context* context() const { return context_; }

 private:
  bool Start();

  vendor::Library library_;
  libusb::Context* context_ = nullptr;
};

}  // namespace brisk::os
