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
using Statuses = std::vector<uint32_t>;

inline ByteVector Joined(const Writes& writes) {
  ByteVector all;
  for (const ByteVector& bytes : writes) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

template <typename Element>
std::vector<Element> operator+(std::vector<Element> left, const std::vector<Element>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The same bytes several times over.
inline ByteVector Times(unsigned count, const ByteVector& bytes) {
  return Joined(Writes(count, bytes));
}

// A setting of the low byte's pins. Values: 01 SCL, 02 SDA, 10 GPIOL0.
inline ByteVector Step(uint8_t value, uint8_t direction = 0x13) { return {0x80, value, direction}; }

// A write as I2C_Write takes it: address and registers, data, and whether acknowledges are waited
// for (10 ms each).
struct I2cWriteCall {
  ByteVector control;
  uint32_t type = I2C_NO_WRITE_TYPE;
  ByteVector data = {};
  uint32_t controlAck = 1, dataAck = 1, stop = 1;
  uint32_t timeoutMs = 10;

  uint32_t Run(uint32_t handle) const {
    const PageWriteRecord pages = {1, static_cast<uint32_t>(data.size())};
    return I2C_Write(handle, control.data(), static_cast<uint32_t>(control.size()), controlAck,
                     timeoutMs, stop, type, data.data(), static_cast<uint32_t>(data.size()),
                     dataAck, timeoutMs, &pages);
  }
};

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
  static Writes Sent(const char* name = kFullSpeed) { return host().TakeWrites(name); }

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
};

}  // namespace brisk
