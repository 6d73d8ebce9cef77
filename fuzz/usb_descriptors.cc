// Descriptors from a hostile device: every request is answered with the next bytes of the input.
// Opening must survive whatever comes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/config/bench.h"
#include "tests/support/usb_board.h"

namespace {

using brisk::DeviceInterfaceSet;
using brisk::DeviceNotification;
using brisk::PendingRequest;

std::vector<uint8_t> input;

// Every descriptor request and query is answered from the input, from a place that moves on.
class HostileDevice final : public brisk::OpenedDevice {
 public:
  bool Control(uint32_t code, const void* /*in*/, uint32_t /*inSize*/, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override {
    auto* target = static_cast<uint8_t*>(out);
    const uint32_t skip = code == 0x220020 ? 38 : 0;
    if (outSize < skip) return false;
    const size_t count = std::min<size_t>(outSize - skip, input.size() - at_);
    std::copy_n(input.begin() + static_cast<ptrdiff_t>(at_), count, target + skip);
    if (code == 0x220020) at_ = (at_ + count) % std::max<size_t>(input.size(), 1);
    *bytesReturned = skip + static_cast<uint32_t>(count);
    return true;
  }
  std::unique_ptr<PendingRequest> Begin(uint32_t, const void*, uint32_t, void*, uint32_t) override {
    return nullptr;
  }
  bool Close() override { return true; }
  void* Handle() const override { return nullptr; }

 private:
  size_t at_ = 0;
};

class OneDevice final : public brisk::DeviceInterfaces {
  class Set final : public DeviceInterfaceSet {
    uint32_t Enumerate(uint32_t index) override {
      return index == 0 ? 0 : brisk::kErrorNoMoreItems;
    }
    std::string Path(uint32_t /*index*/) override { return "hostile"; }
  };

 public:
  std::unique_ptr<DeviceInterfaceSet> Present(const brisk::Guid& /*interfaceClass*/) override {
    return std::make_unique<Set>();
  }
  std::unique_ptr<DeviceNotification> NotifyOfClass(void*, const brisk::Guid&) override {
    return nullptr;
  }
  std::unique_ptr<DeviceNotification> NotifyOfHandle(void*, void*) override { return nullptr; }
};

OneDevice interfaces;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool connected = [] {
    brisk::sim::bench().deviceInterfaces().Connect(&interfaces);
    brisk::sim::bench().devices().Add(
        "hostile", [](const brisk::DeviceOpenMode&) { return std::make_unique<HostileDevice>(); });
    return true;
  }();
  if (!connected) return 0;
  input.assign(data, data + size);
  brisk::tcon_board::UsbBoard device;
  device.SelectInterface(1);
  // A configuration alone, without the luck that the requests need.
  const brisk::tcon_board::DeviceSlot slot;
  const brisk::tcon_board::CUsbConfig config(slot, {data, size});
  size_t covered = 0;
  for (const auto& each : config.interfaces()) {
    covered += each->totalLength;
    for (size_t i = 0; i < 20; ++i) {
      if (each->endPoint(i) != nullptr && each->endPoint(i)->descriptorLength < 7) __builtin_trap();
    }
  }
  if (covered > size) __builtin_trap();
  return 0;
}
