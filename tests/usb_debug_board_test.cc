// The debug board: every packet at its library, and on the bench its ports and a link that fails.
#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "support/bench_test.h"
#include "support/calls.h"
#include "support/firmware_folder.h"
#include "support/packet_library.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;
using debug_board::Packet;

Packet Padded(const Bytes& bytes) {
  Packet packet{};
  std::copy(bytes.begin(), bytes.end(), packet.begin());
  return packet;
}

class DebugBoardPackets : public BenchTest {
 protected:
  enum Found { kNothing, kLibraryOnly, kBoard };

  DebugBoardPackets() {
    WriteText("in", ":031");
    Attach(kBoard);
    PacketLibrary::Take();
  }

  // Nothing is waited for, whatever is missing: the port driver and the clock take 72.5 ms.
  static void Attach(Found found) {
    DetachLibrary();
    EXPECT_EQ(sim::ReplaceBench("adapter=lpt"), "");
    PacketLibrary::state = {};
    if (found != kNothing) PacketLibrary::Install(bench(), found == kBoard);
    const uint64_t took = Took(AttachLibrary);
    EXPECT_GE(took, 72'500'000u) << found;
    EXPECT_LT(took, 75'000'000u) << found;
    BriskSetDevice(2);
  }

  const FirmwareFolder folder;
};

// Exchanges as they are written below: the command and behind a stroke the data as it is
// afterwards, both without the zeros that fill the packet.
std::string Shown(const std::vector<PacketLibrary::Exchange>& exchanges) {
  std::string text;
  const auto add = [&text](const char* before, const Packet& packet) {
    size_t used = packet.size();
    while (used > 0 && packet[used - 1] == 0) --used;
    if (used > 0) text += before + Hex(packet.data(), used);
  };
  for (const auto& exchange : exchanges) {
    EXPECT_TRUE(exchange.statusRead);
    add(text.empty() ? "" : " ", exchange.command);
    add("/", exchange.data);
  }
  return text;
}

// Of the flash's status the latch is set and the flash not busy: every wait takes one look.
Packet Reply(const Packet& command) {
  return command[1] == 0x1E ? Padded({0x02}) : Padded({0x91, 0x42, 0x43, 0x44, 0x45});
}

const CallCase kPackets[] = {
    {"SetPortVal 31 FE", "7", "381A31FE"},
    {"GetPortVal 1D 1", "7 91", "3A1B1D/9142434445"},
    {"Lpt_Output 1", "0", "3824A080"},
    {"Lpt_Output C6", "0", "3824A062"},  // bit 7 is dropped
    {"Lpt_Input 1", "0 09", "3A25A0/9142434445"},
    {"Pll_Write A1 B2 1020304 5060708 90A0B0C", "0", "3826A0A1B2010203040506070809170B0C"},
    {"I2c_Start", "", "380017"},
    {"I2c_RStart", "", "380017"},
    {"I2c_Stop", "", "380117"},
    {"I2cWrite 5A", "7", "380517/005A"},
    {"I2c_Tx FFFFFF5A", "0", "380517/005A"},
    {"I2cRead 1 0", "7 42", "3A0717/9142434445"},
    {"I2cRead 1 5", "7 42", "3A060317/9142434445"},
    {"I2c_Rx 1", "0 42", "3A060317/9142434445"},
    {"I2cWriteByte F4 70 5A", "7", "3816/00F400705A"},
    {"I2cReadByte F4 70 1", "7 42", "3A15F40070/9142434445"},
    {"SPIReadID", "914243", "3A22/9142434445"},
    {"SPIReadByte 12345678", "91", "3A1D34567801/9142434445"},
    {"SPIBulkErase", "", "381C 3A1E/02 3821 3A1E/02"},
    {"SPISectorErase 12345678", "", "381C 3A1E/02 3820345678 3A1E/02"},
    // Packets end at pages.
    {"SPIProgramFromFile FE 0 in 0", "4",
     "381C 3A1E/02 3821 3A1E/02 381C 3A1E/02 381F0000FE023A30 3A1E/02 "
     "381C 3A1E/02 381F000100023331 3A1E/02"},
    {"I2cLib_W1Byte 3 1A1 10", "1", "380017 380517/00A0 380517/0010 380117"},
    {"I2cLib_W1ByteR1Byte 0 F234 10 1", "1 42",
     "380017 380517/00F2 380517/0034 380517/0010 380017 380517/00F3 380517/0034 "
     "3A060317/9142434445 380117"},
    {"I2cWriteData 50 10 AABB", "1", "3800050505050117/00005010AABB"},
    {"I2cReadData 50 10 1", "1 42", "38000505000517/000050100051 3A06030117/9142434445"},
    {"I2cReadData 50 - -", "1", "38000517/000051"},
    // The port is read first; ONE is 0x40, ZERO 0x02, and the bit that is always high 0x80.
    {"Sddi_Tx 3 5", "",
     "3A25A0/9142434445 3824A0D2 3824A0D0 3824A090 3824A092 3824A090 3824A0D0 3824A0D2"},
    {"Sddi_Tx 0 1", "", ""},
    {"Sddi_Tx 21 1", "", ""},
};

