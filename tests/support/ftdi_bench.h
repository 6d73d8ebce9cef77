#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_ftdi.h"

#include "api/instance.h"
#include "bench_test.h"
#include "sim/adapters/ftdi/d2xx_functions.h"

namespace brisk {

using ByteVector = std::vector<uint8_t>;
using Writes = std::vector<ByteVector>;

inline ByteVector Joined(const Writes& writes) {
  ByteVector all;
  for (const ByteVector& bytes : writes) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

inline ByteVector operator+(ByteVector left, const ByteVector& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The same bytes several times over.
inline ByteVector Times(unsigned count, const ByteVector& bytes) {
  ByteVector all;
  for (unsigned i = 0; i < count; ++i) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

// A test with FTDI chips on the bench.
class FtdiTest : public BenchTest {
 protected:
  static constexpr const char* kFullSpeed = "Dual RS232 A";
  static constexpr const char* kTalvo = "TALVO board A";
  static constexpr const char* kHiSpeed = "Dual RS232-HS A";
  static constexpr const char* kQuad = "Quad RS232-HS A";
  static constexpr const char* kSecond = "Dual RS232 second A";

  ~FtdiTest() override { Release(); }

  // What these tests reach of the library itself: the engine, which lives until it is released, and
  // its lock; while a Held lives, the deferring thread cannot act.
  static ftdi::EngineOwner& Owner() { return AttachedInstance()->ftdi().engine(); }
  // What the library keeps of FTDI chips goes before their bench does.
  static void Release() {
    if (Instance* instance = AttachedInstance()) instance->ftdi().Close();
  }
  struct Held {
    std::lock_guard<RecursiveLock> lock{Owner().lock()};
  };

  static void Connect(const std::string& adapters, const std::string& more = "") {
    Release();
    Configure("adapter=" + adapters + more);
  }

  static sim::D2xxHost& host() { return *sim::CurrentD2xxHost(); }

  static uint32_t OpenFullSpeed(const char* name = kFullSpeed, uint32_t location = 0x21) {
    uint32_t handle = 0;
    EXPECT_EQ(I2C_OpenEx(name, location, &handle), 0u);
    return handle;
  }
  static uint32_t OpenHiSpeed(const char* name = kHiSpeed, uint32_t location = 0x41) {
    uint32_t handle = 0;
    EXPECT_EQ(I2C_OpenHiSpeedDevice(name, location, "A", &handle), 0u);
    return handle;
  }
  // An interface that has been initialised, with nothing recorded yet.
  static uint32_t Ready(uint32_t handle, uint32_t divisor = 59) {
    EXPECT_EQ(I2C_InitDevice(handle, divisor), 0u);
    Forget();
    return handle;
  }
  static void Forget() {
    if (sim::CurrentD2xxHost() == nullptr) return;
    for (const char* name : {kFullSpeed, kTalvo, kHiSpeed, kQuad, kSecond}) host().TakeWrites(name);
  }

  static uint64_t Milliseconds() { return bench().clock().Now() / 1'000'000; }
};

}  // namespace brisk
