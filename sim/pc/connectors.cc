#include "sim/pc/connectors.h"

#include <cstring>
#include <utility>

namespace brisk::sim {
namespace {

class ShelfLibrary final : public DynamicLibrary {
 public:
  explicit ShelfLibrary(std::shared_ptr<const std::vector<LibraryShelf::Symbol>> symbols)
      : symbols_(std::move(symbols)) {}

  void* Symbol(const char* name, uint16_t ordinal) override {
    for (const LibraryShelf::Symbol& symbol : *symbols_) {
      const bool named = name != nullptr && std::strcmp(symbol.name, name) == 0;
      if (ordinal != 0 && symbol.ordinal != 0 ? symbol.ordinal == ordinal : named) {
        return symbol.address;
      }
    }
    return nullptr;
  }

 private:
  const std::shared_ptr<const std::vector<LibraryShelf::Symbol>> symbols_;
};

void Explain(std::string* whyNot, std::string text) {
  if (whyNot != nullptr) *whyNot = std::move(text);
}

}  // namespace

bool PortBus::Connect(uint16_t base, uint16_t count, PortDevice& device) {
  if (device_ != nullptr) return false;
  device_ = &device;
  base_ = base;
  count_ = count;
  return true;
}

void LibraryShelf::Add(const std::string& name, std::vector<Symbol> symbols) {
  libraries_[name] = std::make_shared<const std::vector<Symbol>>(std::move(symbols));
}

void LibraryShelf::Remove(const std::string& name) { libraries_.erase(name); }

std::unique_ptr<DynamicLibrary> LibraryShelf::Load(const char* name, std::string* whyNot) {
  const auto found = libraries_.find(name);
  if (found != libraries_.end()) return std::make_unique<ShelfLibrary>(found->second);
  Explain(whyNot, std::string(name) + ": no simulated adapter brings this library");
  return nullptr;
}

std::unique_ptr<SerialPort> SerialSockets::Open(unsigned number, std::string* whyNot) {
  const auto found = openers_.find(number);
  if (found != openers_.end()) return found->second(whyNot);
  Explain(whyNot, "COM" + std::to_string(number) + ": nothing is connected to it");
  return nullptr;
}

std::unique_ptr<OpenedDevice> DeviceSockets::Open(const char* path, const DeviceOpenMode& mode) {
  const auto found = openers_.find(path);
  return found == openers_.end() ? nullptr : found->second(mode);
}

std::unique_ptr<DeviceInterfaceSet> DeviceInterfaceSocket::Present(const Guid& interfaceClass) {
  return interfaces_ == nullptr ? nullptr : interfaces_->Present(interfaceClass);
}

std::unique_ptr<DeviceNotification> DeviceInterfaceSocket::NotifyOfClass(
    void* window, const Guid& interfaceClass) {
  return interfaces_ == nullptr ? nullptr : interfaces_->NotifyOfClass(window, interfaceClass);
}

std::unique_ptr<DeviceNotification> DeviceInterfaceSocket::NotifyOfHandle(void* window,
                                                                          void* device) {
  return interfaces_ == nullptr ? nullptr : interfaces_->NotifyOfHandle(window, device);
}

}  // namespace brisk::sim
