// The timing-controller board end to end: exported functions over the simulated USB driver to the
// board's RAM, wires and ports.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"

#include "sim/adapters/tcon_board/fx2_adapter.h"
#include "support/bench_test.h"
#include "support/calls.h"
#include "support/firmware_folder.h"
#include "support/usb_board.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

class TconBoard : public BenchTest {
 protected:
  TconBoard() { Configure("adapter=tcon-usb"); }

  void Connect() {
    EXPECT_EQ(BriskSetDevice(4), 1);
    board().seen.clear();
  }

  static sim::Fx2Board& board() {
    return static_cast<sim::Fx2Adapter*>(bench().adapter("tcon-usb"))->board();
  }

  // The vendor requests since the last call: "B3 v7A i2 >10 20" or "AE v70 i0 <1".
  static std::vector<std::string> Requests() {
    std::vector<std::string> texts;
    for (const auto& [setup, data] : std::exchange(board().seen, {})) {
      char text[400];
      int length = std::snprintf(text, sizeof text, "%02X v%X i%d %c%d", setup.request, setup.value,
                                 setup.index, setup.in() ? '<' : '>', setup.length);
      for (size_t i = 0; i < std::min<size_t>(data.size(), 4); ++i) {
        length += std::snprintf(text + length, sizeof text - static_cast<size_t>(length), " %02X",
                                data[i]);
      }
      texts.emplace_back(text);
    }
    return texts;
  }

  using Texts = std::vector<std::string>;

  const FirmwareFolder folder;
};

// The value of a port read is that of the request before it. A channel switches the bus speed,
// which at the start is that of channel 2, and does nothing else.
const struct {
  const char* call;
  const char* outcome;
  std::vector<std::string> requests;
} kRequests[] = {
    {"I2cWriteByte F4 70 5A", "1", {"A4 v7A i0 >0", "A2 v70 i0 >1 5A"}},
    {"I2cReadByte F4 70 1", "1 5A", {"A4 v7A i0 >0", "AE v70 i0 <1"}},
    {"I2cSetClockRate 190", "", {"AB v0 i0 >0"}},
    {"I2cSetClockRate 18F", "", {"AA v0 i0 >0"}},
    {"SetPortVal 21 A5", "1", {"C1 vA5 i33 >0"}},
    {"GetPortVal 21 1", "1 A5", {"C2 vA5 i33 <1"}},
    {"I2cLib_Read 2 F4 1", "0", {}},
    {"I2cLib_W1Byte 11 F4 1", "0", {"AA v0 i0 >0"}},
    {"I2cLib_W2Bytes 11 F4 1 2", "0", {}},
    {"I2cLib_W1ByteR1Byte 2 F4 1 1", "0", {"AB v0 i0 >0"}},
    {"I2cLib_Write 3 F4 01 -", "0", {}},
    {"I2cLib_WriteRead 10 F4 01 1", "0", {"AA v0 i0 >0"}},
    // The packets of a block: request code, index and length of each.
    {"I2cWriteData F4 00 11*63", "1", {"B1 v7A i0 >64 00 11 11 11"}},
    {"I2cWriteData F4 00 11*64", "1", {"B3 v7A i0 >64 00 11 11 11", "B7 v7A i64 >1 11"}},
    {"I2cWriteData F4 00 11*128",
     "1",
     {"B3 v7A i0 >64 00 11 11 11", "B5 v7A i64 >64 11 11 11 11", "B7 v7A i128 >1 11"}},
    {"I2cWriteData F4 - -", "1", {}},
    {"I2cReadData F4 0001 3", "1 111111", {"B3 v7A i2 >2 00 01", "B2 v7A i3 <3"}},
    {"I2cReadData F4 11*130 -",
     "1",
     {"B3 v7A i130 >64 11 11 11 11", "B5 v7A i64 >64 11 11 11 11", "B5 v7A i128 >2 11 11"}},
};

