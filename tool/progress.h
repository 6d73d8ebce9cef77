#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "brisk/brisk_extensions.h"

namespace brisk::tool {

// How far a long piece of work is: on a terminal one line with percent, rate and time left, drawn
// anew; elsewhere a plain line for every tenth. Ctrl-C makes it ask for a stop; a second Ctrl-C
// ends the program.
class Progress {
 public:
  enum class Unit { kBytes, kRows, kSectors };

  explicit Progress(std::FILE* stream);

  // `total` 0: nothing tells how far the work is.
  void Begin(const std::string& label, Unit unit, uint64_t total);
  // What the calls before the next one have done; the library counts each call from 0.
  void SetBase(uint64_t base) { base_ = base; }
  // False when the work is to stop.
  bool Update(uint64_t done);
  void End();

  uint64_t done() const { return done_; }
  std::string DoneOfTotal() const;

  static void CatchInterrupt();
  static bool Interrupted();

  // The library's callback; the context is the Progress.
  static int BRISK_CALL OnProgress(uint32_t done, uint32_t total, void* context);

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();
  std::string Line() const;
  std::string Amount(uint64_t count) const;

  std::FILE* stream_;
  bool terminal_;
  std::string label_;
  Unit unit_ = Unit::kBytes;
  uint64_t total_ = 0;
  uint64_t base_ = 0;
  uint64_t done_ = 0;
  uint64_t tenthsShown_ = 0;
  size_t lineLength_ = 0;
  Clock::time_point began_;
  Clock::time_point drawn_;
};

}  // namespace brisk::tool
