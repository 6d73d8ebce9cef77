#include "adapters/ftdi/d2xx.h"

#include <cstring>

#include "brisk/brisk_types.h"

#include "base/debug.h"
#include "platform/platform.h"
#include "vendor/vendor_library.h"

namespace brisk::ftdi {
namespace {

constexpr const char* kLibraryName = "FTD2XX";
constexpr uint32_t kOpenByLocation = 4;
constexpr bool kHandlesFit = sizeof(void*) == sizeof(uint32_t);

void* AsPointer(uint32_t value) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): D2XX passes numbers in a pointer argument.
  return reinterpret_cast<void*>(static_cast<uintptr_t>(value));
}

}  // namespace

// Ordinals of FTD2XX.dll's export table.
constinit const std::array<D2xx::Symbol, D2xx::kFunctionCount> D2xx::kSymbols = {{
    {"FT_Close", 2},
    {"FT_Read", 3},
    {"FT_Write", 4},
    {"FT_ResetDevice", 6},
    {"FT_SetChars", 15},
    {"FT_SetTimeouts", 17},
    {"FT_GetQueueStatus", 18},
    {"FT_OpenEx", 27},
    {"FT_SetLatencyTimer", 29},
    {"FT_GetLatencyTimer", 30},
    {"FT_SetBitMode", 31},
    {"FT_SetUSBParameters", 33},
    {"FT_GetDeviceInfo", 61},
    {"FT_CreateDeviceInfoList", 70},
    {"FT_GetDeviceInfoList", 71},
    {"FT_GetDeviceInfoDetail", 72},
}};

bool D2xx::Load() {
  if (library_ != nullptr) return true;
  std::string whyNot;
  std::unique_ptr<DynamicLibrary> library = platform().libraries.Load(kLibraryName, &whyNot);
  if (library == nullptr) {
    debugLog.Print(0, "FTDI: no D2XX library: %s\n", whyNot.c_str());
    return false;
  }
  if (!Bind(*library)) return false;
  library_ = std::move(library);
  return true;
}

bool D2xx::Bind(DynamicLibrary& library) {
  std::array<void*, kFunctionCount> functions{};
  for (size_t i = 0; i < kFunctionCount; ++i) {
    const auto& [name, ordinal] = kSymbols[i];
    if (!BindFunction(library, kLibraryName, name, &functions[i], ordinal)) return false;
  }
  functions_ = functions;
  return true;
}

void D2xx::Unload() {
  functions_.fill(nullptr);
  numbered_.clear();
  library_.reset();
}

void* D2xx::Native(uint32_t handle) const {
  if (kHandlesFit) return AsPointer(handle);
  for (const Numbered& entry : numbered_) {
    if (entry.handle == handle) return entry.native;
  }
  return nullptr;
}

uint32_t D2xx::Number(void* native) {
  if (kHandlesFit) return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(native));
  while (nextNumber_ == 0 || Native(nextNumber_) != nullptr) ++nextNumber_;
  numbered_.push_back({nextNumber_, native});
  return nextNumber_++;
}

template <typename... Arguments>
Status D2xx::Call(Function function, Arguments... arguments) const {
  using Pointer = uint32_t(BRISK_CALL*)(Arguments...);
  if (functions_[function] == nullptr) return kDeviceNotFound;
  return reinterpret_cast<Pointer>(functions_[function])(arguments...);
}

template <typename... Arguments>
Status D2xx::CallHandle(Function function, uint32_t handle, Arguments... arguments) const {
  void* native = Native(handle);
  if (native == nullptr || library_ == nullptr) return kInvalidHandle;
  return Call(function, native, arguments...);
}

Status D2xx::CreateDeviceInfoList(uint32_t* count) {
  *count = 0;
  if (!Load()) return kDeviceNotFound;
  return Call(kCreateDeviceInfoList, count);
}

Status D2xx::GetDeviceInfoList(DeviceInfoNode* nodes, uint32_t* count) {
  return Call(kGetDeviceInfoList, static_cast<void*>(nodes), count);
}

Status D2xx::GetDeviceInfoDetail(uint32_t position, DeviceDetail* detail) {
  DeviceInfoNode node{};
  const Status status =
      Call(kGetDeviceInfoDetail, position, &node.flags, &node.type, &node.id, &node.location,
           static_cast<void*>(node.serial), static_cast<void*>(node.description), &node.handle);
  if (status != kOk) return status;
  detail->type = node.type;
  detail->location = node.location;
  detail->description.assign(node.description, strnlen(node.description, sizeof node.description));
  return kOk;
}

Status D2xx::OpenByLocation(uint32_t location, uint32_t* handle) {
  void* native = nullptr;
  const Status status = Call(kOpenEx, AsPointer(location), kOpenByLocation, &native);
  if (status != kOk) return status;
  *handle = Number(native);
  return kOk;
}

Status D2xx::Close(uint32_t handle) {
  const Status status = CallHandle(kClose, handle);
  std::erase_if(numbered_, [&](const Numbered& entry) { return entry.handle == handle; });
  return status;
}

Status D2xx::Read(uint32_t handle, void* buffer, uint32_t count, uint32_t* read) {
  *read = 0;
  return CallHandle(kRead, handle, buffer, count, read);
}

Status D2xx::Write(uint32_t handle, const uint8_t* bytes, uint32_t count, uint32_t* written) {
  *written = 0;
  // D2XX takes a pointer to changeable bytes and changes none.
  void* buffer = const_cast<uint8_t*>(bytes);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  return CallHandle(kWrite, handle, buffer, count, written);
}

Status D2xx::ResetDevice(uint32_t handle) { return CallHandle(kResetDevice, handle); }

Status D2xx::SetChars(uint32_t handle) {
  constexpr uint8_t kOff = 0;
  return CallHandle(kSetChars, handle, kOff, kOff, kOff, kOff);
}

Status D2xx::SetTimeouts(uint32_t handle, uint32_t readMs, uint32_t writeMs) {
  return CallHandle(kSetTimeouts, handle, readMs, writeMs);
}

Status D2xx::GetQueueStatus(uint32_t handle, uint32_t* waiting) {
  *waiting = 0;
  return CallHandle(kGetQueueStatus, handle, waiting);
}

Status D2xx::SetLatencyTimer(uint32_t handle, uint8_t milliseconds) {
  return CallHandle(kSetLatencyTimer, handle, milliseconds);
}

Status D2xx::GetLatencyTimer(uint32_t handle, uint8_t* milliseconds) {
  return CallHandle(kGetLatencyTimer, handle, milliseconds);
}

Status D2xx::SetBitMode(uint32_t handle, uint8_t mask, uint8_t mode) {
  return CallHandle(kSetBitMode, handle, mask, mode);
}

Status D2xx::SetUsbParameters(uint32_t handle, uint32_t inSize, uint32_t outSize) {
  return CallHandle(kSetUsbParameters, handle, inSize, outSize);
}

Status D2xx::GetDeviceType(uint32_t handle, uint32_t* type) {
  DeviceInfoNode node{};
  const Status status =
      CallHandle(kGetDeviceInfo, handle, type, &node.id, static_cast<char*>(node.serial),
                 static_cast<char*>(node.description), static_cast<void*>(nullptr));
  return status;
}

}  // namespace brisk::ftdi
