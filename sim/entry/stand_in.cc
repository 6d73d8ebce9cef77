// What makes a library of the bench stand in for a vendor's: the real library loads it in the
// vendor's place, and so meets a simulated board by its own means.
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "sim/adapters/plugged.h"
#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

// The bench, made when a function first looks for its device: from the text in the environment
// variable BRISK_SIM, with the library's adapter and the real clock where it says nothing else.
// What is wrong with the text goes to standard error, and the bench is then one with the adapter
// alone.
void MakeBenchOnce() {
  static std::once_flag made;
  std::call_once(made, [] {
    const std::string plain = "clock=real,adapter=" BRISK_STAND_IN_ADAPTER;
    const char* text = std::getenv("BRISK_SIM");  // NOLINT(concurrency-mt-unsafe): never set here
    // A key that is given twice counts with its last value.
    const std::string wrong = ReplaceBench(text != nullptr ? plain + "," + text : plain);
    if (wrong.empty()) return;
    std::fprintf(stderr, "BRISK_SIM: %s\n", wrong.c_str());
    ReplaceBench(plain);
  });
}

[[maybe_unused]] const bool told = (SetBeforeLibraryUse(MakeBenchOnce), true);

}  // namespace
}  // namespace brisk::sim
