#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <thread>

#include "brisk/brisk_extensions.h"

#include "adapters/lpt/ports.h"
#include "api/attach.h"
#include "api/dispatch.h"
#include "base/progress.h"
#include "platform/platform.h"
#include "port_driver/driver.h"

namespace brisk {

// Everything the library keeps for a process, from attach to detach.
class Instance : public ProgressReporter {
 public:
  Instance();

  void Attach();
  void Detach(Detaching how);

  SharedSection& shared() { return shared_; }
  Dispatch& dispatch() { return dispatch_; }

  // The global lock; empty after detach has taken it away, when only the last steps of unloading
  // still call.
  std::unique_lock<std::mutex> Lock();

  void SetProgressCallback(BriskProgressCallback callback, void* context);
  bool Report(uint32_t done, uint32_t total) override;
  // The back end of the call under way: what the callback's own calls go to, whatever device type
  // has been selected meanwhile.
  BackEnd* running = nullptr;
  // Whether a thread may have been killed that held a back end's lock.
  bool ThreadsKilled() const { return detaching_ == Detaching::kProcessKilledThreads; }

  // True on the thread that is inside the progress callback, and so already holds the lock.
  bool InsideCallback() const { return reporting_.load() == std::this_thread::get_id(); }

 private:
  SharedSection& shared_;
  std::optional<std::mutex> lock_;
  Detaching detaching_ = Detaching::kUnloaded;
  Driver driver_;
  lpt::Ports ports_;
  Dispatch dispatch_;
  BriskProgressCallback callback_ = nullptr;
  void* context_ = nullptr;
  std::atomic<std::thread::id> reporting_{};
};

// The attached instance; null outside attach and detach.
Instance* AttachedInstance();

}  // namespace brisk
