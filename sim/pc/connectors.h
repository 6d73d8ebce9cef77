#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/device_control.h"
#include "platform/device_interfaces.h"
#include "platform/libraries.h"
#include "platform/port_io.h"
#include "platform/serial_ports.h"
#include "platform/services.h"
#include "sim/common/virtual_clock.h"

// The simulated PC's connectors. Adapters plug themselves in when they are made; what nothing is
// plugged into answers as an empty PC does.
namespace brisk::sim {

// Registers in the port address space.
class PortDevice {
 public:
  virtual ~PortDevice() = default;
  virtual void Write(unsigned offset, uint8_t value) = 0;
  virtual uint8_t Read(unsigned offset) = 0;
};

// The port address space, with room for one device. An access takes a microsecond, as on the ISA
// bus; the line changes that it makes come at its end. Ports without a device read 0xFF.
class PortBus final : public PortIo {
 public:
  static constexpr uint64_t kAccessNs = 1000;

  explicit PortBus(VirtualClock& clock) : clock_(clock) {}

  // The first `count` ports from `base` on. False when there is a device already. The device must
  // outlive the bus's use.
  bool Connect(uint16_t base, uint16_t count, PortDevice& device);

  void Out(uint16_t port, uint8_t value) override {
    Count(writes_);
    const unsigned offset = unsigned{port} - base_;
    if (offset < count_) device_->Write(offset, value);
  }
  uint8_t In(uint16_t port) override {
    Count(reads_);
    const unsigned offset = unsigned{port} - base_;
    return offset < count_ ? device_->Read(offset) : uint8_t{0xFF};
  }

  // Accesses to any port since the bench was made.
  uint64_t writes() const { return writes_.load(std::memory_order_relaxed); }
  uint64_t reads() const { return reads_.load(std::memory_order_relaxed); }
  uint64_t accesses() const { return writes() + reads(); }

 private:
  void Count(std::atomic<uint64_t>& counter) {
    counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    clock_.Spend(kAccessNs);
  }

  VirtualClock& clock_;
  PortDevice* device_ = nullptr;
  unsigned base_ = 0;
  unsigned count_ = 0;
  std::atomic<uint64_t> writes_{0};
  std::atomic<uint64_t> reads_{0};
};

// The vendor libraries that are installed, by bare name ("FTD2XX"). A function is found by its
// ordinal where it has one and one is asked for, else by name.
class LibraryShelf final : public Libraries {
 public:
  struct Symbol {
    const char* name;
    uint16_t ordinal;  // 0 = none
    void* address;
  };
  template <typename Pointer>
  static Symbol Named(const char* name, Pointer function, uint16_t ordinal = 0) {
    return {name, ordinal, reinterpret_cast<void*>(function)};
  }

  // In place of one of that name. A library that is loaded keeps its functions.
  void Add(const std::string& name, std::vector<Symbol> symbols);
  void Remove(const std::string& name);
  // Null when there is no such library, and `whyNot` says so.
  std::unique_ptr<DynamicLibrary> Load(const char* name, std::string* whyNot) override;

 private:
  std::map<std::string, std::shared_ptr<const std::vector<Symbol>>> libraries_;
};

// The COM ports that something is plugged into. Opening fails, with the reason, where nothing is or
// where what is there refuses.
class SerialSockets final : public SerialPorts {
 public:
  using Opener = std::function<std::unique_ptr<SerialPort>(std::string* whyNot)>;

  void Add(unsigned number, Opener opener) { openers_[number] = std::move(opener); }
  void Remove(unsigned number) { openers_.erase(number); }
  std::unique_ptr<SerialPort> Open(unsigned number, std::string* whyNot) override;

 private:
  std::map<unsigned, Opener> openers_;
};

// Devices by path. A path that nobody added does not exist.
class DeviceSockets final : public Devices {
 public:
  using Opener = std::function<std::unique_ptr<OpenedDevice>(const DeviceOpenMode& mode)>;

  void Add(const std::string& path, Opener opener) { openers_[path] = std::move(opener); }
  void Remove(const std::string& path) { openers_.erase(path); }
  std::unique_ptr<OpenedDevice> Open(const char* path, const DeviceOpenMode& mode) override;

 private:
  std::map<std::string, Opener> openers_;
};

// Finding devices, and the service manager: with nothing plugged in, there are none. What is
// plugged in must outlive the bench or be taken out again (null).
class DeviceInterfaceSocket final : public DeviceInterfaces {
 public:
  void Connect(DeviceInterfaces* interfaces) { interfaces_ = interfaces; }
  std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) override;
  std::unique_ptr<DeviceNotification> NotifyOfClass(void* window,
                                                    const Guid& interfaceClass) override;
  std::unique_ptr<DeviceNotification> NotifyOfHandle(void* window, void* device) override;

 private:
  DeviceInterfaces* interfaces_ = nullptr;
};

class ServiceSocket final : public Services {
 public:
  void Connect(Services* services) { services_ = services; }
  std::unique_ptr<ServiceManager> Connect() override {
    return services_ == nullptr ? nullptr : services_->Connect();
  }

 private:
  Services* services_ = nullptr;
};

}  // namespace brisk::sim
