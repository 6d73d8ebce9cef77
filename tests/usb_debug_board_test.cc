// The debug board end to end: exported functions to the simulated board's wires, flash and ports.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "sim/adapters/debug_board/debug_board_adapter.h"
#include "sim/board/eeprom.h"
#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/files.h"
#include "support/i2c_monitor.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

class DebugBoard : public BenchTest {
 protected:
  DebugBoard() {
    Configure("adapter=debug-board,flash=w25q16");
    BriskSetDevice(2);
    bench().board().i2c().AddDevice(monitor);
  }

  static sim::DebugBoardAdapter& board() {
    return *static_cast<sim::DebugBoardAdapter*>(bench().adapter("debug-board"));
  }

  I2cMonitor monitor;
};

std::string Text(const Bytes& bytes, bool read) {
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i) {
    char word[8];
    const bool acknowledged = !read || i + 1 < bytes.size();
    std::snprintf(word, sizeof word, " %02X%c", bytes[i], acknowledged ? '+' : '-');
    text += word;
  }
  return text;
}

TEST_F(DebugBoard, PortsAtAttachAndDetach) {
  EXPECT_EQ(board().port(49), 0xFE);
  EXPECT_EQ(board().port(29), 0x80);
  EXPECT_EQ(board().openHandles, 3);
  board().SetPort(7, 0x5A);
  uint8_t value = 0;
  EXPECT_EQ(GetPortVal(7, &value), 1u);
  EXPECT_EQ(value, 0x5A);
  DetachLibrary();
  EXPECT_EQ(board().port(49), 0);
  EXPECT_EQ(board().openHandles, 0);
}

// Every length: what the device sees is the address, the sub-address and the bytes, once.
TEST_F(DebugBoard, BlockWritesOfEveryLength) {
  const uint8_t command[] = {0x00};
  for (uint32_t length = 0; length <= 300; ++length) {
    SCOPED_TRACE(length);
    Bytes data(length);
    std::iota(data.begin(), data.end(), uint8_t{1});
    EXPECT_EQ(I2cWriteData(0xF4, command, 1, data.data(), length), 1u);
    std::string expected = "S F4+ 00+" + Text(data, false);
    // One position of the last packet left over: it repeats what it held (see the class).
    if (length == 59) expected += " Sr";
    if (length > 59 && (length - 59) % 63 == 0) expected += Text({data[length - 63]}, false);
    EXPECT_EQ(monitor.Take(), expected + " P");
  }
}

TEST_F(DebugBoard, BlockReadsOfEveryLength) {
  for (unsigned i = 0; i < 256; ++i) {
    bench().board().controller().SetRegister(static_cast<uint8_t>(i),
                                             static_cast<uint8_t>(i * 7 + 1));
  }
  const uint8_t command[] = {0x10};
  for (uint32_t length = 1; length <= 300; ++length) {
    SCOPED_TRACE(length);
    Bytes data(length + 1, 0xEE);
    Bytes expected;
    for (uint32_t i = 0; i < length; ++i)
      expected.push_back(static_cast<uint8_t>((0x10 + i) * 7 + 1));
    EXPECT_EQ(I2cReadData(0xF4, command, 1, data.data(), length), 1u);
    EXPECT_EQ(monitor.Take(), "S F4+ 10+ Sr F5+" + Text(expected, true) + " P");
    expected.push_back(0xEE);
    EXPECT_EQ(data, expected);
  }
}

