// The bytes that each operation sends over USB, transfer by transfer, written down from the data
// sheets' command descriptions.
#include <gtest/gtest.h>
#include <string>

#include "sim/board/timing_controller.h"
#include "support/files.h"
#include "support/ftdi_bench.h"
#include "support/sigrok.h"

namespace brisk {
namespace {

const ByteVector kReadAck = {0x80, 0x00, 0x11, 0x27, 0x00, 0x87};  // value as after START
const ByteVector kDriveSda = {0x80, 0x00, 0x13};

ByteVector Start(unsigned hold, unsigned low, uint8_t gpio = 0) {
  return Times(hold, Step(0x03 | gpio)) + Times(low, Step(0x01 | gpio)) + Step(gpio);
}
ByteVector Stop(unsigned low, unsigned high, uint8_t gpio = 0) {
  return Times(low, Step(0x01 | gpio)) + Times(high, Step(0x03 | gpio)) + Step(0x03 | gpio, 0x10);
}
ByteVector Out(uint8_t byte) { return {0x11, 0x00, 0x00, byte}; }

class FtdiBytes : public FtdiTest {
 protected:
  FtdiBytes() { Connect("ft2232c"); }
  static const char* NameOf(const std::string& adapter) {
    return adapter == "ft2232h" ? kHiSpeed : kFullSpeed;
  }
  static uint32_t Opened(const std::string& adapter, const std::string& more = "") {
    Connect(adapter, more);
    return Ready(adapter == "ft2232h" ? OpenHiSpeed() : OpenFullSpeed());
  }
};

TEST_F(FtdiBytes, Initialise) {
  const uint32_t handle = OpenFullSpeed();
  EXPECT_GE(Took([&] { EXPECT_EQ(I2C_InitDevice(handle, 0x1234), 0u); }), 100 * kMs);
  Writes sent = Sent();
  // The first command is repeated until its echo is there.
  EXPECT_GE(std::erase(sent, ByteVector{0xAA}), 1u);
  EXPECT_EQ(sent, (Writes{{0xAB},
                          {0x80, 0x13, 0x13, 0x82, 0x0F, 0x0F},
                          {0x86, 0x34, 0x12},
                          {0x85},
                          {0x82, 0x00, 0x03}}));
  uint8_t latency = 0;
  EXPECT_EQ(I2C_GetDeviceLatencyTimer(handle, &latency), 0u);
  EXPECT_EQ(latency, 2u);
}

TEST_F(FtdiBytes, InitialiseStopsAtTheFirstFailureButSetsThePins) {
  const struct {
    const char* fault;
    uint32_t status;
  } kCases[] = {{"d2xx-fails:FT_ResetDevice", 4},
                {"d2xx-fails:FT_SetUSBParameters", 4},
                {"d2xx-fails:FT_SetChars", 4},
                {"d2xx-fails:FT_SetTimeouts", 4},
                {"d2xx-fails:FT_SetLatencyTimer", 4},
                {"d2xx-fails:FT_SetBitMode@2", 4},
                {"d2xx-fails:FT_Write@1", 21},  // of the echo test: a failed synchronisation, too
                {"ftdi-no-answers", 21}};
  for (const auto& [fault, status] : kCases) {
    Connect("ft2232c");
    const uint32_t handle = OpenFullSpeed();
    EXPECT_EQ(bench().SetFault(fault), "");
    const auto initialise = [&, expected = status] {
      EXPECT_EQ(I2C_InitDevice(handle, 59), expected);
    };
    EXPECT_LT(Took(initialise), 6000 * kMs) << fault;
    EXPECT_EQ(Sent().back(), (ByteVector{0x82, 0x00, 0x03})) << fault;
  }
  EXPECT_EQ(I2C_InitDevice(OpenFullSpeed(), 65536), 34u);
  EXPECT_TRUE(Sent().empty());
  Connect("ft2232h");
  EXPECT_EQ(I2C_InitDevice(OpenHiSpeed(), 65536), 34u);
  EXPECT_EQ(Sent(kHiSpeed), (Writes{{0x8A}, {0x97}, {0x8D}}));
}

// Controls of one write in every mode and at both speeds.
TEST_F(FtdiBytes, WriteWithoutAcknowledge) {
  const struct {
    const char* adapter;
    uint32_t mode;
    ByteVector start, stop;
  } kCases[] = {{"ft2232c", I2C_FAST_MODE, Start(1, 1), Stop(1, 1)},
                {"ft2232c", I2C_STANDARD_MODE, Start(1, 4), Stop(4, 1)},
                {"ft2232h", I2C_FAST_MODE, Start(4, 4), Stop(4, 4)},
                {"ft2232h", I2C_STANDARD_MODE, Start(4, 7), Stop(7, 4)}};
  const I2cWriteCall write{{0xA0, 0x10}, I2C_BYTE_WRITE_TYPE, {0x55, 0x66}, 0, 0};
  for (const auto& [adapter, mode, start, stop] : kCases) {
    const uint32_t handle = Opened(adapter);
    EXPECT_EQ(I2C_SetMode(handle, mode), 0u);
    EXPECT_EQ(write.Run(handle), 0u);
    EXPECT_EQ(Sent(NameOf(adapter)),
              (Writes{start + Out(0xA0), Out(0x10), Out(0x55), stop, Step(0x03)}));
  }
}

TEST_F(FtdiBytes, WriteWithAcknowledges) {
  const uint32_t handle = Ready(OpenFullSpeed());
  const ByteVector address = Start(1, 1) + Out(0xF4) + kReadAck;
  const struct {
    I2cWriteCall write;
    Writes sent;
  } kCases[] = {// A page is acknowledged whatever the argument says.
                {{{0xF4, 0x10}, I2C_PAGE_WRITE_TYPE, {0x55, 0x66}, 1, 0},
                 {address, kDriveSda, Out(0x10) + kReadAck, kDriveSda, Out(0x55) + kReadAck,
                  kDriveSda, Out(0x66) + kReadAck, kDriveSda, Stop(1, 1), Step(0x03)}},
                // Only the first byte of a byte write.
                {{{0xF4}, I2C_BYTE_WRITE_TYPE, {0x55, 0x66, 0x77}, 1, 1, 0},
                 {address, kDriveSda, Out(0x55) + kReadAck, kDriveSda}},
                {{{0xF4}}, {address, kDriveSda, Stop(1, 1), Step(0x03)}}};
  for (const auto& [write, sent] : kCases) {
    EXPECT_EQ(write.Run(handle), 0u);
    EXPECT_EQ(Sent(), sent);
  }
}

TEST_F(FtdiBytes, StretchDataSendsBits) {
  const uint32_t handle = Ready(OpenFullSpeed());
  EXPECT_EQ(I2C_SetMode(handle, I2C_STRETCH_DATA_MODE), 0u);
  const I2cWriteCall write{{0xA1}, I2C_NO_WRITE_TYPE, {}, 0, 0, 0};
  EXPECT_EQ(write.Run(handle), 0u);
  const ByteVector one = {0x13, 0x00, 0xFF, 0x80, 0x02, 0x03};
  const ByteVector zero = {0x13, 0x00, 0x00, 0x80, 0x00, 0x03};
  EXPECT_EQ(Sent(), (Writes{Start(1, 1) + one + zero + one + Times(4, zero) + one}));
}

TEST_F(FtdiBytes, MissingAcknowledges) {
  const uint32_t handle = Ready(OpenFullSpeed());
  const I2cWriteCall nobody{{0x44, 0x10}, 0, {}, 1, 1, 1, 300};
  const I2cWriteCall write{{0xF4, 0x10}, I2C_BYTE_WRITE_TYPE, {0x55}, 1, 1, 1, 40};
  EXPECT_NEAR(Took([&] { EXPECT_EQ(nobody.Run(handle), 39u); }), 305 * kMs, 5 * kMs);
  // It ends there, without STOP.
  EXPECT_EQ(Sent(), (Writes{Start(1, 1) + Out(0x44) + kReadAck}));
  bench().SetFault("nak:controller@3");
  EXPECT_GE(Took([&] { EXPECT_EQ(write.Run(handle), 42u); }), 40 * kMs);
  bench().ClearFaults();
  uint8_t read[1] = {};
  uint8_t address[] = {0x45};
  EXPECT_EQ(I2C_Read(handle, address, 1, 1, 10, I2C_BYTE_READ_TYPE, read, 1), 39u);
  EXPECT_EQ(address[0], 0x44);
  // The next transaction recovers the bus.
  EXPECT_EQ(write.Run(handle), 0u);
}

TEST_F(FtdiBytes, Reads) {
  const uint32_t handle = Ready(OpenFullSpeed());
  uint8_t control[] = {0xF5, 0x10};
  uint8_t read[3] = {0xEE, 0xEE, 0xEE};
  bench().board().controller().SetRegister(0x10, 0x12);
  bench().board().controller().SetRegister(0x11, 0x34);
  const ByteVector ack = {0x80, 0x10, 0x11, 0x27, 0x00, 0x87};
  const ByteVector drive = {0x80, 0x10, 0x13};
  const Writes address = {
      Start(1, 1) + Out(0xF4) + kReadAck,  kDriveSda, Out(0x10) + kReadAck, kDriveSda,
      Start(1, 1, 0x10) + Out(0xF5) + ack, drive};
  const ByteVector readByte = Step(0x10, 0x11) + ByteVector{0x25, 0x00, 0x00, 0x87};
  EXPECT_EQ(I2C_Read(handle, control, 2, 1, 10, I2C_BLOCK_READ_TYPE, read, 2), 0u);
  EXPECT_EQ(
      Sent(),
      (address + Writes{readByte, drive, {0x13, 0x00, 0x00}, readByte, drive, Stop(1, 1, 0x10)}));
  EXPECT_EQ(ByteVector(read, read + 3), (ByteVector{0x12, 0x34, 0xEE}));
  EXPECT_EQ(control[0], 0xF5);

  read[1] = 0xEE;
  EXPECT_EQ(I2C_Read(handle, control, 2, 1, 10, I2C_BYTE_READ_TYPE, read, 2), 0u);
  EXPECT_EQ(Sent(),
            (address + Writes{Step(0x10, 0x11) + ByteVector{0x25, 0x00, 0x00, 0x27, 0x00, 0x87},
                              drive, Stop(1, 1, 0x10)}));
  EXPECT_EQ(ByteVector(read, read + 2), (ByteVector{0x12, 0xEE}));
  // Without control acknowledges the repeated address is not waited for either.
  EXPECT_EQ(I2C_Read(handle, control, 1, 0, 10, I2C_BYTE_READ_TYPE, read, 1), 0u);
  EXPECT_EQ(Sent()[1], Start(1, 1, 0x10) + Out(0xF5));
}

TEST_F(FtdiBytes, AnswersThatNeverCome) {
  const uint32_t handle = Ready(OpenFullSpeed());
  bench().SetFault("ftdi-no-answers");
  uint8_t control[] = {0xF4};
  uint8_t read[1] = {};
  GpioLevels levels{};
  const std::function<uint32_t()> kCalls[] = {
      [&] { return I2C_Read(handle, control, 1, 0, 10, I2C_BYTE_READ_TYPE, read, 1); },
      [&] { return I2C_GetGPIOs(handle, &levels); }};
  for (const auto& call : kCalls) {
    EXPECT_NEAR(Took([&] { EXPECT_EQ(call(), 20u); }), 5050 * kMs, 50 * kMs);
  }
}

TEST_F(FtdiBytes, Pins) {
  const uint32_t handle = Ready(OpenFullSpeed());
  const GpioPins pins = {{{1, 0}, {0, 1}, {0, 0}, {1, 1}}};
  EXPECT_EQ(I2C_SetGPIOs(handle, &pins), 0u);
  EXPECT_EQ(Sent(), (Writes{{0x82, 0x0A, 0x09}}));
  GpioLevels levels{};
  EXPECT_EQ(I2C_GetGPIOs(handle, &levels), 0u);
  EXPECT_EQ(Sent(), (Writes{{0x83, 0x87}}));
  EXPECT_EQ(ByteVector(levels.high, levels.high + 4), (ByteVector{0, 1, 1, 1}));
  EXPECT_EQ(I2C_SetLoopback(handle, 5), 0u);
  EXPECT_TRUE(host().Find(kFullSpeed)->mpsse().loopback());
  EXPECT_EQ(I2C_SetLoopback(handle, 0), 0u);
  EXPECT_EQ(Sent(), (Writes{{0x84}, {0x85}}));
  const FinalStatePins nothing{};
  const FinalStatePins some = {1, 0, 0, 1, 1, 1};
  EXPECT_EQ(I2C_CloseDevice(Ready(handle), &nothing), 0u);
  EXPECT_TRUE(Sent().empty());
  // The value as Initialise left it with SCL low and chip select high; every changed pin an output.
  EXPECT_EQ(I2C_CloseDevice(Ready(OpenFullSpeed()), &some), 0u);
  EXPECT_EQ(Sent(), (Writes{{0x80, 0x1A, 0x09}}));
}

TEST_F(FtdiBytes, HiSpeedPins) {
  Connect("ft2232h");
  const uint32_t handle = Ready(OpenHiSpeed());
  const HiSpeedLowGpioPins none{};
  const HiSpeedLowGpioPins low = {{{0, 0}, {1, 0}, {0, 1}, {1, 1}}};
  const HiSpeedHighGpioPins high = {
      {{1, 1}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 1}, {1, 0}}};
  EXPECT_EQ(I2C_SetHiSpeedDeviceGPIOs(handle, 1, &none, 0, &high), 0u);
  EXPECT_EQ(Sent(kHiSpeed), (Writes{{0x80, 0x13, 0x10}}));
  EXPECT_EQ(I2C_SetHiSpeedDeviceGPIOs(handle, 1, &low, 1, &high), 0u);
  EXPECT_EQ(Sent(kHiSpeed), (Writes{{0x80, 0xD3, 0xB0}, {0x82, 0x41, 0x81}}));
  HiSpeedLowGpioLevels lowLevels{};
  HiSpeedHighGpioLevels highLevels{};
  EXPECT_EQ(I2C_GetHiSpeedDeviceGPIOs(handle, 1, &lowLevels, 1, &highLevels), 0u);
  EXPECT_EQ(Sent(kHiSpeed), (Writes{{0x81, 0x87}, {0x83, 0x87}}));
  EXPECT_EQ(ByteVector(lowLevels.high, lowLevels.high + 4), (ByteVector{0, 0, 1, 1}));
  EXPECT_EQ(ByteVector(highLevels.high, highLevels.high + 8), (ByteVector{1, 1, 1, 1, 1, 1, 1, 0}));
  EXPECT_EQ(I2C_TurnOnThreePhaseDataClockingHiSpeedDevice(handle), 0u);
  EXPECT_EQ(I2C_TurnOffThreePhaseDataClockingHiSpeedDevice(handle), 0u);
  EXPECT_EQ(Sent(kHiSpeed), (Writes{{0x96}, {0x97}}));

