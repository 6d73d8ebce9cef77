// Device type 8 through the exported functions: deferred writes, reads of several boards, pins,
// flash, and boards that fail.
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "sim/adapters/ftdi/ftdi_adapter.h"
#include "sim/board/eeprom.h"
#include "sim/board/timing_controller.h"
#include "support/files.h"
#include "support/ftdi_bench.h"
#include "support/i2c_monitor.h"

namespace brisk {
namespace {

// START, bytes with their clocked acknowledges, STOP, in STANDARD mode; k as the rate asks.
ByteVector FastStart(unsigned k, uint8_t before, uint8_t direction = 0x13) {
  return Times(1 + 4 * k, Step(before | 0x02, direction)) + Times(3 * k, Step(0x03, direction)) +
         Times(1 + 6 * k, Step(0x01, direction)) + Step(0x00, direction);
}
ByteVector FastBytes(const ByteVector& bytes) {
  ByteVector all;
  for (const uint8_t byte : bytes) all = all + ByteVector{0x11, 0x00, 0x00, byte, 0x13, 0x00, 0xFF};
  return all + Step(0x02) + Times(3, Step(0x00));
}
ByteVector FastStop() {
  return Times(4, Step(0x00)) + Times(7, Step(0x01)) + Times(4, Step(0x03)) + Step(0x03, 0x10);
}
// `before` is the value of SCL that the shadow holds from earlier.
ByteVector Transaction(const ByteVector& bytes, uint8_t before = 0x01, unsigned k = 10) {
  return FastStart(k, before) + FastBytes(bytes) + FastStop();
}

class FtdiBoards : public FtdiTest {
 protected:
  static constexpr uint8_t kType = BRISK_DEVICE_FTDI;

  FtdiBoards() { Select("ft2232c", 1); }

