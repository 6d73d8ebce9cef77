#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/common/never_destroyed.h"

namespace brisk::sim {

// Called whenever a function of a vendor library looks for its device. A stand-in library makes its
// bench there; in a library with a bench of its own it does nothing.
void BeforeLibraryUse();
void SetBeforeLibraryUse(void (*step)());

// How the functions of a vendor's C library find their device: nobody gives them one, so they work
// on the one that was plugged in last and is still there. Lives as long as the device is plugged
// in. A bench that fails to come up thus leaves the device of the one before in its place.
template <typename Device>
class Plugged {
 public:
  explicit Plugged(std::shared_ptr<Device> device) {
    const std::lock_guard lock(TheList().mutex);
    TheList().devices.emplace_back(this, std::move(device));
  }
  // Of a device that nothing uses after its end.
  explicit Plugged(Device& device)
      : Plugged(std::shared_ptr<Device>(std::shared_ptr<void>(), &device)) {}
  Plugged(const Plugged&) = delete;
  Plugged& operator=(const Plugged&) = delete;
  ~Plugged() {
    const std::lock_guard lock(TheList().mutex);
    std::erase_if(TheList().devices, [this](const auto& entry) { return entry.first == this; });
    TheList().devices.shrink_to_fit();  // an unloaded stand-in library leaves no memory behind
  }

  // Null when there is none.
  static std::shared_ptr<Device> Last() {
    BeforeLibraryUse();
    const std::lock_guard lock(TheList().mutex);
    return TheList().devices.empty() ? nullptr : TheList().devices.back().second;
  }

 private:
  struct List {
    std::mutex mutex;
    std::vector<std::pair<const Plugged*, std::shared_ptr<Device>>> devices;
  };
  // Never destroyed: a bench may end after the static objects.
  static List& TheList() { return os::Permanent<List>(); }
};

}  // namespace brisk::sim
