#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "api/attach.h"
#include "bench.h"
#include "nor_flash.h"

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

  static std::string DebugText() {
    std::string text;
    for (const std::string& line : bench().debugStream().Lines()) text += line;
    return text;
  }
  static void ClearDebugText() { bench().debugStream().Clear(); }
};

}  // namespace brisk
