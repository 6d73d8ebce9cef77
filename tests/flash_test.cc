// Flash operations and file transfers through the exported functions, the same scenario on every
// adapter, against the content of the simulated flash and, where its tools run, against what sigrok
// sees on the wires.
#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "sim/board/nor_flash.h"
#include "support/adapters.h"
#include "support/files.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;
using Numbers = std::vector<uint32_t>;

class Flash : public BenchTest, public testing::WithParamInterface<AdapterKind> {
 protected:
  void SetUp() override { Connect(); }
  void TearDown() override { BriskSetProgressCallback(nullptr, nullptr); }

  static bool Is(unsigned kinds) { return (GetParam().kind & kinds) != 0; }
  static void Connect(const std::string& more = "") {
    Configure(std::string("flash=w25q16,adapter=") + GetParam().name + more);
    BriskSetDevice(GetParam().deviceType);
  }

  // The flash's content, past every bus.
  static Bytes Content(uint32_t address, size_t count) {
    const auto begin = bench().board().flash()->memory().begin() + address;
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
  }
  static uint8_t At(uint32_t address) { return Content(address, 1)[0]; }
  static uint64_t Milliseconds() { return bench().clock().Now() / 1'000'000; }

  const char* FileOf(const Bytes& bytes) {
    WriteFile(in, bytes);
    return in.c_str();
  }

  TemporaryFolder folder;
  const std::string in = folder.File("in.bin");
  const std::string out = folder.File("out.bin");
};

INSTANTIATE_TEST_SUITE_P(Adapters, Flash,
                         testing::ValuesIn(AdaptersOf(kLpt | kU2c | kDebugBoard | kFtdi)),
                         AdapterName);

TEST_P(Flash, Identification) {
  ClearDebugText();
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
  EXPECT_EQ(DebugText(), Is(kU2c) ? ""
                                  : "SPIReadID, Manufacturer ID = 0xef, Memory Type =0x40,  "
                                    "Memory Capacity =0x15\n");
  SPIInit();
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
}

// Writing a byte erases the sector that holds it; a U2C adapter erases the chip, the debug board
// nothing.
TEST_P(Flash, BytesAndSectors) {
  SPIWriteByte(0x12345, 0xFFFFFF5A);
  uint32_t data = 0xFFFFFFFF;
  SPIReadByte(0xFF012345, &data);
  EXPECT_EQ(data, 0x5Au);
  SPIWriteByte(0x20000, 0xA5);
  SPIWriteByte(0x1FFFF, 0x77);
  EXPECT_EQ(Content(0x12344, 3),
            (Bytes{0xFF, Is(kDebugBoard) ? uint8_t{0x5A} : uint8_t{0xFF}, 0xFF}));
  EXPECT_EQ(Content(0x1FFFF, 2), (Bytes{0x77, Is(kU2c) ? uint8_t{0xFF} : uint8_t{0xA5}}));
  SPISectorErase(0x2FFFF);
  EXPECT_EQ(Content(0x1FFFF, 2), (Bytes{0x77, 0xFF}));
  SPIBulkErase();
  EXPECT_EQ(At(0x1FFFF), 0xFF);
}

