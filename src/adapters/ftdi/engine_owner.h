#pragma once

#include <memory>
#include <mutex>

#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/deferred_writes.h"
#include "adapters/ftdi/i2c_engine.h"
#include "adapters/ftdi/mpsse_line.h"
#include "base/debug.h"
#include "platform/platform.h"
#include "platform/threads.h"

namespace brisk::ftdi {

// One FTDI engine with all that it stands on, and its lock: shared by the I2C_ functions and the
// boards of device type 8. Whatever an engine has open, another one finds in use, as D2XX tells it.
//
// The lock may be taken again by its holder. Where the global lock is held too, that one was taken
// first.
class EngineOwner {
 public:
  EngineOwner(Platform& system, CDebug& log);
  EngineOwner(const EngineOwner&) = delete;
  EngineOwner& operator=(const EngineOwner&) = delete;

  RecursiveLock& lock() { return *lock_; }

  // Runs `operation` on the engine under the lock.
  template <typename Operation>
  auto Run(Operation operation) {
    const std::lock_guard guard(*lock_);
    return operation(engine_);
  }
  // The same for operations that reach an interface: what waits to be sent goes first.
  template <typename Operation>
  auto OnBus(Operation operation) {
    return Run([&](CMpsseI2c& engine) {
      deferred_.FlushAll();
      return operation(engine);
    });
  }

  // With the lock held.
  DeferredWrites& deferred() { return deferred_; }
  // Sends what is deferred and begins anew: no handle, no mode, pin shadows 0.
  void Renew();

  // Without the lock, when nothing else calls any more: sends what is deferred, lets the thread
  // end, and forgets handles and D2XX library. The next use starts anew.
  void Release();

 private:
  std::unique_ptr<RecursiveLock> lock_;
  D2xx d2xx_;
  MpsseLine line_;
  CMpsseI2c engine_;
  DeferredWrites deferred_;
};

}  // namespace brisk::ftdi
