// The debug board: every packet at its library, and on the bench its ports and a link that fails.
#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "sim/adapters/debug_board/debug_board_adapter.h"
#include "support/bench_test.h"
#include "support/calls.h"
#include "support/files.h"
#include "support/packet_library.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;
using Packet = PacketLibrary::Packet;

Packet Padded(const Bytes& bytes) {
  Packet packet{};
  std::copy(bytes.begin(), bytes.end(), packet.begin());
  return packet;
}

class DebugBoardPackets : public BenchTest {
 protected:
  DebugBoardPackets() { Attach(true); }

  void Attach(bool withBoard) {
    DetachLibrary();
    EXPECT_EQ(sim::ReplaceBench("adapter=lpt"), "");
    PacketLibrary::Install(bench(), withBoard);
    AttachLibrary();
    BriskSetDevice(2);
    if (withBoard) PacketLibrary::Take();
  }
};

uint8_t byte;

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
    {"I2cLib_W1Byte 3 1A1 10", "1", "380017 380517/00A0 380517/0010 380117"},
    {"I2cLib_W1ByteR1Byte 0 F234 10 1", "1 42",
     "380017 380517/00F2 380517/0034 380517/0010 380017 380517/00F3 380517/0034 "
     "3A060317/9142434445 380117"},
    {"I2cWriteData 50 10 AABB", "1", "3800050505050117/00005010AABB"},
    {"I2cReadData 50 10 1", "1 42", "38000505000517/000050100051 3A06030117/9142434445"},
    {"I2cReadData 50 - -", "1", "38000517/000051"},
};

TEST_F(DebugBoardPackets, OfEveryOperation) {
  PacketLibrary::state.status = 7;
  PacketLibrary::state.reply = [](const Packet&) { return Padded({0x91, 0x42, 0x43, 0x44, 0x45}); };
  for (const CallCase& test : kPackets) {
    EXPECT_EQ(Call(test.call), test.outcome) << test.call;
    EXPECT_EQ(Shown(PacketLibrary::Take()), test.seen) << test.call;
  }
}

// Whether a status read is good shows in its bit 0 only.
TEST_F(DebugBoardPackets, TransactionsEndWhereAByteFails) {
  const uint8_t bytes[] = {1, 2};
  PacketLibrary::state.status = 2;
  EXPECT_EQ(I2cLib_Write(0, 0xA0, bytes, 2, bytes, 1), 0);
  EXPECT_EQ(PacketLibrary::Take().size(), 3u);  // start, address, stop
  EXPECT_EQ(I2cLib_Read(0, 0xA0, &byte, 1), 0);
  EXPECT_EQ(PacketLibrary::Take().size(), 3u);
  EXPECT_EQ(I2cLib_WriteRead(0, 0xA0, bytes, 2, &byte, 1), 0);
  EXPECT_EQ(PacketLibrary::Take().size(), 2u);  // no stop
  EXPECT_EQ(SetPortVal(1, 1), 2u);
}

// Every packet of blocks of every length, by digest. At their ends the stop comes in a packet of
// its own, or a position is left over that keeps what the packet before had there.
TEST_F(DebugBoardPackets, BlocksOfEveryLength) {
  const uint8_t command[] = {0x10};
  const Bytes data = RandomBytes(200);
  Bytes received(200);
  uint32_t written = Digest(Bytes{});
  uint32_t read = written;
  for (uint32_t length = 0; length <= 200; ++length) {
    EXPECT_EQ(I2cWriteData(0xA0, command, 1, data.data(), length), 1u);
    const std::string writes = Shown(PacketLibrary::Take());
    EXPECT_EQ(std::count(writes.begin(), writes.end(), ' '), length < 59 ? 0 : (length + 4) / 63)
        << length;
    const std::string end = length == 61 ? "38050117" : "380117";
    if (length >= 59 && length <= 61) {
      EXPECT_EQ(writes.find(end), writes.rfind(' ') + 1);
    }
    written = Digest(writes, written);
    I2cReadData(0xA0, nullptr, 0, received.data(), length);
    read = Digest(Shown(PacketLibrary::Take()), read);
  }
  EXPECT_EQ(written, 0xA6B19149u);
  EXPECT_EQ(read, 0x10FB9404u);
}

TEST_F(DebugBoardPackets, CommandsThatDoNotFitFail) {
  const Bytes command(61, 1);
  EXPECT_EQ(I2cWriteData(0xA0, command.data(), 61, nullptr, 0), 0u);
  EXPECT_EQ(I2cReadData(0xA0, command.data(), 59, &byte, 1), 0u);
  EXPECT_TRUE(PacketLibrary::Take().empty());
  EXPECT_EQ(I2cWriteData(0xA0, command.data(), 60, nullptr, 0), 1u);
  EXPECT_EQ(I2cReadData(0xA0, command.data(), 58, &byte, 1), 1u);
}

