#include "adapters/ftdi/engine_owner.h"

#include <cstddef>
#include <new>

namespace brisk::ftdi {

EngineOwner& EngineOwner::Instance() {
  alignas(EngineOwner) static std::byte storage[sizeof(EngineOwner)];
  static EngineOwner& owner = *new (storage) EngineOwner;
  return owner;
}

CMpsseI2c& EngineOwner::engine() {
  if (engine_ == nullptr) engine_ = std::make_unique<CMpsseI2c>(d2xx_);
  return *engine_;
}

void EngineOwner::Renew() {
  deferred_.FlushAll();
  deferred_.Forget();
  engine_.reset();
}

void EngineOwner::Release() {
  {
    const std::lock_guard guard(lock_);
    Renew();
  }
  deferred_.Finish();
  const std::lock_guard guard(lock_);
  d2xx_.Unload();
}

}  // namespace brisk::ftdi