TEST_F(TconBoard, RequestsOfEveryOperation) {
  Connect();
  for (const auto& [call, outcome, requests] : kRequests) {
    EXPECT_EQ(Call(call), outcome) << call;
    EXPECT_EQ(Requests(), requests) << call;
  }
  EXPECT_EQ(board().port(0x21), 0xA5);
  EXPECT_EQ(Call("I2cReadData F4 - 129").substr(0, 2), "1 ");
  EXPECT_EQ(Requests(), (Texts{"B4 v7A i129 <64", "B6 v7A i64 <64", "B8 v7A i128 <1"}));
}

// A register access is tried three times, a block ends at its failing packet. A short answer is no
// error to the driver: what did not come counts as 0.
TEST_F(TconBoard, RetriesAndFailures) {
  const struct {
    const char* fault;
    const char* call;
    const char* outcome;
    size_t requests;
  } kCases[] = {{"", "I2cReadByte 20 1 1", "0 00", 6},
                {"", "I2cWriteByte 20 1 2", "0", 6},
                {"usb-stall@2", "I2cWriteByte F4 1 2", "1", 4},
                {"usb-stall@2", "I2cWriteData F4 - 00*200", "0", 2},
                // The data moved, the driver reports an error.
                {"usb-status", "SetPortVal 1 1", "0", 1},
                {"usb-status", "GetPortVal 1 1", "0", 1},
                {"usb-short", "I2cReadByte F4 40 1", "1 00", 2}};
  Connect();
  for (const auto& [fault, call, outcome, requests] : kCases) {
    EXPECT_EQ(*fault == 0 ? "" : bench().SetFault(fault), "");
    EXPECT_EQ(Call(call), outcome) << fault << ' ' << call;
    EXPECT_EQ(Requests().size(), requests) << fault << ' ' << call;
    bench().ClearFaults();
  }
  EXPECT_EQ(Call("I2cWriteData F4 40 77*66"), "1");
  bench().SetFault("usb-short");
  Bytes expected(66, 0x77);
  expected[63] = expected[65] = 0;  // the last bytes of the two packets
  EXPECT_EQ(Call("I2cReadData F4 40 66"), "1 " + Hex(expected.data(), 66));
}

TEST_F(TconBoard, ATransferWithoutAnswerEndsAfterItsTimeOut) {
  Connect();
  bench().SetFault("usb-time-out@1");
  EXPECT_EQ(Took([] { EXPECT_EQ(SetPortVal(1, 1), 0u); }) / kMs, 50u);
  EXPECT_EQ(SetPortVal(1, 1), 1u);
}

TEST_F(TconBoard, Connecting) {
  EXPECT_EQ(I2cWriteByte(0xF4, 0x70, 1), 0u);  // device type 0: nothing is connected
  EXPECT_EQ(BriskSetDevice(4), 1);
  EXPECT_EQ(board().ram(1), 0x01);
  EXPECT_NE(DebugText().find("0 : 0000020100\n"), std::string::npos);

  // Gone: connected stays 1 for the process, the operations fail.
  bench().SetFault("usb-unplug");
  EXPECT_EQ(BriskSetDevice(4), 1);
  EXPECT_EQ(SetPortVal(1, 1), 0u);

  Configure("adapter=tcon-usb,fault=usb-unplug");
  EXPECT_EQ(BriskSetDevice(4), 0);
  for (const auto& [call, outcome] : {std::pair{"GetPortVal 1 1", "0"},
                                      {"I2cReadByte F4 70 1", "0 00"},
                                      {"I2cSetClockRate 190", ""},
                                      {"SPIReadID", "0"}}) {
    EXPECT_EQ(Call(call), outcome) << call;
  }
}

TEST_F(TconBoard, OperationsConnectByThemselves) {
  bench().platform().sharedMemory.Section().bDeviceType = 4;
  EXPECT_EQ(SetPortVal(3, 4), 1u);
  EXPECT_EQ(board().port(3), 4);
}

TEST_F(TconBoard, AMissingFirmwareFileIsNamed) {
  std::filesystem::remove("firmware.hex");
  EXPECT_EQ(BriskSetDevice(4), 1);
  const std::string path = (std::filesystem::current_path() / "firmware.hex").string();
  EXPECT_NE(DebugText().find("Can't open the firmware file " + path + "\n"), std::string::npos);
  for (const auto& [setup, data] : board().seen) EXPECT_NE(setup.request, 0xA0);
  EXPECT_EQ(I2cWriteByte(0xF4, 1, 1), 0u);  // no firmware answers
}

