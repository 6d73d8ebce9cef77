// The adapter's second library by itself: its one function, on the bench of the first.
#include <cstdint>

#include "brisk/brisk_types.h"

#include "sim/entry/stand_in.h"

BRISK_STAND_IN int32_t brisk_open_u2c();

BRISK_STAND_IN int32_t BRISK_CALL OpenU2C() { return brisk_open_u2c(); }