TEST_F(DebugBoardPackets, WordsOnThePicturePort) {
  uint8_t output = 0x9C;  // as the board has it
  PacketLibrary::state.reply = [&](const Packet&) { return Padded({output}); };
  Sddi_Tx(3, 0b101);
  Bytes values;
  for (const auto& exchange : PacketLibrary::Take()) {
    if (exchange.command[1] == 0x24) values.push_back(exchange.command[3]);
  }
  // Mirrored: ONE is 0x40, ZERO 0x02, and the bit that is always high 0x80. 0x9C keeps 0x1C.
  EXPECT_EQ(values, (Bytes{0xDE, 0xDC, 0x9C, 0x9E, 0x9C, 0xDC, 0xDE}));
  Sddi_Tx(0, 1);
  Sddi_Tx(33, 1);
  EXPECT_TRUE(PacketLibrary::Take().empty());
}

// A flash of which only the status matters: every operation takes two looks at it.
TEST_F(DebugBoardPackets, FlashProgrammingIsSplitAtPages) {
  int looks = 0;
  PacketLibrary::state.reply = [&](const Packet& command) {
    if (command[1] != 0x1E) return Packet{};
    return Padded({static_cast<uint8_t>(++looks % 4 == 1 ? 0x00
                                        : looks % 4 == 2 ? 0x02
                                        : looks % 4 == 3 ? 0x03
                                                         : 0x00)});
  };
  TemporaryFolder folder;
  const Bytes bytes = RandomBytes(100);
  WriteFile(folder.File("in"), bytes);
  EXPECT_EQ(SPIProgramFromFile(0xF0, 0, folder.File("in").c_str(), 0), 100u);
  EXPECT_EQ(SPIGetProgress(), 100u);
  std::vector<Bytes> commands;
  for (const auto& exchange : PacketLibrary::Take()) {
    const Packet& command = exchange.command;
    if (command[1] == 0x1E) continue;
    commands.emplace_back(command.begin(), command.begin() + (command[1] == 0x1F ? 6 : 2));
  }
  EXPECT_EQ(commands, (std::vector<Bytes>{{0x38, 0x1C},
                                          {0x38, 0x21},
                                          {0x38, 0x1C},
                                          {0x38, 0x1F, 0, 0, 0xF0, 16},
                                          {0x38, 0x1C},
                                          {0x38, 0x1F, 0, 1, 0, 58},
                                          {0x38, 0x1C},
                                          {0x38, 0x1F, 0, 1, 58, 26}}));
  EXPECT_EQ(looks, 16);
}

TEST_F(DebugBoardPackets, AFlashWaitEndsWithTheBoard) {
  PacketLibrary::state.status = 0;
  SPIBulkErase();
  SPIWriteByte(0, 0);
  EXPECT_LE(PacketLibrary::Take().size(), 8u);
}

// A busy flash is asked once a millisecond.
TEST_F(DebugBoardPackets, FlashIsPolledEveryMillisecond) {
  const Bytes answers = {0x00, 0x00, 0x02, 0x03, 0x03, 0x03, 0x00};  // five of them to wait for
  size_t looks = 0;
  PacketLibrary::state.reply = [&](const Packet&) { return Padded({answers.at(looks++)}); };
  const uint64_t before = bench().clock().Now();
  SPISectorErase(0);
  EXPECT_EQ((bench().clock().Now() - before) / 1000, 5000u);
  EXPECT_EQ(looks, answers.size());
}

// Nothing is waited for at attach, whatever is missing: the port driver and the clock take 72.5 ms.
TEST_F(DebugBoardPackets, AttachTime) {
  for (const int found : {0, 1, 2}) {  // nothing, the library, a board
    DetachLibrary();
    EXPECT_EQ(sim::ReplaceBench("adapter=lpt"), "");
    if (found != 0) PacketLibrary::Install(bench(), found == 2);
    const uint64_t before = bench().clock().Now();
    AttachLibrary();
    const uint64_t took = bench().clock().Now() - before;
    EXPECT_GE(took, 72'500'000u) << found;
    EXPECT_LT(took, 75'000'000u) << found;
  }
}

TEST_F(DebugBoardPackets, AttachAndDetach) {
  DetachLibrary();
  EXPECT_EQ(sim::ReplaceBench("adapter=lpt"), "");
  PacketLibrary::Install(bench());
  AttachLibrary();
  EXPECT_EQ(PacketLibrary::state.opened, (std::vector<std::string>{"PIPE00", "PIPE01"}));
  EXPECT_EQ(Shown(PacketLibrary::Take()), "381A31FE 381A1D80");
  EXPECT_EQ(DebugText().find("Error"), std::string::npos);
  DetachLibrary();
  EXPECT_EQ(Shown(PacketLibrary::Take()), "381A31");
  EXPECT_EQ(PacketLibrary::state.closed, 3);
}

