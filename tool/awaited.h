#pragma once

#include "brisk/brisk_ftdi.h"
#include "brisk/brisk_serial.h"
#include "brisk/brisk_types.h"

BRISK_BEGIN_DECLS
BRISK_API int BRISK_CALL BriskSimConfigure(const char* options, char* message,
                                           uint32_t messageSize);
BRISK_API int BRISK_CALL BriskSimSnapshot(const char* path, uint32_t plane, char* message,
                                          uint32_t messageSize);
BRISK_END_DECLS
