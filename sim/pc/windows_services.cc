#include "sim/pc/windows_services.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace brisk::sim {
namespace {

constexpr char kNtDevice[] = "\\\\.\\kgated";
constexpr char k9xDevice[] = "\\\\.\\kgated.vxd";
constexpr char kDriverService[] = "kgated";
constexpr uint32_t kAccessDenied = 5;
constexpr uint32_t kFileNotFound = 2;
constexpr uint32_t kCannotAcceptControl = 1061;
constexpr uint32_t kMarkedForDelete = 1072;
constexpr uint32_t kVersion = 0x1000C;

bool HasContent(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  return !error && size > 0;
}

}  // namespace

class WindowsServices::OpenedService final : public Service {
 public:
  OpenedService(WindowsServices& owner, std::string name) : owner_(owner), name_(std::move(name)) {}
  uint32_t Start() override { return owner_.Start(name_); }
  uint32_t Stop() override { return owner_.Stop(name_); }
  uint32_t Delete() override { return owner_.services_.erase(name_) == 1 ? 0 : kMarkedForDelete; }

 private:
  WindowsServices& owner_;
  std::string name_;
};

class WindowsServices::Manager final : public ServiceManager {
 public:
  explicit Manager(WindowsServices& owner) : owner_(owner) {}
  bool CreateDriver(const char* name, const char* imagePath, bool demandStart) override {
    return owner_.services_.try_emplace(name, Registration{imagePath, demandStart, false}).second;
  }
  std::unique_ptr<Service> Open(const char* name) override {
    if (!owner_.mayOpenService || owner_.services_.count(name) == 0) return nullptr;
    return std::make_unique<OpenedService>(owner_, name);
  }

 private:
  WindowsServices& owner_;
};

// The driver's answers, family by family: the codes differ, the work does not.
class WindowsServices::DriverDevice final : public Device {
 public:
  DriverDevice(WindowsServices& owner, bool nt) : owner_(owner), nt_(nt) { ++owner_.openHandles_; }
  DriverDevice(const DriverDevice&) = delete;
  DriverDevice& operator=(const DriverDevice&) = delete;
  ~DriverDevice() override { Close(); }

  bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override {
    *bytesReturned = 0;
    uint8_t input[8] = {};
    std::memcpy(input, in, std::min<size_t>(inSize, sizeof input));
    owner_.requests_.push_back({code, inSize, outSize, input[0]});
    if (!open_ || owner_.refusedCodes.count(code) != 0) return false;
    uint8_t output[8] = {};
    std::memcpy(output, input, sizeof output);
    if (!Answer(code, input, inSize, output, outSize)) return false;
    std::memcpy(out, output, std::min<size_t>(outSize, sizeof output));
    *bytesReturned = outSize;
    return true;
  }
  std::unique_ptr<PendingRequest> Begin(uint32_t /*code*/, const void* /*in*/, uint32_t /*inSize*/,
                                        void* /*out*/, uint32_t /*outSize*/) override {
    return nullptr;  // the driver takes synchronous requests only
  }
  bool Close() override {
    if (!open_) return false;
    open_ = false;
    --owner_.openHandles_;
    return true;
  }
  void* Handle() const override { return const_cast<DriverDevice*>(this); }  // NOLINT

 private:
  bool Answer(uint32_t code, const uint8_t* input, uint32_t inSize, uint8_t* output,
              uint32_t outSize) {
    if (code == (nt_ ? 0x9C402480u : 0x01u)) {
      if (outSize < 4) return false;
      std::memcpy(output, &kVersion, 4);
      return true;
    }
    if (code == (nt_ ? 0x9C40248Cu : 0x10u)) {
      const bool on = input[0] != 1;
      if (on != direct_) owner_.directAccess_ += on ? 1u : ~0u;
      direct_ = on;
      return inSize >= 1;
    }
    if (code == (nt_ ? 0x9C402494u : 0x20u)) {
      if (inSize < 8 || outSize < 8) return false;
      std::memcpy(&owner_.portBase_, input, sizeof owner_.portBase_);
      std::memcpy(output + 4, &owner_.acknowledgement, 4);
      return true;
    }
    if (code == (nt_ ? 0x9C4024E4u : 0x34u)) {
      if (inSize < 1) return false;
      owner_.bench_.ports().Out(owner_.portBase_, input[0]);
      return true;
    }
    if (code == (nt_ ? 0x9C4024E8u : 0x35u)) {
      if (outSize < 1) return false;
      output[0] = owner_.bench_.ports().In(static_cast<uint16_t>(owner_.portBase_ + 1));
      return true;
    }
    return false;
  }

  WindowsServices& owner_;
  bool nt_;
  bool open_ = true;
  bool direct_ = false;
};

WindowsServices::WindowsServices(Bench& bench) : bench_(bench) {
  bench_.services().Connect(this);
  bench_.devices().Add(kNtDevice, [this](const DeviceOpenMode& mode) {
    return mode.write ? OpenDevice(true) : nullptr;
  });
  bench_.devices().Add(k9xDevice, [this](const DeviceOpenMode& mode) {
    return !mode.write && mode.shareRead && mode.deleteOnClose ? OpenDevice(false) : nullptr;
  });
}

WindowsServices::~WindowsServices() {
  bench_.services().Connect(nullptr);
  bench_.devices().Remove(kNtDevice);
  bench_.devices().Remove(k9xDevice);
}

std::unique_ptr<ServiceManager> WindowsServices::Connect() {
  return administrator ? std::make_unique<Manager>(*this) : nullptr;
}

std::unique_ptr<Device> WindowsServices::OpenDevice(bool nt) {
  const auto service = services_.find(kDriverService);
  const bool present = nt ? service != services_.end() && service->second.running
                          : HasContent(bench_.system().SystemDirectory() + "\\kgated.vxd");
  if (!present || deviceMissing || bench_.system().IsNt() != nt) return nullptr;
  return std::make_unique<DriverDevice>(*this, nt);
}

uint32_t WindowsServices::Start(const std::string& name) {
  const auto service = services_.find(name);
  if (service == services_.end()) return kMarkedForDelete;
  if (service->second.running) return kServiceAlreadyRunning;
  if (!HasContent(service->second.imagePath)) return kFileNotFound;
  service->second.running = true;
  return 0;
}

uint32_t WindowsServices::Stop(const std::string& name) {
  const auto service = services_.find(name);
  if (stopRefused) return kAccessDenied;
  if (service == services_.end() || !service->second.running) return kServiceNotActive;
  // A driver cannot unload while somebody holds its device.
  if (openHandles_ != 0) return kCannotAcceptControl;
  service->second.running = false;
  return 0;
}

}  // namespace brisk::sim
