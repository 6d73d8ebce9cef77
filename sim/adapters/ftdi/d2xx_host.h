#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "contracts/d2xx.h"
#include "sim/adapters/ftdi/chip.h"
#include "sim/common/faults.h"
#include "sim/common/virtual_clock.h"

namespace brisk::sim {

// The vendor library's view of the FTDI chips on the PC's USB. Results are its status codes. Faults
// (a call that fails, a short write, lost answers, a chip that is unplugged) come from the bench.
// Any thread may call: the library's users have threads of their own. No call blocks in real time.
class D2xxHost {
 public:
  using Handle = d2xx::Handle;

  // An interface and what the library keeps of it.
  struct Slot {
    std::unique_ptr<FtdiInterface> interface;
    std::deque<std::vector<uint8_t>> writes;
    uintptr_t handle = 0;  // 0 = closed
  };

  D2xxHost(VirtualClock& clock, Faults& faults) : clock_(clock), faults_(faults) {}
  D2xxHost(const D2xxHost&) = delete;
  D2xxHost& operator=(const D2xxHost&) = delete;

  // Plugs a chip in, with a board on its interface A; null = nothing connected. The board must
  // outlive the host's use.
  void Plug(const FtdiDescription& chip, Board* board);
  // The interface with this description leaves the bus, with the whole chip; Replug brings it back
  // as after power-on, its old handles void.
  void Unplug(std::string_view description);
  void Replug(std::string_view description);

  // One call of a library function, from here to the operation's end under the host's lock: it is
  // counted, takes its time and fails where a fault says so or the handle is none. Only then does
  // the operation run, with what it works on; it may return a status of its own.
  template <typename Operation>
  uint32_t On(Handle handle, const char* function, Operation operation) {
    const std::lock_guard lock(mutex_);
    Slot* slot = nullptr;
    const uint32_t status = Reach(handle, function, &slot);
    return status == d2xx::kOk ? StatusOf(operation, *slot) : status;
  }
  // As of the last CreateList.
  template <typename Operation>
  uint32_t OnList(const char* function, Operation operation) {
    const std::lock_guard lock(mutex_);
    const uint32_t status = Called(function);
    return status == d2xx::kOk ? StatusOf(operation, std::as_const(list_)) : status;
  }
  // Takes stock of the bus.
  uint32_t CreateList(const char* function, uint32_t* count);
  // Not found, or refused when it is open already, here or elsewhere.
  uint32_t Open(const char* function, uint32_t location, Handle* handle);
  uint32_t Close(const char* function, Handle handle);
  // Inside On. Write loses what is answered when a fault says so.
  uint32_t Write(Slot& slot, const uint8_t* bytes, uint32_t count);  // returns how many it took
  uint32_t Waiting(Slot& slot);
  static d2xx::ListNode Describe(const Slot& slot);

  // What the USB has carried: the last transfers of the interface with this description, oldest
  // first.
  static constexpr size_t kMostWrites = 1000;
  std::vector<std::vector<uint8_t>> TakeWrites(std::string_view description);
  uint64_t calls(const std::string& function);  // as in "FT_Write"; failed ones count
  // Null when no chip has such an interface. Not locked.
  FtdiInterface* Find(std::string_view description);

 private:
  template <typename Operation, typename Argument>
  static uint32_t StatusOf(Operation& operation, Argument& argument) {
    if constexpr (std::is_void_v<decltype(operation(argument))>) {
      operation(argument);
      return d2xx::kOk;
    } else {
      return operation(argument);
    }
  }
  uint32_t Called(const char* function);
  uint32_t Reach(Handle handle, const char* function, Slot** slot);
  std::vector<Slot*> ChipOf(std::string_view description);

  std::mutex mutex_;
  VirtualClock& clock_;
  Faults& faults_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<d2xx::ListNode> list_;
  // Beyond 32 bits where pointers are: a caller that keeps only 32 of them loses the handle.
  uintptr_t nextHandle_ = sizeof(void*) == 8 ? static_cast<uintptr_t>(0x7F5100001000) : 0x5100;
  std::map<std::string, uint64_t> calls_;
};

}  // namespace brisk::sim
