#include "adapters/ftdi/devices.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace brisk::ftdi {
namespace {

constexpr size_t kMostOpen = 50;  // of either speed

struct Family {
  uint32_t firstType, lastType;  // D2XX's
  std::string_view channels;     // letters of the interfaces that have an MPSSE
  // In a search by name and location: whether the first interface with the name decides, a location
  // of 0 being that of one in use; else the last one looked at tells which of the two was wrong, so
  // that with boards of one description the order of D2XX's list decides.
  bool firstNameDecides;
};

constexpr Family FamilyOf(Speed speed) {
  constexpr Family kFullSpeed{d2xx::kFt2232c, d2xx::kFt2232c, "A", false};
  constexpr Family kHiSpeed{d2xx::kFt2232h, d2xx::kFt4232h, "AB", true};
  return speed == Speed::kHi ? kHiSpeed : kFullSpeed;
}

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// The first blank that one of the letters follows, looking for one letter after the other.
struct Found {
  char letter = 0;
  bool endsText = false;
};
Found FindChannel(std::string_view letters, std::string_view description) {
  for (const char letter : letters) {
    const std::array wanted = {' ', letter};
    const auto found =
        std::search(description.begin(), description.end(), wanted.begin(), wanted.end(),
                    [](char c, char sought) { return UpperCase(c) == sought; });
    if (found != description.end()) return {letter, description.end() - found == 2};
  }
  return {};
}

// A description with " A" in its middle is no interface A, whatever follows.
bool Belongs(const Family& family, const d2xx::ListNode& node) {
  if (node.type < family.firstType || node.type > family.lastType) return false;
  const size_t length = strnlen(node.description, sizeof node.description);
  return FindChannel(family.channels, {node.description, length}).endsText;
}

StatusCode Judge(const Family& family, const DeviceDetail& detail, std::string_view name,
                 uint32_t location) {
  if (detail.description != name) return kInvalidName;
  if (family.firstNameDecides && detail.location == 0) return kInUse;
  return detail.location == location ? kOk : kInvalidLocation;
}

}  // namespace

void ModeTable::Add(uint32_t handle) {
  if (HandleModeRecord* free = Find(0)) *free = {handle, Mode::kFast};
}

void ModeTable::Remove(uint32_t handle) {
  if (HandleModeRecord* record = Find(handle)) *record = {};
}

void ModeTable::Set(uint32_t handle, Mode mode) {
  if (HandleModeRecord* record = Find(handle)) record->mode = mode;
}

Mode ModeTable::Of(uint32_t handle) const {
  for (const HandleModeRecord& record : records_) {
    if (record.handle == handle) return record.mode;
  }
  return Mode::kFast;
}

ModeTable::HandleModeRecord* ModeTable::Find(uint32_t handle) {
  const auto found = std::find_if(records_.begin(), records_.end(),
                                  [&](const auto& record) { return record.handle == handle; });
  return found != records_.end() ? &*found : nullptr;
}

char CMpsseDevices::ChannelOf(std::string_view description) {
  return FindChannel(FamilyOf(Speed::kHi).channels, description).letter;
}

Answer<std::vector<uint32_t>> CMpsseDevices::List(Speed speed, Opened opened) {
  const auto [status, nodes] = d2xx_.ListDevices();
  Answer<std::vector<uint32_t>> list{status, {}};
  for (uint32_t position = 0; position < nodes.size(); ++position) {
    const d2xx::ListNode& node = nodes[position];
    if (opened == Opened::kLeftOut && (node.flags & d2xx::kFlagOpened) != 0) continue;
    if (Belongs(FamilyOf(speed), node)) list.value.push_back(position);
  }
  return list;
}

// With no match being a failure.
Answer<std::vector<uint32_t>> CMpsseDevices::ListSome(Speed speed) {
  auto list = List(speed, Opened::kIncluded);
  if (list.status == kOk && list.value.empty()) list.status = kDeviceNotFound;
  return list;
}

Answer<DeviceDetail> CMpsseDevices::Detail(Speed speed, uint32_t index) {
  const auto [status, positions] = ListSome(speed);
  if (status != kOk) return {status, {}};
  if (index >= positions.size()) return {kInvalidNameIndex, {}};
  return d2xx_.GetDeviceInfoDetail(positions[index]);
}

StatusCode CMpsseDevices::Verify(Speed speed, std::string_view name, uint32_t location) {
  const Family family = FamilyOf(speed);
  const auto [status, positions] = ListSome(speed);
  if (status != kOk) return status;
  StatusCode verdict = kInvalidName;
  for (const uint32_t position : positions) {
    const auto [unreadable, detail] = d2xx_.GetDeviceInfoDetail(position);
    if (unreadable != kOk) return kInvalidName;
    verdict = Judge(family, detail, name, location);
    const bool named = verdict != kInvalidName;
    if (verdict == kOk || (named && family.firstNameDecides)) break;
  }
  return verdict;
}

Answer<uint32_t> CMpsseDevices::Open(Speed speed, std::string_view name, uint32_t location) {
  const StatusCode verdict = Verify(speed, name, location);
  if (verdict != kOk) return {verdict};
  const auto opened = OpenVerified(speed, name, location);
  if (opened.status == kOk) modes_.Add(opened.value);
  return opened;
}

Answer<uint32_t> CMpsseDevices::OpenVerified(Speed speed, std::string_view name,
                                             uint32_t location) {
  const uint32_t self = system_.ProcessId();
  const OpenDeviceRecord* own = nullptr;
  size_t open = 0;
  for (const OpenDeviceRecord& record : records_) {
    if (record.speed != speed) continue;
    ++open;
    if (record.name != name || record.location != location) continue;
    if (record.processId != self) return {kInUse};
    own = &record;
  }
  if (own != nullptr) return {kOk, own->handle};
  if (open >= kMostOpen) return {kInsufficientResources};
  const auto opened = d2xx_.OpenByLocation(location);
  if (opened.status == kOk) {
    records_.push_back({self, speed, std::string(name), location, opened.value});
  }
  return opened;
}

Answer<uint32_t> CMpsseDevices::OpenTheDevice() {
  const auto [status, positions] = ListSome(Speed::kFull);
  if (status != kOk) return {status};
  if (positions.size() > 1) return {kMoreThanOneDevice};
  const auto [unreadable, detail] = Detail(Speed::kFull, 0);
  if (unreadable != kOk) return {unreadable};
  return Open(Speed::kFull, detail.description, detail.location);
}

OpenDeviceRecord* CMpsseDevices::Find(uint32_t handle) {
  const uint32_t self = system_.ProcessId();
  for (OpenDeviceRecord& record : records_) {
    if (record.handle == handle && record.processId == self) return &record;
  }
  return nullptr;
}

StatusCode CMpsseDevices::Close(uint32_t handle) {
  modes_.Remove(handle);
  if (!IsOpen(handle)) return kInvalidHandle;
  std::erase_if(records_, [&](const auto& record) { return record.handle == handle; });
  return d2xx_.Close(handle);
}

bool CMpsseDevices::IsHiSpeed(uint32_t handle) {
  const OpenDeviceRecord* record = Find(handle);
  return record != nullptr && record->speed == Speed::kHi;
}

void CMpsseDevices::ForgetAll() {
  records_.clear();
  modes_ = {};
}

}  // namespace brisk::ftdi
