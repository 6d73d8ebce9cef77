#pragma once

#include <atomic>
#include <exception>
#include <type_traits>

#include "api/instance.h"
#include "base/debug.h"

namespace brisk {

// Fields of the shared section are plain stores between processes; within one, threads may select a
// device while others call.
template <typename T>
T SharedLoad(T& field) {
  return std::atomic_ref<T>(field).load(std::memory_order_relaxed);
}
template <typename T>
void SharedStore(T& field, T value) {
  std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
}

// Which calls the progress callback may make.
enum class InCallback { kRefused, kAllowed };

// What every export that reaches a back end does: take the global lock, run `call` on the attached
// instance, let no exception out. A call that finds no instance, or that the progress callback may
// not make, does nothing and returns 0.
template <InCallback inCallback = InCallback::kRefused, typename Call>
auto Locked(Call call) -> std::invoke_result_t<Call, Instance&> {
  using Result = std::invoke_result_t<Call, Instance&>;
  try {
    Instance* instance = AttachedInstance();
    if (instance != nullptr && instance->InsideCallback()) {
      if constexpr (inCallback == InCallback::kAllowed) return call(*instance);
      debugLog.Print(0, "brisk: a call inside the progress callback was refused\n");
    } else if (instance != nullptr) {
      const auto lock = instance->Lock();
      return call(*instance);
    }
  } catch (const std::exception& error) {
    debugLog.Print(0, "brisk: %s\n", error.what());
  } catch (...) {
    debugLog.Print(0, "brisk: unknown exception\n");
  }
  return Result();
}

inline bool DebugOn(Instance& instance) { return SharedLoad(instance.shared().dwDebug) != 0; }

// The back end of the selected device type, ready for use.
inline BackEnd& Selected(Instance& instance) {
  if (instance.InsideCallback() && instance.running != nullptr) return *instance.running;
  BackEnd& backEnd = instance.dispatch().For(SharedLoad(instance.shared().bDeviceType));
  instance.running = &backEnd;
  backEnd.Prepare();
  return backEnd;
}

// The three forms of a dispatched export: silent, with a debug line before the call, and with one
// after it. `line` prints; it runs only while debug lines are on.
template <InCallback inCallback = InCallback::kRefused, typename Operation>
auto Dispatched(Operation operation) {
  return Locked<inCallback>([&](Instance& instance) { return operation(Selected(instance)); });
}

template <typename Line, typename Operation>
auto LoggedThenDispatched(Line line, Operation operation) {
  return Locked([&](Instance& instance) {
    if (DebugOn(instance)) line();
    return operation(Selected(instance));
  });
}

template <typename Operation, typename Line>
auto DispatchedThenLogged(Operation operation, Line line) {
  return Locked([&](Instance& instance) {
    const auto result = operation(Selected(instance));
    if (DebugOn(instance)) {
      if constexpr (std::is_invocable_v<Line, decltype(result)>) {
        line(result);
      } else {
        line();
      }
    }
    return result;
  });
}

}  // namespace brisk
