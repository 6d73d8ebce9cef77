#include "sim/adapters/ftdi/d2xx_functions.h"

#include <cstring>
#include <mutex>

#include "brisk/brisk_types.h"

#include "sim/adapters/ftdi/d2xx_api.h"

namespace brisk::sim {
namespace {

constexpr uint32_t kOpenByLocation = 4;
constexpr size_t kSerialSize = 16;
constexpr size_t kDescriptionSize = 64;

struct Current {
  std::mutex mutex;
  std::shared_ptr<D2xxHost> host;
};

Current& TheCurrent() {
  static Current& current = *std::make_unique<Current>().release();
  return current;
}

// The node of FT_GetDeviceInfoList, as D2XX lays it out.
struct Node {
  uint32_t flags;
  uint32_t type;
  uint32_t id;
  uint32_t location;
  char serial[kSerialSize];
  char description[kDescriptionSize];
  void* handle;
};

void CopyText(char* destination, size_t size, const std::string& text) {
  std::memset(destination, 0, size);
  text.copy(destination, size - 1);
}

template <typename Operation>
uint32_t With(Operation operation) {
  const std::shared_ptr<D2xxHost> host = CurrentD2xxHost();
  return host == nullptr ? D2xxHost::kDeviceNotFound : operation(*host);
}

}  // namespace

void SetD2xxHost(std::shared_ptr<D2xxHost> host) {
  const std::lock_guard lock(TheCurrent().mutex);
  TheCurrent().host = std::move(host);
}

std::shared_ptr<D2xxHost> CurrentD2xxHost() {
  const std::lock_guard lock(TheCurrent().mutex);
  return TheCurrent().host;
}

namespace d2xx {

uint32_t BRISK_CALL Close(void* handle) {
  return With([&](D2xxHost& host) { return host.Close(handle); });
}

uint32_t BRISK_CALL Read(void* handle, void* buffer, uint32_t count, uint32_t* read) {
  return With([&](D2xxHost& host) {
    return host.Read(handle, static_cast<uint8_t*>(buffer), count, read);
  });
}

uint32_t BRISK_CALL Write(void* handle, void* buffer, uint32_t count, uint32_t* written) {
  return With([&](D2xxHost& host) {
    return host.Write(handle, static_cast<const uint8_t*>(buffer), count, written);
  });
}

uint32_t BRISK_CALL ResetDevice(void* handle) {
  return With([&](D2xxHost& host) { return host.Reset(handle); });
}

uint32_t BRISK_CALL SetChars(void* handle, uint8_t /*event*/, uint8_t /*eventOn*/,
                             uint8_t /*error*/, uint8_t /*errorOn*/) {
  return With([&](D2xxHost& host) { return host.Setting(handle, "FT_SetChars"); });
}

uint32_t BRISK_CALL SetTimeouts(void* handle, uint32_t /*read*/, uint32_t /*write*/) {
  return With([&](D2xxHost& host) { return host.Setting(handle, "FT_SetTimeouts"); });
}

uint32_t BRISK_CALL GetQueueStatus(void* handle, uint32_t* waiting) {
  return With([&](D2xxHost& host) { return host.QueueStatus(handle, waiting); });
}

uint32_t BRISK_CALL OpenEx(void* argument, uint32_t flags, void** handle) {
  if (flags != kOpenByLocation) return D2xxHost::kInvalidParameter;
  const auto location = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(argument));
  return With([&](D2xxHost& host) { return host.Open(location, handle); });
}

uint32_t BRISK_CALL SetLatencyTimer(void* handle, uint8_t milliseconds) {
  return With([&](D2xxHost& host) { return host.SetLatency(handle, milliseconds); });
}

uint32_t BRISK_CALL GetLatencyTimer(void* handle, uint8_t* milliseconds) {
  return With([&](D2xxHost& host) { return host.GetLatency(handle, milliseconds); });
}

uint32_t BRISK_CALL SetBitMode(void* handle, uint8_t /*mask*/, uint8_t mode) {
  return With([&](D2xxHost& host) { return host.SetBitMode(handle, mode); });
}

uint32_t BRISK_CALL SetUSBParameters(void* handle, uint32_t /*in*/, uint32_t /*out*/) {
  return With([&](D2xxHost& host) { return host.Setting(handle, "FT_SetUSBParameters"); });
}

uint32_t BRISK_CALL GetDeviceInfo(void* handle, uint32_t* type, uint32_t* id, char* serial,
                                  char* description, void* /*unused*/) {
  return With([&](D2xxHost& host) {
    D2xxHost::Entry entry{};
    const uint32_t status = host.Info(handle, &entry);
    if (status != D2xxHost::kOk) return status;
    *type = entry.type;
    *id = entry.id;
    CopyText(serial, kSerialSize, entry.serial);
    CopyText(description, kDescriptionSize, entry.description);
    return status;
  });
}

uint32_t BRISK_CALL CreateDeviceInfoList(uint32_t* count) {
  return With([&](D2xxHost& host) { return host.CreateList(count); });
}

uint32_t BRISK_CALL GetDeviceInfoList(void* nodes, uint32_t* count) {
  return With([&](D2xxHost& host) {
    std::vector<D2xxHost::Entry> entries;
    const uint32_t status = host.List(&entries);
    if (status != D2xxHost::kOk) return status;
    Node* node = static_cast<Node*>(nodes);
    for (const D2xxHost::Entry& entry : entries) {
      *node = {entry.flags, entry.type, entry.id, entry.location, {}, {}, entry.handle};
      CopyText(node->serial, kSerialSize, entry.serial);
      CopyText(node->description, kDescriptionSize, entry.description);
      ++node;
    }
    *count = static_cast<uint32_t>(entries.size());
    return status;
  });
}

uint32_t BRISK_CALL GetDeviceInfoDetail(uint32_t index, uint32_t* flags, uint32_t* type,
                                        uint32_t* id, uint32_t* location, void* serial,
                                        void* description, void** handle) {
  return With([&](D2xxHost& host) {
    D2xxHost::Entry entry{};
    const uint32_t status = host.Detail(index, &entry);
    if (status != D2xxHost::kOk) return status;
    *flags = entry.flags;
    *type = entry.type;
    *id = entry.id;
    *location = entry.location;
    *handle = entry.handle;
    CopyText(static_cast<char*>(serial), kSerialSize, entry.serial);
    CopyText(static_cast<char*>(description), kDescriptionSize, entry.description);
    return status;
  });
}

}  // namespace d2xx

