#pragma once

#include <cstdint>

#include "brisk/brisk_types.h"

// The functions of the vendor library that the simulation offers.
namespace brisk::sim::d2xx {

uint32_t BRISK_CALL Close(void* handle);
uint32_t BRISK_CALL Read(void* handle, void* buffer, uint32_t count, uint32_t* read);
uint32_t BRISK_CALL Write(void* handle, void* buffer, uint32_t count, uint32_t* written);
uint32_t BRISK_CALL ResetDevice(void* handle);
uint32_t BRISK_CALL SetChars(void* handle, uint8_t event, uint8_t eventOn, uint8_t error,
                             uint8_t errorOn);
uint32_t BRISK_CALL SetTimeouts(void* handle, uint32_t read, uint32_t write);
uint32_t BRISK_CALL GetQueueStatus(void* handle, uint32_t* waiting);
uint32_t BRISK_CALL OpenEx(void* argument, uint32_t flags, void** handle);
uint32_t BRISK_CALL SetLatencyTimer(void* handle, uint8_t milliseconds);
uint32_t BRISK_CALL GetLatencyTimer(void* handle, uint8_t* milliseconds);
uint32_t BRISK_CALL SetBitMode(void* handle, uint8_t mask, uint8_t mode);
uint32_t BRISK_CALL SetUSBParameters(void* handle, uint32_t in, uint32_t out);
uint32_t BRISK_CALL GetDeviceInfo(void* handle, uint32_t* type, uint32_t* id, char* serial,
                                  char* description, void* unused);
uint32_t BRISK_CALL CreateDeviceInfoList(uint32_t* count);
uint32_t BRISK_CALL GetDeviceInfoList(void* nodes, uint32_t* count);
uint32_t BRISK_CALL GetDeviceInfoDetail(uint32_t index, uint32_t* flags, uint32_t* type,
                                        uint32_t* id, uint32_t* location, void* serial,
                                        void* description, void** handle);

}  // namespace brisk::sim::d2xx
