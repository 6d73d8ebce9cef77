#pragma once

#include <exception>
#include <type_traits>

#include "api/instance.h"
#include "device/groups.h"

// What stands between an export and the device: the lock, the device of the selected type, the
// debug line, the fixed results, and the walls that no exception passes.
namespace brisk {

// Which calls the progress callback may make.
enum class InCallback { kRefused, kAllowed };

// Runs `call` and lets no exception out of the library: the debug log tells it, and the result is
// 0.
template <typename Call>
auto Guarded(const CDebug& log, Call call) -> std::invoke_result_t<Call> {
  try {
    return call();
  } catch (const std::exception& error) {
    log.Print(0, "brisk: %s\n", error.what());
  } catch (...) {
    log.Print(0, "brisk: unknown exception\n");
  }
  return std::invoke_result_t<Call>();
}

// What every export that reaches a device does: take the global lock and run `call` on the attached
// instance. A call that finds no instance, or that the progress callback may not make, does nothing
// and returns 0.
template <InCallback inCallback = InCallback::kRefused, typename Call>
auto Locked(Call call) -> std::invoke_result_t<Call, Instance&> {
  using Result = std::invoke_result_t<Call, Instance&>;
  Instance* const instance = AttachedInstance();
  if (instance == nullptr) return Result();
  return Guarded(instance->log(), [&]() -> Result {
    if (instance->InsideCallback()) {
      if constexpr (inCallback == InCallback::kAllowed) return call(*instance);
      instance->log().Print(0, "brisk: a call inside the progress callback was refused\n");
      return Result();
    }
    const auto lock = instance->Lock();
    return call(*instance);
  });
}

// The operation on the device's family, or the cell of its type where it has none. An operation
// that returns nothing does nothing then. `operation` takes the family, and the device type if it
// wants to.
template <typename Family, typename Operation>
auto CallOn(const Selected& selected, Group<Family> group, Operation operation) {
  Family* const family = selected.device->*group.family;
  if constexpr (std::is_invocable_v<Operation, Family&>) {
    using Result = std::invoke_result_t<Operation, Family&>;
    return family != nullptr ? operation(*family) : static_cast<Result>(selected.type->*group.cell);
  } else {
    using Result = std::invoke_result_t<Operation, Family&, const DeviceType&>;
    return family != nullptr ? operation(*family, *selected.type)
                             : static_cast<Result>(selected.type->*group.cell);
  }
}

// A dispatched export: one operation on the selected device.
template <InCallback inCallback = InCallback::kRefused, typename Family, typename Operation>
auto Dispatched(Group<Family> group, Operation operation) {
  return Locked<inCallback>(
      [&](Instance& instance) { return CallOn(instance.SelectedDevice(), group, operation); });
}

// The same with a debug line before the call, while debug lines are on.
template <typename Line, typename Family, typename Operation>
auto LoggedThenDispatched(Line line, Group<Family> group, Operation operation) {
  return Locked([&](Instance& instance) {
    if (instance.debugging()) line(instance.log());
    return CallOn(instance.SelectedDevice(), group, operation);
  });
}

// The same with a debug line after the call; the line may look at the result. `call` takes the
// selection.
template <typename Call, typename Line>
auto CalledThenLogged(Call call, Line line) {
  return Locked([&](Instance& instance) {
    const auto result = call(instance.SelectedDevice());
    if (instance.debugging()) {
      if constexpr (std::is_invocable_v<Line, CDebug&, decltype(result)>) {
        line(instance.log(), result);
      } else {
        line(instance.log());
      }
    }
    return result;
  });
}

template <typename Family, typename Operation, typename Line>
auto DispatchedThenLogged(Group<Family> group, Operation operation, Line line) {
  return CalledThenLogged(
      [&](const Selected& selected) { return CallOn(selected, group, operation); }, line);
}

// The numbers of the contract. Transactions: 1 = done, 0 = not. The string commands, pictures and
// port lines: 0 = done, 1 = failed.
inline uint32_t OneWhenDone(Status status) { return status.ok() ? 1 : 0; }
inline uint32_t ZeroWhenDone(Status status) { return status.ok() ? 0 : 1; }
// Transactions of a device whose library's answers are the results.
inline uint32_t Answer(Status status, const DeviceType& type) {
  return type.answersAreResults ? status.code() : OneWhenDone(status);
}

}  // namespace brisk
