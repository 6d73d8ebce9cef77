#pragma once

#include "brisk/brisk_types.h"

BRISK_BEGIN_DECLS
BRISK_API bool BRISK_CALL uart_connect(uint8_t port, uint32_t rate);
BRISK_API bool BRISK_CALL uart_mag_connect(uint8_t port, uint32_t rate);
BRISK_API int BRISK_CALL BriskSimConfigure(const char* options, char* message,
                                           uint32_t messageSize);
BRISK_API int BRISK_CALL BriskSimSnapshot(const char* path, uint32_t plane, char* message,
                                          uint32_t messageSize);
BRISK_END_DECLS
