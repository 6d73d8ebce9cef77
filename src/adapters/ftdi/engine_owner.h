#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/deferred_writes.h"
#include "adapters/ftdi/i2c_engine.h"

namespace brisk::ftdi {

// The process's one FTDI engine, shared by the I2C_ functions and the back end of device type 8,
// and its lock. The lock outlives the engines, so that replacing an engine waits for whoever uses
// it. It is re-entrant. Where the global lock is held too, that one was taken first.
class EngineOwner {
 public:
  // Made at the first call and never destroyed: what runs at the end of the process may use it.
  static EngineOwner& Instance();

  EngineOwner() = default;
  EngineOwner(const EngineOwner&) = delete;
  EngineOwner& operator=(const EngineOwner&) = delete;

  std::recursive_mutex& lock() { return lock_; }

  // With the lock held. The engine is made at the first use.
  CMpsseI2c& engine();
  DeferredWrites& deferred() { return deferred_; }
  // Sends what is deferred and makes a new engine: no handle, no mode, pin shadows 0.
  void Renew();

  // Without the lock, when nothing else of the library runs any more: sends what is deferred, lets
  // the thread end, and forgets engine and D2XX library. The next use starts anew.
  void Release();

 private:
  std::recursive_mutex lock_;
  D2xx d2xx_;
  std::unique_ptr<CMpsseI2c> engine_;
  DeferredWrites deferred_{*this};
};

}  // namespace brisk::ftdi
