#pragma once

// Libraries that stand in for a vendor's: what the real library loads in their place, so that it
// meets a simulated board by its own means.
#if defined(_WIN32)
#define BRISK_STAND_IN extern "C"
#else
#define BRISK_STAND_IN extern "C" __attribute__((visibility("default")))
#endif

namespace brisk::sim {

// The bench of such a library, made at the first call: from the text in the environment variable
// BRISK_SIM, with `adapter` and the real clock where it says nothing else. What is wrong with the
// text goes to standard error, and the bench is then one with `adapter` alone.
void UseStandInBench(const char* adapter);

}  // namespace brisk::sim
