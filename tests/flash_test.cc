// Flash operations and file transfers through the exported functions, on every wiring of the
// parallel port, against the simulated flash's contents.
#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "support/bench_test.h"
#include "support/files.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

struct Adapter {
  const char* name;
  uint8_t deviceType;
};

class FlashOnWires : public BenchTest, public testing::WithParamInterface<Adapter> {
 protected:
  void SetUp() override { Connect(""); }
  void TearDown() override { BriskSetProgressCallback(nullptr, nullptr); }

  void Connect(const std::string& more) {
    Configure(std::string("flash=w25q16,adapter=") + GetParam().name + more);
    BriskSetDevice(GetParam().deviceType);
  }

  // The flash's content, past every bus.
  Bytes Content(uint32_t address, size_t count) {
    const auto begin = bench().board().flash()->memory().begin() + address;
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
  }

  std::string FileOf(const Bytes& bytes) {
    std::string path = folder.File("in.bin");
    WriteFile(path, bytes);
    return path;
  }

  TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Wirings, FlashOnWires,
                         testing::Values(Adapter{"lpt", 0}, Adapter{"lpt-b", 5},
                                         Adapter{"lpt-c", 9}),
                         [](const auto& test) {
                           return "DeviceType" + std::to_string(test.param.deviceType);
                         });

TEST_P(FlashOnWires, Identification) {
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
  EXPECT_NE(DebugText().find("SPIReadID, Manufacturer ID = 0xef, Memory Type =0x40,  "
                             "Memory Capacity =0x15\n"),
            std::string::npos);
  SPIInit();
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
}

TEST_P(FlashOnWires, BytesAndSectors) {
  SPIWriteByte(0x12345, 0xFFFFFF5A);
  SPIWriteByte(0x20000, 0xA5);
  uint32_t data = 0xFFFFFFFF;
  SPIReadByte(0xFF012345, &data);
  EXPECT_EQ(data, 0x5Au);
  EXPECT_EQ(Content(0x12344, 3), (Bytes{0xFF, 0x5A, 0xFF}));
  // Writing a byte erases the sector that holds it, and only that one.
  SPIWriteByte(0x1FFFF, 0x77);
  EXPECT_EQ(Content(0x12345, 1), Bytes{0xFF});
  EXPECT_EQ(Content(0x1FFFF, 2), (Bytes{0x77, 0xA5}));
  SPISectorErase(0x2FFFF);
  EXPECT_EQ(Content(0x1FFFF, 2), (Bytes{0x77, 0xFF}));
  SPIBulkErase();
  EXPECT_EQ(Content(0x1FFFF, 1), Bytes{0xFF});
  EXPECT_NE(DebugText().find("SPIWriteByte, adr = 12345, data=ffffff5a\n"), std::string::npos);
  EXPECT_NE(DebugText().find("SPIReadByte, adr = ff012345\n"), std::string::npos);
}

TEST_P(FlashOnWires, ProgramAndReadBack) {
  struct Case {
    const char* name;
    uint32_t address;
    size_t fileSize;
    uint32_t maxSize;
    uint32_t result;
  };
  for (const Case& test : {
           Case{"file as long as asked", 0x100, 1024, 1024, 1024},
           {"file longer", 0, 1000, 300, 512},
           {"file shorter", 0x3000, 700, 0x1000, 700},
           {"file ends on a page", 0, 512, 0x10000, 512},
           {"nothing asked", 0, 512, 0, 0},
           {"one byte", 0x10001, 1, 1, 1},
           {"empty file", 0, 0, 0x1000, 0},
       }) {
    SCOPED_TRACE(test.name);
    SPIBulkErase();
    const Bytes bytes = RandomBytes(test.fileSize);
    EXPECT_EQ(SPIProgramFromFile(test.address, test.maxSize, FileOf(bytes).c_str(), 0),
              test.result);
    EXPECT_EQ(SPIGetProgress(), 100u);
    const Bytes expected(bytes.begin(),
                         bytes.begin() + std::min<std::ptrdiff_t>(test.result, std::ssize(bytes)));
    EXPECT_EQ(Content(test.address, expected.size()), expected);
    EXPECT_EQ(Content(test.address + test.result, 1), Bytes{0xFF});

    const std::string out = folder.File("out.bin");
    const auto size = static_cast<uint32_t>(expected.size());
    EXPECT_EQ(SPIProgramToFile(test.address, size, out.c_str()), size);
    EXPECT_EQ(SPIGetProgress(), 100u);
    EXPECT_EQ(ReadFile(out), expected);
  }
}

TEST_P(FlashOnWires, OddSizesReadBack) {
  const Bytes bytes = RandomBytes(0x1234);
  SPIProgramFromFile(0, 0x1234, FileOf(bytes).c_str(), 1);
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramToFile(0, 0x1234, out.c_str()), 0x1234u);
  EXPECT_EQ(ReadFile(out), bytes);
  EXPECT_EQ(SPIProgramToFile(0, 0, out.c_str()), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_TRUE(ReadFile(out).empty());
}

