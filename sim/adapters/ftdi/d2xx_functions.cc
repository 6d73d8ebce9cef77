// Every function returns a status; results travel through pointers, which stay untouched on a
// failure, except that counts of bytes are cleared. Settings that have no meaning here (characters,
// time-outs, transfer sizes) are taken and ignored.
#include "sim/adapters/ftdi/d2xx_functions.h"

#include <algorithm>
#include <cstring>

#include "sim/adapters/plugged.h"
#include "sim/adapters/vendor_function.h"

namespace brisk::sim {
namespace {

using Slot = D2xxHost::Slot;

constexpr uint8_t kLeastLatencyMs = 2;

template <typename Operation>
uint32_t With(Operation operation) {
  const std::shared_ptr<D2xxHost> host = CurrentD2xxHost();
  return host == nullptr ? d2xx::kDeviceNotFound : operation(*host);
}

template <typename Operation>
uint32_t On(void* handle, const char* function, Operation operation) {
  return With([&](D2xxHost& host) { return host.On(handle, function, operation); });
}

// A call without an effect here.
uint32_t Ignored(void* handle, const char* function) {
  return On(handle, function, [](Slot&) {});
}

}  // namespace

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_Close(void* handle) {
  return With([&](D2xxHost& host) { return host.Close("FT_Close", handle); });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_Read(void* handle, void* buffer, uint32_t count,
                                                  uint32_t* read) {
  *read = 0;
  return On(handle, __func__, [&](Slot& slot) {
    *read = static_cast<uint32_t>(slot.interface->Read(static_cast<uint8_t*>(buffer), count));
    return d2xx::kOk;
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_Write(void* handle, void* buffer, uint32_t count,
                                                   uint32_t* written) {
  *written = 0;
  return With([&](D2xxHost& host) {
    return host.On(handle, "FT_Write", [&](Slot& slot) {
      *written = host.Write(slot, static_cast<const uint8_t*>(buffer), count);
    });
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_ResetDevice(void* handle) {
  return On(handle, __func__, [](Slot& slot) {
    slot.interface->Reset();
    return d2xx::kOk;
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_SetChars(void* handle, uint8_t /*event*/,
                                                      uint8_t /*eventOn*/, uint8_t /*error*/,
                                                      uint8_t /*errorOn*/) {
  return Ignored(handle, __func__);
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_SetTimeouts(void* handle, uint32_t /*read*/,
                                                         uint32_t /*write*/) {
  return Ignored(handle, __func__);
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_GetQueueStatus(void* handle, uint32_t* waiting) {
  *waiting = 0;
  return With([&](D2xxHost& host) {
    return host.On(handle, "FT_GetQueueStatus", [&](Slot& slot) { *waiting = host.Waiting(slot); });
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_OpenEx(void* argument, uint32_t flags, void** handle) {
  if (flags != d2xx::kOpenByLocation) return d2xx::kInvalidParameter;
  const auto location = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(argument));
  return With([&](D2xxHost& host) { return host.Open("FT_OpenEx", location, handle); });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_SetLatencyTimer(void* handle, uint8_t milliseconds) {
  return On(handle, __func__, [&](Slot& slot) {
    if (milliseconds < kLeastLatencyMs) return d2xx::kInvalidParameter;
    slot.interface->SetLatency(milliseconds);
    return d2xx::kOk;
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_GetLatencyTimer(void* handle, uint8_t* milliseconds) {
  return On(handle, __func__, [&](Slot& slot) {
    *milliseconds = slot.interface->latency();
    return d2xx::kOk;
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_SetBitMode(void* handle, uint8_t /*mask*/,
                                                        uint8_t mode) {
  return On(handle, __func__, [&](Slot& slot) {
    slot.interface->SetBitMode(mode);
    return d2xx::kOk;
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_SetUSBParameters(void* handle, uint32_t /*in*/,
                                                              uint32_t /*out*/) {
  return Ignored(handle, __func__);
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_GetDeviceInfo(void* handle, uint32_t* type,
                                                           uint32_t* id, char* serial,
                                                           char* description, void* /*unused*/) {
  return On(handle, __func__, [&](Slot& slot) {
    const d2xx::ListNode node = D2xxHost::Describe(slot);
    *type = node.type;
    *id = node.id;
    std::memcpy(serial, node.serial, sizeof node.serial);
    std::memcpy(description, node.description, sizeof node.description);
  });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_CreateDeviceInfoList(uint32_t* count) {
  return With([&](D2xxHost& host) { return host.CreateList("FT_CreateDeviceInfoList", count); });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_GetDeviceInfoList(d2xx::ListNode* nodes,
                                                               uint32_t* count) {
  const auto copy = [&](const std::vector<d2xx::ListNode>& list) {
    std::copy(list.begin(), list.end(), nodes);
    *count = static_cast<uint32_t>(list.size());
  };
  return With([&](D2xxHost& host) { return host.OnList("FT_GetDeviceInfoList", copy); });
}

BRISK_VENDOR_FUNCTION uint32_t BRISK_CALL FT_GetDeviceInfoDetail(uint32_t index, uint32_t* flags,
                                                                 uint32_t* type, uint32_t* id,
                                                                 uint32_t* location, void* serial,
                                                                 void* description, void** handle) {
  const auto copy = [&](const std::vector<d2xx::ListNode>& list) {
    if (index >= list.size()) return d2xx::kInvalidParameter;
    const d2xx::ListNode& node = list[index];
    *flags = node.flags;
    *type = node.type;
    *id = node.id;
    *location = node.location;
    *handle = node.handle;
    std::memcpy(serial, node.serial, sizeof node.serial);
    std::memcpy(description, node.description, sizeof node.description);
    return d2xx::kOk;
  };
  return With([&](D2xxHost& host) { return host.OnList("FT_GetDeviceInfoDetail", copy); });
}

std::shared_ptr<D2xxHost> CurrentD2xxHost() { return Plugged<D2xxHost>::Last(); }

std::vector<LibraryShelf::Symbol> D2xxSymbols() {
#define BRISK_ROW(name, ordinal, ...) \
  LibraryShelf::Named<decltype(d2xx::k##name)::Pointer>("FT_" #name, FT_##name, ordinal),
  return {BRISK_D2XX_FUNCTIONS(BRISK_ROW)};
#undef BRISK_ROW
}

}  // namespace brisk::sim
