#include "sim/adapters/ftdi/d2xx_host.h"

#include <algorithm>
#include <utility>

namespace brisk::sim {
namespace {

constexpr uint64_t kCallNs = 2000;         // a call that stays inside the driver
constexpr uint64_t kTransferNs = 125'000;  // one that needs the bus
constexpr uint32_t kFlagOpened = 1;
constexpr uint32_t kFlagHiSpeed = 2;
constexpr uint8_t kLeastLatencyMs = 2;

}  // namespace

void D2xxHost::Plug(const FtdiDescription& chip, Board* board) {
  const std::lock_guard lock(mutex_);
  for (unsigned i = 0; i < chip.kind->interfaces; ++i) {
    auto slot = std::make_unique<Slot>();
    slot->interface = std::make_unique<FtdiInterface>(chip, i, board, clock_);
    slots_.push_back(std::move(slot));
  }
}

void D2xxHost::Unplug(std::string_view description) {
  const std::lock_guard lock(mutex_);
  const FtdiInterface* gone = Find(description);
  if (gone == nullptr) return;
  for (const auto& slot : slots_) {
    if (slot->interface->chip().serial == gone->chip().serial) slot->interface->unplugged = true;
  }
}

void D2xxHost::Replug(std::string_view description) {
  const std::lock_guard lock(mutex_);
  const FtdiInterface* back = Find(description);
  if (back == nullptr) return;
  for (const auto& slot : slots_) {
    if (slot->interface->chip().serial != back->chip().serial) continue;
    slot->interface->unplugged = false;
    slot->interface->Reset();
    slot->interface->SetBitMode(0);
    slot->handle = 0;
  }
}

FtdiInterface* D2xxHost::Find(std::string_view description) {
  for (const auto& slot : slots_) {
    if (slot->interface->description() == description) return slot->interface.get();
  }
  return nullptr;
}

// Counts the call; false when it fails by a fault.
bool D2xxHost::Called(const char* function, uint32_t* status) {
  ++calls_[function];
  clock_.Spend(kCallNs);
  *status = faults_.Strikes(FaultKind::kD2xxFails, function) ? kIoError : kOk;
  return *status == kOk;
}

D2xxHost::Slot* D2xxHost::SlotOf(Handle handle) {
  for (const auto& slot : slots_) {
    if (slot->handle != 0 && slot->handle == reinterpret_cast<uintptr_t>(handle)) {
      return slot.get();
    }
  }
  return nullptr;
}

uint32_t D2xxHost::Reach(Handle handle, const char* function, Slot** slot) {
  uint32_t status = kOk;
  if (!Called(function, &status)) return status;
  *slot = SlotOf(handle);
  if (*slot == nullptr) return kInvalidHandle;
  if (faults_.Strikes(FaultKind::kUnplugged)) (*slot)->interface->unplugged = true;
  return (*slot)->interface->unplugged ? kIoError : kOk;
}

D2xxHost::Entry D2xxHost::Describe(const Slot& slot) {
  const FtdiInterface& interface = *slot.interface;
  const FtdiChipKind& kind = *interface.chip().kind;
  const bool elsewhere = interface.chip().openElsewhere;
  Entry entry{};
  entry.flags =
      (elsewhere || slot.handle != 0 ? kFlagOpened : 0) | (kind.hiSpeed ? kFlagHiSpeed : 0);
  entry.type = kind.type;
  entry.id = kind.id;
  entry.location = elsewhere ? 0 : interface.location();
  entry.serial = interface.serial();
  entry.description = interface.description();
  // NOLINTNEXTLINE(performance-no-int-to-ptr): handles are numbers behind a pointer type.
  entry.handle = reinterpret_cast<Handle>(slot.handle);
  return entry;
}

uint32_t D2xxHost::CreateList(uint32_t* count) {
  const std::lock_guard lock(mutex_);
  uint32_t status = kOk;
  if (!Called("FT_CreateDeviceInfoList", &status)) return status;
  list_.clear();
  for (const auto& slot : slots_) {
    if (!slot->interface->unplugged) list_.push_back(Describe(*slot));
  }
  *count = static_cast<uint32_t>(list_.size());
  return kOk;
}

uint32_t D2xxHost::List(std::vector<Entry>* entries) {
  const std::lock_guard lock(mutex_);
  uint32_t status = kOk;
  if (!Called("FT_GetDeviceInfoList", &status)) return status;
  *entries = list_;
  return kOk;
}

uint32_t D2xxHost::Detail(uint32_t index, Entry* entry) {
  const std::lock_guard lock(mutex_);
  uint32_t status = kOk;
  if (!Called("FT_GetDeviceInfoDetail", &status)) return status;
  if (index >= list_.size()) return kInvalidParameter;
  *entry = list_[index];
  return kOk;
}

uint32_t D2xxHost::Open(uint32_t location, Handle* handle) {
  const std::lock_guard lock(mutex_);
  uint32_t status = kOk;
  if (!Called("FT_OpenEx", &status)) return status;
  for (const auto& slot : slots_) {
    FtdiInterface& interface = *slot->interface;
    if (interface.unplugged || interface.location() != location) continue;
    if (slot->handle != 0 || interface.chip().openElsewhere) return kDeviceNotOpened;
    slot->handle = nextHandle_;
    nextHandle_ += 0x10;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    *handle = reinterpret_cast<Handle>(slot->handle);
    return kOk;
  }
  return kDeviceNotFound;
}

uint32_t D2xxHost::Close(Handle handle) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, "FT_Close", &slot);
  if (slot != nullptr) slot->handle = 0;
  return status;
}