  static void Select(const std::string& adapters, int boards, const std::string& more = "") {
    Connect(adapters, more);
    EXPECT_EQ(BriskSetDevice(kType), boards);
    Forget();
  }
  static sim::Board& SecondBoard() {
    return *dynamic_cast<sim::FtdiAdapter*>(bench().adapter("ft2232c-2"))->ownBoard();
  }
  // Address byte first.
  static uint32_t Write(const ByteVector& bytes) {
    return I2cWriteData(bytes[0], bytes.data() + 1, static_cast<uint32_t>(bytes.size()) - 1,
                        nullptr, 0);
  }
  static uint32_t Read(const ByteVector& command, ByteVector* data) {
    return I2cReadData(command[0], command.data() + 1, static_cast<uint32_t>(command.size()) - 1,
                       data->data(), static_cast<uint32_t>(data->size()));
  }
  // What has left within some real seconds, at least so many bytes.
  static ByteVector SentSoon(size_t count, const char* name) {
    ByteVector sent;
    for (int i = 0; i < 5000 && sent.size() < count; ++i) {
      sent = sent + Joined(Sent(name));
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return sent;
  }
};

// A run of short writes leaves in one go on each board, ten of them without a wait; above 4096
// bytes it takes two calls. Boards share one set of pin shadows: each sees what a single one would.
TEST_F(FtdiBoards, ShortWritesShareATransfer) {
  const struct {
    uint8_t writes;
    uint32_t kHz;
    const char* adapters;
    int boards;
  } kCases[] = {{3, 100, "ft2232c", 1},
                {10, 100, "ft2232c", 1},
                {10, 200, "ft2232c", 1},
                {3, 100, "ft2232c+ft2232c-2", 2}};
  for (const auto& [writes, kHz, adapters, boards] : kCases) {
    Select(adapters, boards);
    I2cSetClockRate(kHz);
    Forget();
    const uint64_t calls = host().calls("FT_Write");
    const uint64_t began = bench().clock().Now();
    ByteVector all;
    {
      const Held held;
      for (uint8_t i = 0; i < writes; ++i) {
        EXPECT_EQ(Write({0x20, i}), 1u);
        all = all + Transaction({0x20, i}, 0x01, kHz > 100 ? 1 : 10);
      }
    }
    for (const char* name : {kFullSpeed, kSecond}) {
      if (name == kFullSpeed || boards == 2) {
        EXPECT_EQ(SentSoon(all.size(), name), all);
      }
    }
    EXPECT_EQ(host().calls("FT_Write") - calls, (all.size() + 4095) / 4096 * boards);
    EXPECT_GE(bench().clock().Now() - began, writes < 10 ? 10 * kMs : 0);
  }
}

TEST_F(FtdiBoards, WhatGoesAtOnceTakesAlongWhatWaits) {
  const ByteVector longWrite = ByteVector{0x20} + RandomBytes(300);
  const struct {
    ByteVector bytes;
    bool atOnce;
  } kCases[] = {{{0x6E, 0x01}, true},        {{0xF4}, true},
                {{0x6F, 0x01}, false},       {{0xF5, 0x01}, false},
                {{0x10, 0xE1, 0x08}, true},  {{0x10, 0xE1, 0x10, 0x99}, true},
                {{0x10, 0xE1, 0x09}, false}, {{0x10, 0xE1}, false},
                {{0x10, 0xE0, 0x08}, false}, {ByteVector{0x6E} + RandomBytes(255), true}};
  for (const auto& [bytes, atOnce] : kCases) {
    Select("ft2232c", 1);
    const Held held;
    for (const auto& each : {ByteVector{0x20, 1}, {0x22, 2}, bytes}) EXPECT_EQ(Write(each), 1u);
    const ByteVector all = Transaction({0x20, 1}) + Transaction({0x22, 2}) + Transaction(bytes);
    EXPECT_EQ(Sent(), atOnce ? Writes{all} : Writes{}) << int{bytes.back()};
  }
  // More than 300 bytes: what waits goes first, the long one by itself.
  Select("ft2232c", 1);
  const Held held;
  for (const auto& bytes : {ByteVector{0x20, 1}, {0x22, 2}, longWrite}) EXPECT_EQ(Write(bytes), 1u);
  const Writes sent = Sent();
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_EQ(sent[0], Transaction({0x20, 1}) + Transaction({0x22, 2}));
  EXPECT_EQ(sent[1].size(), 133u * 3 + 256 * 7);
  EXPECT_EQ(sent[1] + sent[2], Transaction(longWrite));
  EXPECT_EQ(Write({0x20, 1}), 1u);
  bench().SetFault("d2xx-fails:FT_Write@1");
  EXPECT_EQ(Write(longWrite), 0u);  // what waited is lost, and nobody else tells
}

TEST_F(FtdiBoards, NothingDeferredIsLost) {
  uint32_t frequency = 0;
  const GpioPins pins{};
  const uint32_t handle = OpenFullSpeed();
  uint8_t byte = 0;
  const std::vector<std::function<void()>> kIntruders = {
      [] { I2cSetClockRate(100); },
      [] { SetPortVal(0, 0); },
      [] { SPIInit(); },
      [&] { I2C_SetGPIOs(handle, &pins); },
      [&] { I2C_SetClock(handle, 60, &frequency); },
      [&] { I2cReadData(0xF4, &byte, 1, &byte, 1); },
      [&] { I2C_Close(handle); }};
  for (size_t i = 0; i < kIntruders.size(); ++i) {
    const Held held;
    EXPECT_EQ(Write({0xA0, 0x05, static_cast<uint8_t>(0x40 + i)}), 1u);
    EXPECT_TRUE(Sent().empty());
    kIntruders[i]();
    const Writes sent = Sent();
    ASSERT_FALSE(sent.empty()) << i;
    EXPECT_EQ(sent[0].size(), Transaction({0xA0, 0x05, 0x40}).size()) << i;
    EXPECT_EQ(bench().board().eeprom().Byte(5), 0x40 + i);
    bench().clock().Advance(10'000'000);  // the EEPROM's write time
  }
  Select("ft2232c", 1);
  EXPECT_EQ(Write({0xA0, 0x05, 0x77}), 1u);
  EXPECT_EQ(BriskSetDevice(kType), 1);
  EXPECT_EQ(bench().board().eeprom().Byte(5), 0x77);
}

TEST_F(FtdiBoards, ReadsOfOneBoard) {
  ByteVector data(2);
  EXPECT_EQ(Write({0xF4, 0x20, 0x12, 0xFF}), 1u);
  Forget();
  EXPECT_EQ(Read({0xF5, 0x20}, &data), 1u);
  EXPECT_EQ(data, (ByteVector{0x12, 0xFF}));
  const auto byte = [](uint8_t acknowledge) {
    return ByteVector{0x33, 0x07, 0xFF, 0x87} + Step(0x00) + ByteVector{0x13, 0x00, acknowledge};
  };
  EXPECT_EQ(Sent(), (Writes{FastStart(10, 0x01) + FastBytes({0xF4, 0x20}) + FastStart(10, 0x00) +
                            FastBytes({0xF5}) + byte(0x00) + byte(0xFF) + FastStop()}));
  // No register: no write phase.
  EXPECT_EQ(I2cReadData(0xF4, nullptr, 0, data.data(), 1), 1u);
  EXPECT_EQ(Sent(), (Writes{FastStart(10, 0x01) + FastBytes({0xF5}) + byte(0xFF) + FastStop()}));
  // Nothing to read: START, address, STOP.
  data = {0x5A, 0x5A};
  EXPECT_EQ(I2cReadData(0xF4, nullptr, 0, data.data(), 0), 1u);
  EXPECT_EQ(Sent(), (Writes{FastStart(10, 0x01) + FastBytes({0xF5}) + FastStop()}));
  EXPECT_EQ(data, (ByteVector{0x5A, 0x5A}));
}

TEST_F(FtdiBoards, LongReadsComeInBlocks) {
  ByteVector content = RandomBytes(256);
  for (unsigned i = 0; i < 256; ++i) {
    bench().board().controller().SetRegister(static_cast<uint8_t>(i), content[i]);
  }
  for (const size_t count : {255u, 256u, 300u, 512u}) {
    ByteVector data(count);
    EXPECT_EQ(Read({0xF4, 0x00}, &data), 1u);
    for (size_t i = 0; i < count; ++i) ASSERT_EQ(data[i], content[i % 256]) << count << ": " << i;
    EXPECT_EQ(Sent().size(), count == 255 ? 1u : 1 + count / 256);
  }
}

TEST_F(FtdiBoards, ReadsOfTwoBoardsAreCombined) {
  Select("ft2232c+ft2232c-2", 2);
  const ByteVector first = {0x12, 0x34, 0xFF, 0x01, 0xFF};
  const ByteVector other = {0x13, 0x34, 0x01, 0xFF, 0xFF};
  for (size_t i = 0; i < first.size(); ++i) {
    bench().board().controller().SetRegister(static_cast<uint8_t>(0x20 + i), first[i]);
    SecondBoard().controller().SetRegister(static_cast<uint8_t>(0x20 + i), other[i]);
  }
  ByteVector data(first.size());
  EXPECT_EQ(Read({0xF4, 0x20}, &data), 1u);
  EXPECT_EQ(data, (ByteVector{0x12, 0x34, 0x00, 0x00, 0x00}));
  // The last board decides; one that fails leaves what the others said.
  host().Unplug(kSecond);
  EXPECT_EQ(Read({0xF4, 0x20}, &data), 0u);
  EXPECT_EQ(data, (ByteVector{0x12, 0x34, 0x00, 0x01, 0x00}));
  EXPECT_EQ(Write({0xF4, 0x20, 0x01}), 0u);
  Select("ft2232c+ft2232c-2", 2);
  host().Unplug(kFullSpeed);
  EXPECT_EQ(Read({0xF4, 0x20}, &data), 1u);
  EXPECT_EQ(data, ByteVector(5, 0x00));
}

TEST_F(FtdiBoards, RatesAndPins) {
  const struct {
    uint32_t kHz;
    uint8_t plain;
    uint8_t talvo;
  } kCases[] = {{400, 30, 20}, {100, 60, 60}, {7000, 30, 20}, {250, 30, 24}, {200, 30, 30}};
  for (const bool talvo : {false, true}) {
    Select(talvo ? "talvo" : "ft2232c", 1);
    const char* name = talvo ? kTalvo : kFullSpeed;
    for (const auto& given : kCases) {
      I2cSetClockRate(given.kHz);
      EXPECT_EQ(Sent(name), (Writes{{0x86, talvo ? given.talvo : given.plain, 0x00}}));
    }
    I2cSetClockRate(0);  // as 1
    EXPECT_EQ(Sent(name), (Writes{{0x86, 0x70, 0x17}}));
    EXPECT_EQ(SetPortVal(0xF5, 0xFA), 1u);
    EXPECT_EQ(Sent(name), (Writes{{0x82, 0x0A, 0x05}}));
  }
}

TEST_F(FtdiBoards, NoBoard) {
  Select("none", 0);
  ByteVector data(2, 0x00);
  EXPECT_EQ(Write({0x20, 1}), 0u);
  EXPECT_EQ(Read({0x20, 1}, &data), 0u);
  EXPECT_EQ(data, (ByteVector{0xFF, 0xFF}));
  EXPECT_EQ(SetPortVal(1, 1), 1u);
  EXPECT_EQ(SPIReadID(), 0u);
}

TEST_F(FtdiBoards, AFailedOpenKeepsItsPlace) {
  Connect("ft2232c+ft2232c-2");
  bench().SetFault("d2xx-fails:FT_OpenEx@2");
  EXPECT_EQ(BriskSetDevice(kType), 2);
  bench().ClearFaults();
  Forget();
  EXPECT_EQ(Write({0xF4, 0x20, 0x44}), 0u);  // the last one's result
  EXPECT_EQ(bench().board().controller().Register(0x20), 0x44);
  EXPECT_EQ(SPIReadID(), 0xEF4016u);
  EXPECT_EQ(BriskSetDevice(kType), 2);
  EXPECT_EQ(Write({0xF4, 0x20, 0x45}), 1u);
}

// Each in turn, the bus goes away at some call of a session; nothing hangs, and after plugging in
// again a connect finds a working board.
TEST_F(FtdiBoards, UnpluggedAtAnyMoment) {
  for (int call = 1; call <= 120; call += 7) {
    Connect("ft2232c");
    bench().SetFault("ftdi-unplug@" + std::to_string(call));
    const auto session = [] {
      BriskSetDevice(kType);
      ByteVector data(300);
      Write({0xF4, 0x20, 0x44});
      Read({0xF4, 0x20}, &data);
      EXPECT_NE(SPIReadID(), 0xFFFFFFu);
      const bool gone = host().Find(kFullSpeed)->unplugged;
      EXPECT_EQ(Write({0xF4, 0x20, 0x44}), gone ? 0u : 1u);
    };
    EXPECT_LT(Took(session), 11'000 * kMs) << call;
    bench().ClearFaults();
    host().Replug(kFullSpeed);
    EXPECT_EQ(BriskSetDevice(kType), 1) << call;
    EXPECT_EQ(Write({0xF4, 0x20, 0x44}), 1u) << call;
  }
}

TEST_F(FtdiBoards, ASilentBoardCostsOneTimeOut) {
  const TemporaryFolder folder;
  const std::string out = folder.File("out.bin");
  bench().SetFault("ftdi-no-answers");
  ByteVector data(1000);
  const std::function<void()> kCalls[] = {
      [&] {
        EXPECT_EQ(Read({0xF4, 0x20}, &data), 0u);
      },
      [] { EXPECT_EQ(SPIReadID(), 0u); },
      [&] { EXPECT_LT(SPIProgramToFile(0, 0x100000, out.c_str()), 0x100000u); }};
  for (const auto& call : kCalls) EXPECT_LT(Took(call), 5200 * kMs);
  EXPECT_EQ(data, ByteVector(1000, 0xFF));
}

TEST_F(FtdiBoards, TwoFlashesAtOnce) {
  TemporaryFolder folder;
  const ByteVector image = RandomBytes(300, 9);
  WriteFile(folder.File("in.bin"), image);
  Select("ft2232c+ft2232c-2", 2, ",flash=w25q16");
  EXPECT_EQ(SPIProgramFromFile(0x200, 300, folder.File("in.bin").c_str(), 0), 300u);
  for (sim::Board* board : {&bench().board(), &SecondBoard()}) {
    const auto begin = board->flash()->memory().begin() + 0x200;
    EXPECT_EQ(ByteVector(begin, begin + 300), image);
  }
  host().Unplug(kSecond);
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
}

// Two adapters of a process know of each other what D2XX tells them.
TEST_F(FtdiBoards, TwoAdaptersSideBySide) {
  Select("ft2232c+ft2232c-2", 2);
  Instance& instance = *AttachedInstance();
  ftdi::FtdiAdapter other(Host{platform(), instance.log(), instance});
  const Device& device = other.device();
  const ByteVector data = {0x20, 0x45};
  EXPECT_EQ(device.onSelect->Connect(), 0u);
  EXPECT_FALSE(device.blocks->WriteData(0xF4, data, {}).ok());
  EXPECT_EQ(Write({0xF4, 0x20, 0x44}), 1u);
  EXPECT_EQ(bench().board().controller().Register(0x20), 0x44);
  instance.ftdi().Close();
  EXPECT_EQ(device.onSelect->Connect(), 2u);
  EXPECT_TRUE(device.blocks->WriteData(0xF4, data, {}).ok());
  EXPECT_EQ(bench().board().controller().Register(0x20), 0x45);
  EXPECT_EQ(Write({0xF4, 0x20, 0x46}), 0u);
}

}  // namespace
}  // namespace brisk
