// What the U2C adapter's libraries are called with, export by export, and what comes back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "support/bench_test.h"
#include "support/files.h"
#include "support/u2c_recorder.h"

namespace brisk {
namespace {

using u2c_recorder::Hex;
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

  std::string Take() { return std::exchange(recorder.calls, {}); }

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

// ---- I2C, as a table: what is called, in which state, what it returns, what the library sees.
// ----

const uint8_t kSub[] = {0x12, 0x34, 0x56, 0x78, 0x9A};
const uint8_t kData[] = {0xD0, 0xD1};
const std::vector<uint8_t> kLarge(257);
uint8_t received[257];

struct Call {
  const char* name;
  int64_t (*run)();
  int64_t result;
  const char* calls;
};

constexpr Call kI2cCalls[] = {
    {"I2c_Start", [] { return I2c_Start(), int64_t{0}; }, 0, "S"},
    {"I2c_RStart", [] { return I2c_RStart(), int64_t{0}; }, 0, "r"},
    {"I2c_Stop", [] { return I2c_Stop(), int64_t{0}; }, 0, "P"},
    {"I2c_Tx", [] { return int64_t{I2c_Tx(0x1A5)}; }, 0, "A5"},
    {"I2cWrite", [] { return int64_t{I2cWrite(0xA5)}; }, 1, "A5"},
    {"I2cRead", [] { return int64_t{I2cRead(received, 0)}; }, 1, "get+"},
    {"I2cRead, last", [] { return int64_t{I2cRead(received, 2)}; }, 1, "get-"},
    {"I2cWriteHead", [] { return int64_t{I2cWriteHead(0x70, 0x12)}; }, 1, "S 70 12"},
    {"I2cWriteByte", [] { return int64_t{I2cWriteByte(0x70, 0x12, 0x34)}; }, 1,
     "W(38,01,12000000,1,34)"},
    {"I2cReadByte", [] { return int64_t{I2cReadByte(0x70, 0x12, received)}; }, 1,
     "R(38,01,12000000,1)"},
    {"I2cWriteData", [] { return int64_t{I2cWriteData(0x70, kSub, 2, kData, 2)}; }, 1,
     "W(38,01,12000000,3,34D0D1)"},
    {"I2cWriteData, many sub bytes", [] { return int64_t{I2cWriteData(0x70, kSub, 5, kData, 1)}; },
     1, "W(38,01,12000000,5,3456789AD0)"},
    {"I2cWriteData, no sub bytes", [] { return int64_t{I2cWriteData(0x70, nullptr, 0, kData, 1)}; },
     1, "W(38,01,D0000000,0,)"},
    {"I2cWriteData, nothing", [] { return int64_t{I2cWriteData(0x70, nullptr, 0, nullptr, 0)}; }, 0,
     ""},
    {"I2cWriteData, too much",
     [] { return int64_t{I2cWriteData(0x70, kSub, 1, kLarge.data(), 257)}; }, 0, ""},
    {"I2cReadData, no sub bytes",
     [] { return int64_t{I2cReadData(0x71, nullptr, 0, received, 1)}; }, 1, "R(38,00,00000000,1)"},
    // The number 0x1234, its low byte first in memory.
    {"I2cReadData, two sub bytes", [] { return int64_t{I2cReadData(0x70, kSub, 2, received, 2)}; },
     1, "R(38,02,34120000,2)"},
    {"I2cReadData, three sub bytes",
     [] { return int64_t{I2cReadData(0x71, kSub, 3, received, 2)}; }, 1,
     "S 70 12 34 56 r 71 get+ get- P"},
    {"I2cReadData, four sub bytes", [] { return int64_t{I2cReadData(0x70, kSub, 4, received, 1)}; },
     1, "R(38,04,78563412,1)"},
    {"I2cReadData, five sub bytes", [] { return int64_t{I2cReadData(0x70, kSub, 5, received, 1)}; },
     0, ""},
    {"I2cReadData, 256 bytes", [] { return int64_t{I2cReadData(0x70, kSub, 1, received, 256)}; }, 1,
     "R(38,01,12000000,256)"},
    {"I2cReadData, too much", [] { return int64_t{I2cReadData(0x70, kSub, 1, received, 257)}; }, 0,
     ""},
    // The I2cLib_ family copies the sub bytes in order.
    {"I2cLib_Write", [] { return int64_t{I2cLib_Write(2, 0xA1, kSub, 2, kData, 2)}; }, 1,
     "W(50,02,12340000,2,D0D1)"},
    {"I2cLib_Write, five sub bytes",
     [] { return int64_t{I2cLib_Write(2, 0xA0, kSub, 5, kData, 1)}; }, 0, ""},
    {"I2cLib_Write, too much",
     [] { return int64_t{I2cLib_Write(2, 0xA0, kSub, 1, kLarge.data(), 257)}; }, 0, ""},
    {"I2cLib_Write, no sub bytes",
     [] { return int64_t{I2cLib_Write(2, 0xA0, nullptr, 0, kData, 2)}; }, 1, "S A0 D0 D1 P"},
    {"I2cLib_Write, no data", [] { return int64_t{I2cLib_Write(2, 0xA0, kSub, 5, nullptr, 0)}; }, 1,
     "S A0 12 34 56 78 9A P"},
    {"I2cLib_Write, 10-bit", [] { return int64_t{I2cLib_Write(2, 0xF1A5, kSub, 1, kData, 2)}; }, 1,
     "S F0 A5 12 D0 D1 P"},
    {"I2cLib_W1Byte", [] { return int64_t{I2cLib_W1Byte(2, 0xA0, 5)}; }, 1, "S A0 05 P"},
    {"I2cLib_W2Bytes", [] { return int64_t{I2cLib_W2Bytes(2, 0xA0, 5, 6)}; }, 1,
     "W(50,01,05000000,1,06)"},
    {"I2cLib_W2Bytes, 10-bit", [] { return int64_t{I2cLib_W2Bytes(2, 0xF0A5, 5, 6)}; }, 1,
     "S F0 A5 05 06 P"},
    {"I2cLib_Read", [] { return int64_t{I2cLib_Read(2, 0xA0, received, 2)}; }, 1,
     "r A1 get- get- P"},
    {"I2cLib_Read, 10-bit", [] { return int64_t{I2cLib_Read(2, 0xF0A5, received, 2)}; }, 1,
     "r F1 A5 get- get- P"},
    {"I2cLib_WriteRead", [] { return int64_t{I2cLib_WriteRead(2, 0xA1, kSub, 4, received, 2)}; }, 1,
     "R(50,04,12345678,2)"},
    {"I2cLib_WriteRead, five sub bytes",
     [] { return int64_t{I2cLib_WriteRead(2, 0xA0, kSub, 5, received, 1)}; }, 0, ""},
    {"I2cLib_WriteRead, too much",
     [] { return int64_t{I2cLib_WriteRead(2, 0xA0, kSub, 1, received, 257)}; }, 0, ""},
    {"I2cLib_WriteRead, no sub bytes",
     [] { return int64_t{I2cLib_WriteRead(2, 0xA0, nullptr, 0, received, 1)}; }, 1,
     "S A0 r A1 get- P"},
    {"I2cLib_WriteRead, nothing to read",
     [] { return int64_t{I2cLib_WriteRead(2, 0xA0, kSub, 1, nullptr, 0)}; }, 1, "S A0 12 r A1 P"},
    {"I2cLib_WriteRead, 10-bit",
     [] { return int64_t{I2cLib_WriteRead(2, 0xF0A5, kSub, 1, received, 1)}; }, 1,
     "S F0 A5 12 r F1 A5 get- P"},
    {"I2cLib_W1ByteR1Byte", [] { return int64_t{I2cLib_W1ByteR1Byte(2, 0xA0, 5, received)}; }, 1,
     "R(50,01,05000000,1)"},
    {"I2c_String", [] { return int64_t{I2c_String("70-12=3456-78")}; }, 0, "S 70 12 56 34 78 P"},
    {"I2c_ReadString",
     [] {
       char text[8];
       return int64_t{I2c_ReadString(text, "70-12-71-")};
     },
     0, "S 70 12 S 71 get- P"},
    {"I2c_ReadStringEx", [] { return int64_t{I2c_ReadStringEx("70-12-71=")}; }, 0x5A5A,
     "S 70 12 S 71 get+ get- P"},
    {"Lpt_Output", [] { return int64_t{Lpt_Output(0x41)}; }, 0, "line1 D c"},
    {"Lpt_Output, SCL", [] { return int64_t{Lpt_Output(0x02)}; }, 0, "line0 d C"},
    {"Lpt_Output, no line", [] { return int64_t{Lpt_Output(0xBC)}; }, 0, "line0 d c"},
    {"Lpt_Input", [] { return int64_t{Lpt_Input(received)}; }, 0, ""},
    {"Pll_Write", [] { return int64_t{Pll_Write(1, 2, 3, 4, 5)}; }, 0, ""},
};

TEST_F(U2cCalls, I2cTable) {
  for (const Call& call : kI2cCalls) {
    EXPECT_EQ(call.run(), call.result) << call.name;
    EXPECT_EQ(Take(), call.calls) << call.name;
  }
  EXPECT_EQ(DebugText(), "FIXME: not supported yet !!\n");
}

// The same with a library that fails every call.
constexpr Call kFailingCalls[] = {
    {"I2c_Tx", [] { return int64_t{I2c_Tx(0xA5)}; }, 1, "A5"},
    {"I2cWrite", [] { return int64_t{I2cWrite(0xA5)}; }, 0, "A5"},
    {"I2cRead", [] { return int64_t{I2cRead(received, 1)}; }, 0, "get-"},
    {"I2cWriteHead", [] { return int64_t{I2cWriteHead(0x70, 0x12)}; }, 0, "S 70"},
    {"I2cWriteByte", [] { return int64_t{I2cWriteByte(0x70, 0x12, 0x34)}; }, 0,
     "W(38,01,12000000,1,34)"},
    {"I2cReadByte", [] { return int64_t{I2cReadByte(0x70, 0x12, received)}; }, 0,
     "R(38,01,12000000,1)"},
    {"I2cWriteData", [] { return int64_t{I2cWriteData(0x70, kSub, 1, kData, 1)}; }, 0,
     "W(38,01,12000000,1,D0)"},
    {"I2cReadData", [] { return int64_t{I2cReadData(0x70, kSub, 1, received, 1)}; }, 0,
     "R(38,01,12000000,1)"},
    {"I2cReadData, three sub bytes",
     [] { return int64_t{I2cReadData(0x70, kSub, 3, received, 2)}; }, 0, "S 70 P"},
    {"I2cLib_Write", [] { return int64_t{I2cLib_Write(2, 0xA0, kSub, 1, kData, 1)}; }, 0,
     "W(50,01,12000000,1,D0)"},
    {"I2cLib_Read", [] { return int64_t{I2cLib_Read(2, 0xA0, received, 2)}; }, 0, "r A1 P"},
    {"I2cLib_WriteRead", [] { return int64_t{I2cLib_WriteRead(2, 0xA0, kSub, 1, received, 1)}; }, 0,
     "R(50,01,12000000,1)"},
    {"I2c_String", [] { return int64_t{I2c_String("70-12-34")}; }, 1, "S 70 P"},
    {"I2c_ReadStringEx", [] { return int64_t{I2c_ReadStringEx("70-12-71=")}; }, -2, "S 70 P"},
};

TEST_F(U2cCalls, FailingLibrary) {
  recorder.status = 1;
  for (const Call& call : kFailingCalls) {
    EXPECT_EQ(call.run(), call.result) << call.name;
    EXPECT_EQ(Take(), call.calls) << call.name;
  }
}

// One byte that is not acknowledged.
struct Refusal {
  int byte;
  Call call;
};

constexpr Refusal kRefusals[] = {
    {0x12, {"I2cWriteHead", [] { return int64_t{I2cWriteHead(0x70, 0x12)}; }, 0, "S 70 12"}},
    {0x34,
     {"I2cReadData", [] { return int64_t{I2cReadData(0x70, kSub, 3, received, 2)}; }, 0,
      "S 70 12 34 P"}},
    {0x71,
     {"I2cReadData", [] { return int64_t{I2cReadData(0x70, kSub, 3, received, 2)}; }, 0,
      "S 70 12 34 56 r 71 P"}},
    {0xF0,
     {"I2cLib_Write", [] { return int64_t{I2cLib_Write(2, 0xF0A5, kSub, 1, kData, 1)}; }, 0,
      "S F0 A5 P"}},
    // A group is sent to its end.
    {0x12,
     {"I2cLib_Write", [] { return int64_t{I2cLib_Write(2, 0xF0A5, kSub, 2, kData, 1)}; }, 0,
      "S F0 A5 12 34 P"}},
    {0xD0,
     {"I2cLib_Write", [] { return int64_t{I2cLib_Write(2, 0xF0A5, kSub, 1, kData, 2)}; }, 0,
      "S F0 A5 12 D0 D1 P"}},
    {0xF1,
     {"I2cLib_Read", [] { return int64_t{I2cLib_Read(2, 0xF0A5, received, 2)}; }, 0, "r F1 A5 P"}},
    // Without a stop.
    {0x12,
     {"I2cLib_WriteRead", [] { return int64_t{I2cLib_WriteRead(2, 0xF0A5, kSub, 2, received, 1)}; },
      0, "S F0 A5 12 34"}},
    {0xA0,
     {"I2cLib_WriteRead",
      [] { return int64_t{I2cLib_WriteRead(2, 0xA0, nullptr, 0, received, 1)}; }, 0, "S A0"}},
    {0xF1,
     {"I2cLib_WriteRead", [] { return int64_t{I2cLib_WriteRead(2, 0xF0A5, kSub, 1, received, 1)}; },
      0, "S F0 A5 12 r F1 A5 P"}},
};

TEST_F(U2cCalls, RefusedBytes) {
  for (const auto& [byte, call] : kRefusals) {
    recorder.refused = byte;
    EXPECT_EQ(call.run(), call.result) << call.name << ' ' << byte;
    EXPECT_EQ(Take(), call.calls) << call.name << ' ' << byte;
  }
}

// What came is stored also when the library fails; only as much as was asked for.
TEST_F(U2cCalls, ReceivedBytes) {
  const Call reads[] = {
      {"I2cReadByte", [] { return int64_t{I2cReadByte(0x70, 0x12, received)}; }, 1, "C011"},
      {"I2cReadData", [] { return int64_t{I2cReadData(0x70, kSub, 1, received, 2)}; }, 1, "C0C1"},
      {"I2cLib_WriteRead", [] { return int64_t{I2cLib_WriteRead(2, 0xA0, kSub, 1, received, 2)}; },
       1, "C0C1"}};
  for (const Call& call : reads) {
    for (recorder.status = 0; recorder.status <= 1; ++recorder.status) {
      std::memset(received, 0x11, sizeof received);
      EXPECT_EQ(call.run(), recorder.status == 0 ? 1 : 0) << call.name;
      EXPECT_EQ(Hex(received, 3), std::string(call.calls) + "11") << call.name;
    }
  }
  uint32_t word = 0xFFFFFFFF;
  EXPECT_EQ(I2c_Rx(&word, 0), 0u);  // also now, with a failing library
  EXPECT_EQ(word, 0x5Au);
  uint8_t input = 0xFF;
  Lpt_Input(&input);
  EXPECT_EQ(input, 0);
  recorder.status = 0;
  recorder.getStatus = 1;
  Take();
  // Reading ends there; every byte that was sent was acknowledged.
  EXPECT_EQ(I2cReadData(0x70, kSub, 3, received, 2), 1u);
  EXPECT_EQ(Take(), "S 70 12 34 56 r 71 get+ P");
  EXPECT_EQ(I2cLib_Read(2, 0xA0, received, 2), 1);
  EXPECT_EQ(Take(), "r A1 get- get- P");
}

TEST_F(U2cCalls, SpeedModes) {
  const std::pair<uint8_t, const char*> kModes[] = {
      {2, "S A0 01 P"},         {0, "i2c1 S A0 01 P"}, {1, "i2c1 S A0 01 P"}, {1, "S A0 01 P"},
      {0x12, "i2c0 S A0 01 P"}, {3, "S A0 01 P"},      {2, "i2c0 S A0 01 P"}};
  for (const auto& [mode, expected] : kModes) {
    EXPECT_EQ(I2cLib_W1Byte(mode, 0xA0, 1), 1);
    EXPECT_EQ(Take(), expected) << int{mode};
  }
  EXPECT_EQ(I2cLib_Read(0x10, 0xA0, received, 1), 1);
  EXPECT_EQ(Take(), "i2c1 r A1 get- P");
  EXPECT_EQ(I2cLib_W1ByteR1Byte(2, 0xA0, 5, received), 1);
  EXPECT_EQ(Take(), "i2c0 R(50,01,05000000,1)");
}

// The nearest entry, by a search of the test's own; of two as near, the first of the list.
TEST_F(U2cCalls, NearestClock) {
  const std::vector<std::pair<int, int>> i2c = {{400, 0}, {100, 1}, {83, 2},  {71, 3}, {62, 4},
                                                {50, 6},  {25, 16}, {10, 46}, {5, 96}, {2, 242}};
  std::vector<std::pair<int, int>> spi = i2c;
  spi[0].first = 200;
  std::vector<uint32_t> rates;
  for (uint32_t kHz = 0; kHz <= 500; ++kHz) rates.push_back(kHz);
  // Up to where squares no longer fit 32 bits, and there: 2^16 above an entry looks like a hit.
  rates.insert(rates.end(),
               {501, 1000, 5000, 65000, 65535, 65536 + 50, 65536 + 400, 0x80000000, 0xFFFFFFFF});
  const auto nearest = [](const std::vector<std::pair<int, int>>& table, int64_t kHz) {
    std::map<uint64_t, int> codes;  // by distance; the first of equals stays
    for (const auto& [entry, code] : table) {
      const auto distance = static_cast<uint64_t>(std::abs(kHz - entry));
      codes.emplace(distance * distance % (uint64_t{1} << 32), code);
    }
    return std::to_string(codes.begin()->second);
  };
  for (const uint32_t kHz : rates) {
    I2cSetClockRate(kHz);
    EXPECT_EQ(Take(), "i2c" + nearest(i2c, kHz)) << kHz;
    SPISetClockRate(kHz);
    EXPECT_EQ(Take(), "spi" + nearest(spi, kHz)) << kHz;
  }
  const std::pair<uint32_t, const char*> kKnown[] = {{300, "i2c0"}, {250, "i2c0"}, {249, "i2c1"},
                                                     {90, "i2c2"},  {3, "i2c242"}, {65586, "i2c6"}};
  for (const auto& [kHz, expected] : kKnown) {
    I2cSetClockRate(kHz);
    EXPECT_EQ(Take(), expected) << kHz;
  }
}

TEST_F(U2cCalls, FlashCommands) {
  ClearDebugText();
  EXPECT_EQ(SPIReadID(), 0u);
  EXPECT_EQ(Take(), "select >9F < < < line1");
  SPIBulkErase();
  EXPECT_EQ(Take(), "select >06 line1 select >C7 line1 select >05 < line1");
  SPISectorErase(0xFF123456);
  EXPECT_EQ(Take(), "select >06 line1 select >D8 >123456 line1 select >05 < line1");
  SPIWriteByte(0x000102, 0x1AB);  // the whole chip is erased before it
  EXPECT_EQ(Take(),
            "select >06 line1 select >C7 line1 select >05 < line1 "
            "select >06 line1 select >02 >000102 >AB line1 select >05 < line1");
  uint32_t data = 0xFFFFFFFF;
  SPIReadByte(0x10, &data);
  EXPECT_EQ(Take(), "select >03 >000010 < line1");
  EXPECT_EQ(data, 0u);
  SPIStop();
  EXPECT_EQ(Take(), "");
  EXPECT_EQ(DebugText(), "");

  // A failing library changes nothing of it.
  recorder.status = 1;
  SPIReadID();
  EXPECT_EQ(Take(), "select >9F < < < line1");
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

struct Noted {
  std::vector<uint32_t> percents;
  std::vector<uint32_t> done;
};

int BRISK_CALL NoteProgress(uint32_t done, uint32_t /*total*/, void* noted) {
  static_cast<Noted*>(noted)->percents.push_back(SPIGetProgress());
  static_cast<Noted*>(noted)->done.push_back(done);
  return 0;
}

TEST_F(U2cCalls, FlashFiles) {
  const std::vector<uint8_t> bytes = RandomBytes(0x180);
  const std::string in = folder.File("in.bin");
  WriteFile(in, bytes);
  Noted noted;
  BriskSetProgressCallback(NoteProgress, &noted);
  ClearDebugText();

  // Three whole pages; what the file does not fill is sent as 0xFF.
  std::vector<uint8_t> sent = bytes;
  sent.resize(0x300, 0xFF);
  std::string expected;
  for (size_t page = 0; page < 3; ++page) {
    expected += (page == 0 ? "" : " ") + std::string("select >06 line1 select >02 >00") +
                std::to_string(page + 10) + "80";
    for (size_t i = 0; i < 0x100; ++i) expected += " >" + Hex(&sent[0x100 * page + i], 1);
    expected += " line1 select >05 < line1";
  }
  EXPECT_EQ(SPIProgramFromFile(0x1080, 0x300, in.c_str(), 0), 0x300u);
  EXPECT_EQ(Take(), expected);
  EXPECT_EQ(noted.percents, (std::vector<uint32_t>{0, 33, 66}));
  EXPECT_EQ(SPIGetProgress(), 100u);
  I2cSetClockRate(100);  // prepares the flash, too
  EXPECT_EQ(SPIGetProgress(), 0u);

  EXPECT_EQ(SPIProgramFromFile(0, 1, in.c_str(), 0), 0x100u);
  noted = {};
  EXPECT_EQ(SPIProgramFromFile(0, 0x101, in.c_str(), 0), 0x200u);
  EXPECT_EQ(noted.done, (std::vector<uint32_t>{0x100, 0x101}));  // of what was asked for
  Take();
  EXPECT_EQ(SPIProgramFromFile(0, 0, in.c_str(), 1), 0u);
  EXPECT_EQ(Take(), "select >06 line1 select >C7 line1 select >05 < line1");

  // One read command for the whole range.
  noted = {};
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramToFile(0x123456, 0x180, out.c_str()), 0x180u);
  expected = "select >03 >123456";
  for (size_t i = 0; i < 0x180; ++i) expected += " <";
  EXPECT_EQ(Take(), expected + " line1");
  EXPECT_EQ(noted.percents, (std::vector<uint32_t>{66, 100}));
  EXPECT_EQ(ReadFile(out), std::vector<uint8_t>(0x180));
  EXPECT_EQ(SPIProgramToFile(0, 0, out.c_str()), 0u);
  EXPECT_EQ(Take(), "select >03 >000000 line1");
  EXPECT_TRUE(ReadFile(out).empty());
  EXPECT_EQ(DebugText(), "");

  testing::internal::CaptureStdout();
  EXPECT_EQ(SPIProgramFromFile(0, 256, folder.File("none").c_str(), 1), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_EQ(SPIProgramToFile(0, 256, folder.File("none/none").c_str()), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\nCan't open the input file.\nCan't open the output file.");
  EXPECT_EQ(Take(), "");
  BriskSetProgressCallback(nullptr, nullptr);
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
