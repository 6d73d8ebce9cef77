#include "api/instance.h"

#include <memory>

#include "base/debug.h"

namespace brisk {
namespace {

// Made during attach, so that it outlives the object whose destructor detaches.
std::unique_ptr<Instance>& Holder() {
  static std::unique_ptr<Instance> holder;
  return holder;
}

}  // namespace

Instance* AttachedInstance() { return Holder().get(); }

void AttachLibrary() {
  debugLog.Print(0, "In Dllmain\n");
  Holder() = std::make_unique<Instance>();
  Holder()->Attach();
}

void DetachLibrary(Detaching how) {
  if (Holder() == nullptr) return;
  Holder()->Detach(how);
  Holder().reset();
}

Instance::Instance()
    : shared_(platform().sharedMemory.Section()),
      ports_(platform().ports, platform().clock),
      dispatch_(ports_, driver_, *this) {}

void Instance::Attach() {
  lock_.emplace();
  driver_.Attach();
  ports_.Cpu_GetFrequency();
  for (uint8_t type = 0; type < Dispatch::kDeviceTypes; ++type) dispatch_.For(type).ProcessAttach();
}

void Instance::Detach(Detaching how) {
  detaching_ = how;
  driver_.Detach();
  lock_.reset();
  for (uint8_t type = 0; type < Dispatch::kDeviceTypes; ++type) dispatch_.For(type).ProcessDetach();
}

std::unique_lock<std::mutex> Instance::Lock() {
  return lock_ ? std::unique_lock(*lock_) : std::unique_lock<std::mutex>();
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
