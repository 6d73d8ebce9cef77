#include "sim/adapters/ftdi/d2xx_host.h"

#include <algorithm>
#include <utility>

namespace brisk::sim {
namespace {

constexpr uint64_t kCallNs = 2000;         // a call that stays inside the driver
constexpr uint64_t kTransferNs = 125'000;  // one that needs the bus
constexpr uint32_t kFlagHiSpeed = 2;

}  // namespace

void D2xxHost::Plug(const FtdiDescription& chip, Board* board) {
  const std::lock_guard lock(mutex_);
  for (unsigned i = 0; i < chip.kind->interfaces; ++i) {
    auto slot = std::make_unique<Slot>();
    slot->interface = std::make_unique<FtdiInterface>(chip, i, board, clock_);
    slots_.push_back(std::move(slot));
  }
}

// All interfaces of the chip that has one of this description.
std::vector<D2xxHost::Slot*> D2xxHost::ChipOf(std::string_view description) {
  std::vector<Slot*> found;
  const FtdiInterface* one = Find(description);
  for (const auto& slot : slots_) {
    if (one != nullptr && slot->interface->chip().serial == one->chip().serial) {
      found.push_back(slot.get());
    }
  }
  return found;
}

void D2xxHost::Unplug(std::string_view description) {
  const std::lock_guard lock(mutex_);
  for (Slot* slot : ChipOf(description)) slot->interface->unplugged = true;
}

void D2xxHost::Replug(std::string_view description) {
  const std::lock_guard lock(mutex_);
  for (Slot* slot : ChipOf(description)) {
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

uint32_t D2xxHost::Called(const char* function) {
  ++calls_[function];
  clock_.Spend(kCallNs);
  return faults_.Strikes(FaultKind::kD2xxFails, function) ? d2xx::kIoError : d2xx::kOk;
}

uint32_t D2xxHost::Reach(Handle handle, const char* function, Slot** slot) {
  if (const uint32_t status = Called(function); status != d2xx::kOk) return status;
  for (const auto& each : slots_) {
    if (each->handle != 0 && each->handle == reinterpret_cast<uintptr_t>(handle)) {
      *slot = each.get();
    }
  }
  if (*slot == nullptr) return d2xx::kInvalidHandle;
  if (faults_.Strikes(FaultKind::kUnplugged)) (*slot)->interface->unplugged = true;
  return (*slot)->interface->unplugged ? d2xx::kIoError : d2xx::kOk;
}

// The location of an interface that another program has open is hidden.
d2xx::ListNode D2xxHost::Describe(const Slot& slot) {
  const FtdiInterface& interface = *slot.interface;
  const FtdiChipKind& kind = *interface.chip().kind;
  const bool elsewhere = interface.chip().openElsewhere;
  d2xx::ListNode node{};
  node.flags =
      (elsewhere || slot.handle != 0 ? d2xx::kFlagOpened : 0) | (kind.hiSpeed ? kFlagHiSpeed : 0);
  node.type = kind.type;
  node.id = kind.id;
  node.location = elsewhere ? 0 : interface.location();
  interface.serial().copy(node.serial, sizeof node.serial - 1);
  interface.description().copy(node.description, sizeof node.description - 1);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): handles are numbers behind a pointer type.
  node.handle = reinterpret_cast<Handle>(slot.handle);
  return node;
}

uint32_t D2xxHost::CreateList(const char* function, uint32_t* count) {
  const std::lock_guard lock(mutex_);
  if (const uint32_t status = Called(function); status != d2xx::kOk) return status;
  list_.clear();
  for (const auto& slot : slots_) {
    if (!slot->interface->unplugged) list_.push_back(Describe(*slot));
  }
  *count = static_cast<uint32_t>(list_.size());
  return d2xx::kOk;
}

uint32_t D2xxHost::Open(const char* function, uint32_t location, Handle* handle) {
  const std::lock_guard lock(mutex_);
  if (const uint32_t status = Called(function); status != d2xx::kOk) return status;
  for (const auto& slot : slots_) {
    FtdiInterface& interface = *slot->interface;
    if (interface.unplugged || interface.location() != location) continue;
    if (slot->handle != 0 || interface.chip().openElsewhere) return d2xx::kDeviceNotOpened;
    slot->handle = nextHandle_;
    nextHandle_ += 0x10;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    *handle = reinterpret_cast<Handle>(slot->handle);
    return d2xx::kOk;
  }
  return d2xx::kDeviceNotFound;
}

// Also closes what is no longer on the bus.
uint32_t D2xxHost::Close(const char* function, Handle handle) {
  const std::lock_guard lock(mutex_);
  Slot* slot = nullptr;
  const uint32_t status = Reach(handle, function, &slot);
  if (slot != nullptr) slot->handle = 0;
  return status;
}

uint32_t D2xxHost::Write(Slot& slot, const uint8_t* bytes, uint32_t count) {
  if (const auto most = faults_.Amount(FaultKind::kShortWrite)) {
    count = static_cast<uint32_t>(std::min<uint64_t>(count, *most));
  }
  clock_.Spend(kTransferNs);
  slot.writes.emplace_back(bytes, bytes + count);
  if (slot.writes.size() > kMostWrites) slot.writes.pop_front();
  slot.interface->Write(bytes, count);
  if (faults_.Strikes(FaultKind::kNoAnswers)) slot.interface->Reset();
  return count;
}

uint32_t D2xxHost::Waiting(Slot& slot) { return static_cast<uint32_t>(slot.interface->Waiting()); }

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
