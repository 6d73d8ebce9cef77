#include "windows_services.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "contracts/port_driver.h"

namespace brisk {
namespace {

constexpr uint32_t kAccessDenied = 5;
constexpr uint32_t kFileNotFound = 2;
constexpr uint32_t kCannotAcceptControl = 1061;
constexpr uint32_t kMarkedForDelete = 1072;

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

// The codes of the two families differ, the work does not.
class WindowsServices::DriverDevice final : public OpenedDevice {
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
  struct Row {
    unsigned function;  // NT
    uint32_t code9x;
    uint32_t inSize, outSize;  // at least
    void (DriverDevice::*run)(const uint8_t* input, uint8_t* output);
  };

  bool Answer(uint32_t code, const uint8_t* input, uint32_t inSize, uint8_t* output,
              uint32_t outSize) {
    using namespace port_driver;
    static constexpr Row kRequests[] = {
        {kVersionFunction, kVersion9x, 0, 4, &DriverDevice::Version},
        {kDirectAccessFunction, kDirectAccess9x, 1, 0, &DriverDevice::DirectAccess},
        {kPortBaseFunction, kPortBase9x, 8, 8, &DriverDevice::PortBase},
        {kWriteDataFunction, kWriteData9x, 1, 0, &DriverDevice::WriteData},
        {kReadStatusFunction, kReadStatus9x, 0, 1, &DriverDevice::ReadStatus},
    };
    for (const Row& request : kRequests) {
      if (code != (nt_ ? KGATED_CODE(request.function) : request.code9x)) continue;
      if (inSize < request.inSize || outSize < request.outSize) return false;
      (this->*request.run)(input, output);
      return true;
    }
    return false;
  }

  void Version(const uint8_t* /*input*/, uint8_t* output) {
    const uint32_t version = port_driver::kDriverVersion;
    std::memcpy(output, &version, sizeof version);
  }
  void DirectAccess(const uint8_t* input, uint8_t* /*output*/) {
    const bool on = input[0] != port_driver::kSwitchOff;
    if (on != direct_) owner_.directAccess_ += on ? 1u : ~0u;
    direct_ = on;
  }
  void PortBase(const uint8_t* input, uint8_t* output) {
    std::memcpy(&owner_.portBase_, input, sizeof owner_.portBase_);
    std::memcpy(output + 4, &owner_.acknowledgement, 4);
  }
  void WriteData(const uint8_t* input, uint8_t* /*output*/) {
    owner_.bench_.ports().Out(owner_.portBase_, input[0]);
  }
  void ReadStatus(const uint8_t* /*input*/, uint8_t* output) {
    output[0] = owner_.bench_.ports().In(static_cast<uint16_t>(owner_.portBase_ + 1));
  }

  WindowsServices& owner_;
  bool nt_;
  bool open_ = true;
  bool direct_ = false;
};

WindowsServices::WindowsServices(sim::Bench& bench) : bench_(bench) {
  bench_.services().Connect(this);
  bench_.devices().Add(KGATED_DEVICE, [this](const DeviceOpenMode& mode) {
    return mode.write ? OpenDevice(true) : nullptr;
  });
  bench_.devices().Add(KGATED_DEVICE_9X, [this](const DeviceOpenMode& mode) {
    return !mode.write && mode.shareRead && mode.deleteOnClose ? OpenDevice(false) : nullptr;
  });
}

WindowsServices::~WindowsServices() {
  bench_.services().Connect(nullptr);
  bench_.devices().Remove(KGATED_DEVICE);
  bench_.devices().Remove(KGATED_DEVICE_9X);
}

std::unique_ptr<ServiceManager> WindowsServices::Connect() {
  return administrator ? std::make_unique<Manager>(*this) : nullptr;
}

std::unique_ptr<OpenedDevice> WindowsServices::OpenDevice(bool nt) {
  const auto service = services_.find(KGATED_NAME);
  const bool present = nt ? service != services_.end() && service->second.running
                          : HasContent(bench_.system().SystemDirectory() + "\\" KGATED_FILE_9X);
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

}  // namespace brisk
