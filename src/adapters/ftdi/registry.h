#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace brisk::ftdi {

// One open interface. Process id 0 marks a free entry, whose other fields are 0 and empty.
struct OpenDeviceRecord {
  uint32_t processId = 0;
  std::string name;
  uint32_t location = 0;
  uint32_t handle = 0;
};

struct OpenHiSpeedDeviceRecord : OpenDeviceRecord {
  char channel = 'A';
  bool divideByFive = true;
  uint32_t deviceType = 0;
};

// The interfaces that are open. A process that forks keeps its parent's entries, but only the
// process that opened an interface finds it by its handle.
template <typename Record>
class Registry {
 public:
  static constexpr size_t kSize = 50;

  bool full() const { return count_ == kSize; }

  Record* Find(uint32_t processId, uint32_t handle) {
    if (count_ == 0 || handle == 0) return nullptr;
    return FindIf([&](const Record& record) {
      return record.processId == processId && record.handle == handle;
    });
  }
  Record* FindOwn(uint32_t processId, std::string_view name, uint32_t location) {
    return FindIf([&](const Record& record) {
      return record.processId == processId && record.name == name && record.location == location;
    });
  }
  bool HeldByOther(uint32_t processId, std::string_view name, uint32_t location) {
    return FindIf([&](const Record& record) {
             return record.processId != 0 && record.processId != processId && record.name == name &&
                    record.location == location;
           }) != nullptr;
  }
  void Add(Record record) {
    Record* free = FindIf([](const Record& entry) { return entry.processId == 0; });
    if (free == nullptr) return;
    *free = std::move(record);
    ++count_;
  }
  void Free(Record& record) {
    record = Record{};
    --count_;
  }

 private:
  template <typename Predicate>
  Record* FindIf(Predicate predicate) {
    auto found = std::find_if(records_.begin(), records_.end(), predicate);
    return found == records_.end() ? nullptr : &*found;
  }

  size_t count_ = 0;
  std::array<Record, kSize> records_;
};

}  // namespace brisk::ftdi
