#include "adapters/ftdi/devices.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "adapters/ftdi/mpsse.h"
#include "platform/platform.h"

namespace brisk::ftdi {
namespace {

constexpr uint32_t kMaxWrite = 4096;
constexpr uint32_t kTimeoutMs = 100;
constexpr uint32_t kUsbTransferSize = 1;  // the library rounds it up to its smallest
constexpr uint8_t kLatencyMs = 2;
constexpr uint8_t kMinLatencyMs = 2;
constexpr uint8_t kBitModeReset = 0x00;
constexpr uint8_t kBitModeMpsse = 0x02;

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

// The first occurrence ends the text; a description with " A" in its middle is no interface A,
// whatever follows.
bool FirstEnds(std::string_view text, size_t found) { return found + 2 == text.size(); }

}  // namespace

bool TimedOut(int64_t start, uint32_t milliseconds) {
  const uint64_t passed = static_cast<uint64_t>(platform().clock.LocalTime() - start);
  return passed > uint64_t{milliseconds} * 10000;
}

bool IsFullSpeedInterface(uint32_t type, std::string_view description) {
  if (type != kFt2232c) return false;
  const std::string upper = UpperCase(description);
  const size_t found = upper.find(" A");
  return found != std::string::npos && FirstEnds(upper, found);
}

bool IsHiSpeedInterface(uint32_t type, std::string_view description) {
  if (type != kFt2232h && type != kFt4232h) return false;
  const std::string upper = UpperCase(description);
  size_t found = upper.find(" A");
  if (found == std::string::npos) found = upper.find(" B");
  return found != std::string::npos && FirstEnds(upper, found);
}

char ChannelOf(std::string_view description) {
  const std::string upper = UpperCase(description);
  if (upper.find(" A") != std::string::npos) return 'A';
  if (upper.find(" B") != std::string::npos) return 'B';
  return 0;
}

Status CMpsseDevices::Enumerate(Matcher matches, bool unopenedOnly, DeviceList* list) {
  list->clear();
  uint32_t count = 0;
  Status status = d2xx_.CreateDeviceInfoList(&count);
  if (status != kOk || count == 0) return status;
  try {
    std::vector<DeviceInfoNode> nodes(count);
    status = d2xx_.GetDeviceInfoList(nodes.data(), &count);
    if (status != kOk) return status;
    nodes.resize(std::min<size_t>(nodes.size(), count));
    for (uint32_t position = 0; position < nodes.size(); ++position) {
      const DeviceInfoNode& node = nodes[position];
      const std::string_view description(node.description,
                                         strnlen(node.description, sizeof node.description));
      if (unopenedOnly && (node.flags & kFlagOpened) != 0) continue;
      if (matches(node.type, description)) list->push_back(position);
    }
  } catch (const std::bad_alloc&) {
    return kInsufficientResources;
  } catch (const std::length_error&) {
    return kInsufficientResources;
  }
  return kOk;
}

Status CMpsseDevices::EnumerateSome(Matcher matches, DeviceList* list) {
  const Status status = Enumerate(matches, false, list);
  return status == kOk && list->empty() ? kDeviceNotFound : status;
}

Status CMpsseDevices::Detail(Matcher matches, uint32_t index, DeviceDetail* detail) {
  DeviceList list;
  const Status status = EnumerateSome(matches, &list);
  if (status != kOk) return status;
  if (index >= list.size()) return kInvalidNameIndex;
  return d2xx_.GetDeviceInfoDetail(list[index], detail);
}

Status CMpsseDevices::CopyName(const std::string& description, char* name, uint32_t nameSize) {
  if (nameSize <= description.size()) return kNameBufferTooSmall;
  std::memcpy(name, description.c_str(), description.size() + 1);
  return kOk;
}

Status CMpsseDevices::ListDevices(bool counting, DeviceList* list) {
  return Enumerate(IsFullSpeedInterface, counting, list);
}

Status CMpsseDevices::GetDeviceNameLocation(uint32_t index, char* name, uint32_t nameSize,
                                            uint32_t* location) {
  if (name == nullptr) return kNullNameBuffer;
  DeviceDetail detail;
  const Status status = Detail(IsFullSpeedInterface, index, &detail);
  if (status != kOk) return status;
  if (location != nullptr) *location = detail.location;
  return CopyName(detail.description, name, nameSize);
}

// The last entry looked at says which of the two was wrong, so with boards that share a description
// the order in which D2XX lists them decides.
Status CMpsseDevices::VerifyNameLocation(std::string_view name, uint32_t location) {
  DeviceList list;
  const Status status = EnumerateSome(IsFullSpeedInterface, &list);
  if (status != kOk) return status;
  bool lastHadName = false;
  for (const uint32_t position : list) {
    DeviceDetail detail;
    if (d2xx_.GetDeviceInfoDetail(position, &detail) != kOk) return kInvalidName;
    lastHadName = detail.description == name;
    if (lastHadName && detail.location == location) return kOk;
  }
  return lastHadName ? kInvalidLocation : kInvalidName;
}

Status CMpsseDevices::OpenByNameLocation(const char* name, uint32_t location, uint32_t* handle) {
  if (name == nullptr) return kNullNameBuffer;
  Status status = VerifyNameLocation(name, location);
  if (status != kOk) return status;
  const uint32_t self = platform().system.ProcessId();
  if (registry_.HeldByOther(self, name, location)) return kInUse;
  if (const OpenDeviceRecord* own = registry_.FindOwn(self, name, location)) {
    *handle = own->handle;
    return kOk;
  }
  // An interface without an entry could not be used or closed by anything.
  if (registry_.full()) return kInsufficientResources;
  status = d2xx_.OpenByLocation(location, handle);
  if (status == kOk) registry_.Add({self, name, location, *handle});
  return status;
}

Status CMpsseDevices::OpenTheDevice(uint32_t* handle) {
  DeviceList list;
  Status status = EnumerateSome(IsFullSpeedInterface, &list);
  if (status != kOk) return status;
  if (list.size() > 1) return kMoreThanOneDevice;
  char name[65];
  uint32_t location = 0;
  status = GetDeviceNameLocation(0, name, sizeof name, &location);
  return status == kOk ? OpenByNameLocation(name, location, handle) : status;
}

Status CMpsseDevices::CloseFullSpeed(uint32_t handle) {
  OpenDeviceRecord* record = registry_.Find(platform().system.ProcessId(), handle);
  if (record == nullptr) return kInvalidHandle;
  const Status status = d2xx_.Close(handle);
  registry_.Free(*record);
  return status;
}

Status CMpsseDevices::IsOpenFullSpeed(uint32_t handle) {
  return registry_.Find(platform().system.ProcessId(), handle) != nullptr ? kOk : kInvalidHandle;
}

Status CMpsseDevices::Configure(uint32_t handle) {
  Status status = ResetAndPurge(handle);
  if (status == kOk) status = d2xx_.SetUsbParameters(handle, kUsbTransferSize, kUsbTransferSize);
  if (status == kOk) status = d2xx_.SetChars(handle);
  if (status == kOk) status = d2xx_.SetTimeouts(handle, kTimeoutMs, kTimeoutMs);
  if (status == kOk) status = SetLatency(handle, kLatencyMs);
  if (status == kOk) status = d2xx_.SetBitMode(handle, 0x00, kBitModeReset);
  if (status == kOk) status = d2xx_.SetBitMode(handle, 0x00, kBitModeMpsse);
  if (status == kOk) status = Synchronise(handle);
  return status;
}

Status CMpsseDevices::ResetAndPurge(uint32_t handle) {
  const Status status = d2xx_.ResetDevice(handle);
  return status == kOk ? DropWaiting(handle) : status;
}

Status CMpsseDevices::SetLatency(uint32_t handle, uint8_t milliseconds) {
  if (milliseconds < kMinLatencyMs) return kInvalidLatency;
  return d2xx_.SetLatencyTimer(handle, milliseconds);
}

Status CMpsseDevices::GetLatency(uint32_t handle, uint8_t* milliseconds) {
  return d2xx_.GetLatencyTimer(handle, milliseconds);
}

Status CMpsseDevices::Synchronise(uint32_t handle) {
  const Status status = DropWaiting(handle);
  if (status != kOk) return status;
  if (EchoTest(handle, kBogusCommand1, true) != kOk) return kSynchronisationFailed;
  if (EchoTest(handle, kBogusCommand2, false) != kOk) return kSynchronisationFailed;
  return kOk;
}

Status CMpsseDevices::EchoTest(uint32_t handle, uint8_t command, bool resend) {
  Status status = resend ? kOk : SendCommands(handle, {&command, 1});
  const int64_t start = platform().clock.LocalTime();
  bool afterEcho = false;  // the previous byte was 0xFA, also when it ended the previous read
  while (status == kOk) {
    if (resend) status = SendCommands(handle, {&command, 1});
    uint32_t waiting = 0;
    if (status == kOk) status = d2xx_.GetQueueStatus(handle, &waiting);
    if (status != kOk) break;
    platform().clock.Sleep(1);
    if (TimedOut(start, kAnswerTimeoutMs)) return kCommandNotCompleted;
    while (waiting > 0) {
      const uint32_t piece = std::min<uint32_t>(waiting, kInputBufferSize);
      uint32_t read = 0;
      static_cast<void>(d2xx_.Read(handle, input_.data(), piece, &read));
      for (uint32_t i = 0; i < std::min(read, piece); ++i) {
        if (afterEcho && input_[i] == command) return kOk;
        afterEcho = input_[i] == kBadCommandEcho;
      }
      waiting -= piece;
    }
  }
  return status;
}

Status CMpsseDevices::Flush(uint32_t handle) {
  const std::span<const uint8_t> bytes = queue_->bytes();
  Status status = kOk;
  if (queue_->overflowed()) {
    status = kInsufficientResources;
  } else if (bytes.size() > kMaxWrite) {
    status = WriteInPieces(handle, bytes);
  } else if (!bytes.empty()) {
    uint32_t written = 0;
    status = d2xx_.Write(handle, bytes.data(), static_cast<uint32_t>(bytes.size()), &written);
  }
  queue_->Clear();
  return status;
}

Status CMpsseDevices::WriteInPieces(uint32_t handle, std::span<const uint8_t> bytes) {
  int64_t progress = platform().clock.LocalTime();
  while (!bytes.empty()) {
    const uint32_t piece = static_cast<uint32_t>(std::min<size_t>(bytes.size(), kMaxWrite));
    uint32_t written = 0;
    const Status status = d2xx_.Write(handle, bytes.data(), piece, &written);
    if (status != kOk) return status;
    bytes = bytes.subspan(std::min(written, piece));
    if (written != 0) {
      progress = platform().clock.LocalTime();
      continue;
    }
    platform().clock.Sleep(1);
    if (TimedOut(progress, kAnswerTimeoutMs)) return kCommandNotCompleted;
  }
  return kOk;
}

Status CMpsseDevices::SendCommands(uint32_t handle, std::span<const uint8_t> commands) {
  ClearQueue();
  for (const uint8_t command : commands) Queue(command);
  return Flush(handle);
}

Status CMpsseDevices::WaitForAnswer(uint32_t handle, uint32_t* count) {
  const int64_t start = platform().clock.LocalTime();
  Status status = kOk;
  *count = 0;
  do {
    status = d2xx_.GetQueueStatus(handle, count);
    if (status != kOk) break;
    platform().clock.Sleep(0);
    if (TimedOut(start, kAnswerTimeoutMs)) status = kCommandNotCompleted;
  } while (*count == 0 && status == kOk);
  return status;
}

Status CMpsseDevices::ReadWaiting(uint32_t handle, std::span<const uint8_t>* bytes) {
  *bytes = {};
  uint32_t waiting = 0;
  Status status = d2xx_.GetQueueStatus(handle, &waiting);
  if (status != kOk || waiting == 0) return status;
  waiting = std::min<uint32_t>(waiting, kInputBufferSize);
  uint32_t read = 0;
  status = d2xx_.Read(handle, input_.data(), waiting, &read);
  *bytes = std::span(input_.data(), std::min(read, waiting));
  return status;
}

Status CMpsseDevices::DropWaiting(uint32_t handle) {
  uint32_t waiting = 0;
  Status status = d2xx_.GetQueueStatus(handle, &waiting);
  while (status == kOk && waiting > 0) {
    const uint32_t piece = std::min<uint32_t>(waiting, kInputBufferSize);
    uint32_t read = 0;
    status = d2xx_.Read(handle, input_.data(), piece, &read);
    waiting -= piece;
  }
  return status;
}

uint32_t CMpsseDevices::FullSpeedClock(uint32_t divisor) { return BitRate(kBaseClock, divisor); }

Status CMpsseDevices::SetLoopback(uint32_t handle, bool on) {
  const uint8_t command = on ? kLoopbackOn : kLoopbackOff;
  return SendCommands(handle, {&command, 1});
}

}  // namespace brisk::ftdi