// Whether the board is missing or its library.
TEST_F(DebugBoardPackets, WithoutABoard) {
  for (const bool library : {true, false}) {
    if (library) {
      Attach(false);
    } else {
      Configure("adapter=lpt");
      BriskSetDevice(2);
    }
    const bool named = DebugText().find(
                           "Error: Cannot detect talvo debug board."
                           "       Please unplug & plug your USB cable.") != std::string::npos;
    EXPECT_EQ(named, library);
    EXPECT_EQ(DebugText().find("Error: Load WinIo.dll fail.") != std::string::npos, !library);
    for (const CallCase& test : {CallCase{"SetPortVal 1 1", "0", ""},
                                 {"GetPortVal 1 1", "0", ""},
                                 {"Lpt_Input 1", "0", ""},
                                 {"I2cWrite 0", "0", ""},
                                 {"I2cRead 1 0", "0", ""},
                                 {"I2c_Rx 0", "0", ""},
                                 {"I2cWriteData A0 00 00*64", "0", ""},
                                 {"I2cReadData A0 00 64", "0", ""},
                                 {"I2cLib_WriteRead 0 A0 00 1", "0", ""},
                                 {"SPIReadID", "0", ""},
                                 {"SPIReadByte 0", "", ""},
                                 {"SPIBulkErase", "", ""},
                                 {"Sddi_Tx 7 13", "", ""},
                                 {"I2c_BitIn", "1", ""}}) {  // a fixed result, board or not
      EXPECT_EQ(Call(test.call), test.outcome) << test.call;
    }
    EXPECT_EQ(SPIProgramFromFile(0, 0, "none", 1), 0u);
    EXPECT_EQ(SPIProgramToFile(0, 1, "none"), 0u);
    DetachLibrary();
    EXPECT_TRUE(PacketLibrary::Take().empty());
    EXPECT_EQ(PacketLibrary::state.closed, 0);
  }
}

TEST_F(DebugBoardPackets, ServesThePortsOfOtherDeviceTypes) {
  for (const uint8_t type : {0, 1, 2, 3, 5, 6, 7, 9, 10}) {
    BriskSetDevice(type);
    SetPortVal(5, 6);
    GetPortVal(5, &byte);
    EXPECT_EQ(PacketLibrary::Take().size(), 2u) << int{type};
  }
  // The FTDI boards set pins but read none; the timing-controller board has registers of its own.
  for (const auto& [type, reads] : {std::pair<uint8_t, size_t>{8, 1}, {4, 0}}) {
    BriskSetDevice(type);
    SetPortVal(5, 6);
    EXPECT_TRUE(PacketLibrary::Take().empty()) << int{type};
    GetPortVal(5, &byte);
    EXPECT_EQ(PacketLibrary::Take().size(), reads) << int{type};
  }
}

class DebugBoard : public BenchTest {
 protected:
  DebugBoard() {
    Configure("adapter=debug-board,flash=w25q16");
    BriskSetDevice(2);
  }

  static sim::DebugBoardAdapter& board() {
    return *static_cast<sim::DebugBoardAdapter*>(bench().adapter("debug-board"));
  }
};

TEST_F(DebugBoard, PortsAtAttachAndDetach) {
  EXPECT_EQ(board().port(49), 0xFE);
  EXPECT_EQ(board().port(29), 0x80);
  EXPECT_EQ(board().openHandles, 3);
  board().SetPort(7, 0x5A);
  uint8_t value = 0;
  EXPECT_EQ(GetPortVal(7, &value), 1u);
  EXPECT_EQ(value, 0x5A);
  DetachLibrary();
  EXPECT_EQ(board().port(49), 0);
  EXPECT_EQ(board().openHandles, 0);
}

// One transfer that fails spoils one operation. The board's status byte counts for nothing.
TEST_F(DebugBoard, FaultsOfTheLink) {
  struct Case {
    const char* fault;
    uint32_t result;
    uint8_t port;
    uint64_t seconds;
  };
  for (const Case& test : {Case{"usb-stall@1", 0, 0x11, 0},
                           {"usb-stall@2", 0, 0x11, 0},
                           {"usb-stall@3", 0, 0x22, 0},
                           {"usb-time-out@1", 0, 0x11, 1},
                           {"usb-time-out@2", 0, 0x11, 1},
                           {"usb-time-out@3", 0, 0x22, 1},
                           {"usb-status@1", 1, 0x22, 0}}) {
    SCOPED_TRACE(test.fault);
    board().SetPort(9, 0x11);
    EXPECT_EQ(bench().SetFault(test.fault), "");
    const uint64_t before = bench().clock().Now();
    EXPECT_EQ(SetPortVal(9, 0x22), test.result);
    EXPECT_EQ((bench().clock().Now() - before) / 1'000'000'000, test.seconds);
    EXPECT_EQ(board().port(9), test.port);
    EXPECT_EQ(SetPortVal(9, 0x33), 1u);
    EXPECT_EQ(board().port(9), 0x33);
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
