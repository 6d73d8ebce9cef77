// The simulated U2C adapter on the board, where it differs from the other adapters: clock rates,
// lines shared by buses and picture port, and an adapter that is away or fails.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"

#include "sim/adapters/u2c/u2c_device.h"
#include "sim/board/picture_receiver.h"
#include "support/bench_test.h"
#include "support/calls.h"
#include "support/files.h"
#include "support/i2c_monitor.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;
using sim::PictureReceiver;

class U2cBoard : public BenchTest {
 protected:
  void SetUp() override { Connect(""); }

  void Connect(const std::string& more) {
    Configure("adapter=u2c,flash=w25q16,frame=48x32" + more);
    BriskSetDevice(BRISK_DEVICE_U2C);
    monitor = {};
    bench().board().i2c().AddDevice(monitor);
  }

  static const sim::U2cDevice& device() {
    return *static_cast<sim::U2cDevice*>(bench().adapter("u2c"));
  }
  static const PictureReceiver& receiver() { return bench().board().receiver(); }
  static const Bytes& FlashContent() { return bench().board().flash()->memory(); }
  std::string FileOf(const Bytes& bytes) {
    std::string path = folder.File("in.bin");
    WriteFile(path, bytes);
    return path;
  }

  I2cMonitor monitor;
  TemporaryFolder folder;
};

TEST_F(U2cBoard, ARecordHasItsLimits) {
  u2c::Transaction record{};
  record.slaveAddress = 0x7A;
  record.bufferLength = 257;
  EXPECT_NE(static_cast<sim::U2cDevice*>(bench().adapter("u2c"))->Write(record), u2c::kDone);
  EXPECT_EQ(monitor.Take(), "");
}

TEST_F(U2cBoard, ClockRates) {
  uint64_t faster = 0;
  for (const auto& [asked, expected] : {std::pair(400u, 400u), {90u, 83u}, {1u, 2u}}) {
    I2cSetClockRate(asked);
    EXPECT_EQ(device().i2cKHz(), expected);
    const uint64_t before = bench().clock().Now();
    I2cWriteByte(0xF4, 0x20, 0x81);
    const uint64_t spent = bench().clock().Now() - before;
    EXPECT_GT(spent, faster) << asked;
    faster = spent;
  }
  SPISetClockRate(150);
  EXPECT_EQ(device().spiKHz(), 200u);
  SPISetClockRate(30);
  EXPECT_EQ(device().spiKHz(), 25u);
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
}

// SDA and SCL are one pair of pins: plain outputs take them from an unfinished transaction, and the
// next transaction takes them back.
TEST_F(U2cBoard, PictureWordsBetweenTransactions) {
  const uint8_t sub[] = {0x12};
  uint8_t back[1] = {};
  const std::pair<const char*, void (*)()> kLeftOpen[] = {
      {"I2cWriteHead", [] { I2cWriteHead(0xF4, 0x20); }},
      {"I2c_Start", [] { I2c_Start(); }},
      {"a finished transaction", [] { I2cWriteByte(0xF4, 0x20, 1); }}};
  for (const auto& [name, leave] : kLeftOpen) {
    leave();
    const uint64_t words = receiver().words();
    Sddi_Tx(7, 0x13);
    Sddi_Tx(19, 0x01234);
    EXPECT_EQ(receiver().words(), words + 2) << name;
    EXPECT_EQ(I2cWriteByte(0xF4, 0x12, 0x34), 1u) << name;
    EXPECT_EQ(I2cReadData(0xF4, sub, 1, back, 1), 1u) << name;
    EXPECT_EQ(back[0], 0x34) << name;
  }
  EXPECT_EQ(receiver().faults(PictureReceiver::Fault::kUnknownWord), 0u);
  // A write-read that is refused leaves the bus as it is.
  EXPECT_EQ(I2cLib_WriteRead(2, 0x42, nullptr, 0, back, 1), 0);
  const uint64_t words = receiver().words();
  Sddi_Tx(7, 0x13);
  EXPECT_EQ(receiver().words(), words + 1);
}

// Whatever is missing, operations of the flash and of pictures run to their end and nothing
// arrives.
TEST_F(U2cBoard, NoAdapter) {
  Connect(",fault=u2c-absent");
  for (const CallCase& row : {CallCase{"I2cWriteByte F4 20 81", "0", ""},
                              {"I2cReadByte F4 20 1", "0 00", ""},
                              {"I2cWrite F4", "0", ""},
                              {"I2c_Tx F4", "1", ""},
                              {"I2c_Rx 0", "0 0", ""},
                              {"I2cLib_W1Byte 0 F4 0", "0", ""},
                              {"I2c_String F4-20-55", "1", ""},
                              {"I2c_ReadStringEx F4-20-F5=", "-2", ""},
                              {"SPIReadID", "0", ""},
                              {"SPIWriteByte 0 0", "", ""},
                              {"Sddi_Tx 7 13", "", ""},
                              {"Sddi_Erase 12345678", "", ""},
                              {"Lpt_Output 0", "0", ""}}) {
    EXPECT_EQ(Call(row.call), row.outcome) << row.call;
  }
  const std::string in = FileOf(RandomBytes(0x180));
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramFromFile(0, 0x300, in.c_str(), 1), 0x300u);
  EXPECT_EQ(SPIProgramToFile(0, 0x300, out.c_str()), 0x300u);
  EXPECT_EQ(ReadFile(out), Bytes(0x300));
  EXPECT_EQ(monitor.Take(), "");
  EXPECT_EQ(FlashContent(), Bytes(FlashContent().size(), 0xFF));
  EXPECT_EQ(receiver().words(), 0u);
}

TEST_F(U2cBoard, AdapterThatIsPluggedInLater) {
  Connect(",fault=u2c-absent@1");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 0u);
  EXPECT_EQ(monitor.Take(), "");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 1u);
}

const struct {
  const char* function;
  CallCase call;
} kFailingCalls[] = {
    {"U2C_Start", {"I2cWriteHead F4 20", "0", ""}},
    {"U2C_PutByteWithAck", {"I2cWriteHead F4 20", "0", "S"}},
    {"U2C_GetByteWithAck", {"I2cRead 1 1", "0", ""}},
    {"U2C_Write", {"I2cWriteByte F4 20 81", "0", ""}},
    {"U2C_Read", {"I2cReadByte F4 20 1", "0 00", ""}},
    {"U2C_Stop", {"I2c_String F4-20-55", "0", "S F4+ 20+ 55+"}},
    // Chip select stays high; no command is sent; no byte comes.
    {"U2C_IoWrite", {"SPIReadID", "FFFFFF", ""}},
    {"U2C_SpiWrite", {"SPIReadID", "FFFFFF", ""}},
    {"U2C_SpiRead", {"SPIReadID", "0", ""}},
};

TEST_F(U2cBoard, CallsThatFail) {
  for (const auto& [function, row] : kFailingCalls) {
    Connect(std::string(",fault=u2c-fails:") + function);
    EXPECT_EQ(Call(row.call), row.outcome) << function;
    EXPECT_EQ(monitor.Take(), row.seen) << function;
  }
  // Failures of a flash transfer are not reported.
  Connect(",fault=u2c-fails:U2C_SpiWrite@20");
  const std::string in = FileOf(Bytes(0x100));
  EXPECT_EQ(SPIProgramFromFile(0, 0x100, in.c_str(), 0), 0x100u);
  EXPECT_EQ(FlashContent()[0xFE], 0);
  EXPECT_EQ(FlashContent()[0xFF], 0xFF);  // one byte was lost on the way
}

}  // namespace
}  // namespace brisk
