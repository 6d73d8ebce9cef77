#pragma once

#include "brisk/brisk_types.h"

// A function of a vendor's library, under its own name. There is one of each: the bench's library
// shelf hands out its address, and a stand-in library exports it.
#if defined(_WIN32)
#define BRISK_VENDOR_FUNCTION extern "C"
#else
#define BRISK_VENDOR_FUNCTION extern "C" __attribute__((visibility("default")))
#endif
