// The U2C adapter: what its libraries are called with, and what that does to the simulated board.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "picture_receiver.h"
#include "support/bench_test.h"
#include "support/files.h"
#include "support/i2c_monitor.h"
#include "timing_controller.h"
#include "u2c/u2c_device.h"

namespace brisk {
namespace {

// ---- Libraries that only write down their calls. ----

std::string calls;
int32_t status;  // what every call answers
int32_t handle;  // what opening answers

void Note(const std::string& call) { calls += (calls.empty() ? "" : " ") + call; }

std::string Hex(const uint8_t* bytes, size_t count) {
  std::string text;
  char digits[4];
  for (size_t i = 0; i < count; ++i) {
    std::snprintf(digits, sizeof digits, "%02X", unsigned{bytes[i]});
    text += digits;
  }
  return text;
}

template <int kLetter>
int32_t BRISK_CALL Plain(int32_t) {
  Note(std::string(1, static_cast<char>(kLetter)));
  return status;
}

int32_t BRISK_CALL OpenAdapter() {
  Note("open");
  return handle;
}

int32_t BRISK_CALL Direction(int32_t, uint32_t mask, uint32_t outputs) {
  Note("dir" + std::to_string(mask) + std::to_string(outputs));
  return status;
}

int32_t BRISK_CALL Io(int32_t, uint32_t value, uint32_t) {
  Note(value == 0xFFFFFFFE ? "line0" : value == 0 ? "select" : "line1");
  return status;
}

int32_t BRISK_CALL Put(int32_t, uint8_t byte) {
  Note(Hex(&byte, 1));
  return status;
}

int32_t BRISK_CALL Get(int32_t, uint8_t* byte, int32_t acknowledge) {
  *byte = 0x5A;
  Note(acknowledge != 0 ? "get+" : "get-");
  return status;
}

// Address, memory-address length, memory-address field, data length, data.
std::string Shown(const uint8_t* record) {
  uint16_t length = 0;
  std::memcpy(&length, record + 6, 2);
  return Hex(record, 1) + "," + Hex(record + 1, 1) + "," + Hex(record + 2, 4) + "," +
         std::to_string(length);
}

int32_t BRISK_CALL WriteRecord(int32_t, void* transaction) {
  const auto* record = static_cast<const uint8_t*>(transaction);
  uint16_t length = 0;
  std::memcpy(&length, record + 6, 2);
  Note("W(" + Shown(record) + "," + Hex(record + 8, length) + ")");
  return status;
}

int32_t BRISK_CALL ReadRecord(int32_t, void* transaction) {
  auto* record = static_cast<uint8_t*>(transaction);
  Note("R(" + Shown(record) + ")");
  for (int i = 0; i < 256; ++i) record[8 + i] = static_cast<uint8_t>(0xC0 + i);
  return status;
}

int32_t BRISK_CALL I2cCode(int32_t, uint8_t code) {
  Note("i2c" + std::to_string(code));
  return status;
}

int32_t BRISK_CALL SpiCode(int32_t, uint8_t code) {
  Note("spi" + std::to_string(code));
  return status;
}

int32_t BRISK_CALL SpiOut(int32_t, uint8_t* bytes, uint16_t count) {
  Note(">" + Hex(bytes, count));
  return status;
}

int32_t BRISK_CALL SpiIn(int32_t, uint8_t* bytes, uint16_t count) {
  std::memset(bytes, 0, count);
  Note("<");
  return status;
}

template <typename Function>
sim::LibraryShelf::Symbol Named(const char* name, Function function) {
  return {name, 0, reinterpret_cast<void*>(function)};
}

class U2cCalls : public BenchTest {
 protected:
  U2cCalls() {
    status = 0;
    handle = 7;
    bench().libraries().Add("U2CCommon", {Named("OpenU2C", OpenAdapter)});
    bench().libraries().Add("i2cbrdg",
                            {Named("U2C_SetIoDirection", Direction), Named("U2C_IoWrite", Io),
                             Named("U2C_Start", Plain<'S'>), Named("U2C_RepeatedStart", Plain<'r'>),
                             Named("U2C_Stop", Plain<'P'>), Named("U2C_PutByteWithAck", Put),
                             Named("U2C_GetByteWithAck", Get), Named("U2C_Write", WriteRecord),
                             Named("U2C_Read", ReadRecord), Named("U2C_SetI2cFreq", I2cCode),
                             Named("U2C_SpiSetFreq", SpiCode), Named("U2C_SpiWrite", SpiOut),
                             Named("U2C_SpiRead", SpiIn), Named("U2C_DropSda", Plain<'d'>),
                             Named("U2C_ReleaseSda", Plain<'D'>), Named("U2C_DropScl", Plain<'c'>),
                             Named("U2C_ReleaseScl", Plain<'C'>)});
    BriskSetDevice(1);
    I2c_Stop();  // connects
    calls.clear();
  }