// Whether a status read is good shows in its bit 0 only; a write phase that fails has no stop.
const CallCase kRefused[] = {
    {"SetPortVal 1 1", "2", "381A0101"},
    {"I2cLib_Write 0 A0 0102 01", "0", "380017 380517/00A0 380117"},
    {"I2cLib_Read 0 A0 1", "0", "380017 380517/00A1 380117"},
    {"I2cLib_WriteRead 0 A0 0102 1", "0", "380017 380517/00A0"},
};

TEST_F(DebugBoardPackets, OfEveryOperation) {
  const auto check = [](uint32_t status, const auto& cases) {
    PacketLibrary::state.status = status;
    for (const CallCase& test : cases) {
      EXPECT_EQ(Call(test.call), test.outcome) << test.call;
      EXPECT_EQ(Shown(PacketLibrary::Take()), test.seen) << test.call;
    }
  };
  PacketLibrary::state.reply = Reply;
  check(7, kPackets);
  check(2, kRefused);
}

// Where a block ends with its packet, the stop comes in a packet of its own, or a position is left
// over that keeps what the packet before had there. Commands that do not fit fail.
TEST_F(DebugBoardPackets, EndsOfBlocks) {
  const struct {
    const char* call;
    const char* result;
    size_t packets;
    const char* last;  // its command
  } kBlocks[] = {{"I2cWriteData A0 10 01*58", "1", 1, nullptr},
                 {"I2cWriteData A0 10 01*59", "1", 2, "380117"},
                 {"I2cWriteData A0 10 01*60", "1", 2, "380117"},
                 {"I2cWriteData A0 10 01*61", "1", 2, "38050117"},
                 {"I2cWriteData A0 10 01*123", "1", 3, "380117"},
                 {"I2cWriteData A0 01*60 -", "1", 2, "380117"},
                 {"I2cWriteData A0 01*61 -", "0", 0, nullptr},
                 {"I2cReadData A0 01*58 1", "1", 2, "3A06030117"},
                 {"I2cReadData A0 01*59 1", "0", 0, nullptr},
                 {"I2cReadData A0 - 60", "1", 2, nullptr},
                 {"I2cReadData A0 - 61", "1", 3, "3A06030117"},
                 {"I2cReadData A0 - 63", "1", 3, "3A06030117"},
                 {"I2cReadData A0 - 64", "1", 3, "3A06030117"},
                 {"I2cReadData A0 - 123", "1", 3, nullptr},
                 {"I2cReadData A0 - 124", "1", 4, "3A06030117"}};
  for (const auto& [call, result, packets, last] : kBlocks) {
    EXPECT_EQ(Call(call).substr(0, 1), result) << call;
    const auto seen = PacketLibrary::Take();
    EXPECT_EQ(seen.size(), packets) << call;
    if (last == nullptr || seen.empty()) continue;
    EXPECT_TRUE(Shown({seen.back()}).starts_with(last)) << call;
  }
}

// A busy flash is asked once a millisecond.
TEST_F(DebugBoardPackets, FlashIsPolledEveryMillisecond) {
  const Bytes answers = {0x00, 0x00, 0x02, 0x03, 0x03, 0x03, 0x00};  // five of them to wait for
  size_t looks = 0;
  PacketLibrary::state.reply = [&](const Packet&) { return Padded({answers.at(looks++)}); };
  EXPECT_EQ(Took([] { SPISectorErase(0); }) / kMs, 5u);
  EXPECT_EQ(looks, answers.size());
}

TEST_F(DebugBoardPackets, AttachAndDetach) {
  Attach(kBoard);
  EXPECT_EQ(PacketLibrary::state.opened, (std::vector<std::string>{"PIPE00", "PIPE01"}));
  EXPECT_EQ(Shown(PacketLibrary::Take()), "381A31FE 381A1D80");
  EXPECT_EQ(DebugText().find("Error"), std::string::npos);
  DetachLibrary();
  EXPECT_EQ(Shown(PacketLibrary::Take()), "381A31");
  EXPECT_EQ(PacketLibrary::state.closed, 3);
}

