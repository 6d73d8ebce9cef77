#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "sim/common/file_handle.h"

namespace brisk::sim {

class VirtualClock;

// Every line of the board as a value change dump (IEEE 1364), in nanoseconds of the bench's clock
// since the trace was opened.
//
// sigrok-cli reads it as one sample per nanosecond: a trace of 64 ms takes it a second, one of 1 s
// with the status polls of a chip erase 48 s. Line changes on the parallel port are at least 1 us
// apart, so "-I vcd:downsample=500" loses none of them; it takes 0.1 s and 12 s, which is the time
// of the decoder.
class Trace {
 public:
  enum Signal : uint8_t { kScl, kSda, kCs, kSck, kMosi, kMiso, kOne, kZero, kSignals };

  explicit Trace(VirtualClock& clock) : clock_(clock) {}
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;
  ~Trace() { Close(); }

  bool Open(const std::string& path);  // false when the file cannot be created
  void Close();                        // the last levels last for another 10 us
  bool enabled() const { return file_ != nullptr; }
  void Set(Signal signal, bool level) {
    if (levels_[signal] == level) return;
    levels_[signal] = level;
    if (file_ != nullptr) Record(signal, level);
  }

 private:
  void Record(Signal signal, bool level);

  VirtualClock& clock_;
  FileHandle file_;
  uint64_t start_ = 0;
  uint64_t last_ = 0;
  // As the lines are with nothing connected.
  std::array<bool, kSignals> levels_{true, true, true, false, false, true, true, true};
};

}  // namespace brisk::sim
