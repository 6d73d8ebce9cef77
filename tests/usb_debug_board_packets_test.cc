// Every packet that goes to the debug board, seen at its library.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "support/bench_test.h"
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

struct Case {
  const char* name;
  std::function<int64_t()> call;
  int64_t result;
  std::vector<std::pair<Bytes, Bytes>> packets;  // command, data as it is afterwards
};

uint8_t byte;
uint32_t word;
const Bytes kReply = {0x91, 0x42, 0x43, 0x44, 0x45};

const std::vector<Case> kCases = {
    {"SetPortVal", [] { return SetPortVal(49, 0xFE); }, 7, {{{0x38, 0x1A, 0x31, 0xFE}, {}}}},
    {"GetPortVal",
     [] { return GetPortVal(29, &byte) == 7 ? byte : -1; },
     0x91,
     {{{0x3A, 0x1B, 29}, kReply}}},
    {"Lpt_Output", [] { return Lpt_Output(0x01); }, 0, {{{0x38, 0x24, 0xA0, 0x80}, {}}}},
    {"Lpt_Output drops bit 7",
     [] { return Lpt_Output(0xC6); },
     0,
     {{{0x38, 0x24, 0xA0, 0x62}, {}}}},
    {"Lpt_Input",
     [] { return Lpt_Input(&byte) == 0 ? byte : -1; },
     0x09,
     {{{0x3A, 0x25, 0xA0}, kReply}}},
    {"Pll_Write",
     [] { return Pll_Write(0xA1, 0xB2, 0x01020304, 0x05060708, 0x090A0B0C); },
     0,
     {{{0x38, 0x26, 0xA0, 0xA1, 0xB2, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0x17, 0x0B, 0x0C}, {}}}},
    {"I2c_Start", [] { return I2c_Start(), 0; }, 0, {{{0x38, 0x00, 0x17}, {}}}},
    {"I2c_RStart", [] { return I2c_RStart(), 0; }, 0, {{{0x38, 0x00, 0x17}, {}}}},
    {"I2c_Stop", [] { return I2c_Stop(), 0; }, 0, {{{0x38, 0x01, 0x17}, {}}}},
    {"I2cWrite", [] { return I2cWrite(0x5A); }, 7, {{{0x38, 0x05, 0x17}, {0, 0x5A}}}},
    {"I2c_Tx", [] { return I2c_Tx(0xFFFFFF5A); }, 0, {{{0x38, 0x05, 0x17}, {0, 0x5A}}}},
    {"I2cRead, more to come",
     [] { return I2cRead(&byte, 0) == 7 ? byte : -1; },
     0x42,
     {{{0x3A, 0x07, 0x17}, kReply}}},
    {"I2cRead, last",
     [] { return I2cRead(&byte, 5) == 7 ? byte : -1; },
     0x42,
     {{{0x3A, 0x06, 0x03, 0x17}, kReply}}},
    {"I2c_Rx",
     [] { return word = 0xFFFFFFFF, I2c_Rx(&word, 1) == 0 ? word : -1; },
     0x42,
     {{{0x3A, 0x06, 0x03, 0x17}, kReply}}},
    {"I2cWriteByte",
     [] { return I2cWriteByte(0xF4, 0x70, 0x5A); },
     7,
     {{{0x38, 0x16}, {0, 0xF4, 0, 0x70, 0x5A}}}},
    {"I2cReadByte",
     [] { return I2cReadByte(0xF4, 0x70, &byte) == 7 ? byte : -1; },
     0x42,
     {{{0x3A, 0x15, 0xF4, 0, 0x70}, kReply}}},
    {"SPIReadID", [] { return SPIReadID(); }, 0x914243, {{{0x3A, 0x22}, kReply}}},
    {"SPIReadByte",
     [] { return SPIReadByte(0x12345678, &word), word; },
     0x91,
     {{{0x3A, 0x1D, 0x34, 0x56, 0x78, 1}, kReply}}},
    {"I2cLib_Write, seven bits",
     [] { return I2cLib_W1Byte(3, 0x01A1, 0x10); },
     1,
     {{{0x38, 0x00, 0x17}, {}},
      {{0x38, 0x05, 0x17}, {0, 0xA0}},
      {{0x38, 0x05, 0x17}, {0, 0x10}},
      {{0x38, 0x01, 0x17}, {}}}},
    {"I2cLib_WriteRead, ten bits",
     [] { return I2cLib_W1ByteR1Byte(0, 0xF234, 0x10, &byte) == 1 ? byte : -1; },
     0x42,
     {{{0x38, 0x00, 0x17}, {}},
      {{0x38, 0x05, 0x17}, {0, 0xF2}},
      {{0x38, 0x05, 0x17}, {0, 0x34}},
      {{0x38, 0x05, 0x17}, {0, 0x10}},
      {{0x38, 0x00, 0x17}, {}},
      {{0x38, 0x05, 0x17}, {0, 0xF3}},
      {{0x38, 0x05, 0x17}, {0, 0x34}},
      {{0x3A, 0x06, 0x03, 0x17}, kReply},
      {{0x38, 0x01, 0x17}, {}}}},
    {"I2cWriteData",
     [] {
       const uint8_t command[] = {0x10};
       const uint8_t data[] = {0xAA, 0xBB};
       return I2cWriteData(0x50, command, 1, data, 2);
     },
     1,
     {{{0x38, 0, 5, 5, 5, 5, 1, 0x17}, {0, 0, 0x50, 0x10, 0xAA, 0xBB}}}},
    {"I2cReadData",
     [] {
       const uint8_t command[] = {0x10};
       return I2cReadData(0x50, command, 1, &byte, 1) == 1 ? byte : -1;
     },
     0x42,
     {{{0x38, 0, 5, 5, 0, 5, 0x17}, {0, 0, 0x50, 0x10, 0, 0x51}}, {{0x3A, 6, 3, 1, 0x17}, kReply}}},
    {"I2cReadData without command or data",
     [] { return I2cReadData(0x50, nullptr, 0, nullptr, 0); },
     1,
     {{{0x38, 0, 5, 0x17}, {0, 0, 0x51}}}},
};

