#include "sim/entry/stand_in.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "sim/config/bench.h"

namespace brisk::sim {

void UseStandInBench(const char* adapter) {
  static std::once_flag made;
  std::call_once(made, [adapter] {
    const std::string plain = std::string("clock=real,adapter=") + adapter;
    const char* text = std::getenv("BRISK_SIM");  // NOLINT(concurrency-mt-unsafe): never set here
    // A key that is given twice counts with its last value.
    const std::string wrong = ReplaceBench(text != nullptr ? plain + "," + text : plain);
    if (wrong.empty()) return;
    std::fprintf(stderr, "BRISK_SIM: %s\n", wrong.c_str());
    ReplaceBench(plain);
  });
}

}  // namespace brisk::sim
