// The adapter's first library by itself. Its functions stand in u2c_functions.cc; the bench is
// here.
#include "sim/adapters/u2c/u2c_functions.h"
#include "sim/entry/stand_in.h"

// For the second library.
BRISK_STAND_IN int32_t brisk_open_u2c() {
  brisk::sim::UseStandInBench("u2c");
  return brisk::sim::OpenU2cDevice();
}
