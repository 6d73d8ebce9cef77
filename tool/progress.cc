#include "progress.h"

#include <array>
#include <cmath>
#include <csignal>

#include "console.h"
#include "os.h"
#include "text.h"

namespace brisk::tool {
namespace {

using namespace std::chrono_literals;

constexpr auto kRedraw = 100ms;
constexpr uint64_t kTenths = 10;

volatile std::sig_atomic_t interrupted = 0;

extern "C" void OnInterrupt(int signal) {
  interrupted = 1;
  std::signal(signal, SIG_DFL);
}

std::string Time(double seconds) {
  if (seconds < 60) return std::to_string(static_cast<int>(std::ceil(seconds))) + " s";
  const int whole = static_cast<int>(std::lround(seconds));
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%d:%02d min", whole / 60, whole % 60);
  return text.data();
}

}  // namespace

Progress::Progress(std::FILE* stream) : stream_(stream), terminal_(os::IsTerminal(stream)) {}

void Progress::CatchInterrupt() { std::signal(SIGINT, OnInterrupt); }

bool Progress::Interrupted() { return interrupted != 0; }

int BRISK_CALL Progress::OnProgress(uint32_t done, uint32_t /*total*/, void* context) {
  auto* const self = static_cast<Progress*>(context);
  return self->Update(self->base_ + done) ? 0 : 1;
}

void Progress::Begin(const std::string& label, Unit unit, uint64_t total) {
  label_ = label;
  unit_ = unit;
  total_ = total;
  base_ = 0;
  done_ = 0;
  tenthsShown_ = 0;
  began_ = Clock::now();
  drawn_ = began_;
  if (total_ == 0) Put(stream_, label_ + "...\n");
}

bool Progress::Update(uint64_t done) {
  // The library counts whole pages; the last one may hold less.
  done_ = total_ != 0 && done > total_ ? total_ : done;
  if (total_ != 0) Draw();
  return !Interrupted();
}

void Progress::Draw() {
  if (!terminal_) {
    const uint64_t tenths = done_ * kTenths / total_;
    if (tenths <= tenthsShown_) return;
    tenthsShown_ = tenths;
    Put(stream_, Line() + "\n");
    return;
  }
  const Clock::time_point now = Clock::now();
  if (now - drawn_ < kRedraw && done_ < total_) return;
  drawn_ = now;
  std::string line = Line();
  const size_t length = line.size();
  if (length < lineLength_) line.append(lineLength_ - length, ' ');
  lineLength_ = length;
  Put(stream_, "\r" + line);
}

void Progress::End() {
  if (terminal_ && lineLength_ != 0) Put(stream_, "\n");
  lineLength_ = 0;
}

std::string Progress::Amount(uint64_t count) const {
  switch (unit_) {
    case Unit::kBytes:
      return Size(count);
    case Unit::kRows:
      return std::to_string(count) + " rows";
    case Unit::kSectors:
      return std::to_string(count) + (count == 1 ? " sector" : " sectors");
  }
  return {};
}

std::string Progress::DoneOfTotal() const {
  const std::string done = unit_ == Unit::kBytes ? Size(done_) : std::to_string(done_);
  return done + " of " + Amount(total_);
}

std::string Progress::Line() const {
  const double seconds = std::chrono::duration<double>(Clock::now() - began_).count();
  std::string line = label_ + " " + std::to_string(done_ * 100 / total_) + "%  " + DoneOfTotal();
  if (seconds <= 0 || done_ == 0) return line;
  const double rate = static_cast<double>(done_) / seconds;
  line += "  " + Amount(static_cast<uint64_t>(rate)) + "/s";
  if (done_ < total_) line += "  " + Time(static_cast<double>(total_ - done_) / rate) + " left";
  return line;
}

}  // namespace brisk::tool
