#pragma once

namespace brisk::sim {

// A bench for a library that stands in for a vendor's: made at the first call, from the text in the
// environment variable BRISK_SIM, or with `adapter` when there is none. What is wrong with the text
// goes to standard error, and the bench is then one with `adapter` alone.
void UseStandInBench(const char* adapter);

}  // namespace brisk::sim
