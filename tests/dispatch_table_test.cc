// The dispatch table as data: every export in every column.
#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <set>
#include <string>

#include "brisk/brisk.h"

#include "api/instance.h"
#include "device/groups.h"
#include "support/bench_test.h"
#include "support/calls.h"

namespace brisk {
namespace {

constexpr std::array<uint8_t, 12> kColumns = {0, 1, 2, 3, 4, 5, 7, 8, 9, 6, 10, 255};

// A cell: O is the device's own operation, N returns nothing, C computes without hardware,
// otherwise the fixed result.
constexpr int O = 1000;
constexpr int N = 1001;
constexpr int C = 1002;

struct Row {
  const char* call;
  std::array<int, 9> cells;  // device types 0 1 2 3 4 5 7 8 9
};

const Row kTable[] = {
    {"Sddi_Erase 0", {O, O, N, N, N, O, N, N, O}},
    {"Sddi_Bitblt 0 0", {O, O, N, N, N, O, N, N, O}},
    {"Sddi_Bitblt_Copy 0 0 1 1 2 2", {O, O, N, N, N, O, N, N, O}},
    {"C1_TxDebug 8 55", {O, O, N, N, N, O, N, N, O}},
    {"Sddi_Bitmap none/none 0", {O, O, 1, 1, 0, O, 0, 1, O}},
    {"Sddi_Jpeg none/none 0", {O, O, 1, 1, 0, O, 0, 1, O}},
    {"Sddi_Tx 7 13", {O, O, O, N, N, O, N, N, O}},
    {"Lpt_Output 57", {O, O, O, 1, 0, O, 0, 1, O}},
    {"Lpt_Input 1", {O, O, O, 1, 0, O, 0, 1, O}},
    {"Pll_Clock 61A8 37EE", {C, C, 1, 1, 0, C, 0, 1, C}},
    {"Pll_Nandu FDE8 6978", {C, C, 1, 1, 0, C, 0, 1, C}},
    {"Pll_Write 1 2 3 4 5", {0, O, O, 0, 0, 0, 0, 0, 0}},
    {"I2c_Start", {O, O, O, O, N, O, N, N, O}},
    {"I2c_RStart", {O, O, O, O, N, O, N, N, O}},
    {"I2c_Stop", {O, O, O, O, N, O, N, N, O}},
    {"I2c_Tx A5", {O, O, O, O, 0, O, O, 0, O}},
    {"I2c_Rx 1", {O, O, O, O, 0, O, O, 0, O}},
    {"I2cWrite A5", {O, O, O, O, 0, O, O, 0, O}},
    {"I2cRead 1 1", {O, O, O, O, 0, O, O, 0, O}},
    {"I2c_BitOut 1", {O, N, N, N, N, O, N, N, O}},
    {"I2c_BitIn", {O, 0, 1, 1, 0, O, 0, 0, O}},
    {"I2c_String F4-10-55", {O, O, 1, 1, 1, O, 1, 0, O}},
    {"I2c_ReadStringEx F4-70-F5-", {O, O, 1, 1, -2, O, -2, 0, O}},
    {"I2c_ReadString F4-70-F5-", {O, O, 1, O, 1, O, 1, 0, O}},
    {"I2c_WriteString F4-10-55", {1, 1, 1, O, 1, 1, 1, 0, 1}},
    {"I2cWriteHead F4 10", {O, O, 1, 1, 0, O, 0, 0, O}},
    {"I2cWriteByte F4 10 1", {O, O, O, O, O, O, 0, 0, O}},
    {"I2cReadByte F4 10 1", {O, O, O, O, O, O, 0, 0, O}},
    {"I2cWriteData F4 01 0102", {O, O, O, O, O, O, O, O, O}},
    {"I2cReadData F4 01 2", {O, O, O, O, O, O, O, O, O}},
    {"I2cSetClockRate 190", {O, O, N, N, O, O, N, O, O}},
    {"SPIBulkErase", {O, O, O, N, N, O, N, O, O}},
    {"SPISectorErase 0", {O, O, O, N, N, O, N, O, O}},
    {"SPIWriteByte 0 0", {O, O, O, N, N, O, N, O, O}},
    {"SPIReadByte 0", {O, O, O, N, N, O, N, O, O}},
    {"SPIProgramFromFile 0 100 none/none 0", {O, O, O, 0, 0, O, 0, O, O}},
    {"SPIProgramToFile 0 100 none/none", {O, O, O, 0, 0, O, 0, O, O}},
    {"SPIGetProgress", {O, O, O, 0, 0, O, 0, O, O}},
    {"SPIReadID", {O, O, O, 0, O, O, 1, O, O}},
    {"SPIInit", {O, O, N, N, N, O, N, O, O}},
    {"SPIStop", {O, O, N, N, N, O, N, O, O}},
    {"SPISetClockRate 64", {N, O, N, N, N, N, N, N, N}},
    {"I2cLib_Write 2 F4 01 01", {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_Read 2 F4 1", {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_WriteRead 2 F4 01 1", {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_W1Byte 2 F4 1", {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_W2Bytes 2 F4 1 2", {O, O, O, O, O, O, O, 1, O}},
    {"I2cLib_W1ByteR1Byte 2 F4 1 1", {O, O, O, O, O, O, O, 1, O}},
};

// A device type without hardware calls nothing, and the result is 0 where there is one.
int Expected(const Row& row, size_t column) {
  if (column < row.cells.size()) return row.cells[column];
  return std::count(row.cells.begin(), row.cells.end(), N) != 0 ? N : 0;
}

class DispatchTable : public BenchTest {};

TEST_F(DispatchTable, EveryCellOfEveryExport) {
  EXPECT_EQ(std::size(kTable), 48u);
  for (size_t column = 0; column < kColumns.size(); ++column) {
    for (const Row& row : kTable) {
      BriskSetDevice(kColumns[column]);
      const int expected = Expected(row, column);
      if (expected == O) continue;
      const uint64_t before = HardwareAccesses();
      const std::string result = Call(row.call);
      const std::string cell =
          std::string(row.call) + ", device type " + std::to_string(kColumns[column]);
      if (expected != C) {
        EXPECT_EQ(result, expected == N ? "" : std::to_string(expected)) << cell;
      }
      EXPECT_EQ(HardwareAccesses(), before) << cell << " touched hardware";
    }
  }
}

template <typename... Families>
void ExpectOffers(const Selected& selected, const Group<Families>&... groups) {
  size_t index = 0;
  const auto expect = [&](const void* family, Cell cell) {
    EXPECT_EQ(family != nullptr, cell == kOwn) << selected.type->name << ", group " << index;
    ++index;
  };
  (expect(selected.device->*groups.family, selected.type->*groups.cell), ...);
}

// A device has the families that its row calls its own, and no others.
TEST_F(DispatchTable, DevicesOfferWhatTheirRowsSay) {
  using namespace groups;
  for (const uint8_t type : kColumns) {
    BriskSetDevice(type);
    const Selected selected = AttachedInstance()->SelectedDevice();
    ExpectOffers(selected, kDisplay, kDebugWords, kWords, kLines, kGenerator, kBus, kBits,
                 kWriteStrings, kReadNumbers, kWriteFrames, kHeads, kRegisters, kBlocks, kClock,
                 kFlash, kFlashId, kChannels);
    const bool reads = selected.device->strings != nullptr || selected.device->frames != nullptr;
    EXPECT_EQ(reads, selected.type->readString == kOwn) << selected.type->name;
  }
}

// With every adapter plugged in: whatever is done with one takes simulated time.
TEST_F(DispatchTable, FixedCellsLeaveEveryAdapterAlone) {
  Configure("adapter=lpt+u2c+debug-board+uart+text-bridge+tcon-usb+ft2232c");
  for (size_t column = 0; column < kColumns.size(); ++column) {
    BriskSetDevice(kColumns[column]);
    I2c_Stop();  // connects what connects at the first use
    for (const Row& row : kTable) {
      if (Expected(row, column) == O) continue;
      const uint64_t before = bench().clock().Now();
      Call(row.call);
      EXPECT_EQ(bench().clock().Now(), before)
          << row.call << ", device type " << int{kColumns[column]};
    }
  }
}

// On the parallel port an own cell moves lines, except where it is bookkeeping.
TEST_F(DispatchTable, OwnCellsOfTheParallelPortReachThePort) {
  const std::set<std::string> quiet = {"SPIGetProgress", "SPIStop", "I2cSetClockRate 190"};
  for (const uint8_t type : {0, 5, 9}) {
    for (const Row& row : kTable) {
      const std::string call = row.call;
      if (row.cells[0] != O || quiet.contains(call) || call.find("none") != std::string::npos) {
        continue;
      }
      BriskSetDevice(type);
      const uint64_t before = HardwareAccesses();
      Call(call);
      EXPECT_GT(HardwareAccesses(), before) << call << ", device type " << int{type};
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
    EXPECT_EQ(Call("GetPortVal 3 1"), "0") << int{type};
    EXPECT_EQ(Call("SetPortVal 3 1"), type == 8 ? "1" : "0") << int{type};
  }
}

}  // namespace
}  // namespace brisk