// Images as srec_cat writes them.
struct Image {
  const char* name;
  const char* filters;  // of srec_cat, behind "in.bin -binary"
  const char* output;   // behind "-intel"
  const char* holds;    // the beginning of a record that the image is there for
  std::function<std::string(std::string)> edit;
};

using Places = std::vector<std::pair<unsigned, size_t>>;

class FirmwareImages : public TconBoard, public testing::WithParamInterface<Image> {
 protected:
  // Writes firmware.hex, and low.bin and high.bin: what the two kinds of RAM must hold then, from
  // srec_cat again.
  void Make() {
    WriteFile("in.bin", RandomBytes(0x2400));
    const std::string make = std::string("srec_cat in.bin -binary ") + GetParam().filters;
    const std::string commands[] = {
        make + " -o out.hex -intel " + GetParam().output,
        make + " -fill 0x00 0 0x2000 -crop 0 0x2000 -o low.bin -binary",
        make + " -crop 0x2000 0x10000 -offset -0x2000 -o high.bin -binary"};
    for (const std::string& command : commands) ASSERT_EQ(std::system(command.c_str()), 0);
    const Bytes bytes = ReadFile("out.hex");
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find(GetParam().holds), std::string::npos);
    WriteText("firmware.hex", GetParam().edit(text));
  }

  // The chunks that the records of out.hex make between two addresses.
  static Places Chunks(unsigned low, unsigned high) {
    Places chunks;
    unsigned next = 0x10000;
    std::ifstream file("out.hex");
    for (std::string line; std::getline(file, line);) {
      unsigned count = 0;
      unsigned address = 0;
      unsigned type = 0;
      EXPECT_EQ(std::sscanf(line.c_str(), ":%2x%4x%2x", &count, &address, &type), 3);
      const unsigned begin = std::max(address, low);
      const unsigned end = std::min(address + count, high);
      if (type != 0 || begin >= end) continue;
      if (begin != next || chunks.back().second + end - begin >= 4096)
        chunks.emplace_back(begin, 0);
      chunks.back().second += end - begin;
      next = end;
    }
    return chunks;
  }

  // The downloads with this request that the board has seen, and forgets.
  static std::vector<sim::Fx2Board::Seen> Loads(uint8_t request) {
    std::vector<sim::Fx2Board::Seen> loads;
    for (const auto& each : std::exchange(board().seen, {})) {
      if (each.setup.request == request) loads.push_back(each);
    }
    return loads;
  }

  static Places PlacesOf(const std::vector<sim::Fx2Board::Seen>& loads) {
    Places places;
    for (const auto& load : loads) places.emplace_back(load.setup.value, load.data.size());
    return places;
  }

  static Bytes Ram(uint32_t begin, size_t size) {
    Bytes bytes;
    for (uint32_t i = 0; i < size; ++i) bytes.push_back(board().ram(begin + i));
    return bytes;
  }
};

std::string AsIs(std::string text) { return text; }
std::string Lower(std::string text) {
  for (char& letter : text) letter = static_cast<char>(std::tolower(letter));
  return text;
}
std::string EndLines(const std::string& text, const std::string& with) {
  return std::regex_replace(text, std::regex("\n"), with);
}
std::string CrLf(const std::string& text) { return EndLines(text, "\r\n"); }
std::string Comments(const std::string& text) {
  return "// firmware\n\n" + EndLines(text, " // note\n") + "  \n//\n";
}

const Image kImages[] = {
    {"Whole", "", "-address_length=2", "", AsIs},
    {"LongRecords", "", "-output_block_size=255", ":FF", AsIs},
    {"CrossingTheEnd", "-offset 0x0008", "-output_block_size=24", ":181FF000", AsIs},
    {"Gaps", "-exclude 0x100 0x180 -exclude 0x1000 0x1001", "", ":20100100", AsIs},
    {"LowerCase", "", "", "", Lower},
    {"CarriageReturns", "", "", "", CrLf},
    {"Commented", "", "", "", Comments},
    {"ExtendedLinear", "", "-address_length=4", ":02000004", AsIs},
    {"ExtendedSegments", "", "-address_length=3", ":02000002", AsIs},
};