TEST_F(DebugBoard, RegistersAndTransactions) {
  EXPECT_EQ(I2cWriteByte(0xF4, 0x11, 0x99), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 11+ 99+ P");
  uint8_t value = 0;
  EXPECT_EQ(I2cReadByte(0xF4, 0x11, &value), 1u);
  EXPECT_EQ(value, 0x99);
  EXPECT_EQ(monitor.Take(), "S F4+ 11+ Sr F5+ 99- P");
  EXPECT_EQ(I2cLib_W2Bytes(0, 0xF4, 0x12, 0x34), 1);
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF4, 0x12, &value), 1);
  EXPECT_EQ(value, 0x34);
  EXPECT_EQ(monitor.Take(), "S F4+ 12+ 34+ P S F4+ 12+ Sr F5+ 34- P");
  I2c_Start();
  I2cWrite(0xF5);
  uint32_t word = 0;
  EXPECT_EQ(I2c_Rx(&word, 1), 0u);
  I2c_Stop();
  EXPECT_EQ(monitor.Take().substr(0, 6), "S F5+ ");
}

TEST_F(DebugBoard, Flash) {
  TemporaryFolder folder;
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
  for (const auto& [address, size, most, result] : {std::array<uint32_t, 4>{0xF0, 100, 0, 100},
                                                    {0, 1000, 300, 300},
                                                    {0x1234, 700, 9999, 700},
                                                    {0x10, 0, 0, 0}}) {
    const Bytes bytes = RandomBytes(size);
    WriteFile(folder.File("in"), bytes);
    SPIWriteByte(0x100000, 0x00);
    EXPECT_EQ(SPIProgramFromFile(address, most, folder.File("in").c_str(), 0), result);
    EXPECT_EQ(SPIGetProgress(), 100u);
    const auto& memory = bench().board().flash()->memory();
    EXPECT_EQ(Bytes(memory.begin() + address, memory.begin() + address + result),
              Bytes(bytes.begin(), bytes.begin() + result));
    EXPECT_EQ(memory[address + result], 0xFF);
    EXPECT_EQ(memory[0x100000], 0xFF);  // the chip is erased, flag or not
    EXPECT_EQ(SPIProgramToFile(address, result, folder.File("out").c_str()), result);
    EXPECT_EQ(ReadFile(folder.File("out")), Bytes(bytes.begin(), bytes.begin() + result));
  }
  SPIWriteByte(0x20001, 0x5A);
  SPIWriteByte(0x20002, 0xA5);
  uint32_t value = 0;
  SPIReadByte(0x20001, &value);
  EXPECT_EQ(value, 0x5Au);  // no erase in between
  SPISectorErase(0x20000);
  SPIReadByte(0x20001, &value);
  EXPECT_EQ(value, 0xFFu);
  SPIWriteByte(0, 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(SPIProgramFromFile(0, 0, folder.File("none").c_str(), 0), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nCan't open the input file.");
  EXPECT_EQ(bench().board().flash()->memory()[0], 0xFF);
}

TEST_F(DebugBoard, PicturePort) {
  class Recorder : public sim::PictureDevice {
   public:
    void LinesChanged(bool one, bool zero) override {
      text += one ? zero ? 'i' : '1' : zero ? '0' : '.';
    }
    std::string text;
  } recorder;
  bench().board().picture().SetDevice(&recorder);
  Sddi_Tx(7, 0x13);
  bench().board().picture().SetDevice(nullptr);
  const std::string seen = recorder.text.substr(recorder.text.find_first_not_of('i'));
  EXPECT_EQ(seen, "0.0.1.0.0.1.1i");
}

// Rises page by page, both ways; a stop takes effect behind the page under way.
TEST_F(DebugBoard, ProgressAndStop) {
  struct Watcher {
    std::vector<uint32_t> percent;
    uint32_t stopAt = 0xFFFFFFFF;
    static int32_t BRISK_CALL Watch(uint32_t done, uint32_t total, void* context) {
      auto& watcher = *static_cast<Watcher*>(context);
      EXPECT_EQ(total, 1000u);
      watcher.percent.push_back(SPIGetProgress());
      return done >= watcher.stopAt ? 1 : 0;
    }
  };
  struct Case {
    bool program;  // else read
    uint32_t stopAt;
    uint32_t result;
    std::vector<uint32_t> percent;
  };
  TemporaryFolder folder;
  const std::string in = folder.File("in");
  const std::string out = folder.File("out");
  WriteFile(in, RandomBytes(1000));
  for (const Case& test : {Case{true, 1001, 1000, {1, 27, 52, 78, 100}},
                           {false, 1001, 1000, {25, 51, 76, 100}},
                           {true, 500, 528, {1, 27, 52}},
                           {false, 500, 512, {25, 51}}}) {
    SCOPED_TRACE(test.stopAt);
    Watcher watcher{{}, test.stopAt};
    BriskSetProgressCallback(Watcher::Watch, &watcher);
    EXPECT_EQ(test.program ? SPIProgramFromFile(0xF0, 0, in.c_str(), 0)
                           : SPIProgramToFile(0xF0, 1000, out.c_str()),
              test.result);
    BriskSetProgressCallback(nullptr, nullptr);
    EXPECT_EQ(watcher.percent, test.percent);
    EXPECT_EQ(SPIGetProgress(), 100u);
    if (test.program) {
      const auto& memory = bench().board().flash()->memory();
      EXPECT_EQ(memory[0xF0 + test.result], 0xFF);
    } else {
      EXPECT_EQ(ReadFile(out).size(), test.result);
    }
  }
}

// One transfer that fails spoils one operation. The board's status byte counts for nothing.
TEST_F(DebugBoard, FaultsOfTheLink) {
  struct Case {
    const char* fault;
    uint32_t result;
    uint8_t port;
    uint64_t seconds;
  };
  for (const Case& test : {Case{"usb-stall@1", 0, 0x11, 0},
                           {"usb-stall@2", 0, 0x11, 0},
                           {"usb-stall@3", 0, 0x22, 0},
                           {"usb-time-out@1", 0, 0x11, 1},
                           {"usb-time-out@2", 0, 0x11, 1},
                           {"usb-time-out@3", 0, 0x22, 1},
                           {"usb-status@1", 1, 0x22, 0}}) {
    SCOPED_TRACE(test.fault);
    board().SetPort(9, 0x11);
    EXPECT_EQ(bench().SetFault(test.fault), "");
    const uint64_t before = bench().clock().Now();
    EXPECT_EQ(SetPortVal(9, 0x22), test.result);
    EXPECT_EQ((bench().clock().Now() - before) / 1'000'000'000, test.seconds);
    EXPECT_EQ(board().port(9), test.port);
    EXPECT_EQ(SetPortVal(9, 0x33), 1u);
    EXPECT_EQ(board().port(9), 0x33);
    bench().ClearFaults();
  }
  // Of a short reply the rest counts as zeros.
  TemporaryFolder folder;
  WriteFile(folder.File("in"), Bytes(64, 0x5A));
  EXPECT_EQ(SPIProgramFromFile(0, 0, folder.File("in").c_str(), 0), 64u);
  EXPECT_EQ(bench().SetFault("usb-short"), "");
  EXPECT_EQ(SPIProgramToFile(0, 64, folder.File("out").c_str()), 64u);
  Bytes expected(64, 0x5A);
  std::fill(expected.begin() + 32, expected.end(), uint8_t{0});
  EXPECT_EQ(ReadFile(folder.File("out")), expected);
}

TEST_F(DebugBoard, UnpluggedBoardFailsAndHangsNothing) {
  EXPECT_EQ(bench().SetFault("usb-unplug"), "");
  EXPECT_EQ(I2cWrite(0x10), 0u);
  EXPECT_EQ(SetPortVal(1, 1), 0u);
  SPIBulkErase();
  SPIWriteByte(0, 0);
  TemporaryFolder folder;
  EXPECT_EQ(SPIProgramToFile(0, 100, folder.File("out").c_str()), 0u);
  Configure("adapter=debug-board,fault=usb-unplug");
  EXPECT_NE(DebugText().find("Error: Cannot detect talvo debug board."), std::string::npos);
}

}  // namespace
}  // namespace brisk
