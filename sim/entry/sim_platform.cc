#include "sim/config/bench.h"

// platform() of a library or test program that is linked with the simulated bench.
namespace brisk {
namespace sim {
namespace {

// The bench in use. Taken down by hand, after the library has detached: a static object would go
// earlier, at the exit of the process.
class Slot {
 public:
  Slot() : bench_() {
    std::string whyNot;
    bench_ = Bench::Make(Options(), &whyNot);
  }
  Slot(const Slot&) = delete;
  Slot& operator=(const Slot&) = delete;
  ~Slot() {}  // NOLINT(modernize-use-equals-default): a defaulted one is deleted

  std::unique_ptr<Bench>& operator*() { return bench_; }

 private:
  union {
    std::unique_ptr<Bench> bench_;
  };
};

std::unique_ptr<Bench>& Current() {
  static Slot slot;
  return *slot;
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
  Current()->board().SaveFiles();  // the next bench may load them
  std::unique_ptr<Bench> made = Bench::Make(options, &wrong);
  if (made != nullptr) Current() = std::move(made);
  return wrong;
}

}  // namespace sim

Platform& platform() { return sim::bench().platform(); }

}  // namespace brisk
