#include "api/instance.h"

#include <memory>

#include "brisk/brisk.h"

#include "api/call.h"

namespace brisk {
namespace {

// Made during attach, so that it outlives the object whose destructor detaches.
std::unique_ptr<Instance>& Holder() {
  static std::unique_ptr<Instance> holder;
  return holder;
}

template <typename T>
T SharedLoad(T& field) {
  return std::atomic_ref<T>(field).load(std::memory_order_relaxed);
}
template <typename T>
void SharedStore(T& field, T value) {
  std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
}

}  // namespace

Instance* AttachedInstance() { return Holder().get(); }

void AttachLibrary() {
  CDebug(platform().debugStream).Print(0, "In Dllmain\n");
  Holder() = std::make_unique<Instance>(platform());
  Holder()->Attach();
}

void DetachLibrary(Detaching how) {
  if (Holder() == nullptr) return;
  Holder()->Detach(how);
  Holder().reset();
}

Instance::Instance(Platform& platform)
    : log_(platform.debugStream),
      shared_(platform.sharedMemory.Section()),
      host_{platform, log_, *this},
      driver_(platform, log_),
      ports_(platform.ports, platform.clock, platform.scheduler, log_),
      lptA_(lpt::kWiringA, kLptBase, ports_, driver_, host_),
      lptB_(lpt::kWiringB, kLptBase, ports_, driver_, host_),
      lptC_(lpt::kWiringC, kLptBase, ports_, driver_, host_),
      u2c_(host_),
      debugBoard_(host_, selectedPorts_),
      uart_(host_),
      tcon_(host_),
      textBridge_(host_),
      ftdi_(host_),
      devices_{&lptA_.device(), &u2c_.device(),        &debugBoard_.device(),
               &uart_.device(), &tcon_.device(),       &lptB_.device(),
               &none_,          &textBridge_.device(), &ftdi_.device(),
               &lptC_.device()} {}

void Instance::Attach() {
  lock_ = host_.system.threads.NewLock();
  driver_.Attach();
  ports_.Cpu_GetFrequency();
  debugBoard_.Attach();
}

void Instance::Detach(Detaching how) {
  detaching_ = how;
  driver_.Detach();
  lock_.reset();
  debugBoard_.Detach();
  ftdi_.Detach();
}

uint8_t Instance::deviceType() const { return SharedLoad(shared_.bDeviceType); }

bool Instance::debugging() const { return SharedLoad(shared_.dwDebug) != 0; }

void Instance::EnableDebug(int32_t enable) { SharedStore(shared_.dwDebug, enable); }

uint8_t Instance::Select(uint8_t deviceType) {
  SharedStore(shared_.bDeviceType, deviceType);
  if (deviceType >= kDeviceTypes || devices_[deviceType]->onSelect == nullptr) return 1;
  return static_cast<uint8_t>(devices_[deviceType]->onSelect->Connect());
}

Selected Instance::SelectedDevice() {
  if (InsideCallback() && running_.device != nullptr) return running_;
  const uint8_t type = deviceType();
  running_ = {&TypeOf(type), type < kDeviceTypes ? devices_[type] : &none_};
  if (running_.device->onUse != nullptr) running_.device->onUse->Connect();
  return running_;
}

// The boards of types 4 and 8 have locks of their own, which nobody gives back who was killed while
// holding one: at the end of such a process they are left alone.
PortRegisters* Instance::PortsOf(uint8_t deviceType) {
  const bool own = deviceType == BRISK_DEVICE_TCON_USB || deviceType == BRISK_DEVICE_FTDI;
  if (!own) return debugBoard_.device().ports;
  return detaching_ == Detaching::kProcessKilledThreads ? nullptr : devices_[deviceType]->ports;
}

PortRegisters* Instance::WritablePorts() { return PortsOf(deviceType()); }

// The pins of type 8 are written by pairs of nibbles and read by nobody.
PortRegisters* Instance::ReadablePorts() {
  const uint8_t type = deviceType();
  return PortsOf(type == BRISK_DEVICE_FTDI ? uint8_t{BRISK_DEVICE_DEBUG_BOARD} : type);
}

Status Instance::SelectedPorts::WritePort(uint8_t port, uint8_t value) {
  const auto lock = instance_.Lock();
  return Guarded(instance_.log_, [&]() -> Status {
    PortRegisters* const ports = instance_.WritablePorts();
    return ports != nullptr ? ports->WritePort(port, value) : Cause::kNoAdapter;
  });
}

void Instance::SetProgressCallback(BriskProgressCallback callback, void* context) {
  callback_ = callback;
  context_ = context;
}

bool Instance::Report(uint32_t done, uint32_t total) {
  if (callback_ == nullptr) return false;
  class Inside {
   public:
    explicit Inside(std::atomic<std::thread::id>& reporting) : reporting_(reporting) {
      reporting_ = std::this_thread::get_id();
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    ~Inside() { reporting_ = std::thread::id(); }

   private:
    std::atomic<std::thread::id>& reporting_;
  };
  const Inside inside(reporting_);
  return callback_(done, total, context_) != 0;
}

}  // namespace brisk
