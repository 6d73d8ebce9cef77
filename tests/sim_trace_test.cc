// Traces of whole operations on every wiring, judged by sigrok-cli's decoders.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_sim.h"

#include "support/bench_test.h"
#include "support/files.h"

namespace brisk {
namespace {

struct Case {
  const char* adapter;
  uint8_t deviceType;
};

void PrintTo(const Case& test, std::ostream* out) { *out << test.adapter; }

class SimTrace : public BenchTest, public testing::WithParamInterface<Case> {
 protected:
  void SetUp() override {
#ifdef _WIN32
    GTEST_SKIP() << "sigrok-cli runs on the Linux host only";
#else
    if (std::system("sigrok-cli --version >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "sigrok-cli is not installed";
    }
    trace_ = folder_.File("lines.vcd");
    Configure(std::string("flash=w25q16,fault=flash-busy:1,adapter=") + GetParam().adapter +
              ",trace=" + trace_);
    BriskSetDevice(GetParam().deviceType);
#endif
  }

  // What the decoders say of the trace so far, one annotation a line.
  std::string Decode(const std::string& decoders, const std::string& annotations) {
    bench().trace().Close();
    const std::string command = "sigrok-cli -i '" + trace_ + "' -I vcd:downsample=500 -P " +
                                decoders + " -A " + annotations + " 2>&1";
    std::string output;
#ifndef _WIN32
    std::FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 512> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr) output += buffer.data();
    pclose(pipe);
#endif
    return output;
  }

  TemporaryFolder folder_;
  std::string trace_;
};

TEST_P(SimTrace, I2cTransactions) {
  const uint8_t data[] = {0xA5, 0x5A};
  const uint8_t command[] = {0x20};
  uint8_t back[2] = {};
  EXPECT_EQ(I2cWriteData(0xF4, command, 1, data, 2), 1u);
  EXPECT_EQ(I2cReadData(0xF4, command, 1, back, 2), 1u);
  EXPECT_EQ(I2cWriteByte(0x10, 0, 0), 0u);
  EXPECT_EQ(Decode("i2c:scl=scl:sda=sda:address_format=unshifted", "i2c=addr-data"),
            "i2c-1: Start\ni2c-1: Write\ni2c-1: Address write: F4\ni2c-1: ACK\n"
            "i2c-1: Data write: 20\ni2c-1: ACK\ni2c-1: Data write: A5\ni2c-1: ACK\n"
            "i2c-1: Data write: 5A\ni2c-1: ACK\ni2c-1: Stop\n"
            "i2c-1: Start\ni2c-1: Write\ni2c-1: Address write: F4\ni2c-1: ACK\n"
            "i2c-1: Data write: 20\ni2c-1: ACK\ni2c-1: Start repeat\n"
            "i2c-1: Read\ni2c-1: Address read: F5\ni2c-1: ACK\ni2c-1: Data read: A5\ni2c-1: ACK\n"
            "i2c-1: Data read: 5A\ni2c-1: NACK\ni2c-1: Stop\n"
            "i2c-1: Start\ni2c-1: Write\ni2c-1: Address write: 10\ni2c-1: NACK\ni2c-1: Stop\n");
}

// 0xF2A5 is the 10-bit address 0x1A5, whose second byte the decoder takes for data.
TEST_P(SimTrace, TenBitAddresses) {
  Configure(std::string("ten-bit=0x1A5,adapter=") + GetParam().adapter + ",trace=" + trace_);
  BriskSetDevice(GetParam().deviceType);
  uint8_t back = 0;
  EXPECT_EQ(I2cLib_W2Bytes(0, 0xF2A5, 0x05, 0x66), 1);
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF2A5, 0x05, &back), 1);
  EXPECT_EQ(back, 0x66);
  EXPECT_EQ(Decode("i2c:scl=scl:sda=sda:address_format=unshifted", "i2c=addr-data"),
            "i2c-1: Start\ni2c-1: Write\ni2c-1: Address write: F2\ni2c-1: ACK\n"
            "i2c-1: Data write: A5\ni2c-1: ACK\ni2c-1: Data write: 05\ni2c-1: ACK\n"
            "i2c-1: Data write: 66\ni2c-1: ACK\ni2c-1: Stop\n"
            "i2c-1: Start\ni2c-1: Write\ni2c-1: Address write: F2\ni2c-1: ACK\n"
            "i2c-1: Data write: A5\ni2c-1: ACK\ni2c-1: Data write: 05\ni2c-1: ACK\n"
            "i2c-1: Start repeat\ni2c-1: Read\ni2c-1: Address read: F3\ni2c-1: ACK\n"
            "i2c-1: Data read: A5\ni2c-1: ACK\ni2c-1: Data read: 66\ni2c-1: NACK\n"
            "i2c-1: Stop\n");
}

TEST_P(SimTrace, FlashOperations) {
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
  SPIWriteByte(0x012345, 0x5A);
  // One line for each time that the chip was selected; the bytes sent while it answers do not
  // matter.
  std::istringstream transfers(
      Decode("spi:clk=sck:mosi=mosi:miso=miso:cs=cs", "spi=mosi-transfer"));
  const std::vector<std::string> expected = {
      "9F", "06", "D8 01 23 45", "05", "06", "02 01 23 45 5A", "05"};
  const std::string prefix = "spi-1: ";
  size_t count = 0;
  for (std::string line; std::getline(transfers, line); ++count) {
    ASSERT_LT(count, expected.size()) << line;
    const std::string& start = prefix + expected[count];
    if (expected[count].size() > 2 || expected[count] == "06") {
      EXPECT_EQ(line, start);
    } else {
      EXPECT_EQ(line.substr(0, start.size()), start);
    }
  }
  EXPECT_EQ(count, expected.size());
  const std::string decoded =
      Decode("spi:clk=sck:mosi=mosi:miso=miso:cs=cs,spiflash", "spiflash=commands");
  EXPECT_NE(decoded.find("Page program (addr 0x012345, 1 bytes): 5a"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Wirings, SimTrace,
                         testing::Values(Case{"lpt", 0}, Case{"lpt-b", 5}, Case{"lpt-c", 9}));

}  // namespace
}  // namespace brisk
