#pragma once

#include <cstdint>
#include <exception>

#include "adapters/ftdi/engine_owner.h"
#include "api/instance.h"

// What stands between an I2C_ function and the engine: its lock, what waits to be sent, the check
// of the handle, and the wall that no exception passes.
namespace brisk {

constexpr uint32_t Number(ftdi::StatusCode status) { return static_cast<uint32_t>(status); }

// Runs the operation on the engine's owner. Without an attached library there is none, and no
// device and no handle either. Nothing leaves the library: what can still be thrown is a lack of
// memory.
template <typename Operation>
uint32_t WithOwner(ftdi::StatusCode unattached, Operation operation) {
  Instance* const instance = AttachedInstance();
  if (instance == nullptr) return Number(unattached);
  try {
    return Number(operation(instance->ftdi().engine()));
  } catch (const std::exception&) {
    return Number(ftdi::kInsufficientResources);
  }
}

// Looks for devices, or asks for what needs no transfer to an interface.
template <typename Operation>
uint32_t WithEngine(ftdi::StatusCode unattached, Operation operation) {
  return WithOwner(unattached, [&](ftdi::EngineOwner& owner) { return owner.Run(operation); });
}

// Reaches an interface.
template <typename Operation>
uint32_t OnBus(Operation operation) {
  return WithOwner(ftdi::kInvalidHandle,
                   [&](ftdi::EngineOwner& owner) { return owner.OnBus(operation); });
}

// The same for handles of either speed that are open, and for those of hi-speed interfaces.
template <typename Operation>
uint32_t OnOpen(uint32_t handle, Operation operation) {
  return OnBus([&](ftdi::CMpsseI2c& engine) {
    return engine.IsOpen(handle) ? operation(engine) : ftdi::kInvalidHandle;
  });
}
template <typename Operation>
uint32_t OnHiSpeed(uint32_t handle, Operation operation) {
  return OnBus([&](ftdi::CMpsseI2c& engine) {
    return engine.IsHiSpeed(handle) ? operation(engine) : ftdi::kInvalidHandle;
  });
}

// Needs no engine; its lock is taken all the same, so that calls of a process go one by one.
template <typename Operation>
uint32_t WithoutEngine(Operation operation) {
  if (AttachedInstance() == nullptr) return Number(operation());
  return WithEngine(ftdi::kOk, [&](ftdi::CMpsseI2c&) { return operation(); });
}

}  // namespace brisk
