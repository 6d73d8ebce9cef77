#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "sim/adapters/ftdi/chip.h"
#include "sim/config/faults.h"
#include "sim/pc/virtual_clock.h"

namespace brisk::sim {

// The vendor library's view of the FTDI chips on the PC's USB. Results are its status codes. Faults
// (a call that fails, a short write, lost answers, a chip that is unplugged) come from the bench.
class D2xxHost {
 public:
  using Handle = void*;

  static constexpr uint32_t kOk = 0;
  static constexpr uint32_t kInvalidHandle = 1;
  static constexpr uint32_t kDeviceNotFound = 2;
  static constexpr uint32_t kDeviceNotOpened = 3;
  static constexpr uint32_t kIoError = 4;
  static constexpr uint32_t kInvalidParameter = 6;

  // What an entry of the device list says. The location of an interface that another program has
  // open is hidden.
  struct Entry {
    uint32_t flags;
    uint32_t type;
    uint32_t id;
    uint32_t location;
    std::string serial;
    std::string description;
    Handle handle;
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

  uint32_t CreateList(uint32_t* count);
  uint32_t List(std::vector<Entry>* entries);
  uint32_t Detail(uint32_t index, Entry* entry);
  uint32_t Open(uint32_t location, Handle* handle);
  uint32_t Close(Handle handle);
  uint32_t Reset(Handle handle);
  uint32_t Read(Handle handle, uint8_t* buffer, uint32_t count, uint32_t* read);
  uint32_t Write(Handle handle, const uint8_t* bytes, uint32_t count, uint32_t* written);
  uint32_t QueueStatus(Handle handle, uint32_t* waiting);
  uint32_t SetLatency(Handle handle, uint8_t milliseconds);
  uint32_t GetLatency(Handle handle, uint8_t* milliseconds);
  uint32_t SetBitMode(Handle handle, uint8_t mode);
  // Calls without an effect here: time-outs, characters, transfer sizes.
  uint32_t Setting(Handle handle, const char* function);
  uint32_t Info(Handle handle, Entry* entry);

  // What the USB has carried: the last transfers of the interface with this description, oldest
  // first.
  static constexpr size_t kMostWrites = 1000;
  std::vector<std::vector<uint8_t>> TakeWrites(std::string_view description);
  uint64_t calls(const std::string& function);
  FtdiInterface* Find(std::string_view description);

 private:
  struct Slot {
    std::unique_ptr<FtdiInterface> interface;
    std::deque<std::vector<uint8_t>> writes;
    uintptr_t handle = 0;  // 0 = closed
  };

  bool Called(const char* function, uint32_t* status);
  Slot* SlotOf(Handle handle);
  uint32_t Reach(Handle handle, const char* function, Slot** slot);
  static Entry Describe(const Slot& slot);

  std::mutex mutex_;
  VirtualClock& clock_;
  Faults& faults_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::vector<Entry> list_;  // as of the last CreateList
  // Beyond 32 bits where pointers are: a caller that keeps only 32 of them loses the handle.
  uintptr_t nextHandle_ = sizeof(void*) == 8 ? static_cast<uintptr_t>(0x7F5100001000) : 0x5100;
  std::map<std::string, uint64_t> calls_;
};

}  // namespace brisk::sim
