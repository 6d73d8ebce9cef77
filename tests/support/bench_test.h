#pragma once

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "api/attach.h"
#include "sim/board/nor_flash.h"
#include "sim/config/bench.h"

namespace brisk {

// A test of the exported functions: every test begins with the library newly attached to a bench of
// its own.
class BenchTest : public testing::Test {
 protected:
  BenchTest() { Configure(""); }
  ~BenchTest() override { DetachLibrary(); }

  // Exchanges the bench and attaches the library to it.
  static void Configure(const std::string& options) {
    DetachLibrary();
    const std::string wrong = sim::ReplaceBench(options);
    if (!wrong.empty()) ADD_FAILURE() << wrong;
    AttachLibrary();
  }

  static sim::Bench& bench() { return sim::bench(); }

  // Port accesses so far.
  static uint64_t HardwareAccesses() { return bench().ports().accesses(); }

  static constexpr uint64_t kMs = 1'000'000;

  // Moves the bench's clock to a new millisecond, where counts of them begin.
  static void AlignClock() {
    const uint64_t past = bench().clock().Now() % kMs;
    bench().clock().Advance(kMs - past);
  }

  // What `call` takes on the bench's clock, in nanoseconds.
  static uint64_t Took(const std::function<void()>& call) {
    AlignClock();
    const uint64_t start = bench().clock().Now();
    call();
    return bench().clock().Now() - start;
  }

  static std::string DebugText() {
    std::string text;
    for (const std::string& line : bench().debugStream().Lines()) text += line;
    return text;
  }
  static void ClearDebugText() { bench().debugStream().Clear(); }
};

}  // namespace brisk
