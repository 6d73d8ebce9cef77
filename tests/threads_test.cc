// Several threads call at once, as tools with a polling window do. Run under ThreadSanitizer.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/files.h"
#include "support/ftdi_bench.h"

namespace brisk {
namespace {

class Threads : public BenchTest {};

class StoppedClock final : public Clock {
 public:
  uint64_t TimeStampCounter() override { return 0; }
  int64_t PerformanceFrequency() override { return 1; }
  int64_t PerformanceCounter() override { return 0; }
  uint32_t TickCount() override { return 0; }
  int64_t LocalTime() override { return now; }
  void Sleep(uint32_t /*milliseconds*/) override { std::this_thread::yield(); }
  std::atomic<int64_t> now{0};  // in 100 ns
};

// By a clock that waiting does not move.
TEST_F(Threads, DeferredWritesGoAtTheTenthOrAfterTenMilliseconds) {
  StoppedClock clock;
  CDebug log(platform().debugStream);
  ftdi::D2xx d2xx(platform().libraries, log);
  ftdi::MpsseLine line(d2xx, clock);
  const auto lock = platform().threads.NewLock();
  ftdi::DeferredWrites deferred(*lock, platform().threads, line);
  // Writes, lets time pass, and sees within so many real milliseconds whether all has gone.
  const auto gone = [&](int writes, int64_t time, int patience) {
    {
      const std::lock_guard held(*lock);
      auto& lane = deferred.LaneOf(1);
      for (int i = 0; i < writes; ++i) static_cast<void>(deferred.Add(lane));
    }
    clock.now += time;
    for (; patience > 0; --patience) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      const std::lock_guard held(*lock);
      if (deferred.LaneOf(1).pending == 0) return true;
    }
    return false;
  };
  EXPECT_FALSE(gone(9, 100'000, 30));
  EXPECT_TRUE(gone(0, 1, 5000));
  EXPECT_TRUE(gone(10, 0, 5000));
  clock.now += 1'000'000;  // nothing may be left
  deferred.Finish();
}

// Transactions interleave bit by bit unless each is one unit: every thread then reads back bytes of
// the others, or misses acknowledges.
TEST_F(Threads, TransactionsStayWhole) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 100;
  Configure("adapter=lpt");
  BriskSetDevice(0);
  I2c_Stop();
  std::atomic<int> wrong{0};
  std::atomic<bool> done{false};
  std::thread watcher([&] {
    while (!done) {
      BriskEnableDebug(0);
      BriskSetDevice(0);
      if (SPIGetProgress() > 100 || BriskGetVersion() != 6) ++wrong;
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> callers;
  callers.reserve(kThreads);
  for (int index = 0; index < kThreads; ++index) {
    callers.emplace_back([&wrong, subAddress = static_cast<uint8_t>(0x80 + index)] {
      for (int round = 0; round < kRounds; ++round) {
        const auto value = static_cast<uint8_t>(round * 7 + subAddress);
        uint8_t back = 0;
        if (I2cWriteByte(0xF4, subAddress, value) != 1) ++wrong;
        if (I2cReadByte(0xF4, subAddress, &back) != 1 || back != value) ++wrong;
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  done = true;
  watcher.join();
  EXPECT_EQ(wrong, 0);
}

struct Transfer {
  std::thread other;
  std::atomic<bool> calling{false};
  std::atomic<bool> answered{false};
  uint8_t selected = 0;
  uint32_t percent = 0;
  bool lockless = false;
  bool early = false;
};

int BRISK_CALL CallFromAnotherThread(uint32_t /*done*/, uint32_t /*total*/, void* context) {
  auto& transfer = *static_cast<Transfer*>(context);
  if (!transfer.other.joinable()) {
    transfer.other = std::thread([&transfer] {
      transfer.selected = BriskSetDevice(BRISK_DEVICE_LPT);
      transfer.calling = true;
      SPIStop();
      transfer.percent = SPIGetProgress();
      transfer.answered = true;
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!transfer.calling && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    transfer.lockless = transfer.calling;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  transfer.early = transfer.early || transfer.answered;
  return 0;
}

// A transfer holds the lock to its end: another thread learns nothing of it and cannot stop it, but
// can select a device.
TEST_F(Threads, TransferIsOneUnit) {
  const TemporaryFolder folder;
  const std::string out = folder.File("out.bin");
  Configure("adapter=lpt,flash=w25q16");
  Transfer transfer;
  BriskSetProgressCallback(CallFromAnotherThread, &transfer);
  EXPECT_EQ(SPIProgramToFile(0, 0x1000, out.c_str()), 0x1000u);
  transfer.other.join();
  EXPECT_TRUE(transfer.lockless);
  EXPECT_EQ(transfer.selected, 1);
  EXPECT_FALSE(transfer.early);
  EXPECT_EQ(transfer.percent, 100u);
  BriskSetProgressCallback(nullptr, nullptr);
}

// Every connect makes the board's object anew; it waits for the operation that uses the old one,
// and no operation meets a board whose firmware is being replaced.
TEST_F(Threads, TimingControllerBoardIsConnectedAgain) {
  const TemporaryFolder folder;
  const std::filesystem::path home = std::filesystem::current_path();
  std::ofstream(folder.File("firmware.hex")) << ":03000000020100FA\n:00000001FF\n";
  std::filesystem::current_path(std::filesystem::path(folder.File("x")).parent_path());
  Configure("adapter=tcon-usb");
  EXPECT_EQ(BriskSetDevice(4), 1);
  std::atomic<int> wrong{0};
  std::atomic<bool> done{false};
  std::thread connecting([&] {
    while (!done) {
      if (BriskSetDevice(4) != 1) ++wrong;
    }
  });
  for (int round = 0; round < 300; ++round) {
    const auto value = static_cast<uint8_t>(round);
    uint8_t back = 0;
    if (I2cWriteByte(0xF4, 0x80, value) != 1) ++wrong;
    if (I2cReadData(0xF4, nullptr, 0, &back, 1) != 1) ++wrong;
    I2cSetClockRate(400);
    I2cLib_W1Byte(value, 0xF4, 0);
    if (SetPortVal(3, value) != 1 || GetPortVal(3, &back) != 1 || back != value) ++wrong;
  }
  done = true;
  connecting.join();
  std::filesystem::current_path(home);
  EXPECT_EQ(wrong, 0);
}

class FtdiThreads : public FtdiTest {};

TEST_F(FtdiThreads, EverythingAtOnce) {
  Connect("ft2232c+ft2232c-2+ft2232h");
  BriskSetDevice(BRISK_DEVICE_FTDI);  // the writes may be done before the first of the thread's
  constexpr int kRounds = 40;
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) BriskSetDevice(BRISK_DEVICE_FTDI);
  });
  threads.emplace_back([&] {
    const uint8_t data[] = {1, 2};
    for (int i = 0; i < kRounds * 20; ++i) good += I2cWriteData(0x20, data, 2, nullptr, 0) == 1;
  });
  threads.emplace_back([&] {
    uint8_t command = 0x20;
    uint8_t data[4];
    for (int i = 0; i < kRounds * 4; ++i) {
      I2cReadData(0xF4, &command, 1, data, 4);
      I2cSetClockRate(i % 2 == 0 ? 100 : 200);
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) {
      uint32_t handle = 0;
      uint8_t control[] = {0xF4, 0x10};
      uint8_t data = 0x55;
      if (I2C_OpenHiSpeedDevice(kHiSpeed, 0x41, "A", &handle) != 0) continue;
      I2C_InitDevice(handle, 5);
      I2C_Write(handle, control, 2, 0, 5, 1, I2C_BYTE_WRITE_TYPE, &data, 1, 0, 5, nullptr);
      I2C_Read(handle, control, 2, 0, 5, I2C_BYTE_READ_TYPE, &data, 1);
      I2C_Close(handle);
    }
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(good.load(), 0);
  // Settled: a new connect works, and so does a write.
  Release();
  Connect("ft2232c");
  EXPECT_EQ(BriskSetDevice(BRISK_DEVICE_FTDI), 1);
  const uint8_t data[] = {0x20, 0x77};
  EXPECT_EQ(I2cWriteData(0xF4, data, 2, nullptr, 0), 1u);
  EXPECT_EQ(bench().board().controller().Register(0x20), 0x77);
}

// Unloading while writes wait: they are sent, and the thread has ended.
TEST_F(FtdiThreads, DetachSendsWhatWaits) {
#ifdef _WIN32
  GTEST_SKIP() << "on Windows nothing may wait for a thread while the library is unloaded";
#endif
  for (int i = 0; i < 20; ++i) {
    Connect("ft2232c");
    BriskSetDevice(BRISK_DEVICE_FTDI);
    Forget();
    const uint8_t data[] = {1, 2};
    const std::shared_ptr<sim::D2xxHost> kept = sim::CurrentD2xxHost();
    EXPECT_EQ(I2cWriteData(0x20, data, 2, nullptr, 0), 1u);
    DetachLibrary();
    EXPECT_EQ(kept->TakeWrites(kFullSpeed).size(), 1u);
  }
}

}  // namespace
}  // namespace brisk
