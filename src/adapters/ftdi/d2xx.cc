#include "adapters/ftdi/d2xx.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace brisk::ftdi {
namespace {

constexpr bool kHandlesFit = sizeof(d2xx::Handle) == sizeof(uint32_t);

#define BRISK_ROW(name, ordinal, ...) {"FT_" #name, ordinal},
constexpr vendor::Symbol kSymbols[] = {BRISK_D2XX_FUNCTIONS(BRISK_ROW)};
#undef BRISK_ROW

constexpr vendor::LibraryContract kContract{
    .name = "FTD2XX",
    .symbols = kSymbols,
    .absentLine = "FTDI: no D2XX library",
};

void* AsPointer(uint32_t value) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): D2XX passes numbers in a pointer argument.
  return reinterpret_cast<void*>(static_cast<uintptr_t>(value));
}

}  // namespace

D2xx::D2xx(Libraries& libraries, CDebug& log) : library_(kContract, libraries, log) {}

void D2xx::Unload() {
  numbered_.clear();
  library_.Unload();
}

d2xx::Handle D2xx::Native(uint32_t handle) const {
  if (kHandlesFit) return AsPointer(handle);
  for (const Numbered& entry : numbered_) {
    if (entry.handle == handle) return entry.native;
  }
  return nullptr;
}

uint32_t D2xx::Number(d2xx::Handle native) {
  if (kHandlesFit) return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(native));
  while (nextNumber_ == 0 || Native(nextNumber_) != nullptr) ++nextNumber_;
  numbered_.push_back({nextNumber_, native});
  return nextNumber_++;
}

template <typename... Parameters, typename... Arguments>
StatusCode D2xx::Call(d2xx::Function<Parameters...> function, Arguments... arguments) const {
  const auto pointer = library_.Get<typename d2xx::Function<Parameters...>::Pointer>(function.row);
  return pointer != nullptr ? StatusCode{pointer(arguments...)} : kDeviceNotFound;
}

template <typename... Parameters, typename... Arguments>
StatusCode D2xx::CallHandle(d2xx::Function<Parameters...> function, uint32_t handle,
                            Arguments... arguments) const {
  const d2xx::Handle native = Native(handle);
  if (native == nullptr || !library_.loaded()) return kInvalidHandle;
  return Call(function, native, arguments...);
}

Answer<std::vector<d2xx::ListNode>> D2xx::ListDevices() {
  if (!library_.Load()) return {kDeviceNotFound, {}};
  uint32_t count = 0;
  StatusCode status = Call(d2xx::kCreateDeviceInfoList, &count);
  if (status != kOk || count == 0) return {status, {}};
  try {
    std::vector<d2xx::ListNode> nodes(count);
    status = Call(d2xx::kGetDeviceInfoList, nodes.data(), &count);
    if (status != kOk) return {status, {}};
    nodes.resize(std::min<size_t>(nodes.size(), count));
    return {kOk, std::move(nodes)};
  } catch (const std::bad_alloc&) {
    return {kInsufficientResources, {}};
  } catch (const std::length_error&) {
    return {kInsufficientResources, {}};
  }
}

Answer<DeviceDetail> D2xx::GetDeviceInfoDetail(uint32_t position) {
  d2xx::ListNode node{};
  const StatusCode status =
      Call(d2xx::kGetDeviceInfoDetail, position, &node.flags, &node.type, &node.id, &node.location,
           node.serial, node.description, &node.handle);
  if (status != kOk) return {status, {}};
  const size_t length = strnlen(node.description, sizeof node.description);
  return {kOk, {node.type, node.location, std::string(node.description, length)}};
}

Answer<uint32_t> D2xx::OpenByLocation(uint32_t location) {
  d2xx::Handle native = nullptr;
  const StatusCode status =
      Call(d2xx::kOpenEx, AsPointer(location), d2xx::kOpenByLocation, &native);
  return {status, status == kOk ? Number(native) : 0};
}

StatusCode D2xx::Close(uint32_t handle) {
  const StatusCode status = CallHandle(d2xx::kClose, handle);
  std::erase_if(numbered_, [&](const Numbered& entry) { return entry.handle == handle; });
  return status;
}

Answer<uint32_t> D2xx::GetDeviceType(uint32_t handle) {
  d2xx::ListNode node{};
  const StatusCode status = CallHandle(d2xx::kGetDeviceInfo, handle, &node.type, &node.id,
                                       node.serial, node.description, nullptr);
  return {status, node.type};
}

Answer<uint32_t> D2xx::Read(uint32_t handle, Buffer buffer) {
  const auto count = static_cast<uint32_t>(buffer.size());
  uint32_t read = 0;
  const StatusCode status = CallHandle(d2xx::kRead, handle, buffer.data(), count, &read);
  return {status, std::min(read, count)};
}

Answer<uint32_t> D2xx::Write(uint32_t handle, Bytes bytes) {
  const auto count = static_cast<uint32_t>(bytes.size());
  // D2XX takes a pointer to changeable bytes and changes none.
  void* buffer =
      const_cast<uint8_t*>(bytes.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  uint32_t written = 0;
  const StatusCode status = CallHandle(d2xx::kWrite, handle, buffer, count, &written);
  return {status, std::min(written, count)};
}

Answer<uint32_t> D2xx::GetQueueStatus(uint32_t handle) {
  uint32_t waiting = 0;
  const StatusCode status = CallHandle(d2xx::kGetQueueStatus, handle, &waiting);
  return {status, waiting};
}

StatusCode D2xx::ResetDevice(uint32_t handle) { return CallHandle(d2xx::kResetDevice, handle); }

StatusCode D2xx::SetChars(uint32_t handle) {
  constexpr uint8_t kOff = 0;
  return CallHandle(d2xx::kSetChars, handle, kOff, kOff, kOff, kOff);
}

StatusCode D2xx::SetTimeouts(uint32_t handle, uint32_t readMs, uint32_t writeMs) {
  return CallHandle(d2xx::kSetTimeouts, handle, readMs, writeMs);
}

StatusCode D2xx::SetLatencyTimer(uint32_t handle, uint8_t milliseconds) {
  return CallHandle(d2xx::kSetLatencyTimer, handle, milliseconds);
}

Answer<uint8_t> D2xx::GetLatencyTimer(uint32_t handle) {
  uint8_t milliseconds = 0;
  const StatusCode status = CallHandle(d2xx::kGetLatencyTimer, handle, &milliseconds);
  return {status, milliseconds};
}

StatusCode D2xx::SetBitMode(uint32_t handle, uint8_t mode) {
  constexpr uint8_t kNoOutputs = 0;
  return CallHandle(d2xx::kSetBitMode, handle, kNoOutputs, mode);
}

StatusCode D2xx::SetUsbParameters(uint32_t handle, uint32_t inSize, uint32_t outSize) {
  return CallHandle(d2xx::kSetUSBParameters, handle, inSize, outSize);
}

}  // namespace brisk::ftdi
