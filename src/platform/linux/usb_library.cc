#include "platform/linux/usb_library.h"

#include <mutex>
#include <string>

#include "platform/linux/never_destroyed.h"
#include "platform/linux/parts.h"

namespace brisk::linux_system {
namespace {

template <typename Function>
bool BindTo(DynamicLibrary& library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(library.Symbol(name, 0));
  return *function != nullptr;
}

struct InUse {
  std::mutex mutex;
  std::weak_ptr<UsbLibrary> library;
};

}  // namespace

std::shared_ptr<UsbLibrary> UsbLibrary::Get() {
  static NeverDestroyed<InUse> holder;
  InUse& inUse = *holder;
  const std::lock_guard lock(inUse.mutex);
  if (auto library = inUse.library.lock()) return library;
  std::string whyNot;
  auto loaded = TheLibraries().Load("usb-1.0", &whyNot);
  if (loaded == nullptr) return nullptr;
  auto library = std::make_shared<UsbLibrary>(std::move(loaded));
  if (!library->Start()) return nullptr;
  inUse.library = library;
  return library;
}

UsbLibrary::~UsbLibrary() {
  if (context_ != nullptr) exit_(context_);
}

bool UsbLibrary::Start() { return Bind() && init_(&context_) == 0; }

bool UsbLibrary::Bind() {
  DynamicLibrary& from = *library_;
  return BindTo(from, "libusb_init", &init_) && BindTo(from, "libusb_exit", &exit_) &&
         BindTo(from, "libusb_get_device_list", &getDeviceList) &&
         BindTo(from, "libusb_free_device_list", &freeDeviceList) &&
         BindTo(from, "libusb_get_device_descriptor", &getDeviceDescriptor) &&
         BindTo(from, "libusb_get_bus_number", &getBusNumber) &&
         BindTo(from, "libusb_get_device_address", &getDeviceAddress) &&
         BindTo(from, "libusb_get_device_speed", &getDeviceSpeed) &&
         BindTo(from, "libusb_open", &open) && BindTo(from, "libusb_close", &close) &&
         BindTo(from, "libusb_reset_device", &resetDevice) &&
         BindTo(from, "libusb_claim_interface", &claimInterface) &&
         BindTo(from, "libusb_release_interface", &releaseInterface) &&
         BindTo(from, "libusb_set_auto_detach_kernel_driver", &setAutoDetach) &&
         BindTo(from, "libusb_alloc_transfer", &allocTransfer) &&
         BindTo(from, "libusb_free_transfer", &freeTransfer) &&
         BindTo(from, "libusb_submit_transfer", &submitTransfer) &&
         BindTo(from, "libusb_cancel_transfer", &cancelTransfer) &&
         BindTo(from, "libusb_handle_events_timeout_completed", &handleEvents);
}

}  // namespace brisk::linux_system
