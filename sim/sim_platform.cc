#include "bench.h"

// platform() of a library or test program that is linked with the simulated bench.
namespace brisk {
namespace sim {
namespace {

std::unique_ptr<Bench>& Current() {
  static std::unique_ptr<Bench>& current = *[] {
    // Taken down by hand, after the library has detached: a static object would go earlier, at the
    // exit of the process.
    auto slot = std::make_unique<std::unique_ptr<Bench>>();
    std::string whyNot;
    *slot = Bench::Make(Options(), &whyNot);
    return slot.release();
  }();
  return current;
}

// After every destructor function without a priority, among them the library's detach.
__attribute__((destructor(101))) void TakeDown() { Current().reset(); }

}  // namespace

Bench& bench() { return *Current(); }

std::string ReplaceBench(std::string_view text) {
  Options options;
  std::string wrong = ParseOptions(text, &options);
  if (!wrong.empty()) return wrong;
  Current()->trace().Close();
  std::unique_ptr<Bench> made = Bench::Make(options, &wrong);
  if (made != nullptr) Current() = std::move(made);
  return wrong;
}

}  // namespace sim

Platform& platform() { return sim::bench().platform(); }

}  // namespace brisk
