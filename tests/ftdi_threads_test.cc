// Threads that hammer the I2C_ functions, device type 8 and its connect at the same time.
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "sim/board/timing_controller.h"
#include "support/ftdi_bench.h"

namespace brisk {
namespace {

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
  ftdi::EngineOwner::Instance().Release();
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
