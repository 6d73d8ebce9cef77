#include "u2c/u2c_functions.h"

#include <cstring>
#include <mutex>

#include "brisk/brisk_types.h"

#include "u2c/u2c_device.h"

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

int32_t BRISK_CALL Open() {
  auto* device = static_cast<U2cDevice*>(bench().adapter("u2c"));
  return device != nullptr ? device->Open() : -1;
}

int32_t BRISK_CALL SetIoDirection(int32_t h, uint32_t mask, uint32_t outputs) {
  return Do(h, "U2C_SetIoDirection", [&](U2cDevice& d) { d.SetDirection(mask, outputs); });
}

int32_t BRISK_CALL IoWrite(int32_t h, uint32_t value, uint32_t mask) {
  return Do(h, "U2C_IoWrite", [&](U2cDevice& d) { d.SetLines(value, mask); });
}

int32_t BRISK_CALL Start(int32_t h) {
  return Do(h, "U2C_Start", [](U2cDevice& d) { d.master().Start(); });
}

int32_t BRISK_CALL RepeatedStart(int32_t h) {
  return Do(h, "U2C_RepeatedStart", [](U2cDevice& d) { d.master().Start(); });
}

int32_t BRISK_CALL Stop(int32_t h) {
  return Do(h, "U2C_Stop", [](U2cDevice& d) { d.master().Stop(); });
}

int32_t BRISK_CALL PutByteWithAck(int32_t h, uint8_t byte) {
  return OnDevice(h, "U2C_PutByteWithAck",
                  [&](U2cDevice& d) { return d.master().Send(byte) ? 0 : U2cDevice::kFailed; });
}

int32_t BRISK_CALL GetByteWithAck(int32_t h, uint8_t* byte, int32_t acknowledge) {
  return Do(h, "U2C_GetByteWithAck",
            [&](U2cDevice& d) { *byte = d.master().Receive(acknowledge != 0); });
}

int32_t BRISK_CALL Write(int32_t h, void* record) {
  return OnDevice(h, "U2C_Write", [&](U2cDevice& d) { return d.Write(Unpack(record)); });
}

int32_t BRISK_CALL Read(int32_t h, void* record) {
  return OnDevice(h, "U2C_Read", [&](U2cDevice& d) { return d.Read(Unpack(record)); });
}

int32_t BRISK_CALL SetI2cFreq(int32_t h, uint8_t code) {
  return OnDevice(h, "U2C_SetI2cFreq", [&](U2cDevice& d) { return d.SetI2cCode(code); });
}

int32_t BRISK_CALL SpiSetFreq(int32_t h, uint8_t code) {
  return OnDevice(h, "U2C_SpiSetFreq", [&](U2cDevice& d) { return d.SetSpiCode(code); });
}

int32_t BRISK_CALL SpiWrite(int32_t h, uint8_t* bytes, uint16_t count) {
  return Do(h, "U2C_SpiWrite", [&](U2cDevice& d) {
    for (unsigned i = 0; i < count; ++i) d.ExchangeSpi(bytes[i]);
  });
}

int32_t BRISK_CALL SpiRead(int32_t h, uint8_t* bytes, uint16_t count) {
  return Do(h, "U2C_SpiRead", [&](U2cDevice& d) {
    for (unsigned i = 0; i < count; ++i) bytes[i] = d.ExchangeSpi(0xFF);
  });
}

int32_t BRISK_CALL DropSda(int32_t h) {
  return Do(h, "U2C_DropSda", [](U2cDevice& d) { d.DriveSda(false); });
}

int32_t BRISK_CALL ReleaseSda(int32_t h) {
  return Do(h, "U2C_ReleaseSda", [](U2cDevice& d) { d.DriveSda(true); });
}

int32_t BRISK_CALL DropScl(int32_t h) {
  return Do(h, "U2C_DropScl", [](U2cDevice& d) { d.DriveScl(false); });
}

int32_t BRISK_CALL ReleaseScl(int32_t h) {
  return Do(h, "U2C_ReleaseScl", [](U2cDevice& d) { d.DriveScl(true); });
}

template <typename Function>
LibraryShelf::Symbol Named(const char* name, Function function) {
  return {name, 0, reinterpret_cast<void*>(function)};
}

}  // namespace

std::vector<LibraryShelf::Symbol> U2cCommonSymbols() { return {Named("OpenU2C", Open)}; }

std::vector<LibraryShelf::Symbol> U2cBridgeSymbols() {
  return {
      Named("U2C_SetIoDirection", SetIoDirection),
      Named("U2C_IoWrite", IoWrite),
      Named("U2C_Start", Start),
      Named("U2C_RepeatedStart", RepeatedStart),
      Named("U2C_Stop", Stop),
      Named("U2C_PutByteWithAck", PutByteWithAck),
      Named("U2C_GetByteWithAck", GetByteWithAck),
      Named("U2C_Write", Write),
      Named("U2C_Read", Read),
      Named("U2C_SetI2cFreq", SetI2cFreq),
      Named("U2C_SpiSetFreq", SpiSetFreq),
      Named("U2C_SpiWrite", SpiWrite),
      Named("U2C_SpiRead", SpiRead),
      Named("U2C_DropSda", DropSda),
      Named("U2C_ReleaseSda", ReleaseSda),
      Named("U2C_DropScl", DropScl),
      Named("U2C_ReleaseScl", ReleaseScl),
  };
}

}  // namespace brisk::sim
