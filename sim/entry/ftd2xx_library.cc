// The simulated vendor library by itself, with one FT2232C unless BRISK_SIM names other adapters.
#include "sim/adapters/ftdi/d2xx_api.h"
#include "sim/entry/stand_in.h"

namespace d2xx = brisk::sim::d2xx;

BRISK_STAND_IN uint32_t BRISK_CALL FT_Close(void* handle) { return d2xx::Close(handle); }

BRISK_STAND_IN uint32_t BRISK_CALL FT_Read(void* handle, void* buffer, uint32_t count,
                                           uint32_t* read) {
  return d2xx::Read(handle, buffer, count, read);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_Write(void* handle, void* buffer, uint32_t count,
                                            uint32_t* written) {
  return d2xx::Write(handle, buffer, count, written);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_ResetDevice(void* handle) {
  return d2xx::ResetDevice(handle);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_SetChars(void* handle, uint8_t event, uint8_t eventOn,
                                               uint8_t error, uint8_t errorOn) {
  return d2xx::SetChars(handle, event, eventOn, error, errorOn);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_SetTimeouts(void* handle, uint32_t read, uint32_t write) {
  return d2xx::SetTimeouts(handle, read, write);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_GetQueueStatus(void* handle, uint32_t* waiting) {
  return d2xx::GetQueueStatus(handle, waiting);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_OpenEx(void* argument, uint32_t flags, void** handle) {
  return d2xx::OpenEx(argument, flags, handle);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_SetLatencyTimer(void* handle, uint8_t milliseconds) {
  return d2xx::SetLatencyTimer(handle, milliseconds);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_GetLatencyTimer(void* handle, uint8_t* milliseconds) {
  return d2xx::GetLatencyTimer(handle, milliseconds);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_SetBitMode(void* handle, uint8_t mask, uint8_t mode) {
  return d2xx::SetBitMode(handle, mask, mode);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_SetUSBParameters(void* handle, uint32_t in, uint32_t out) {
  return d2xx::SetUSBParameters(handle, in, out);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_GetDeviceInfo(void* handle, uint32_t* type, uint32_t* id,
                                                    char* serial, char* description, void* unused) {
  return d2xx::GetDeviceInfo(handle, type, id, serial, description, unused);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_CreateDeviceInfoList(uint32_t* count) {
  brisk::sim::UseStandInBench("ft2232c");
  return d2xx::CreateDeviceInfoList(count);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_GetDeviceInfoList(void* nodes, uint32_t* count) {
  return d2xx::GetDeviceInfoList(nodes, count);
}

BRISK_STAND_IN uint32_t BRISK_CALL FT_GetDeviceInfoDetail(uint32_t index, uint32_t* flags,
                                                          uint32_t* type, uint32_t* id,
                                                          uint32_t* location, void* serial,
                                                          void* description, void** handle) {
  return d2xx::GetDeviceInfoDetail(index, flags, type, id, location, serial, description, handle);
}
