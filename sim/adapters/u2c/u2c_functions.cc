#include "sim/adapters/u2c/u2c_functions.h"

#include <cstring>
#include <mutex>

#include "brisk/brisk_types.h"

#include "sim/adapters/u2c/u2c_device.h"
#include "sim/entry/stand_in.h"

namespace brisk::sim {
namespace {

// Runs `body` on the adapter when it is there, the handle is its own and the call is not to fail.
template <typename Body>
int32_t OnDevice(int32_t handle, const char* function, Body body) {
  auto* device = static_cast<U2cDevice*>(bench().adapter("u2c"));
  if (device == nullptr || !device->Call(handle, function)) return U2cDevice::kFailed;
  const std::lock_guard lock(bench().board().mutex());
  return body(*device);
}

template <typename Body>
int32_t Do(int32_t handle, const char* function, Body body) {
  return OnDevice(handle, function, [&](U2cDevice& device) {
    body(device);
    return 0;
  });
}

// The user's 264-byte record, without padding: fields at 0, 1, 2, 6 and 8.
U2cDevice::Record Unpack(void* transaction) {
  auto* bytes = static_cast<uint8_t*>(transaction);
  U2cDevice::Record record{bytes[0], bytes[1], 0, 0, bytes + 8};
  std::memcpy(&record.memoryAddress, bytes + 2, 4);
  std::memcpy(&record.length, bytes + 6, 2);
  return record;
}

}  // namespace

int32_t BRISK_CALL OpenU2cDevice() {
  auto* device = static_cast<U2cDevice*>(bench().adapter("u2c"));
  return device != nullptr ? device->Open() : -1;
}

// Under the names that the library's users look for: the stand-alone library exports them.
BRISK_STAND_IN int32_t BRISK_CALL U2C_SetIoDirection(int32_t h, uint32_t mask, uint32_t outputs) {
  return Do(h, "U2C_SetIoDirection", [&](U2cDevice& d) { d.SetDirection(mask, outputs); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_IoWrite(int32_t h, uint32_t value, uint32_t mask) {
  return Do(h, "U2C_IoWrite", [&](U2cDevice& d) { d.SetLines(value, mask); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_Start(int32_t h) {
  return Do(h, "U2C_Start", [](U2cDevice& d) { d.master().Start(); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_RepeatedStart(int32_t h) {
  return Do(h, "U2C_RepeatedStart", [](U2cDevice& d) { d.master().Start(); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_Stop(int32_t h) {
  return Do(h, "U2C_Stop", [](U2cDevice& d) { d.master().Stop(); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_PutByteWithAck(int32_t h, uint8_t byte) {
  return OnDevice(h, "U2C_PutByteWithAck",
                  [&](U2cDevice& d) { return d.master().Send(byte) ? 0 : U2cDevice::kFailed; });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_GetByteWithAck(int32_t h, uint8_t* byte,
                                                     int32_t acknowledge) {
  return Do(h, "U2C_GetByteWithAck",
            [&](U2cDevice& d) { *byte = d.master().Receive(acknowledge != 0); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_Write(int32_t h, void* record) {
  return OnDevice(h, "U2C_Write", [&](U2cDevice& d) { return d.Write(Unpack(record)); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_Read(int32_t h, void* record) {
  return OnDevice(h, "U2C_Read", [&](U2cDevice& d) { return d.Read(Unpack(record)); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_SetI2cFreq(int32_t h, uint8_t code) {
  return OnDevice(h, "U2C_SetI2cFreq", [&](U2cDevice& d) { return d.SetI2cCode(code); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_SpiSetFreq(int32_t h, uint8_t code) {
  return OnDevice(h, "U2C_SpiSetFreq", [&](U2cDevice& d) { return d.SetSpiCode(code); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_SpiWrite(int32_t h, uint8_t* bytes, uint16_t count) {
  return Do(h, "U2C_SpiWrite", [&](U2cDevice& d) {
    for (unsigned i = 0; i < count; ++i) d.ExchangeSpi(bytes[i]);
  });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_SpiRead(int32_t h, uint8_t* bytes, uint16_t count) {
  return Do(h, "U2C_SpiRead", [&](U2cDevice& d) {
    for (unsigned i = 0; i < count; ++i) bytes[i] = d.ExchangeSpi(0xFF);
  });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_DropSda(int32_t h) {
  return Do(h, "U2C_DropSda", [](U2cDevice& d) { d.DriveSda(false); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_ReleaseSda(int32_t h) {
  return Do(h, "U2C_ReleaseSda", [](U2cDevice& d) { d.DriveSda(true); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_DropScl(int32_t h) {
  return Do(h, "U2C_DropScl", [](U2cDevice& d) { d.DriveScl(false); });
}

BRISK_STAND_IN int32_t BRISK_CALL U2C_ReleaseScl(int32_t h) {
  return Do(h, "U2C_ReleaseScl", [](U2cDevice& d) { d.DriveScl(true); });
}

std::vector<LibraryShelf::Symbol> U2cCommonSymbols() {
  return {{"OpenU2C", 0, reinterpret_cast<void*>(OpenU2cDevice)}};
}

std::vector<LibraryShelf::Symbol> U2cBridgeSymbols() {
#define BRISK_SYMBOL(name) \
  LibraryShelf::Symbol { #name, 0, reinterpret_cast < void*>(name) }
  return {
      BRISK_SYMBOL(U2C_SetIoDirection), BRISK_SYMBOL(U2C_IoWrite),
      BRISK_SYMBOL(U2C_Start),          BRISK_SYMBOL(U2C_RepeatedStart),
      BRISK_SYMBOL(U2C_Stop),           BRISK_SYMBOL(U2C_PutByteWithAck),
      BRISK_SYMBOL(U2C_GetByteWithAck), BRISK_SYMBOL(U2C_Write),
      BRISK_SYMBOL(U2C_Read),           BRISK_SYMBOL(U2C_SetI2cFreq),
      BRISK_SYMBOL(U2C_SpiSetFreq),     BRISK_SYMBOL(U2C_SpiWrite),
      BRISK_SYMBOL(U2C_SpiRead),        BRISK_SYMBOL(U2C_DropSda),
      BRISK_SYMBOL(U2C_ReleaseSda),     BRISK_SYMBOL(U2C_DropScl),
      BRISK_SYMBOL(U2C_ReleaseScl),
  };
#undef BRISK_SYMBOL
}

}  // namespace brisk::sim