INSTANTIATE_TEST_SUITE_P(Made, FirmwareImages, testing::ValuesIn(kImages),
                         [](const auto& image) { return image.param.name; });

TEST_P(FirmwareImages, ArriveInRam) {
  if (std::system("srec_cat --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no srec_cat";
  Make();
  EXPECT_EQ(BriskSetDevice(4), 1);
  EXPECT_EQ(Ram(0, 0x2000), ReadFile("low.bin"));
  EXPECT_TRUE(board().FirmwareRuns());
  EXPECT_EQ(DebugText().find("left out"), std::string::npos);

  // The CPU is held, the chunks follow, the CPU runs.
  const auto loads = Loads(0xA0);
  Places expected = Chunks(0, 0x2000);
  EXPECT_GE(expected.size(), 3u);
  expected.insert(expected.begin(), {0xE600, 1});
  expected.emplace_back(0xE600, 1);
  EXPECT_EQ(PlacesOf(loads), expected);
  EXPECT_EQ(loads.front().data, Bytes{1});
  EXPECT_EQ(loads.back().data, Bytes{0});

  // The second mode: what lies above, by the firmware that runs.
  tcon_board::UsbLink link;
  EXPECT_TRUE(link->Connect());
  board().seen.clear();
  EXPECT_TRUE(link->DownloadFirmware("firmware.hex", tcon_board::RamKind::kExternal));
  EXPECT_EQ(PlacesOf(Loads(0xA3)), Chunks(0x2000, 0x10000));
  const Bytes high = ReadFile("high.bin");
  EXPECT_GE(high.size(), 0x400u);
  EXPECT_EQ(Ram(0x2000, high.size()), high);
}

// The second mode leaves the CPU alone: the running firmware fills the external RAM.
TEST_F(TconBoard, ExternalRam) {
  Connect();
  WriteText("more.hex", ":041FFE0001020304D5\n:0230000005067F\n");
  tcon_board::UsbLink link;
  EXPECT_FALSE(link->DownloadFirmware("more.hex", tcon_board::RamKind::kExternal));  // no board yet
  EXPECT_TRUE(link->Connect());
  board().seen.clear();
  EXPECT_FALSE(link->DownloadFirmware("none.hex", tcon_board::RamKind::kExternal));
  EXPECT_TRUE(link->DownloadFirmware("more.hex", tcon_board::RamKind::kExternal));
  EXPECT_EQ(Requests(), (Texts{"A3 v2000 i0 >2 03 04", "A3 v3000 i0 >2 05 06"}));
}

TEST_F(TconBoard, MalformedRecordsAreLeftOut) {
  WriteText("firmware.hex",
            ":0100000011EE\n"
            ":010001002\n"     // odd digits, shorter than its count
            ":0200020033\n"    // shorter than its count
            ":0100030044B\n"   // an odd number of digits
            ":01000400GG77\n"  // not hexadecimal
            "0100050055A5\n"   // no colon
            ":0100060066\n"    // no checksum: not looked at
            ":00000001FF\n");
  EXPECT_EQ(BriskSetDevice(4), 1);
  EXPECT_EQ(board().ram(0), 0x11);
  EXPECT_EQ(board().ram(6), 0x66);
  for (uint32_t address = 1; address < 6; ++address) EXPECT_EQ(board().ram(address), 0) << address;
  for (const int line : {2, 3, 4, 5, 6}) {
    EXPECT_NE(DebugText().find("line " + std::to_string(line) + ":"), std::string::npos) << line;
  }
  EXPECT_NE(DebugText().find("0 : 000011\n1 : 000666\n"), std::string::npos);
  EXPECT_EQ(DebugText().find("line 7:"), std::string::npos);
}

}  // namespace
}  // namespace brisk
