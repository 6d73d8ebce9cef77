#include "sim/adapters/u2c/u2c_common_functions.h"

BRISK_VENDOR_FUNCTION brisk::u2c::Handle BRISK_CALL OpenU2C() { return brisk_open_u2c(); }
