#include "sim/board/trace.h"

#include <cinttypes>

#include "sim/common/virtual_clock.h"

namespace brisk::sim {
namespace {

constexpr std::array<const char*, Trace::kSignals> kNames = {"scl",  "sda",  "cs",  "sck",
                                                             "mosi", "miso", "one", "zero"};

constexpr char Id(size_t signal) { return static_cast<char>('!' + signal); }

}  // namespace

bool Trace::Open(const std::string& path) {
  file_.reset(std::fopen(path.c_str(), "wb"));
  if (file_ == nullptr) return false;
  std::fputs("$timescale 1 ns $end\n$scope module board $end\n", file_.get());
  for (size_t i = 0; i < kSignals; ++i) {
    std::fprintf(file_.get(), "$var wire 1 %c %s $end\n", Id(i), kNames[i]);
  }
  std::fputs("$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n", file_.get());
  for (size_t i = 0; i < kSignals; ++i) {
    std::fprintf(file_.get(), "%d%c\n", levels_[i] ? 1 : 0, Id(i));
  }
  std::fputs("$end\n", file_.get());
  start_ = clock_.Now();
  last_ = 0;
  return true;
}

// A last time stamp gives the final levels a length.
void Trace::Close() {
  if (file_ == nullptr) return;
  std::fprintf(file_.get(), "#%" PRIu64 "\n", last_ + 10'000);
  file_.reset();
}

void Trace::Record(Signal signal, bool level) {
  const uint64_t time = clock_.Now() - start_;
  if (time != last_) {
    std::fprintf(file_.get(), "#%" PRIu64 "\n", time);
    last_ = time;
  }
  std::fputc(level ? '1' : '0', file_.get());
  std::fputc(Id(signal), file_.get());
  std::fputc('\n', file_.get());
}

}  // namespace brisk::sim