TEST_P(FlashOnWires, EraseFlag) {
  SPIWriteByte(0x100000, 0);
  const Bytes bytes = RandomBytes(256);
  SPIProgramFromFile(0, 256, FileOf(bytes).c_str(), 1);
  EXPECT_EQ(Content(0x100000, 1), Bytes{0xFF});
  // Without it, programming only clears bits.
  const Bytes other = RandomBytes(256, 2);
  SPIProgramFromFile(0, 256, FileOf(other).c_str(), 0);
  Bytes both(256);
  for (size_t i = 0; i < both.size(); ++i) both[i] = bytes[i] & other[i];
  EXPECT_EQ(Content(0, 256), both);
  // The erase runs when nothing is to be programmed, too.
  SPIProgramFromFile(0, 0, FileOf(other).c_str(), 1);
  EXPECT_EQ(Content(0, 1), Bytes{0xFF});
}

// Pages go out as they are; the flash wraps inside its own page.
TEST_P(FlashOnWires, UnalignedStartWraps) {
  const Bytes bytes = RandomBytes(256);
  SPIProgramFromFile(0x1010, 256, FileOf(bytes).c_str(), 1);
  EXPECT_EQ(Content(0x1010, 0xF0), Bytes(bytes.begin(), bytes.begin() + 0xF0));
  EXPECT_EQ(Content(0x1000, 0x10), Bytes(bytes.begin() + 0xF0, bytes.end()));
  EXPECT_EQ(Content(0x1100, 1), Bytes{0xFF});
}

