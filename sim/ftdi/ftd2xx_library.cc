#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench.h"
#include "ftdi/d2xx_api.h"

// The simulated vendor library by itself. The environment variable BRISK_FTD2XX_SIM holds the
// options of its bench ("adapter=talvo,trace=lines.vcd"); without it there is one FT2232C. Its
// clock is the real one, as its user's is.

#if defined(_WIN32)
#define EXPORTED
#else
#define EXPORTED __attribute__((visibility("default")))
#endif

namespace {

bool Prepare() {
  static const bool prepared = [] {
    const char* given = std::getenv("BRISK_FTD2XX_SIM");  // NOLINT(concurrency-mt-unsafe)
    std::string options = "adapter=ft2232c,clock=real";
    if (given != nullptr) options = std::string(given) + ",clock=real";
    const std::string wrong = brisk::sim::ReplaceBench(options);
    if (!wrong.empty()) std::fprintf(stderr, "BRISK_FTD2XX_SIM: %s\n", wrong.c_str());
    return wrong.empty();
  }();
  return prepared;
}

}  // namespace

namespace d2xx = brisk::sim::d2xx;

extern "C" {

EXPORTED uint32_t BRISK_CALL FT_Close(void* handle) { return d2xx::Close(handle); }

EXPORTED uint32_t BRISK_CALL FT_Read(void* handle, void* buffer, uint32_t count, uint32_t* read) {
  return d2xx::Read(handle, buffer, count, read);
}

EXPORTED uint32_t BRISK_CALL FT_Write(void* handle, void* buffer, uint32_t count,
                                      uint32_t* written) {
  return d2xx::Write(handle, buffer, count, written);
}

EXPORTED uint32_t BRISK_CALL FT_ResetDevice(void* handle) { return d2xx::ResetDevice(handle); }

EXPORTED uint32_t BRISK_CALL FT_SetChars(void* handle, uint8_t event, uint8_t eventOn,
                                         uint8_t error, uint8_t errorOn) {
  return d2xx::SetChars(handle, event, eventOn, error, errorOn);
}

EXPORTED uint32_t BRISK_CALL FT_SetTimeouts(void* handle, uint32_t read, uint32_t write) {
  return d2xx::SetTimeouts(handle, read, write);
}

EXPORTED uint32_t BRISK_CALL FT_GetQueueStatus(void* handle, uint32_t* waiting) {
  return d2xx::GetQueueStatus(handle, waiting);
}

EXPORTED uint32_t BRISK_CALL FT_OpenEx(void* argument, uint32_t flags, void** handle) {
  return d2xx::OpenEx(argument, flags, handle);
}

EXPORTED uint32_t BRISK_CALL FT_SetLatencyTimer(void* handle, uint8_t milliseconds) {
  return d2xx::SetLatencyTimer(handle, milliseconds);
}

EXPORTED uint32_t BRISK_CALL FT_GetLatencyTimer(void* handle, uint8_t* milliseconds) {
  return d2xx::GetLatencyTimer(handle, milliseconds);
}

EXPORTED uint32_t BRISK_CALL FT_SetBitMode(void* handle, uint8_t mask, uint8_t mode) {
  return d2xx::SetBitMode(handle, mask, mode);
}

EXPORTED uint32_t BRISK_CALL FT_SetUSBParameters(void* handle, uint32_t in, uint32_t out) {
  return d2xx::SetUSBParameters(handle, in, out);
}

EXPORTED uint32_t BRISK_CALL FT_GetDeviceInfo(void* handle, uint32_t* type, uint32_t* id,
                                              char* serial, char* description, void* unused) {
  return d2xx::GetDeviceInfo(handle, type, id, serial, description, unused);
}

EXPORTED uint32_t BRISK_CALL FT_CreateDeviceInfoList(uint32_t* count) {
  Prepare();
  return d2xx::CreateDeviceInfoList(count);
}

EXPORTED uint32_t BRISK_CALL FT_GetDeviceInfoList(void* nodes, uint32_t* count) {
  return d2xx::GetDeviceInfoList(nodes, count);
}

EXPORTED uint32_t BRISK_CALL FT_GetDeviceInfoDetail(uint32_t index, uint32_t* flags, uint32_t* type,
                                                    uint32_t* id, uint32_t* location, void* serial,
                                                    void* description, void** handle) {
  return d2xx::GetDeviceInfoDetail(index, flags, type, id, location, serial, description, handle);
}

}  // extern "C"