TEST_F(DebugBoardPackets, WithoutABoard) {
  for (const Found found : {kLibraryOnly, kNothing}) {
    Attach(found);
    const bool named = DebugText().find(
                           "Error: Cannot detect talvo debug board."
                           "       Please unplug & plug your USB cable.") != std::string::npos;
    EXPECT_EQ(named, found == kLibraryOnly);
    EXPECT_EQ(DebugText().find("Error: Load WinIo.dll fail.") != std::string::npos, !named);
    for (const auto& [call, outcome] : {std::pair{"SetPortVal 1 1", "0"},
                                        {"GetPortVal 1 1", "0"},
                                        {"Lpt_Input 1", "0"},
                                        {"I2cWrite 0", "0"},
                                        {"I2cRead 1 0", "0"},
                                        {"I2c_Rx 0", "0"},
                                        {"I2cWriteData A0 00 00*64", "0"},
                                        {"I2cReadData A0 00 64", "0"},
                                        {"I2cLib_WriteRead 0 A0 00 1", "0"},
                                        {"SPIReadID", "0"},
                                        {"SPIReadByte 0", ""},
                                        {"SPIBulkErase", ""},
                                        {"Sddi_Tx 7 13", ""},
                                        {"SPIProgramFromFile 0 0 none 1", "0"},
                                        {"SPIProgramToFile 0 1 none", "0"},
                                        {"I2c_BitIn", "1"}}) {  // a fixed result, board or not
      EXPECT_EQ(Call(call), outcome) << call;
    }
    DetachLibrary();
    EXPECT_TRUE(PacketLibrary::Take().empty());
    EXPECT_EQ(PacketLibrary::state.closed, 0);
  }
}

// The FTDI boards set pins but read none; the timing-controller board has registers of its own.
TEST_F(DebugBoardPackets, ServesThePortsOfOtherDeviceTypes) {
  for (const uint8_t type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
    BriskSetDevice(type);
    Call("SetPortVal 5 6");
    EXPECT_EQ(PacketLibrary::Take().size(), type == 4 || type == 8 ? 0u : 1u) << int{type};
    Call("GetPortVal 5 1");
    EXPECT_EQ(PacketLibrary::Take().size(), type == 4 ? 0u : 1u) << int{type};
  }
}

class DebugBoard : public BenchTest {
 protected:
  DebugBoard() {
    Configure("adapter=debug-board,flash=w25q16");
    BriskSetDevice(2);
  }
};

// One transfer that fails spoils one operation. The board's status byte counts for nothing.
TEST_F(DebugBoard, FaultsOfTheLink) {
  const struct {
    const char* fault;
    uint32_t result;
    const char* port;
    uint64_t seconds;
  } kFaults[] = {{"usb-stall@1", 0, "1 11", 0},    {"usb-stall@2", 0, "1 11", 0},
                 {"usb-stall@3", 0, "1 22", 0},    {"usb-time-out@1", 0, "1 11", 1},
                 {"usb-time-out@2", 0, "1 11", 1}, {"usb-time-out@3", 0, "1 22", 1},
                 {"usb-status@1", 1, "1 22", 0}};
  for (const auto& [fault, result, port, seconds] : kFaults) {
    EXPECT_EQ(Call("SetPortVal 9 11"), "1");
    EXPECT_EQ(bench().SetFault(fault), "");
    uint32_t got = 2;
    EXPECT_EQ(Took([&] { got = SetPortVal(9, 0x22); }) / kMs / 1000, seconds) << fault;
    EXPECT_EQ(got, result) << fault;
    EXPECT_EQ(Call("GetPortVal 9 1"), port) << fault;
    bench().ClearFaults();
  }
  // Of a short reply the rest counts as zeros.
  TemporaryFolder folder;
  WriteFile(folder.File("in"), Bytes(64, 0x5A));
  EXPECT_EQ(SPIProgramFromFile(0, 0, folder.File("in").c_str(), 0), 64u);
  EXPECT_EQ(bench().SetFault("usb-short"), "");
  EXPECT_EQ(SPIProgramToFile(0, 64, folder.File("out").c_str()), 64u);
  Bytes expected(64, 0x5A);
  std::fill(expected.begin() + 32, expected.end(), uint8_t{0});
  EXPECT_EQ(ReadFile(folder.File("out")), expected);
}

TEST_F(DebugBoard, UnpluggedBoardFailsAndHangsNothing) {
  EXPECT_EQ(bench().SetFault("usb-unplug"), "");
  EXPECT_EQ(I2cWrite(0x10), 0u);
  EXPECT_EQ(SetPortVal(1, 1), 0u);
  SPIBulkErase();
  SPIWriteByte(0, 0);
  TemporaryFolder folder;
  EXPECT_EQ(SPIProgramToFile(0, 100, folder.File("out").c_str()), 0u);
  WriteFile(folder.File("in"), Bytes(64, 0x5A));
  EXPECT_EQ(SPIProgramFromFile(0, 64, folder.File("in").c_str(), 0), 0u);
  Configure("adapter=debug-board,fault=usb-unplug");
  EXPECT_NE(DebugText().find("Error: Cannot detect talvo debug board."), std::string::npos);
}

}  // namespace
}  // namespace brisk
