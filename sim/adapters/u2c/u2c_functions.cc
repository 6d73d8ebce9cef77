// Each function is one call over USB on the handle that OpenU2C returned, and answers with kDone or
// a failure. Only these fail by themselves: a byte or transaction that is not acknowledged, and an
// unknown clock code; the others only for want of a handle or by a fault that is set.
#include "sim/adapters/u2c/u2c_functions.h"

#include <mutex>

#include "contracts/u2c.h"
#include "sim/adapters/u2c/u2c_common_functions.h"
#include "sim/adapters/u2c/u2c_device.h"
#include "sim/adapters/vendor_function.h"

namespace brisk::sim {
namespace {

constexpr int32_t kFailed = U2cDevice::kFailed;

// Runs `body` on the adapter when it is there, the handle is its own and the call is not to fail.
template <typename Body>
int32_t OnDevice(int32_t handle, const char* function, Body body) {
  const auto device = Plugged<U2cDevice>::Last();
  if (device == nullptr || !device->Call(handle, function)) return kFailed;
  const std::lock_guard lock(device->board().mutex());
  return body(*device);
}

// What cannot fail any more.
template <typename Body>
int32_t Do(int32_t handle, const char* function, Body body) {
  return OnDevice(handle, function, [&](U2cDevice& device) {
    body(device);
    return u2c::kDone;
  });
}

}  // namespace

BRISK_VENDOR_FUNCTION u2c::Handle brisk_open_u2c() {
  const auto device = Plugged<U2cDevice>::Last();
  return device != nullptr ? device->Open() : u2c::kNoHandle;
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_SetIoDirection(int32_t h, uint32_t mask,
                                                            uint32_t outputs) {
  return Do(h, __func__, [&](U2cDevice& d) { d.SetDirection(mask, outputs); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_IoWrite(int32_t h, uint32_t value, uint32_t mask) {
  return Do(h, __func__, [&](U2cDevice& d) { d.SetLines(value, mask); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_Start(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.master().Start(); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_RepeatedStart(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.master().Start(); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_Stop(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.master().Stop(); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_PutByteWithAck(int32_t h, uint8_t byte) {
  return OnDevice(h, __func__, [&](U2cDevice& d) { return d.master().Send(byte) ? 0 : kFailed; });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_GetByteWithAck(int32_t h, uint8_t* byte,
                                                            int32_t acknowledge) {
  return Do(h, __func__, [&](U2cDevice& d) { *byte = d.master().Receive(acknowledge != 0); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_Write(int32_t h, u2c::Transaction* record) {
  return OnDevice(h, __func__, [&](U2cDevice& d) { return d.Write(*record); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_Read(int32_t h, u2c::Transaction* record) {
  return OnDevice(h, __func__, [&](U2cDevice& d) { return d.Read(record); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_SetI2cFreq(int32_t h, uint8_t code) {
  return OnDevice(h, __func__, [&](U2cDevice& d) { return d.SetI2cCode(code); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_SpiSetFreq(int32_t h, uint8_t code) {
  return OnDevice(h, __func__, [&](U2cDevice& d) { return d.SetSpiCode(code); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_SpiWrite(int32_t h, const uint8_t* bytes,
                                                      uint16_t count) {
  return Do(h, __func__, [&](U2cDevice& d) {
    for (unsigned i = 0; i < count; ++i) d.ExchangeSpi(bytes[i]);
  });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_SpiRead(int32_t h, uint8_t* bytes, uint16_t count) {
  return Do(h, __func__, [&](U2cDevice& d) {
    for (unsigned i = 0; i < count; ++i) bytes[i] = d.ExchangeSpi(0xFF);
  });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_DropSda(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.DriveSda(false); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_ReleaseSda(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.DriveSda(true); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_DropScl(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.DriveScl(false); });
}

BRISK_VENDOR_FUNCTION int32_t BRISK_CALL U2C_ReleaseScl(int32_t h) {
  return Do(h, __func__, [](U2cDevice& d) { d.DriveScl(true); });
}

std::vector<LibraryShelf::Symbol> U2cCommonSymbols() {
  return {LibraryShelf::Named<u2c::OpenFunction>("OpenU2C", OpenU2C)};
}

std::vector<LibraryShelf::Symbol> U2cBridgeSymbols() {
#define BRISK_ROW(name, ...) \
  LibraryShelf::Named<decltype(u2c::k##name)::Pointer>("U2C_" #name, U2C_##name),
  return {BRISK_U2C_FUNCTIONS(BRISK_ROW)};
#undef BRISK_ROW
}

}  // namespace brisk::sim
