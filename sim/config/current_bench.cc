#include "platform/common/never_destroyed.h"
#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

// The bench in use. Taken down by hand, after the library has detached: a static object would go
// earlier, at the exit of the process.
struct Slot {
  Slot() {
    std::string whyNot;
    bench = Bench::Make(Options(), &whyNot);
  }
  std::unique_ptr<Bench> bench;
};

std::unique_ptr<Bench>& Current() { return os::Permanent<Slot>().bench; }

// After every destructor function without a priority, among them the library's detach.
__attribute__((destructor(101))) void TakeDown() { Current().reset(); }

}  // namespace

Bench& bench() { return *Current(); }

std::string ReplaceBench(std::string_view text) {
  Options options;
  std::string wrong = ParseOptions(text, &options);
  if (!wrong.empty()) return wrong;
  Current()->trace().Close();
  Current()->board().SaveFiles();  // the next bench may load them
  std::unique_ptr<Bench> made = Bench::Make(options, &wrong);
  if (made != nullptr) Current() = std::move(made);
  return wrong;
}

}  // namespace brisk::sim
