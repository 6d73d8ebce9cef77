#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "bench_test.h"
#include "calls.h"
#include "firmware_folder.h"
#include "i2c_monitor.h"
#include "sigrok.h"
#include "sim/adapters/bridges/bridge_adapter.h"

namespace brisk {

// Sets of adapters, for tables whose rows are not for all.
enum : unsigned {
  kLpt = 1,
  kU2c = 2,
  kDebugBoard = 4,
  kUart = 8,
  kTcon = 16,
  kText = 32,
  kFtdi = 64
};

struct AdapterKind {
  const char* name;  // as the bench knows it
  uint8_t deviceType;
  unsigned kind;
};

inline void PrintTo(const AdapterKind& adapter, std::ostream* out) { *out << adapter.name; }

inline constexpr AdapterKind kAdapters[] = {
    {"lpt", 0, kLpt},       {"lpt-b", 5, kLpt},    {"lpt-c", 9, kLpt},
    {"u2c", 1, kU2c},       {"uart", 3, kUart},    {"debug-board", 2, kDebugBoard},
    {"tcon-usb", 4, kTcon}, {"ft2232c", 8, kFtdi}, {"text-bridge", 7, kText}};

inline std::vector<AdapterKind> AdaptersOf(unsigned kinds) {
  std::vector<AdapterKind> chosen;
  for (const AdapterKind& adapter : kAdapters) {
    if ((adapter.kind & kinds) != 0) chosen.push_back(adapter);
  }
  return chosen;
}

inline std::string AdapterName(const testing::TestParamInfo<AdapterKind>& test) {
  return "DeviceType" + std::to_string(test.param.deviceType);
}

// A test that every adapter of a kind runs: connected to the board, with a monitor on the I2C lines
// and a trace, which sigrok must read as the monitor has heard it.
class AdapterTest : public BenchTest, public testing::WithParamInterface<AdapterKind> {
 protected:
  ~AdapterTest() override { Disconnect(); }
  static bool Is(unsigned kinds) { return (GetParam().kind & kinds) != 0; }

  void Connect(const std::string& options = "") {
    Disconnect();
    trace_ = folder.File("lines.vcd");
    Configure(std::string("adapter=") + GetParam().name + ",trace=" + trace_ +
              (options.empty() ? "" : "," + options));
    BriskSetDevice(GetParam().deviceType);
    if (Is(kUart)) {
      EXPECT_TRUE(uart_connect(3, 115200));
    }
    if (Is(kText)) {
      EXPECT_TRUE(uart_mag_connect(7, 115200));
    }
    // The images of the first wiring start with both lines low.
    I2c_Stop();
    monitor_ = {};
    bench().board().i2c().AddDevice(monitor_);
  }

  // What has come over the lines since the last call.
  std::string Wires() {
    if (Is(kFtdi)) SetPortVal(0, 0);  // sends what is deferred
    return Heard();
  }

  FirmwareFolder folder;

 private:
  std::string Heard() {
    if (Is(kUart | kText)) {
      static_cast<sim::BridgeAdapter*>(bench().adapter(GetParam().name))->line().Settle();
    }
    const std::string words = monitor_.Take();
    if (!words.empty()) heard_ += (heard_.empty() ? "" : " ") + words;
    return words;
  }

  void Disconnect() {
    if (trace_.empty()) return;
    DetachLibrary();
    Heard();
    bench().trace().Close();
    if (kHaveSigrok && heard_.ends_with(" P")) {
      EXPECT_EQ(DecodedI2c(trace_), heard_);
    }
    trace_.clear();
    heard_.clear();
  }

  I2cMonitor monitor_;
  std::string trace_;
  std::string heard_;
};

}  // namespace brisk
