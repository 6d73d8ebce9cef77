// The dispatch table as data: every export in every column.
#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "support/bench_test.h"

namespace brisk {
namespace {

constexpr std::array<uint8_t, 12> kColumns = {0, 1, 2, 3, 4, 5, 7, 8, 9, 6, 10, 255};

// A cell: kOwn is the back end's own operation, kNone returns nothing, otherwise the fixed result.
constexpr int64_t kOwn = 1000;
constexpr int64_t kNone = 1001;
constexpr int64_t kCalc = 1002;  // the PLL computations: no hardware, result not fixed here

struct Row {
  const char* name;
  std::function<int64_t()> call;
  std::array<int64_t, 9> cells;  // device types 0 1 2 3 4 5 7 8 9
};

template <typename Function>
std::function<int64_t()> Nothing(Function call) {
  return [call] {
    call();
    return kNone;
  };
}

uint8_t bytes[8] = {1, 2, 3, 4};
uint32_t word;
uint16_t outputs[3];
// The first byte is also a valid frame byte count for the UART bridge, where it is one.
char text[32] = "\1";
const char kWrite[] = "F4-10-55";
const char kRead[] = "F4-70-F5-";
const char kMissing[] = "no such folder/no such file";

constexpr int64_t O = kOwn, N = kNone, C = kCalc;

const std::vector<Row> kTable = {
    {"Sddi_Erase", Nothing([] { Sddi_Erase(0); }), {O, O, N, N, N, O, N, N, O}},
    {"Sddi_Bitblt", Nothing([] { Sddi_Bitblt(0, 0, 0); }), {O, O, N, N, N, O, N, N, O}},
    {"Sddi_Bitblt_Copy",
     Nothing([] { Sddi_Bitblt_Copy(0, 0, 1, 1, 2, 2); }),
     {O, O, N, N, N, O, N, N, O}},
    {"C1_TxDebug", Nothing([] { C1_TxDebug(8, 0x55); }), {O, O, N, N, N, O, N, N, O}},
    {"Sddi_Bitmap", [] { return Sddi_Bitmap(kMissing, 0); }, {O, O, 1, 1, 0, O, 0, 1, O}},
    {"Sddi_Jpeg", [] { return Sddi_Jpeg(kMissing, 0); }, {O, O, 1, 1, 0, O, 0, 1, O}},
    {"Sddi_Tx", Nothing([] { Sddi_Tx(7, 0x13); }), {O, O, O, N, N, O, N, N, O}},
    {"Lpt_Output", [] { return Lpt_Output(0x57); }, {O, O, O, 1, 0, O, 0, 1, O}},
    {"Lpt_Input", [] { return Lpt_Input(bytes); }, {O, O, O, 1, 0, O, 0, 1, O}},
    {"Pll_Clock",
     [] { return Pll_Clock(25000, 14318, outputs, outputs + 1, outputs + 2); },
     {C, C, 1, 1, 0, C, 0, 1, C}},
    {"Pll_Nandu",
     [] { return Pll_Nandu(65000, 27000, outputs, outputs + 1, outputs + 2); },
     {C, C, 1, 1, 0, C, 0, 1, C}},
    {"Pll_Write", [] { return Pll_Write(1, 2, 3, 4, 5); }, {0, O, O, 0, 0, 0, 0, 0, 0}},
    {"I2c_Start", Nothing([] { I2c_Start(); }), {O, O, O, O, N, O, N, N, O}},
    {"I2c_RStart", Nothing([] { I2c_RStart(); }), {O, O, O, O, N, O, N, N, O}},
    {"I2c_Stop", Nothing([] { I2c_Stop(); }), {O, O, O, O, N, O, N, N, O}},
    {"I2c_Tx", [] { return I2c_Tx(0xA5); }, {O, O, O, O, 0, O, O, 0, O}},
    {"I2c_Rx", [] { return I2c_Rx(&word, 1); }, {O, O, O, O, 0, O, O, 0, O}},
    {"I2cWrite", [] { return I2cWrite(0xA5); }, {O, O, O, O, 0, O, O, 0, O}},
    {"I2cRead", [] { return I2cRead(bytes, 1); }, {O, O, O, O, 0, O, O, 0, O}},
    {"I2c_BitOut", Nothing([] { I2c_BitOut(1); }), {O, N, N, N, N, O, N, N, O}},
    {"I2c_BitIn", [] { return I2c_BitIn(); }, {O, 0, 1, 1, 0, O, 0, 0, O}},
    {"I2c_String", [] { return I2c_String(kWrite); }, {O, O, 1, 1, 1, O, 1, 0, O}},
    {"I2c_ReadStringEx", [] { return I2c_ReadStringEx(kRead); }, {O, O, 1, 1, -2, O, -2, 0, O}},
    {"I2c_ReadString", [] { return I2c_ReadString(text, kRead); }, {O, O, 1, O, 1, O, 1, 0, O}},
    {"I2c_WriteString", [] { return I2c_WriteString(text, kWrite); }, {1, 1, 1, O, 1, 1, 1, 0, 1}},
    {"I2cWriteHead", [] { return I2cWriteHead(0xF4, 0x10); }, {O, O, 1, 1, 0, O, 0, 0, O}},
    {"I2cWriteByte", [] { return I2cWriteByte(0xF4, 0x10, 1); }, {O, O, O, O, O, O, 0, 0, O}},
    {"I2cReadByte", [] { return I2cReadByte(0xF4, 0x10, bytes); }, {O, O, O, O, O, O, 0, 0, O}},
    {"I2cWriteData",
     [] { return I2cWriteData(0xF4, bytes, 1, bytes, 2); },
     {O, O, O, O, O, O, O, O, O}},
    {"I2cReadData",
     [] { return I2cReadData(0xF4, bytes, 1, bytes + 4, 2); },
     {O, O, O, O, O, O, O, O, O}},
    {"I2cSetClockRate", Nothing([] { I2cSetClockRate(400); }), {O, O, N, N, O, O, N, O, O}},
    {"SPIBulkErase", Nothing([] { SPIBulkErase(); }), {O, O, O, N, N, O, N, O, O}},
    {"SPISectorErase", Nothing([] { SPISectorErase(0); }), {O, O, O, N, N, O, N, O, O}},
    {"SPIWriteByte", Nothing([] { SPIWriteByte(0, 0); }), {O, O, O, N, N, O, N, O, O}},
    {"SPIReadByte", Nothing([] { SPIReadByte(0, &word); }), {O, O, O, N, N, O, N, O, O}},
    {"SPIProgramFromFile",
     [] { return SPIProgramFromFile(0, 256, kMissing, 0); },
     {O, O, O, 0, 0, O, 0, O, O}},
    {"SPIProgramToFile",
     [] { return SPIProgramToFile(0, 256, kMissing); },
     {O, O, O, 0, 0, O, 0, O, O}},
    {"SPIGetProgress", [] { return SPIGetProgress(); }, {O, O, O, 0, 0, O, 0, O, O}},
    {"SPIReadID", [] { return SPIReadID(); }, {O, O, O, 0, O, O, 1, O, O}},
    {"SPIInit", Nothing([] { SPIInit(); }), {O, O, N, N, N, O, N, O, O}},
    {"SPIStop", Nothing([] { SPIStop(); }), {O, O, N, N, N, O, N, O, O}},
    {"SPISetClockRate", Nothing([] { SPISetClockRate(100); }), {N, O, N, N, N, N, N, N, N}},
    {"I2cLib_Write",
     [] { return I2cLib_Write(2, 0xF4, bytes, 1, bytes, 1); },
     {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_Read", [] { return I2cLib_Read(2, 0xF4, bytes, 1); }, {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_WriteRead",
     [] { return I2cLib_WriteRead(2, 0xF4, bytes, 1, bytes + 4, 1); },
     {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_W1Byte", [] { return I2cLib_W1Byte(2, 0xF4, 1); }, {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_W2Bytes", [] { return I2cLib_W2Bytes(2, 0xF4, 1, 2); }, {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_W1ByteR1Byte",
     [] { return I2cLib_W1ByteR1Byte(2, 0xF4, 1, bytes); },
     {O, O, O, O, O, O, O, 1, O}},
};

int64_t Expected(const Row& row, size_t column) {
  if (column < row.cells.size()) return row.cells[column];
  // No back end: nothing is called, and the result is 0 where there is one.
  const bool hasResult = row.cells[0] != kNone && row.call() != kNone;
  return hasResult ? 0 : kNone;
}

class DispatchTable : public BenchTest {};

TEST_F(DispatchTable, EveryCellOfEveryExport) {
  for (size_t column = 0; column < kColumns.size(); ++column) {
    for (const Row& row : kTable) {
      BriskSetDevice(kColumns[column]);
      text[0] = '\1';
      const int64_t expected = Expected(row, column);
      if (expected == kOwn) continue;
      const uint64_t before = HardwareAccesses();
      const int64_t result = row.call();
      const std::string cell =
          std::string(row.name) + ", device type " + std::to_string(kColumns[column]);
      if (expected != kCalc) {
        EXPECT_EQ(result, expected) << cell;
      }
      EXPECT_EQ(HardwareAccesses(), before) << cell << " touched hardware";
    }
  }
}

// With every adapter plugged in: whatever is done with one takes simulated time.
TEST_F(DispatchTable, FixedCellsLeaveEveryAdapterAlone) {
  Configure("adapter=lpt+u2c+debug-board+uart+text-bridge+tcon-usb+ft2232c");
  for (size_t column = 0; column < kColumns.size(); ++column) {
    BriskSetDevice(kColumns[column]);
    I2c_Stop();  // connects what connects at the first use
    for (const Row& row : kTable) {
      if (Expected(row, column) == kOwn) continue;
      const uint64_t before = bench().clock().Now();
      row.call();
      EXPECT_EQ(bench().clock().Now(), before)
          << row.name << ", device type " << int{kColumns[column]};
    }
  }
}

// On the parallel port an own cell moves lines, except where it is bookkeeping.
TEST_F(DispatchTable, OwnCellsOfTheParallelPortReachThePort) {
  const std::vector<std::string> quiet = {
      "SPIGetProgress",   "SPIStop",     "I2cSetClockRate", "SPIProgramFromFile",
      "SPIProgramToFile", "Sddi_Bitmap", "Sddi_Jpeg"};
  for (const uint8_t type : {0, 5, 9}) {
    for (const Row& row : kTable) {
      if (row.cells[0] != kOwn || std::find(quiet.begin(), quiet.end(), row.name) != quiet.end()) {
        continue;
      }
      BriskSetDevice(type);
      const uint64_t before = HardwareAccesses();
      row.call();
      EXPECT_GT(HardwareAccesses(), before) << row.name << ", device type " << int{type};
    }
  }
}

TEST_F(DispatchTable, SelectionResults) {
  for (const uint8_t type : {0, 1, 2, 3, 5, 6, 7, 9, 10, 255}) {
    EXPECT_EQ(BriskSetDevice(type), 1) << int{type};
  }
  // Nothing is connected to the bench that types 4 and 8 could find.
  EXPECT_EQ(BriskSetDevice(4), 0);
  EXPECT_EQ(BriskSetDevice(8), 0);
}

TEST_F(DispatchTable, FunctionsOutsideTheTable) {
  for (const uint8_t type : kColumns) {
    BriskSetDevice(type);
    EXPECT_EQ(BriskGetVersion(), 6u);
    EXPECT_EQ(I2cLib_Init(), 1);
    EXPECT_EQ(I2cLib_Cleanup(), 1);
    EXPECT_EQ(I2cLib_Scan7bitAddr(0xA0), 0);
    // No board is there, whichever one a type routes to.
    EXPECT_EQ(GetPortVal(3, bytes), 0u) << int{type};
    if (type != 8) {
      EXPECT_EQ(SetPortVal(3, 1), 0u) << int{type};
    }
  }
}

}  // namespace
}  // namespace brisk
