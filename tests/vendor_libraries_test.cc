// The shipped library, as it is, against simulated vendor libraries that it finds and loads by
// itself. All run on the real clock.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_ftdi.h"

namespace {

TEST(VendorLibraries, FtdiFamily) {
  char name[64];
  uint32_t location = 0;
  uint32_t handle = 0;
  ASSERT_EQ(I2C_GetDeviceNameLocID(0, name, sizeof name, &location), 0u);
  EXPECT_STREQ(name, "Dual RS232 A");
  ASSERT_EQ(I2C_OpenEx(name, location, &handle), 0u);
  EXPECT_EQ(I2C_InitDevice(handle, 59), 0u);
  uint8_t control[] = {0xF4, 0x30};
  const uint8_t value = 0x5A;
  uint8_t read = 0;
  EXPECT_EQ(
      I2C_Write(handle, control, 2, 1, 100, 1, I2C_BYTE_WRITE_TYPE, &value, 1, 1, 100, nullptr),
      0u);
  EXPECT_EQ(I2C_Read(handle, control, 2, 1, 100, I2C_BYTE_READ_TYPE, &read, 1), 0u);
  EXPECT_EQ(read, value);
  control[0] = 0x44;
  EXPECT_EQ(I2C_Write(handle, control, 2, 1, 50, 1, I2C_NO_WRITE_TYPE, nullptr, 0, 0, 0, nullptr),
            39u);
  EXPECT_EQ(I2C_Close(handle), 0u);
}

// A page programmed behind each adapter, among erased neighbours, and registers.
void RegistersAndFlash() {
  const uint8_t address = 0x20;
  const std::vector<uint8_t> sent = {0x12, 0xFF, 0x80};
  std::vector<uint8_t> received(sent.size());
  EXPECT_EQ(I2cWriteData(0xF4, &address, 1, sent.data(), 3), 1u);
  EXPECT_EQ(I2cReadData(0xF4, &address, 1, received.data(), 3), 1u);
  EXPECT_EQ(received, sent);
  EXPECT_EQ(SPIReadID(), 0xEF4016u);
  SPISectorErase(0x10000);
  SPIWriteByte(0x10123, 0x5A);
  uint32_t value = 0;
  SPIReadByte(0x10123, &value);
  EXPECT_EQ(value & 0xFF, 0x5Au);
  SPIReadByte(0x10124, &value);
  EXPECT_EQ(value & 0xFF, 0xFFu);
}

TEST(VendorLibraries, RegistersAndFlashOfEveryAdapter) {
  for (const auto type : {BRISK_DEVICE_FTDI, BRISK_DEVICE_U2C, BRISK_DEVICE_DEBUG_BOARD}) {
    SCOPED_TRACE(int{type});
    ASSERT_EQ(BriskSetDevice(type), 1);
    RegistersAndFlash();
  }
  uint8_t value = 0;
  EXPECT_EQ(GetPortVal(49, &value), 1u);
  EXPECT_EQ(value, 0xFE);  // written at load
}

#if defined(_WIN32)
// The end of a process kills its other threads where they are: here one that nearly always holds
// the lock of the FTDI engine, which the unloading step must then do without.
TEST(VendorLibraries, EndWhileAThreadWorks) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto end = [] {
    BriskSetDevice(BRISK_DEVICE_FTDI);
    std::thread([] {
      const uint8_t address = 0x20;
      uint8_t value = 0;
      for (;;) I2cReadData(0xF4, &address, 1, &value, 1);
    }).detach();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    std::exit(0);
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