TEST_F(DebugBoardPackets, OfEveryOperation) {
  PacketLibrary::state.status = 7;
  PacketLibrary::state.reply = [](const Packet&) { return Padded(kReply); };
  for (const Case& test : kCases) {
    SCOPED_TRACE(test.name);
    EXPECT_EQ(test.call(), test.result);
    const auto seen = PacketLibrary::Take();
    ASSERT_EQ(seen.size(), test.packets.size());
    for (size_t i = 0; i < seen.size(); ++i) {
      EXPECT_EQ(seen[i].command, Padded(test.packets[i].first)) << i;
      EXPECT_EQ(seen[i].data, Padded(test.packets[i].second)) << i;
      EXPECT_TRUE(seen[i].statusRead) << i;
    }
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

// The lengths around the end of a packet: how many exchanges, and what ends them.
TEST_F(DebugBoardPackets, BlockWritesAtThePacketEdge) {
  const uint8_t command[] = {0x10};
  const Bytes data(200, 0x77);
  struct Edge {
    uint32_t length;
    size_t exchanges;
    size_t stopAt;  // position of the stop in the last packet
    uint8_t left;   // last position of the packet before it
  };
  for (const Edge& edge :
       {Edge{58, 1, 62, 0}, Edge{59, 2, 1, 0x00}, Edge{60, 2, 1, 0x05}, Edge{61, 2, 2, 0x05},
        Edge{121, 2, 62, 0x05}, Edge{122, 3, 1, 0x05}, Edge{123, 3, 1, 0x05}}) {
    SCOPED_TRACE(edge.length);
    EXPECT_EQ(I2cWriteData(0xA0, command, 1, data.data(), edge.length), 1u);
    const auto seen = PacketLibrary::Take();
    ASSERT_EQ(seen.size(), edge.exchanges);
    const Packet& last = seen.back().command;
    EXPECT_EQ(last[edge.stopAt], 0x01);
    EXPECT_EQ(last[edge.stopAt + 1], 0x17);
    if (seen.size() > 1) {
      EXPECT_EQ(seen[seen.size() - 2].command[63], edge.left);
    }
  }
}

TEST_F(DebugBoardPackets, BlockReadsAtThePacketEdge) {
  struct Edge {
    uint32_t length;
    std::vector<Bytes> ends;  // the last opcodes of each reading script
  };
  const Bytes whole = {7, 7};
  const Bytes last = {6, 3, 1, 0x17};
  for (const Edge& edge : {Edge{60, {{7, 6, 3, 1, 0x17}}}, Edge{61, {{7, 0x17}, last}},
                           Edge{62, {{7, 0x17}, last}}, Edge{63, {{7, 0x17}, last}},
                           Edge{64, {whole, last}}, Edge{65, {whole, {7, 6, 3, 1, 0x17}}}}) {
    SCOPED_TRACE(edge.length);
    Bytes data(edge.length);
    I2cReadData(0xA0, nullptr, 0, data.data(), edge.length);
    const auto seen = PacketLibrary::Take();
    ASSERT_EQ(seen.size(), edge.ends.size() + 1);
    for (size_t i = 0; i < edge.ends.size(); ++i) {
      const Bytes& end = edge.ends[i];
      const Packet& packet = seen[i + 1].command;
      const auto at = std::search(packet.begin(), packet.end(), end.begin(), end.end());
      EXPECT_NE(at, packet.end()) << i;
      const auto firstEnd = std::find(packet.begin(), packet.end(), 0x17);
      if (end.back() == 0x17) {
        EXPECT_EQ(at + std::ssize(end) - 1, firstEnd) << i;
      }
    }
  }
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
    EXPECT_LT(bench().clock().Now() - before, 75'000'000u) << found;
  }
}

TEST_F(DebugBoardPackets, AttachAndDetach) {
  DetachLibrary();
  EXPECT_EQ(sim::ReplaceBench("adapter=lpt"), "");
  PacketLibrary::Install(bench());
  AttachLibrary();
  EXPECT_EQ(PacketLibrary::state.opened, (std::vector<std::string>{"PIPE00", "PIPE01"}));
  auto seen = PacketLibrary::Take();
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].command, Padded({0x38, 0x1A, 49, 0xFE}));
  EXPECT_EQ(seen[1].command, Padded({0x38, 0x1A, 29, 0x80}));
  EXPECT_EQ(DebugText().find("Error"), std::string::npos);
  DetachLibrary();
  seen = PacketLibrary::Take();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].command, Padded({0x38, 0x1A, 49, 0}));
  EXPECT_EQ(PacketLibrary::state.closed, 3);
}