// A U2C adapter sends whole pages, filled up with 0xFF, as many as were asked for; to the debug
// board 0 means the whole file.
TEST_P(Flash, ProgramAndReadBack) {
  const struct {
    const char* name;
    uint32_t address;
    size_t fileSize;
    uint32_t maxSize;
    uint32_t result, u2c, debugBoard;
  } kCases[] = {
      {"file as long as asked", 0x100, 1024, 1024, 1024, 1024, 1024},
      {"file longer", 0, 1000, 300, 512, 512, 300},
      {"file shorter", 0x3000, 700, 0x1000, 700, 0x1000, 700},
      {"file ends on a page", 0, 512, 0x2000, 512, 0x2000, 512},
      {"nothing asked", 0, 512, 0, 0, 0, 512},
      {"one byte", 0x10000, 1, 1, 1, 256, 1},
      {"empty file", 0, 0, 0x1000, 0, 0x1000, 0},
      {"odd size", 0x20000, 0x1234, 0x1234, 0x1234, 0x1300, 0x1234},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    SPIBulkErase();
    const Bytes bytes = RandomBytes(test.fileSize);
    const uint32_t result = Is(kU2c) ? test.u2c : Is(kDebugBoard) ? test.debugBoard : test.result;
    EXPECT_EQ(SPIProgramFromFile(test.address, test.maxSize, FileOf(bytes), 0), result);
    EXPECT_EQ(SPIGetProgress(), 100u);
    Bytes expected(bytes.begin(),
                   bytes.begin() + std::min<std::ptrdiff_t>(result, std::ssize(bytes)));
    EXPECT_EQ(Content(test.address, expected.size()), expected);
    EXPECT_EQ(At(test.address + static_cast<uint32_t>(expected.size())), 0xFF);

    const auto size = static_cast<uint32_t>(expected.size());
    EXPECT_EQ(SPIProgramToFile(test.address, size, out.c_str()), size);
    EXPECT_EQ(SPIGetProgress(), 100u);
    EXPECT_EQ(ReadFile(out), expected);
  }
}

// Pages go out as they are and the flash wraps inside its own; the debug board splits at its pages.
TEST_P(Flash, UnalignedStart) {
  const Bytes bytes = RandomBytes(256);
  SPIProgramFromFile(0x1010, 256, FileOf(bytes), 1);
  EXPECT_EQ(Content(0x1010, 0xF0), Bytes(bytes.begin(), bytes.begin() + 0xF0));
  const bool wraps = !Is(kDebugBoard);
  EXPECT_EQ(Content(wraps ? 0x1000 : 0x1100, 0x10), Bytes(bytes.begin() + 0xF0, bytes.end()));
  EXPECT_EQ(At(wraps ? 0x1100 : 0x1110), 0xFF);
}

// Without the flag programming only clears bits; the debug board erases the chip, flag or not.
TEST_P(Flash, EraseFlag) {
  SPIWriteByte(0x100000, 0);
  const Bytes bytes = RandomBytes(256);
  const Bytes other = RandomBytes(256, 2);
  SPIProgramFromFile(0, 256, FileOf(bytes), 1);
  EXPECT_EQ(At(0x100000), 0xFF);
  SPIProgramFromFile(0, 256, FileOf(other), 0);
  Bytes both(256);
  for (size_t i = 0; i < both.size(); ++i) both[i] = bytes[i] & other[i];
  EXPECT_EQ(Content(0, 256), Is(kDebugBoard) ? other : both);
  if (Is(kDebugBoard)) return;
  // The erase runs when nothing is to be programmed, too.
  SPIProgramFromFile(0, 0, FileOf(other), 1);
  EXPECT_EQ(At(0), 0xFF);
}