TEST_P(FlashOnWires, FilesThatCannotBeOpened) {
  SPIWriteByte(0, 0x5A);
  const uint64_t before = HardwareAccesses();
  testing::internal::CaptureStdout();
  EXPECT_EQ(SPIProgramFromFile(0, 256, folder.File("none").c_str(), 1), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_EQ(SPIProgramFromFile(0, 256, folder.File("").c_str(), 1), 0u);  // the folder itself
  EXPECT_EQ(SPIProgramToFile(0, 256, folder.File("none/none").c_str()), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      "\nCan't open the input file.\nCan't open the input file.\nCan't open the output file.");
  EXPECT_EQ(HardwareAccesses(), before);
}

struct Reports {
  std::vector<std::pair<uint32_t, uint32_t>> seen;
  std::vector<uint32_t> percent;
  size_t stopAfter = SIZE_MAX;
  bool stopWithExport = false;
};

Reports Stopping(bool withExport) {
  Reports reports;
  reports.stopAfter = 2;
  reports.stopWithExport = withExport;
  return reports;
}

int BRISK_CALL Note(uint32_t done, uint32_t total, void* context) {
  auto& reports = *static_cast<Reports*>(context);
  reports.seen.emplace_back(done, total);
  reports.percent.push_back(SPIGetProgress());
  EXPECT_EQ(I2cWrite(0), 0u);  // refused, and does not wait for the lock
  if (reports.seen.size() < reports.stopAfter) return 0;
  if (reports.stopWithExport) SPIStop();
  return reports.stopWithExport ? 0 : 1;
}

TEST_P(FlashOnWires, ProgressIsReportedAndCanStop) {
  Reports reports;
  BriskSetProgressCallback(Note, &reports);
  const Bytes bytes = RandomBytes(0x500);
  const std::string in = FileOf(bytes);
  const std::string out = folder.File("out.bin");
  SPIProgramFromFile(0, 0x480, in.c_str(), 1);
  EXPECT_EQ(reports.seen,
            (std::vector<std::pair<uint32_t, uint32_t>>{
                {0x100, 0x480}, {0x200, 0x480}, {0x300, 0x480}, {0x400, 0x480}, {0x480, 0x480}}));
  EXPECT_EQ(reports.percent, (std::vector<uint32_t>{0, 20, 40, 60, 80}));

  reports = {};
  EXPECT_EQ(SPIProgramToFile(0, 0x234, out.c_str()), 0x234u);
  EXPECT_EQ(reports.seen, (std::vector<std::pair<uint32_t, uint32_t>>{
                              {0x100, 0x234}, {0x200, 0x234}, {0x234, 0x234}}));
  EXPECT_EQ(reports.percent, (std::vector<uint32_t>{0, 45, 90}));

  for (const bool stopWithExport : {false, true}) {
    SPIBulkErase();
    reports = Stopping(stopWithExport);
    EXPECT_EQ(SPIProgramFromFile(0, 0x500, in.c_str(), 0), 0x200u);
    EXPECT_EQ(Content(0x200, 0x300), Bytes(0x300, 0xFF));
    reports = Stopping(stopWithExport);
    EXPECT_EQ(SPIProgramToFile(0, 0x500, out.c_str()), 0x200u);
    EXPECT_EQ(ReadFile(out).size(), 0x200u);
    EXPECT_EQ(SPIGetProgress(), 100u);
  }
  // A stop asked for while nothing runs stops nothing.
  BriskSetProgressCallback(nullptr, nullptr);
  SPIStop();
  EXPECT_EQ(SPIProgramFromFile(0, 0x500, in.c_str(), 1), 0x500u);
}

int BRISK_CALL StopAfterSelecting(uint32_t /*done*/, uint32_t /*total*/, void* /*context*/) {
  EXPECT_EQ(BriskSetDevice(6), 0);
  EXPECT_EQ(SPIGetProgress(), 0u);
  sim::bench().platform().sharedMemory.Section().bDeviceType = 6;
  SPIStop();
  return 0;
}

int BRISK_CALL Once(uint32_t /*done*/, uint32_t /*total*/, void* calls) {
  BriskSetProgressCallback(nullptr, nullptr);
  ++*static_cast<int*>(calls);
  return 0;
}

TEST_P(FlashOnWires, CallbackRemovesItself) {
  int calls = 0;
  BriskSetProgressCallback(Once, &calls);
  EXPECT_EQ(SPIProgramToFile(0, 0x500, folder.File("out.bin").c_str()), 0x500u);
  EXPECT_EQ(calls, 1);
}

// Selecting another device inside the callback is refused, and a stop means the running transfer
// even when another process has selected one.
TEST_P(FlashOnWires, StopMeansTheRunningTransfer) {
  const std::string in = FileOf(RandomBytes(0x500));
  BriskSetProgressCallback(StopAfterSelecting, nullptr);
  EXPECT_EQ(SPIProgramFromFile(0, 0x500, in.c_str(), 1), 0x100u);
}

TEST_P(FlashOnWires, DebugLinesOfFiles) {
  const std::string in = FileOf(RandomBytes(10));
  const std::string none = folder.File("none");
  const std::string out = folder.File("out.bin");
  ClearDebugText();
  SPIProgramFromFile(0xABC00, 0x123, in.c_str(), 0);
  EXPECT_EQ(DebugText(), "SPIProgramFromFile, adr = abc00, maxsize=123, szfile=" + in +
                             "\nSPIProgramFromFile, adr = abc00, maxsize=123\n");
  ClearDebugText();
  testing::internal::CaptureStdout();
  SPIProgramFromFile(1, 2, none.c_str(), 0);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(DebugText(), "SPIProgramFromFile, adr = 1, maxsize=2, szfile=" + none + "\n");
  ClearDebugText();
  SPIProgramToFile(0x10, 0x20, out.c_str());
  EXPECT_EQ(DebugText(), "SPIProgramToFile, adr = 10, maxsize=20, szfile=" + out + "\n");
}

int BRISK_CALL StopAt8000(uint32_t done, uint32_t /*total*/, void* percent) {
  *static_cast<uint32_t*>(percent) = SPIGetProgress();
  return done < 0x8000 ? 0 : 1;
}

TEST_P(FlashOnWires, LargestSizeDoesNotWrap) {
  EXPECT_EQ(SPIProgramFromFile(0, UINT32_MAX, FileOf(RandomBytes(0x280)).c_str(), 1), 0x280u);
  // Percent of a range whose hundredfold has more than 32 bits.
  uint32_t percent = 100;
  BriskSetProgressCallback(StopAt8000, &percent);
  EXPECT_EQ(SPIProgramToFile(0, UINT32_MAX, folder.File("out.bin").c_str()), 0x8000u);
  EXPECT_EQ(percent, 0u);
}

TEST_P(FlashOnWires, BusyBeyondTheWaitEndsSilently) {
  Connect(",fault=flash-busy");
  const uint64_t before = bench().clock().Now();
  SPISectorErase(0);
  const uint64_t waited = (bench().clock().Now() - before) / 1000000;
  EXPECT_GE(waited, 5000u);
  EXPECT_LE(waited, 5010u);
  // What comes after the wait is done all the same: two more for two pages.
  EXPECT_EQ(SPIProgramFromFile(0, 0x200, FileOf(RandomBytes(0x200)).c_str(), 0), 0x200u);
  EXPECT_GE((bench().clock().Now() - before) / 1000000, 15000u);
}

TEST_P(FlashOnWires, FullDiskShortensTheFile) {
  Connect(",fault=disk-full:300");
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramToFile(0, 1024, out.c_str()), 1024u);
  EXPECT_EQ(ReadFile(out).size(), 300u);
}

TEST_F(BenchTest, ProgressBelongsToTheDeviceType) {
  TemporaryFolder folder;
  EXPECT_EQ(SPIGetProgress(), 0u);
  testing::internal::CaptureStdout();
  SPIProgramFromFile(0, 0, "none", 0);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(SPIGetProgress(), 100u);
  BriskSetDevice(5);
  EXPECT_EQ(SPIGetProgress(), 0u);
}

}  // namespace
}  // namespace brisk