void ExpectNothingHappens() {
  const uint8_t bytes[64] = {};
  uint8_t out[64] = {0x55};
  word = 0x55;
  EXPECT_EQ(SetPortVal(1, 1), 0u);
  EXPECT_EQ(GetPortVal(1, out), 0u);
  EXPECT_EQ(Lpt_Input(out), 0u);
  EXPECT_EQ(I2cWrite(0), 0u);
  EXPECT_EQ(I2cRead(out, 0), 0u);
  EXPECT_EQ(I2c_Rx(&word, 0), 0u);
  EXPECT_EQ(I2cWriteData(0xA0, bytes, 1, bytes, 64), 0u);
  EXPECT_EQ(I2cReadData(0xA0, bytes, 1, out, 64), 0u);
  EXPECT_EQ(I2cLib_WriteRead(0, 0xA0, bytes, 1, out, 1), 0);
  EXPECT_EQ(SPIReadID(), 0u);
  SPIReadByte(0, &word);
  EXPECT_EQ(SPIProgramFromFile(0, 0, "none", 1), 0u);
  EXPECT_EQ(SPIProgramToFile(0, 1, "none"), 0u);
  SPIBulkErase();
  Sddi_Tx(7, 0x13);
  EXPECT_EQ(I2c_BitIn(), 1);  // a fixed result, board or not
  EXPECT_EQ(out[0], 0x55);
  EXPECT_EQ(word, 0x55u);
}

TEST_F(DebugBoardPackets, WithoutABoard) {
  Attach(false);
  EXPECT_NE(DebugText().find("Error: Cannot detect talvo debug board."
                             "       Please unplug & plug your USB cable."),
            std::string::npos);
  ExpectNothingHappens();
  DetachLibrary();
  EXPECT_TRUE(PacketLibrary::Take().empty());
  EXPECT_EQ(PacketLibrary::state.closed, 0);
}

TEST_F(DebugBoardPackets, WithoutTheLibrary) {
  Configure("adapter=lpt");
  BriskSetDevice(2);
  EXPECT_NE(DebugText().find("Error: Load WinIo.dll fail."), std::string::npos);
  EXPECT_EQ(DebugText().find("talvo"), std::string::npos);
  ExpectNothingHappens();
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

}  // namespace
}  // namespace brisk
