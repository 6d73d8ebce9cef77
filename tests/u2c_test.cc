// What the U2C adapter's libraries are called with, export by export, and what comes back.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"

#include "support/bench_test.h"
#include "support/calls.h"
#include "support/files.h"
#include "support/u2c_recorder.h"

namespace brisk {
namespace {

using u2c_recorder::recorder;

class U2cCalls : public BenchTest {
 protected:
  U2cCalls() {
    recorder = {};
    InstallLibraries();
    I2c_Stop();  // connects
    recorder.calls.clear();
    ClearDebugText();
  }

  static void InstallLibraries() {
    u2c_recorder::Install(bench().libraries());
    BriskSetDevice(1);
  }

  static std::string Take() { return std::exchange(recorder.calls, {}); }
  static void Check(const CallCase& row) {
    EXPECT_EQ(Call(row.call), row.outcome) << row.call;
    EXPECT_EQ(Take(), row.seen) << row.call << ' ' << recorder.refused;
  }

  TemporaryFolder folder;
};

size_t Count(const std::string& text, const std::string& word) {
  size_t count = 0;
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++count;
  return count;
}

TEST_F(U2cCalls, MissingLibrariesAreNamedOnce) {
  Configure("");
  BriskSetDevice(1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(I2cWrite(0xA0), 0u);
    EXPECT_EQ(I2c_Tx(0xA0), 1u);
  }
  for (const char* name : {"U2CCommon", "i2cbrdg"}) {
    EXPECT_EQ(Count(DebugText(), std::string("U2C adapter library: ") + name), 1u) << name;
  }
}

TEST_F(U2cCalls, MissingFunctionsAreNamedOnce) {
  Configure("");
  bench().libraries().Add("U2CCommon", {u2c_recorder::Named("OpenU2C", u2c_recorder::OpenAdapter)});
  bench().libraries().Add("i2cbrdg", {u2c_recorder::Named("U2C_Stop", u2c_recorder::Plain<'P'>)});
  BriskSetDevice(1);
  for (int i = 0; i < 2; ++i) {
    I2c_Stop();
    EXPECT_EQ(I2cWriteByte(0xF4, 0, 0), 0u);
    SPIReadID();
  }
  EXPECT_EQ(Take(), "open P P");
  EXPECT_EQ(Count(DebugText(), "lacks U2C_"), 16u);
  EXPECT_EQ(Count(DebugText(), "i2cbrdg lacks U2C_Write\n"), 1u);
}

TEST_F(U2cCalls, AnAdapterThatAppearsLater) {
  Configure("");
  recorder.handle = -1;
  InstallLibraries();
  constexpr char kOpening[] = "open dir11 line1";
  I2c_Stop();
  EXPECT_EQ(Take(), std::string(kOpening) + " P");
  // The flash's own preparation tries once more.
  SPIInit();
  EXPECT_EQ(Take(), std::string(kOpening) + " " + kOpening + " spi0 dir11 line1");
  I2cSetClockRate(100);
  EXPECT_EQ(Take(), std::string(kOpening) + " " + kOpening + " spi0 dir11 line1 i2c1");
  recorder.handle = 7;
  I2c_Stop();
  EXPECT_EQ(Take(), std::string(kOpening) + " P");
  I2c_Stop();
  SPIInit();
  EXPECT_EQ(Take(), "P");
}

// The I2cLib_ family copies the register bytes in order; I2cReadData of two or four makes a number
// of them, its low byte first in memory.
const CallCase kI2cCalls[] = {
    {"I2c_Start", "", "S"},
    {"I2c_RStart", "", "r"},
    {"I2c_Stop", "", "P"},
    {"I2c_Tx 1A5", "0", "A5"},
    {"I2c_Rx 0", "0 5A", "get+"},
    {"I2cWrite A5", "1", "A5"},
    {"I2cRead 1 0", "1 5A", "get+"},
    {"I2cRead 1 2", "1 5A", "get-"},
    {"I2cWriteHead 70 12", "1", "S 70 12"},
    {"I2cWriteByte 70 12 34", "1", "W(38,01,12000000,1,34)"},
    {"I2cReadByte 70 12 1", "1 C0", "R(38,01,12000000,1)"},
    {"I2cWriteData 70 1234 D0D1", "1", "W(38,01,12000000,3,34D0D1)"},
    {"I2cWriteData 70 123456789A D0", "1", "W(38,01,12000000,5,3456789AD0)"},
    {"I2cWriteData 70 - D0", "1", "W(38,01,D0000000,0,)"},
    {"I2cWriteData 70 - -", "0", ""},
    {"I2cWriteData 70 12 00*257", "0", ""},
    {"I2cReadData 71 - 1", "1 C0", "R(38,00,00000000,1)"},
    {"I2cReadData 70 1234 2", "1 C0C1", "R(38,02,34120000,2)"},
    {"I2cReadData 71 123456 2", "1 5A5A", "S 70 12 34 56 r 71 get+ get- P"},
    {"I2cReadData 70 12345678 1", "1 C0", "R(38,04,78563412,1)"},
    {"I2cReadData 70 123456789A 1", "0", ""},
    {"I2cReadData 70 12 257", "0", ""},
    {"I2cLib_Write 2 A1 1234 D0D1", "1", "W(50,02,12340000,2,D0D1)"},
    {"I2cLib_Write 2 A0 123456789A D0", "0", ""},
    {"I2cLib_Write 2 A0 12 00*257", "0", ""},
    {"I2cLib_Write 2 A0 - D0D1", "1", "S A0 D0 D1 P"},
    {"I2cLib_Write 2 A0 123456789A -", "1", "S A0 12 34 56 78 9A P"},
    {"I2cLib_Write 2 F1A5 12 D0D1", "1", "S F0 A5 12 D0 D1 P"},
    {"I2cLib_W1Byte 2 A0 5", "1", "S A0 05 P"},
    {"I2cLib_W2Bytes 2 A0 5 6", "1", "W(50,01,05000000,1,06)"},
    {"I2cLib_W2Bytes 2 F0A5 5 6", "1", "S F0 A5 05 06 P"},
    {"I2cLib_Read 2 A0 2", "1 5A5A", "r A1 get- get- P"},
    {"I2cLib_Read 2 F0A5 2", "1 5A5A", "r F1 A5 get- get- P"},
    {"I2cLib_WriteRead 2 A1 12345678 2", "1 C0C1", "R(50,04,12345678,2)"},
    {"I2cLib_WriteRead 2 A0 123456789A 1", "0", ""},
    {"I2cLib_WriteRead 2 A0 12 257", "0", ""},
    {"I2cLib_WriteRead 2 A0 - 1", "1 5A", "S A0 r A1 get- P"},
    {"I2cLib_WriteRead 2 A0 12 -", "1", "S A0 12 r A1 P"},
    {"I2cLib_WriteRead 2 F0A5 12 1", "1 5A", "S F0 A5 12 r F1 A5 get- P"},
    {"I2cLib_W1ByteR1Byte 2 A0 5 1", "1 C0", "R(50,01,05000000,1)"},
    {"I2c_String 70-12=3456-78", "0", "S 70 12 56 34 78 P"},
    {"I2c_ReadString 70-12-71-", "0 5A", "S 70 12 S 71 get- P"},
    {"I2c_ReadStringEx 70-12-71=", "5A5A", "S 70 12 S 71 get+ get- P"},
    {"Lpt_Output 41", "0", "line1 D c"},
    {"Lpt_Output 02", "0", "line0 d C"},
    {"Lpt_Output BC", "0", "line0 d c"},
    {"Lpt_Input 1", "0 00", ""},
    {"Pll_Write 1 2 3 4 5", "0", ""},
};

// The same with a library that fails every call. What came is stored all the same; only a whole
// transaction or a byte that was sent is reported.
const CallCase kFailingCalls[] = {
    {"I2c_Tx A5", "1", "A5"},
    {"I2c_Rx 0", "0 5A", "get+"},
    {"I2cWrite A5", "0", "A5"},
    {"I2cRead 1 1", "0 5A", "get-"},
    {"I2cWriteHead 70 12", "0", "S 70"},
    {"I2cWriteByte 70 12 34", "0", "W(38,01,12000000,1,34)"},
    {"I2cReadByte 70 12 1", "0 C0", "R(38,01,12000000,1)"},
    {"I2cWriteData 70 12 D0", "0", "W(38,01,12000000,1,D0)"},
    {"I2cReadData 70 12 2", "0 C0C1", "R(38,01,12000000,2)"},
    {"I2cReadData 70 123456 2", "0", "S 70 P"},
    {"I2cLib_Write 2 A0 12 D0", "0", "W(50,01,12000000,1,D0)"},
    {"I2cLib_Read 2 A0 2", "0", "r A1 P"},
    {"I2cLib_WriteRead 2 A0 12 2", "0 C0C1", "R(50,01,12000000,2)"},
    {"I2c_String 70-12-34", "1", "S 70 P"},
    {"I2c_ReadStringEx 70-12-71=", "-2", "S 70 P"},
    {"Lpt_Input 1", "0 00", ""},
    {"SPIReadID", "0", "select >9F < < < line1"},
};

// One byte that is not acknowledged. A group of an I2cLib_ function is sent to its end;
// I2cLib_WriteRead then sends no stop.
const struct {
  int refused;
  CallCase call;
} kRefusals[] = {
    {0x12, {"I2cWriteHead 70 12", "0", "S 70 12"}},
    {0x34, {"I2cReadData 70 123456 2", "0", "S 70 12 34 P"}},
    {0x71, {"I2cReadData 70 123456 2", "0", "S 70 12 34 56 r 71 P"}},
    {0xF0, {"I2cLib_Write 2 F0A5 12 D0", "0", "S F0 A5 P"}},
    {0x12, {"I2cLib_Write 2 F0A5 1234 D0", "0", "S F0 A5 12 34 P"}},
    {0xD0, {"I2cLib_Write 2 F0A5 12 D0D1", "0", "S F0 A5 12 D0 D1 P"}},
    {0xF1, {"I2cLib_Read 2 F0A5 2", "0", "r F1 A5 P"}},
    {0x12, {"I2cLib_WriteRead 2 F0A5 1234 1", "0", "S F0 A5 12 34"}},
    {0xA0, {"I2cLib_WriteRead 2 A0 - 1", "0", "S A0"}},
    {0xF1, {"I2cLib_WriteRead 2 F0A5 12 1", "0", "S F0 A5 12 r F1 A5 P"}},
};

TEST_F(U2cCalls, I2cTable) {
  for (const CallCase& row : kI2cCalls) Check(row);
  EXPECT_EQ(DebugText(), "FIXME: not supported yet !!\n");
  // The most that fits a transaction.
  EXPECT_EQ(Call("I2cReadData 70 12 256").substr(0, 6), "1 C0C1");
  EXPECT_EQ(Take(), "R(38,01,12000000,256)");
}

TEST_F(U2cCalls, FailingLibrary) {
  recorder.status = 1;
  for (const CallCase& row : kFailingCalls) Check(row);
  recorder.status = 0;
  recorder.getStatus = 1;
  // Reading ends there; every byte that was sent was acknowledged.
  Check({"I2cReadData 70 123456 2", "1 5AEE", "S 70 12 34 56 r 71 get+ P"});
  Check({"I2cLib_Read 2 A0 2", "1 5A5A", "r A1 get- get- P"});
}

TEST_F(U2cCalls, RefusedBytes) {
  for (const auto& [refused, row] : kRefusals) {
    recorder.refused = refused;
    Check(row);
  }
}

TEST_F(U2cCalls, SpeedModes) {
  for (const CallCase& row :
       {CallCase{"I2cLib_W1Byte 2 A0 1", "1", "S A0 01 P"},
        {"I2cLib_W1Byte 0 A0 1", "1", "i2c1 S A0 01 P"},
        {"I2cLib_W1Byte 1 A0 1", "1", "i2c1 S A0 01 P"},
        {"I2cLib_W1Byte 1 A0 1", "1", "S A0 01 P"},
        {"I2cLib_W1Byte 12 A0 1", "1", "i2c0 S A0 01 P"},
        {"I2cLib_W1Byte 3 A0 1", "1", "S A0 01 P"},
        {"I2cLib_W1Byte 2 A0 1", "1", "i2c0 S A0 01 P"},
        {"I2cLib_Read 10 A0 1", "1 5A", "i2c1 r A1 get- P"},
        {"I2cLib_W1ByteR1Byte 2 A0 5 1", "1 C0", "i2c0 R(50,01,05000000,1)"}}) {
    Check(row);
  }
}

// Where the nearest of the entries changes: of two as near it is the first of the list. Squares of
// distances wrap at 32 bits, so 2^16 above an entry looks like a hit.
TEST_F(U2cCalls, NearestClock) {
  const struct {
    uint32_t kHz;
    const char* codes;
  } kRates[] = {
      {0, "i2c242 spi242"}, {3, "i2c242 spi242"}, {4, "i2c96 spi96"},  {7, "i2c96 spi96"},
      {8, "i2c46 spi46"},   {17, "i2c46 spi46"},  {18, "i2c16 spi16"}, {37, "i2c16 spi16"},
      {38, "i2c6 spi6"},    {55, "i2c6 spi6"},    {56, "i2c4 spi4"},   {66, "i2c4 spi4"},
      {67, "i2c3 spi3"},    {76, "i2c3 spi3"},    {77, "i2c2 spi2"},   {91, "i2c2 spi2"},
      {92, "i2c1 spi1"},    {149, "i2c1 spi1"},   {150, "i2c1 spi0"},  {249, "i2c1 spi0"},
      {250, "i2c0 spi0"},   {65000, "i2c0 spi0"}, {65586, "i2c6 spi6"}};
  for (const auto& [kHz, codes] : kRates) {
    I2cSetClockRate(kHz);
    SPISetClockRate(kHz);
    EXPECT_EQ(Take(), codes) << kHz;
  }
}

TEST_F(U2cCalls, FlashCommands) {
  const std::string erase = "select >06 line1 select >C7 line1 select >05 < line1";
  ClearDebugText();
  for (const CallCase& row :
       {CallCase{"SPIReadID", "0", "select >9F < < < line1"},
        {"SPIBulkErase", "", erase},
        {"SPISectorErase FF123456", "",
         "select >06 line1 select >D8 >123456 line1 select >05 < line1"},
        // The whole chip is erased before it.
        {"SPIWriteByte 102 1AB", "",
         erase + " select >06 line1 select >02 >000102 >AB line1 select >05 < line1"},
        {"SPIReadByte 10", "0", "select >03 >000010 < line1"},
        {"SPIStop", "", ""}}) {
    Check(row);
  }
  EXPECT_EQ(DebugText(), "");
}

// The wait for an erase begins with the rest of the time slice, that for a page does not.
TEST_F(U2cCalls, ErasesYield) {
  const auto spent = [](auto operation) {
    const uint64_t before = bench().clock().Now();
    operation();
    return bench().clock().Now() - before;
  };
  constexpr uint64_t kWait = 2 * sim::VirtualClock::kTickReadNs;
  EXPECT_EQ(spent([] { SPIReadID(); }), 0u);
  EXPECT_EQ(spent([] { SPISectorErase(0); }), kWait + sim::VirtualClock::kYieldNs);
  EXPECT_EQ(spent([] { SPIBulkErase(); }), kWait + sim::VirtualClock::kYieldNs);
  EXPECT_EQ(spent([] { SPIWriteByte(0, 0); }), 2 * kWait + sim::VirtualClock::kYieldNs);
}

TEST_F(U2cCalls, FlashFiles) {
  // Three whole pages; what the file does not fill is sent as 0xFF.
  std::vector<uint8_t> bytes = RandomBytes(0x180);
  const std::string in = folder.File("in.bin");
  WriteFile(in, bytes);
  bytes.resize(0x300, 0xFF);
  std::string expected;
  for (size_t page = 0; page < 3; ++page) {
    expected += (page == 0 ? "" : " ") + std::string("select >06 line1 select >02 >00") +
                std::to_string(page + 10) + "80";
    for (size_t i = 0; i < 0x100; ++i) expected += " >" + Hex(&bytes[0x100 * page + i], 1);
    expected += " line1 select >05 < line1";
  }
  EXPECT_EQ(SPIProgramFromFile(0x1080, 0x300, in.c_str(), 0), 0x300u);
  EXPECT_EQ(Take(), expected);
  EXPECT_EQ(SPIGetProgress(), 100u);
  I2cSetClockRate(100);  // prepares the flash, too
  EXPECT_EQ(SPIGetProgress(), 0u);
  Take();
  EXPECT_EQ(SPIProgramFromFile(0, 0, in.c_str(), 1), 0u);
  EXPECT_EQ(Take(), "select >06 line1 select >C7 line1 select >05 < line1");

  // One read command for the whole range.
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramToFile(0x123456, 0x180, out.c_str()), 0x180u);
  expected = "select >03 >123456";
  for (size_t i = 0; i < 0x180; ++i) expected += " <";
  EXPECT_EQ(Take(), expected + " line1");
  EXPECT_EQ(SPIProgramToFile(0, 0, out.c_str()), 0u);
  EXPECT_EQ(Take(), "select >03 >000000 line1");
}

TEST_F(U2cCalls, PictureWords) {
  Sddi_Tx(2, 1);  // ZERO, then ONE
  EXPECT_EQ(Take(), "line1 d C line1 d c line0 d c line0 d C line1 d C");
  for (const uint32_t bits : {7u, 12u, 19u, 22u, 32u}) {
    Sddi_Tx(bits, 0x12345);
    EXPECT_EQ(Count(Take(), " ") + 1, 3 * (1 + 2 * bits)) << bits;
  }
  // Neither its data nor its clock is one of the adapter's lines.
  C1_TxDebug(2, 1);
  EXPECT_EQ(Take(),
            "line0 d c line0 d c line0 d c "
            "line0 d c line0 d c line0 d c");
  Lpt_Output(0xFF);  // the base byte of words keeps neither line
  Take();
  Sddi_Tx(1, 1);
  EXPECT_EQ(Take(), "line1 d C line0 d C line1 d C");
}

}  // namespace
}  // namespace brisk
