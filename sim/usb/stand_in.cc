#include "usb/stand_in.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "bench.h"

namespace brisk::sim {

void UseStandInBench(const char* adapter) {
  static std::once_flag made;
  std::call_once(made, [adapter] {
    const std::string plain = std::string("adapter=") + adapter;
    const char* text = std::getenv("BRISK_SIM");  // NOLINT(concurrency-mt-unsafe): never set here
    std::string options = text != nullptr ? text : plain;
    if (options.find("adapter=") == std::string::npos) options += "," + plain;
    const std::string wrong = ReplaceBench(options);
    if (wrong.empty()) return;
    std::fprintf(stderr, "BRISK_SIM: %s\n", wrong.c_str());
    ReplaceBench(plain);
  });
}

}  // namespace brisk::sim
