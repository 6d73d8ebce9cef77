// The lines that FTDI boards move, judged by sigrok's protocol decoders from the bench's trace.
#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "support/files.h"
#include "support/ftdi_bench.h"

namespace brisk {
namespace {

struct ClosePipe {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};

std::string OutputOf(const std::string& command) {
  const std::unique_ptr<std::FILE, ClosePipe> pipe(popen(command.c_str(), "r"));
  std::string output;
  std::array<char, 4096> buffer{};
  while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
    output += buffer.data();
  }
  return output;
}

class FtdiWires : public FtdiTest {
 protected:
  void Trace(const std::string& adapters) { Connect(adapters, ",trace=" + path); }
  // The trace so far, which ends, as the decoder's annotations without line breaks.
  std::string Decoded(const std::string& decoder, const std::string& annotations) {
    bench().trace().Close();
    std::string text = OutputOf("sigrok-cli -I vcd:downsample=250 -i " + path + " -P " + decoder +
                                " -A " + annotations + " 2>&1");
    for (char& c : text) {
      if (c == '\n') c = ' ';
    }
    return text;
  }
  // Without the name that sigrok puts before every annotation.
  static std::string Without(std::string text, const std::string& name) {
    for (size_t at = text.find(name); at != std::string::npos; at = text.find(name)) {
      text.erase(at, name.size());
    }
    return text;
  }

  TemporaryFolder folder;
  const std::string path = folder.File("lines.vcd");
};

constexpr const char* kI2c = "i2c:scl=scl:sda=sda";
constexpr const char* kI2cAnnotations =
    "i2c=start:repeat-start:stop:ack:nack:address-read:address-write:data-read:data-write";

TEST_F(FtdiWires, FamilyAtEverySpeedAndMode) {
  for (const char* adapter : {"ft2232c", "ft2232h"}) {
    for (const uint32_t mode : {I2C_STANDARD_MODE, I2C_FAST_MODE, I2C_STRETCH_DATA_MODE}) {
      Trace(adapter);
      const bool hiSpeed = std::string(adapter) == "ft2232h";
      const uint32_t handle = Ready(hiSpeed ? OpenHiSpeed() : OpenFullSpeed());
      EXPECT_EQ(I2C_SetMode(handle, mode), 0u);
      uint8_t control[] = {0xF4, 0x20};
      const uint8_t data[] = {0x12, 0x34};
      const PageWriteRecord pages = {1, 2};
      uint8_t read[2] = {};
      EXPECT_EQ(I2C_Write(handle, control, 2, 1, 10, 1, 2, data, 2, 1, 10, &pages), 0u);
      EXPECT_EQ(I2C_Read(handle, control, 2, 1, 10, I2C_BYTE_READ_TYPE, read, 1), 0u);
      EXPECT_EQ(read[0], 0x12);
      EXPECT_EQ(Without(Decoded(kI2c, kI2cAnnotations), "i2c-1: "),
                "Start Write Address write: 7A ACK Data write: 20 ACK Data write: 12 ACK "
                "Data write: 34 ACK Stop Start Write Address write: 7A ACK Data write: 20 ACK "
                "Start repeat Read Address read: 7A ACK Data read: 12 NACK Stop ")
          << adapter << ", mode " << mode;
    }
  }
}

TEST_F(FtdiWires, DeviceType8) {
  Trace("ft2232c");
  EXPECT_EQ(BriskSetDevice(BRISK_DEVICE_FTDI), 1);
  const uint8_t address = 0x20;
  const uint8_t data[] = {0x12, 0x34};
  uint8_t read[3] = {};
  EXPECT_EQ(I2cWriteData(0xF4, &address, 1, data, 2), 1u);
  I2cSetClockRate(200);
  EXPECT_EQ(I2cReadData(0xF4, &address, 1, read, 2), 1u);
  EXPECT_EQ(
      Without(Decoded(kI2c, kI2cAnnotations), "i2c-1: "),
      "Start Write Address write: 7A ACK Data write: 20 ACK Data write: 12 ACK Data write: 34 ACK "
      "Stop Start Write Address write: 7A ACK Data write: 20 ACK Start repeat Read Address read: "
      "7A ACK "
      "Data read: 12 ACK Data read: 34 NACK Stop ");
}

TEST_F(FtdiWires, Flash) {
  Trace("ft2232c");
  EXPECT_EQ(BriskSetDevice(BRISK_DEVICE_FTDI), 1);
  EXPECT_EQ(SPIReadID(), 0xEF4016u);
  const std::string decoded = Decoded("spi:clk=sck:mosi=mosi:miso=miso:cs=cs", "spi=mosi-data");
  EXPECT_EQ(Without(decoded, "spi-1: ").substr(0, 3), "9F ");
}

}  // namespace
}  // namespace brisk