  Connect("ft4232h");
  const uint32_t quad = Ready(OpenHiSpeed(kQuad, 0x51));
  EXPECT_EQ(I2C_SetHiSpeedDeviceGPIOs(quad, 0, &low, 1, &high), 0u);
  EXPECT_EQ(I2C_GetHiSpeedDeviceGPIOs(quad, 0, &lowLevels, 1, &highLevels), 0u);
  EXPECT_TRUE(Sent(kQuad).empty());
}

// The lines behind the bytes, by sigrok's decoder.
TEST_F(FtdiBytes, OnTheWiresAtEverySpeedAndMode) {
  if (!kHaveSigrok) GTEST_SKIP() << "sigrok-cli runs on the Linux host only";
  const TemporaryFolder folder;
  const std::string trace = folder.File("lines.vcd");
  for (const std::string adapter : {"ft2232c", "ft2232h"}) {
    for (const uint32_t mode : {I2C_STANDARD_MODE, I2C_FAST_MODE, I2C_STRETCH_DATA_MODE}) {
      const uint32_t handle = Opened(adapter, ",trace=" + trace);
      EXPECT_EQ(I2C_SetMode(handle, mode), 0u);
      uint8_t control[] = {0xF4, 0x20};
      const I2cWriteCall write{{0xF4, 0x20}, I2C_PAGE_WRITE_TYPE, {0x12, 0x34}};
      uint8_t read = 0;
      EXPECT_EQ(write.Run(handle), 0u);
      EXPECT_EQ(I2C_Read(handle, control, 2, 1, 10, I2C_BYTE_READ_TYPE, &read, 1), 0u);
      EXPECT_EQ(read, 0x12);
      bench().trace().Close();
      EXPECT_EQ(DecodedI2c(trace), "S F4+ 20+ 12+ 34+ P S F4+ 20+ Sr F5+ 12- P")
          << adapter << ", mode " << mode;
    }
  }
}

TEST_F(FtdiBytes, AnAnswerWaitsForTheLatencyTimer) {
  sim::FtdiInterface& chip = *host().Find(kFullSpeed);
  const uint8_t command = 0x83;
  chip.SetBitMode(2);
  chip.Write(&command, 1);
  bench().clock().Advance(15 * kMs);
  EXPECT_EQ(chip.Waiting(), 0u);
  bench().clock().Advance(kMs);
  EXPECT_EQ(chip.Waiting(), 1u);
}

// The engine's queue: pieces of 4096, and what becomes of short writes.
TEST_F(FtdiBytes, FlushLengths) {
  const uint32_t handle = Ready(OpenFullSpeed());
  const struct {
    const char* fault;
    size_t count;
    uint32_t status;
    std::vector<size_t> lengths;
  } kCases[] = {{"", 4096, 0, {4096}},
                {"", 4097, 0, {4096, 1}},
                {"", 10000, 0, {4096, 4096, 1808}},
                {"", 0, 0, {}},
                {"d2xx-short-write:3000", 4096, 0, {3000}},  // one piece: the rest is lost
                {"d2xx-short-write:3000", 7000, 0, {3000, 3000, 1000}},
                {"d2xx-fails:FT_Write@2", 10000, 4, {4096}},
                {"", 0x20001, 5, {}},
                {"", 1, 0, {1}}};
  const auto flush = [&](size_t count) {
    const ByteVector bytes(count, 0x85);
    return static_cast<uint32_t>(Owner().Run(
        [&](ftdi::CMpsseI2c& engine) { return engine.line().SendCommands(handle, bytes); }));
  };
  for (const auto& [fault, count, status, lengths] : kCases) {
    if (*fault != 0) bench().SetFault(fault);
    EXPECT_EQ(flush(count), status);
    std::vector<size_t> sent;
    for (const ByteVector& transfer : Sent()) sent.push_back(transfer.size());
    EXPECT_EQ(sent, lengths) << count << ' ' << fault;
    bench().ClearFaults();
  }
  bench().SetFault("d2xx-short-write:0");
  EXPECT_LT(Took([&] { EXPECT_EQ(flush(5000), 20u); }), 5500 * kMs);
}

}  // namespace
}  // namespace brisk
