#include "sim/config/bench.h"

// Of a library or test program that is linked with the simulated bench.
brisk::Platform& brisk::platform() { return sim::bench().platform(); }
