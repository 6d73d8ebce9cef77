#include "adapters/ftdi/engine_owner.h"

namespace brisk::ftdi {

EngineOwner::EngineOwner(Platform& system, CDebug& log)
    : lock_(system.threads.NewLock()),
      d2xx_(system.libraries, log),
      line_(d2xx_, system.clock),
      engine_(d2xx_, system.system, line_),
      deferred_(*lock_, system.threads, line_) {}

void EngineOwner::Renew() {
  deferred_.FlushAll();
  deferred_.Forget();
  line_.ClearQueue();
  engine_.Reset();
}

void EngineOwner::Release() {
  {
    const std::lock_guard guard(*lock_);
    Renew();
  }
  deferred_.Finish();
  const std::lock_guard guard(*lock_);
  d2xx_.Unload();
}

}  // namespace brisk::ftdi