  std::string Take() { return std::exchange(calls, {}); }
};

TEST_F(U2cCalls, ConnectsOnFirstUseAndTriesAgain) {
  Configure("");  // unconnected again, and without libraries
  BriskSetDevice(1);
  EXPECT_EQ(I2cWrite(0xA0), 0u);
  EXPECT_EQ(I2c_Tx(0xA0), 1u);
  const std::string text = DebugText();
  for (const char* name : {"U2CCommon", "i2cbrdg"}) {
    const size_t first = text.find(name);
    ASSERT_NE(first, std::string::npos) << name;
    EXPECT_EQ(text.find(name, text.find('\n', first)), std::string::npos) << name << " named twice";
  }
}

TEST_F(U2cCalls, AnAdapterThatAppearsLater) {
  Configure("");
  handle = -1;
  bench().libraries().Add("U2CCommon", {Named("OpenU2C", OpenAdapter)});
  bench().libraries().Add("i2cbrdg", {Named("U2C_SetIoDirection", Direction),
                                      Named("U2C_IoWrite", Io), Named("U2C_Stop", Plain<'P'>)});
  BriskSetDevice(1);
  calls.clear();
  I2c_Stop();
  EXPECT_EQ(Take(), "open dir11 line1 P");
  handle = 7;
  I2c_Stop();
  EXPECT_EQ(Take(), "open dir11 line1 P");
  I2c_Stop();
  EXPECT_EQ(Take(), "P");
  EXPECT_EQ(I2cWriteByte(0xF4, 0, 0), 0u);  // the function is missing
  EXPECT_NE(DebugText().find("U2C_Write"), std::string::npos);
}

TEST_F(U2cCalls, RegisterTransactions) {
  uint8_t byte = 0;
  uint8_t many[4] = {};
  const uint8_t sub[] = {0x12, 0x34, 0x56, 0x78, 0x9A};
  const uint8_t data[] = {0xD0, 0xD1};
  EXPECT_EQ(I2cWriteByte(0x70, 0x12, 0x34), 1u);
  EXPECT_EQ(Take(), "W(38,01,12000000,1,34)");
  EXPECT_EQ(I2cReadByte(0x70, 0x12, &byte), 1u);
  EXPECT_EQ(Take(), "R(38,01,12000000,1)");
  EXPECT_EQ(byte, 0xC0);
  EXPECT_EQ(I2cWriteData(0x70, sub, 2, data, 2), 1u);
  EXPECT_EQ(Take(), "W(38,01,12000000,3,34D0D1)");
  EXPECT_EQ(I2cWriteData(0x70, nullptr, 0, data, 1), 1u);
  EXPECT_EQ(Take(), "W(38,01,D0000000,0,)");
  EXPECT_EQ(I2cReadData(0x70, sub, 2, many, 2), 1u);  // the number 0x1234, low byte first in memory
  EXPECT_EQ(Take(), "R(38,02,34120000,2)");
  EXPECT_EQ(many[1], 0xC1);
  EXPECT_EQ(I2cReadData(0x70, sub, 3, many, 2), 1u);
  EXPECT_EQ(Take(), "S 70 12 34 56 r 71 get+ get- P");
  EXPECT_EQ(I2cReadData(0x70, sub, 4, many, 1), 1u);
  EXPECT_EQ(Take(), "R(38,04,78563412,1)");
  EXPECT_EQ(I2cWriteHead(0x70, 0x12), 1u);
  EXPECT_EQ(Take(), "S 70 12");

  std::vector<uint8_t> large(300);
  EXPECT_EQ(I2cReadData(0x70, sub, 5, many, 1), 0u);
  EXPECT_EQ(I2cReadData(0x70, sub, 1, large.data(), 257), 0u);
  EXPECT_EQ(I2cWriteData(0x70, nullptr, 0, nullptr, 0), 0u);
  EXPECT_EQ(I2cWriteData(0x70, sub, 1, large.data(), 257), 0u);
  EXPECT_EQ(Take(), "");
  EXPECT_EQ(I2cWriteData(0x70, sub, 1, large.data(), 256), 1u);
  Take();

  status = 1;
  EXPECT_EQ(I2cWriteByte(0x70, 0x12, 0x34), 0u);
  EXPECT_EQ(I2cReadByte(0x70, 0x12, &byte), 0u);
  EXPECT_EQ(I2cReadData(0x70, sub, 2, many, 2), 0u);
  Take();
  EXPECT_EQ(I2cReadData(0x70, sub, 3, many, 2), 0u);
  EXPECT_EQ(Take(), "S 70 P");
  uint32_t word = 0xFFFFFFFF;
  EXPECT_EQ(I2c_Rx(&word, 0), 0u);
  EXPECT_EQ(word, 0x5Au);
  EXPECT_EQ(I2cRead(&byte, 1), 0u);
  EXPECT_EQ(Take(), "get+ get-");
}

TEST_F(U2cCalls, BufferTransactions) {
  const uint8_t sub[] = {0x12, 0x34, 0x56, 0x78, 0x9A};
  const uint8_t data[] = {0xD0, 0xD1};
  uint8_t back[2] = {};
  EXPECT_EQ(I2cLib_Write(2, 0xA1, sub, 2, data, 2), 1);  // the sub bytes in order
  EXPECT_EQ(Take(), "W(50,02,12340000,2,D0D1)");
  EXPECT_EQ(I2cLib_WriteRead(2, 0xA1, sub, 4, back, 2), 1);
  EXPECT_EQ(Take(), "R(50,04,12345678,2)");
  EXPECT_EQ(back[1], 0xC1);
  EXPECT_EQ(I2cLib_W1Byte(2, 0xA0, 5), 1);
  EXPECT_EQ(Take(), "S A0 05 P");
  EXPECT_EQ(I2cLib_W2Bytes(2, 0xA0, 5, 6), 1);
  EXPECT_EQ(Take(), "W(50,01,05000000,1,06)");
  EXPECT_EQ(I2cLib_Write(2, 0xF0A5, sub, 1, data, 2), 1);
  EXPECT_EQ(Take(), "S F0 A5 12 D0 D1 P");
  EXPECT_EQ(I2cLib_Read(2, 0xF0A5, back, 2), 1);
  EXPECT_EQ(Take(), "r F1 A5 get- get- P");
  EXPECT_EQ(I2cLib_WriteRead(2, 0xF0A5, sub, 1, back, 1), 1);
  EXPECT_EQ(Take(), "S F0 A5 12 r F1 A5 get- P");
  EXPECT_EQ(I2cLib_Write(2, 0xA0, sub, 5, data, 1), 0);
  EXPECT_EQ(I2cLib_WriteRead(2, 0xA0, sub, 5, back, 1), 0);
  EXPECT_EQ(Take(), "");

  status = 1;
  EXPECT_EQ(I2cLib_Write(2, 0xF0A5, sub, 2, data, 2), 0);
  EXPECT_EQ(Take(), "S F0 A5 P");
  EXPECT_EQ(I2cLib_WriteRead(2, 0xF0A5, sub, 1, back, 1), 0);
  EXPECT_EQ(Take(), "S F0 A5");  // no stop
}

TEST_F(U2cCalls, SpeedModes) {
  const std::pair<uint8_t, const char*> kModes[] = {
      {2, "S A0 01 P"},         {0, "i2c1 S A0 01 P"}, {1, "i2c1 S A0 01 P"}, {1, "S A0 01 P"},
      {0x12, "i2c0 S A0 01 P"}, {3, "S A0 01 P"},      {2, "i2c0 S A0 01 P"}};
  for (const auto& [mode, expected] : kModes) {
    EXPECT_EQ(I2cLib_W1Byte(mode, 0xA0, 1), 1);
    EXPECT_EQ(Take(), expected) << int{mode};
  }
}

// The nearest entry, by a search of the test's own; of two as near, the first of the list.
TEST_F(U2cCalls, NearestClock) {
  const std::vector<std::pair<int, int>> i2c = {{400, 0}, {100, 1}, {83, 2},  {71, 3}, {62, 4},
                                                {50, 6},  {25, 16}, {10, 46}, {5, 96}, {2, 242}};
  std::vector<std::pair<int, int>> spi = i2c;
  spi[0].first = 200;
  std::vector<int> rates;
  for (int kHz = 1; kHz <= 500; ++kHz) rates.push_back(kHz);
  rates.insert(rates.end(), {1000, 5000, 65000});
  const auto nearest = [](const std::vector<std::pair<int, int>>& table, int64_t kHz) {
    uint32_t best = UINT32_MAX;
    int code = -1;
    for (const auto& [entry, entryCode] : table) {
      const auto square = static_cast<uint32_t>((kHz - entry) * (kHz - entry));
      if (code < 0 || square < best) {
        best = square;
        code = entryCode;
      }
    }
    return std::to_string(code);
  };
  for (const int kHz : rates) {
    I2cSetClockRate(static_cast<uint32_t>(kHz));
    EXPECT_EQ(Take(), "i2c" + nearest(i2c, kHz)) << kHz;
    SPISetClockRate(static_cast<uint32_t>(kHz));
    EXPECT_EQ(Take(), "spi" + nearest(spi, kHz)) << kHz;
  }
}

TEST_F(U2cCalls, FlashAndLines) {
  SPIReadID();
  EXPECT_EQ(Take(), "select >9F < < < line1");
  SPISectorErase(0xFF123456);
  EXPECT_EQ(Take(), "select >06 line1 select >D8 >123456 line1 select >05 < line1");
  SPIWriteByte(0x000102, 0x1AB);
  EXPECT_EQ(Take(),
            "select >06 line1 select >C7 line1 select >05 < line1 "
            "select >06 line1 select >02 >000102 >AB line1 select >05 < line1");
  uint32_t data = 0xFFFFFFFF;
  SPIReadByte(0x10, &data);
  EXPECT_EQ(Take(), "select >03 >000010 < line1");
  EXPECT_EQ(data, 0u);
  SPIStop();
  EXPECT_EQ(Take(), "");
  EXPECT_EQ(Lpt_Output(0x41), 0u);
  EXPECT_EQ(Take(), "line1 D c");
  uint8_t input = 0xFF;
  EXPECT_EQ(Lpt_Input(&input), 0u);
  EXPECT_EQ(input, 0);
  EXPECT_EQ(Take(), "");
  Sddi_Tx(2, 1);  // ZERO, then ONE
  EXPECT_EQ(Take(), "line1 d C line1 d c line0 d c line0 d C line1 d C");
  ClearDebugText();
  EXPECT_EQ(Pll_Write(1, 2, 3, 4, 5), 0u);
  EXPECT_EQ(DebugText(), "FIXME: not supported yet !!\n");
}

// ---- The simulated adapter on the board. ----

class U2cBoard : public BenchTest {
 protected:
  void SetUp() override { Connect(""); }
  void Connect(const std::string& more) {
    Configure("adapter=u2c,flash=w25q16,frame=8x4" + more);
    BriskSetDevice(1);
    monitor = {};
    bench().board().i2c().AddDevice(monitor);
  }