uint32_t D2xxHost::Reset(Handle handle) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, "FT_ResetDevice", &slot);
  if (status == kOk) slot->interface->Reset();
  return status;
}

uint32_t D2xxHost::Read(Handle handle, uint8_t* buffer, uint32_t count, uint32_t* read) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  *read = 0;
  const uint32_t status = Reach(handle, "FT_Read", &slot);
  if (status == kOk) *read = static_cast<uint32_t>(slot->interface->Read(buffer, count));
  return status;
}

uint32_t D2xxHost::Write(Handle handle, const uint8_t* bytes, uint32_t count, uint32_t* written) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  *written = 0;
  const uint32_t status = Reach(handle, "FT_Write", &slot);
  if (status != kOk) return status;
  uint64_t most = 0;
  if (faults_.Strikes(FaultKind::kShortWrite) && faults_.Number(FaultKind::kShortWrite, &most)) {
    count = static_cast<uint32_t>(std::min<uint64_t>(count, most));
  }
  clock_.Spend(kTransferNs);
  slot->writes.emplace_back(bytes, bytes + count);
  if (slot->writes.size() > kMostWrites) slot->writes.pop_front();
  slot->interface->Write(bytes, count);
  *written = count;
  return kOk;
}

uint32_t D2xxHost::QueueStatus(Handle handle, uint32_t* waiting) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  *waiting = 0;
  const uint32_t status = Reach(handle, "FT_GetQueueStatus", &slot);
  if (status != kOk) return status;
  if (faults_.Active(FaultKind::kNoAnswers)) slot->interface->Reset();
  *waiting = static_cast<uint32_t>(slot->interface->Waiting());
  return kOk;
}

uint32_t D2xxHost::SetLatency(Handle handle, uint8_t milliseconds) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, "FT_SetLatencyTimer", &slot);
  if (status != kOk) return status;
  if (milliseconds < kLeastLatencyMs) return kInvalidParameter;
  slot->interface->SetLatency(milliseconds);
  return kOk;
}

uint32_t D2xxHost::GetLatency(Handle handle, uint8_t* milliseconds) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, "FT_GetLatencyTimer", &slot);
  if (status == kOk) *milliseconds = slot->interface->latency();
  return status;
}

uint32_t D2xxHost::SetBitMode(Handle handle, uint8_t mode) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, "FT_SetBitMode", &slot);
  if (status == kOk) slot->interface->SetBitMode(mode);
  return status;
}

uint32_t D2xxHost::Setting(Handle handle, const char* function) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  return Reach(handle, function, &slot);
}

uint32_t D2xxHost::Info(Handle handle, Entry* entry) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, "FT_GetDeviceInfo", &slot);
  if (status == kOk) *entry = Describe(*slot);
  return status;
}

std::vector<std::vector<uint8_t>> D2xxHost::TakeWrites(std::string_view description) {
  const std::lock_guard lock(mutex_);
  for (const auto& slot : slots_) {
    if (slot->interface->description() != description) continue;
    const auto writes = std::exchange(slot->writes, {});
    return {writes.begin(), writes.end()};
  }
  return {};
}

uint64_t D2xxHost::calls(const std::string& function) {
  const std::lock_guard lock(mutex_);
  return calls_[function];
}

}  // namespace brisk::sim