std::vector<LibraryShelf::Symbol> D2xxSymbols() {
  return {
      {"FT_Close", 2, reinterpret_cast<void*>(&d2xx::Close)},
      {"FT_Read", 3, reinterpret_cast<void*>(&d2xx::Read)},
      {"FT_Write", 4, reinterpret_cast<void*>(&d2xx::Write)},
      {"FT_ResetDevice", 6, reinterpret_cast<void*>(&d2xx::ResetDevice)},
      {"FT_SetChars", 15, reinterpret_cast<void*>(&d2xx::SetChars)},
      {"FT_SetTimeouts", 17, reinterpret_cast<void*>(&d2xx::SetTimeouts)},
      {"FT_GetQueueStatus", 18, reinterpret_cast<void*>(&d2xx::GetQueueStatus)},
      {"FT_OpenEx", 27, reinterpret_cast<void*>(&d2xx::OpenEx)},
      {"FT_SetLatencyTimer", 29, reinterpret_cast<void*>(&d2xx::SetLatencyTimer)},
      {"FT_GetLatencyTimer", 30, reinterpret_cast<void*>(&d2xx::GetLatencyTimer)},
      {"FT_SetBitMode", 31, reinterpret_cast<void*>(&d2xx::SetBitMode)},
      {"FT_SetUSBParameters", 33, reinterpret_cast<void*>(&d2xx::SetUSBParameters)},
      {"FT_GetDeviceInfo", 61, reinterpret_cast<void*>(&d2xx::GetDeviceInfo)},
      {"FT_CreateDeviceInfoList", 70, reinterpret_cast<void*>(&d2xx::CreateDeviceInfoList)},
      {"FT_GetDeviceInfoList", 71, reinterpret_cast<void*>(&d2xx::GetDeviceInfoList)},
      {"FT_GetDeviceInfoDetail", 72, reinterpret_cast<void*>(&d2xx::GetDeviceInfoDetail)},
  };
}

}  // namespace brisk::sim