  I2cMonitor monitor;
  TemporaryFolder folder;
};

TEST_F(U2cBoard, I2cAndStrings) {
  const uint8_t sub[] = {0x20};
  uint8_t back[2] = {};
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ 81+ P");
  EXPECT_EQ(I2cReadData(0xF4, sub, 1, back, 2), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ Sr F5+ 81+ 00- P");
  EXPECT_EQ(I2c_String("F4-20=1234."), 0u);
  EXPECT_EQ(I2c_ReadStringEx("F4-20-F5="), 0x1234);
  monitor.Take();
  EXPECT_EQ(I2cWriteByte(0x42, 0, 0), 0u);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  Connect(",fault=u2c-fails:U2C_Write");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 0u);
  EXPECT_EQ(monitor.Take(), "");
}

TEST_F(U2cBoard, AdapterThatIsPluggedInLater) {
  Connect(",fault=u2c-absent@1");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 0u);
  EXPECT_EQ(monitor.Take(), "");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 1u);
}

TEST_F(U2cBoard, FlashFilesArePaddedToPages) {
  const std::vector<uint8_t> bytes = RandomBytes(0x180);
  const std::string in = folder.File("in.bin");
  const std::string out = folder.File("out.bin");
  WriteFile(in, bytes);
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
  SPIWriteByte(0x250, 0);  // shows whether a page of 0xFF was sent there
  EXPECT_EQ(SPIProgramFromFile(0, 0x300, in.c_str(), 1), 0x300u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_EQ(SPIProgramToFile(0, 0x300, out.c_str()), 0x300u);
  std::vector<uint8_t> expected = bytes;
  expected.resize(0x300, 0xFF);
  EXPECT_EQ(ReadFile(out), expected);
  SPIWriteByte(0x250, 0x5A);  // erases the whole chip
  EXPECT_EQ(bench().board().flash()->memory()[0], 0xFF);
  EXPECT_EQ(bench().board().flash()->memory()[0x250], 0x5A);
}

// Neither a stop nor a callback that asks for one ends a transfer.
TEST_F(U2cBoard, NothingStopsAFlashFile) {
  uint32_t last = 0;
  BriskSetProgressCallback(
      [](uint32_t done, uint32_t, void* context) {
        *static_cast<uint32_t*>(context) = done;
        SPIStop();
        return 1;
      },
      &last);
  WriteFile(folder.File("in.bin"), RandomBytes(0x400));
  EXPECT_EQ(SPIProgramFromFile(0, 0x400, folder.File("in.bin").c_str(), 1), 0x400u);
  EXPECT_EQ(last, 0x400u);
  EXPECT_EQ(SPIProgramToFile(0, 0x280, folder.File("out.bin").c_str()), 0x280u);
  EXPECT_EQ(last, 0x280u);
  BriskSetProgressCallback(nullptr, nullptr);
}

TEST_F(U2cBoard, BusyFlash) {
  Connect(",fault=flash-busy");
  const uint64_t before = bench().clock().Now();
  SPISectorErase(0);
  const uint64_t waited = (bench().clock().Now() - before) / 1000000;
  EXPECT_GE(waited, 5000u);
  EXPECT_LE(waited, 5010u);
}

// A word of n bits costs 1 + 2 n bytes on the virtual port, three calls each.
TEST_F(U2cBoard, PictureWordsReachTheController) {
  auto& device = *static_cast<sim::U2cDevice*>(bench().adapter("u2c"));
  I2c_Stop();  // connects
  const uint64_t before = device.calls();
  Sddi_Tx(7, 0x13);
  EXPECT_EQ(device.calls() - before, 3u * (1 + 2 * 7));
  const sim::PictureReceiver& receiver = bench().board().receiver();
  const uint64_t words = receiver.words();
  Sddi_Tx(19, 0x01234);
  EXPECT_EQ(receiver.words(), words + 1);
  EXPECT_EQ(receiver.faults(sim::PictureReceiver::Fault::kUnknownWord), 0u);
}

}  // namespace
}  // namespace brisk
