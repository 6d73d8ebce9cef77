#pragma once

#include "contracts/u2c.h"
#include "sim/adapters/vendor_function.h"

// The one function of the adapter's second library, U2CCommon. Where the libraries stand by
// themselves it hands its call to the first, which has the adapter, as this function.
BRISK_VENDOR_FUNCTION brisk::u2c::Handle brisk_open_u2c();
BRISK_VENDOR_FUNCTION brisk::u2c::Handle BRISK_CALL OpenU2C();