TEST_P(Flash, FilesThatCannotBeOpened) {
  SPIWriteByte(0, 0x5A);
  testing::internal::CaptureStdout();
  EXPECT_EQ(SPIProgramToFile(0, 256, folder.File("none/none").c_str()), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  if (!Is(kDebugBoard)) {
    EXPECT_EQ(At(0), 0x5A);
  }
  const uint64_t before = HardwareAccesses();
  EXPECT_EQ(SPIProgramFromFile(0, 256, folder.File("none").c_str(), 1), 0u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  EXPECT_EQ(SPIProgramFromFile(0, 256, folder.File("").c_str(), 1), 0u);  // the folder itself
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\nCan't open the output file.\nCan't open the input file."
            "\nCan't open the input file.");
  EXPECT_EQ(HardwareAccesses(), before);
  EXPECT_EQ(At(0), Is(kDebugBoard) ? 0xFF : 0x5A);  // the chip has been erased by then
}

struct Reports {
  Numbers done;
  Numbers percent;
  size_t stopAfter = SIZE_MAX;
  bool stopWithExport = false;
  uint32_t total = 0;
};

int BRISK_CALL Note(uint32_t done, uint32_t total, void* context) {
  auto& reports = *static_cast<Reports*>(context);
  reports.done.push_back(done);
  reports.percent.push_back(SPIGetProgress());
  reports.total = total;
  // Refused, and does not wait for the lock.
  EXPECT_EQ(I2cWrite(0), 0u);
  EXPECT_EQ(BriskSetDevice(6), 0);
  if (reports.done.size() < reports.stopAfter) return 0;
  if (reports.stopWithExport) SPIStop();
  return reports.stopWithExport ? 0 : 1;
}

// A stop takes effect behind the page under way. A transfer of a U2C adapter runs to its end; to
// the debug board SPIStop means nothing.
TEST_P(Flash, ProgressIsReportedAndCanStop) {
  Reports reports;
  BriskSetProgressCallback(Note, &reports);
  FileOf(RandomBytes(1000));
  const uint32_t whole = Is(kU2c) ? 1024 : 1000;
  const Numbers done = {256, 512, 768, 1000};
  const Numbers behind = {25, 51, 76, 100};  // each page counts already when it is reported
  EXPECT_EQ(SPIProgramFromFile(0, 1000, in.c_str(), 1), whole);
  EXPECT_EQ(reports.done, done);
  EXPECT_EQ(reports.percent, Is(kDebugBoard) ? behind : Numbers({0, 25, 50, 75}));
  EXPECT_EQ(reports.total, 1000u);
  reports = {};
  EXPECT_EQ(SPIProgramToFile(0, 1000, out.c_str()), 1000u);
  EXPECT_EQ(reports.done, done);
  EXPECT_EQ(reports.percent, Is(kDebugBoard | kU2c) ? behind : Numbers({0, 25, 51, 76}));

  for (const bool stopWithExport : {false, true}) {
    const bool stops = !Is(kU2c) && !(stopWithExport && Is(kDebugBoard));
    SPIBulkErase();
    reports = {{}, {}, 2, stopWithExport};
    EXPECT_EQ(SPIProgramFromFile(0, 1000, in.c_str(), 0), stops ? 512u : whole);
    EXPECT_EQ(At(0x200), stops ? 0xFF : ReadFile(in)[0x200]);
    reports = {{}, {}, 2, stopWithExport};
    EXPECT_EQ(SPIProgramToFile(0, 1000, out.c_str()), stops ? 512u : 1000u);
    EXPECT_EQ(ReadFile(out).size(), stops ? 512u : 1000u);
    EXPECT_EQ(SPIGetProgress(), 100u);
  }
  // A stop asked for while nothing runs stops nothing.
  BriskSetProgressCallback(nullptr, nullptr);
  SPIStop();
  EXPECT_EQ(SPIProgramFromFile(0, 1000, in.c_str(), 1), whole);
}

int BRISK_CALL SelectAndStop(uint32_t /*done*/, uint32_t /*total*/, void* calls) {
  ++*static_cast<int*>(calls);
  sim::bench().platform().sharedMemory.Section().bDeviceType = 6;  // another process
  SPIStop();
  BriskSetProgressCallback(nullptr, nullptr);
  return 0;
}

// A stop means the running transfer, whatever another process has selected meanwhile. The callback
// may remove itself.
TEST_P(Flash, StopMeansTheRunningTransfer) {
  int calls = 0;
  BriskSetProgressCallback(SelectAndStop, &calls);
  const Bytes bytes = RandomBytes(0x500);
  EXPECT_EQ(SPIProgramFromFile(0, 0x500, FileOf(bytes), 1),
            Is(kU2c | kDebugBoard) ? 0x500u : 0x100u);
  EXPECT_EQ(calls, 1);
}

int BRISK_CALL StopAt8000(uint32_t done, uint32_t /*total*/, void* percent) {
  *static_cast<uint32_t*>(percent) = SPIGetProgress();
  return done < 0x8000 ? 0 : 1;
}

TEST_P(Flash, LargestSizeDoesNotWrap) {
  if (Is(kU2c)) return;  // would run to its end
  EXPECT_EQ(SPIProgramFromFile(0, UINT32_MAX, FileOf(RandomBytes(0x280)), 1), 0x280u);
  // Percent of a range whose hundredfold has more than 32 bits.
  uint32_t percent = 100;
  BriskSetProgressCallback(StopAt8000, &percent);
  EXPECT_EQ(SPIProgramToFile(0, UINT32_MAX, out.c_str()), 0x8000u);
  EXPECT_EQ(percent, 0u);
}

TEST_P(Flash, BusyBeyondTheWaitEndsSilently) {
  if (Is(kDebugBoard)) return;  // waits for ever
  Connect(",fault=flash-busy");
  const uint64_t before = Milliseconds();
  SPISectorErase(0);
  EXPECT_GE(Milliseconds() - before, 5000u);
  EXPECT_LE(Milliseconds() - before, 5030u);
  // What comes after the wait is done all the same: two more for two pages. A busy flash takes
  // nothing.
  EXPECT_EQ(SPIProgramFromFile(0, 0x200, FileOf(RandomBytes(0x200)), 0), 0x200u);
  EXPECT_GE(Milliseconds() - before, 15000u);
  EXPECT_EQ(At(0), 0xFF);
}

TEST_P(Flash, FullDiskShortensTheFile) {
  Connect(",fault=disk-full:300");
  EXPECT_EQ(SPIProgramToFile(0, 1024, out.c_str()), Is(kDebugBoard) ? 256u : 1024u);
  EXPECT_EQ(ReadFile(out).size(), 300u);
}

TEST_P(Flash, OnTheWires) {
  if (!kHaveSigrok) GTEST_SKIP() << "sigrok-cli runs on the Linux host only";
  const std::string trace = folder.File("lines.vcd");
  Connect(",fault=flash-busy:1,trace=" + trace);
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
  SPIWriteByte(0x012345, 0x5A);
  const Bytes bytes = RandomBytes(600);
  SPIProgramFromFile(0x20000, 600, FileOf(bytes), 0);
  bench().trace().Close();
  // The commands of every selection; bytes sent while the flash answers do not matter.
  const std::string spi = "spi:clk=sck:mosi=mosi:miso=miso:cs=cs";
  std::string commands;
  for (const std::string& line : Decoded(trace, spi, "spi=mosi-transfer")) {
    const std::string code = line.substr(0, 2);
    if (code == "05") continue;
    commands += (commands.empty() ? "" : ", ") + (code == "9F" ? code : line.substr(0, 14));
  }
  const std::string erase = Is(kU2c) ? "06, C7, " : Is(kDebugBoard) ? "" : "06, D8 01 23 45, ";
  const std::string first = "9F, " + erase + "06, 02 01 23 45 5A, ";
  EXPECT_EQ(commands.substr(0, first.size()), first);
  std::map<size_t, uint8_t> written;
  for (const std::string& line : Decoded(trace, spi + ",spiflash", "spiflash=commands")) {
    unsigned address = 0;
    unsigned count = 0;
    int length = 0;
    if (std::sscanf(line.c_str(), "Page program (addr 0x%x, %u bytes): %n", &address, &count,
                    &length) != 2) {
      continue;
    }
    for (size_t i = 0; i < count; ++i) {
      written[address + i] = static_cast<uint8_t>(
          std::stoul(line.substr(static_cast<size_t>(length) + 3 * i, 2), nullptr, 16));
    }
  }
  std::map<size_t, uint8_t> expected = {{0x12345, 0x5A}};
  for (size_t i = 0; i < (Is(kU2c) ? 768u : 600u); ++i) {
    expected[0x20000 + i] = i < bytes.size() ? bytes[i] : 0xFF;
  }
  EXPECT_EQ(written, expected);
}

TEST_F(BenchTest, ProgressBelongsToTheDeviceType) {
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
