// The simulated U2C adapter on the board: what its library's calls do to the wires, the flash and
// the frame memory, against the parallel port where both must do the same.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

#include "sim/adapters/u2c/u2c_device.h"
#include "sim/board/picture_receiver.h"
#include "sim/board/timing_controller.h"
#include "support/bench_test.h"
#include "support/files.h"
#include "support/i2c_monitor.h"
#include "support/jpeg_model.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;
using sim::PictureReceiver;
using sim::TimingController;

class U2cBoard : public BenchTest {
 protected:
  void SetUp() override { Connect(""); }
  void TearDown() override { BriskSetProgressCallback(nullptr, nullptr); }

  void Connect(const std::string& more) { ConnectBy("u2c", BRISK_DEVICE_U2C, more); }
  void ConnectBy(const std::string& adapter, uint8_t deviceType, const std::string& more = "") {
    Configure("adapter=" + adapter + ",flash=w25q16,frame=48x32" + more);
    BriskSetDevice(deviceType);
    monitor = {};
    bench().board().i2c().AddDevice(monitor);
  }

  static const sim::U2cDevice& device() {
    return *static_cast<sim::U2cDevice*>(bench().adapter("u2c"));
  }
  static const PictureReceiver& receiver() { return bench().board().receiver(); }
  static const Bytes& FlashContent() { return bench().board().flash()->memory(); }
  std::string FileOf(const Bytes& bytes) {
    std::string path = folder.File("in.bin");
    WriteFile(path, bytes);
    return path;
  }

  I2cMonitor monitor;
  TemporaryFolder folder;
};

// ---- I2C. ----

TEST_F(U2cBoard, I2cAndStrings) {
  const uint8_t sub[] = {0x20};
  uint8_t back[2] = {};
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ 81+ P");
  EXPECT_EQ(I2cReadData(0xF4, sub, 1, back, 2), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ Sr F5+ 81+ 00- P");
  EXPECT_EQ(I2cLib_W1ByteR1Byte(2, 0xF4, 0x20, back), 1);
  EXPECT_EQ(back[0], 0x81);
  EXPECT_EQ(I2c_String("F4-20=1234."), 0u);
  EXPECT_EQ(I2c_ReadStringEx("F4-20-F5="), 0x1234);
  monitor.Take();
  EXPECT_EQ(I2cWriteByte(0x42, 0, 0), 0u);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  EXPECT_EQ(I2cLib_W1ByteR1Byte(2, 0x42, 0, back), 0);
  EXPECT_EQ(I2c_ReadStringEx("42-20-43="), -2);
}

TEST_F(U2cBoard, ClockRates) {
  uint64_t faster = 0;
  for (const auto& [asked, expected] : {std::pair(400u, 400u), {90u, 83u}, {1u, 2u}}) {
    I2cSetClockRate(asked);
    EXPECT_EQ(device().i2cKHz(), expected);
    const uint64_t before = bench().clock().Now();
    I2cWriteByte(0xF4, 0x20, 0x81);
    const uint64_t spent = bench().clock().Now() - before;
    EXPECT_GT(spent, faster) << asked;
    faster = spent;
  }
  SPISetClockRate(150);
  EXPECT_EQ(device().spiKHz(), 200u);
  SPISetClockRate(30);
  EXPECT_EQ(device().spiKHz(), 25u);
  EXPECT_EQ(SPIReadID(), 0xEF4015u);
}

// ---- Flash. ----

// What programming, reading back and writing a byte leave behind, by either way to the flash.
TEST_F(U2cBoard, FlashAsOverTheParallelPort) {
  const std::string in = FileOf(RandomBytes(0x500));
  const auto run = [&] {
    SPISectorErase(0x10000);
    EXPECT_EQ(SPIProgramFromFile(0x10000, 0x500, in.c_str(), 0), 0x500u);
    EXPECT_EQ(SPIProgramFromFile(0x12340, 0x180, in.c_str(), 0), 0x200u);  // pages wrap
    EXPECT_EQ(SPIProgramFromFile(0x10000, 0x100, in.c_str(), 0), 0x100u);
    const std::string out = folder.File("out.bin");
    EXPECT_EQ(SPIProgramToFile(0x10080, 0x2345, out.c_str()), 0x2345u);
    uint32_t byte = 0;
    SPIReadByte(0x10123, &byte);
    EXPECT_EQ(byte, FlashContent()[0x10123]);
    EXPECT_EQ(SPIReadID(), 0xEF4015u);
    return std::pair(FlashContent(), ReadFile(out));
  };
  const auto overU2c = run();
  ConnectBy("lpt", BRISK_DEVICE_LPT);
  const auto overLpt = run();
  EXPECT_TRUE(overU2c.first == overLpt.first);
  EXPECT_TRUE(overU2c.second == overLpt.second);
  const Bytes expected = ReadFile(in);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), overU2c.first.begin() + 0x10000));
}

TEST_F(U2cBoard, FlashFilesArePaddedToPages) {
  SPIWriteByte(0x250, 0);
  EXPECT_EQ(FlashContent()[0x250], 0);
  Bytes expected = RandomBytes(0x180);
  const std::string in = FileOf(expected);
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramFromFile(0, 0x300, in.c_str(), 1), 0x300u);
  EXPECT_EQ(SPIProgramToFile(0, 0x300, out.c_str()), 0x300u);
  expected.resize(0x300, 0xFF);
  EXPECT_EQ(ReadFile(out), expected);
}

TEST_F(U2cBoard, WritingAByteErasesTheChip) {
  const std::string in = FileOf(RandomBytes(0x100));
  SPIProgramFromFile(0x100000, 0x100, in.c_str(), 0);
  SPIWriteByte(0x250, 0x5A);
  Bytes expected(FlashContent().size(), 0xFF);
  expected[0x250] = 0x5A;
  EXPECT_TRUE(FlashContent() == expected);
}

int BRISK_CALL AskToStop(uint32_t /*done*/, uint32_t /*total*/, void* count) {
  ++*static_cast<int*>(count);
  SPIStop();
  return 1;
}

TEST_F(U2cBoard, TransfersRunToTheirEnd) {
  int count = 0;
  BriskSetProgressCallback(AskToStop, &count);
  const Bytes bytes = RandomBytes(0x500);
  const std::string in = FileOf(bytes);
  const std::string out = folder.File("out.bin");
  EXPECT_EQ(SPIProgramFromFile(0, 0x500, in.c_str(), 0), 0x500u);
  EXPECT_EQ(SPIProgramToFile(0, 0x500, out.c_str()), 0x500u);
  EXPECT_EQ(ReadFile(out), bytes);
  EXPECT_EQ(count, 10);
}

TEST_F(U2cBoard, BusyFlash) {
  Connect(",fault=flash-busy:6000");
  const std::pair<const char*, void (*)()> kWaits[] = {{"sector erase", [] { SPISectorErase(0); }},
                                                       {"bulk erase", [] { SPIBulkErase(); }}};
  for (const auto& [name, operation] : kWaits) {
    const uint64_t before = bench().clock().Now();
    operation();
    const uint64_t waited = (bench().clock().Now() - before) / 1'000'000;
    EXPECT_GE(waited, 5000u) << name;
    EXPECT_LE(waited, 5010u) << name;
    bench().clock().Advance(6'000'000'000);
  }
  // A byte write gives up on the erase and goes on; the flash takes no program while it is busy.
  SPIWriteByte(0, 0x5A);
  EXPECT_EQ(FlashContent()[0], 0xFF);
}

// ---- Pictures. ----

struct Frames {
  std::vector<uint32_t> pixels;  // of both planes, after each operation
  uint64_t words = 0;
};

class U2cPictures : public U2cBoard, public testing::WithParamInterface<std::pair<bool, bool>> {
 protected:
  static bool YCbCr() { return GetParam().first; }
  static bool SixteenBit() { return GetParam().second; }

  void UsePlanes() {
    TimingController& controller = bench().board().controller();
    for (const uint8_t mode : {TimingController::kMainMode, TimingController::kSecondMode}) {
      controller.SetRegister(mode, YCbCr() ? 2 : 0);
    }
    controller.SetRegister(TimingController::kMainDepth, SixteenBit() ? 8 : 0);
  }

  // A picture of noise, wider than the frame and not as high.
  std::string Bitmap() {
    constexpr uint8_t kWidth = 50;
    constexpr uint8_t kHeight = 20;
    Bytes file = RandomBytes(54 + 152 * kHeight);
    std::fill(file.begin(), file.begin() + 54, uint8_t{0});
    file[18] = kWidth;
    file[22] = kHeight;
    file[26] = 1;
    file[28] = 24;
    WriteFile(folder.File("a.bmp"), file);
    return folder.File("a.bmp");
  }

  std::string Jpeg() {
    JpegModel model;
    model.width = 40;
    model.height = 24;
    model.SetSampling(2, 1);
    model.Fill(3, 10, 12);
    WriteFile(folder.File("a.jpg"), EncodeModel(model));
    return folder.File("a.jpg");
  }

  static void AddTo(Frames& frames) {
    for (const bool second : {false, true}) {
      for (uint32_t y = 0; y < 32; ++y) {
        for (uint32_t x = 0; x < 48; ++x) frames.pixels.push_back(receiver().Pixel(second, x, y));
      }
    }
    frames.words = receiver().words();
    EXPECT_EQ(receiver().faults(PictureReceiver::Fault::kUnknownWord), 0u);
    EXPECT_EQ(receiver().faults(PictureReceiver::Fault::kPixelBeforeStart), 0u);
  }

  Frames RunAll() {
    UsePlanes();
    Frames frames;
    testing::internal::CaptureStdout();
    EXPECT_EQ(Sddi_Bitmap(Bitmap().c_str(), 0), 0u);
    AddTo(frames);
    EXPECT_EQ(Sddi_Bitmap(Bitmap().c_str(), 1), 0u);
    AddTo(frames);
    EXPECT_EQ(Sddi_Jpeg(Jpeg().c_str(), 0), 0u);
    AddTo(frames);
    testing::internal::GetCapturedStdout();
    Sddi_Erase(0x12345678);
    AddTo(frames);
    Sddi_Bitblt(8, 4, 0);
    AddTo(frames);
    Sddi_Bitblt_Copy(8, 4, 24, 12, 16, 8);
    AddTo(frames);
    return frames;
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, U2cPictures,
                         testing::Values(std::pair(false, true), std::pair(false, false),
                                         std::pair(true, true), std::pair(true, false)),
                         [](const auto& test) {
                           return std::string(test.param.first ? "YCbCr" : "Rgb") +
                                  (test.param.second ? "16" : "24");
                         });

TEST_P(U2cPictures, AsOverTheParallelPort) {
  const Frames overU2c = RunAll();
  ConnectBy("lpt", BRISK_DEVICE_LPT);
  const Frames overLpt = RunAll();
  EXPECT_EQ(overU2c.words, overLpt.words);
  ASSERT_TRUE(overU2c.pixels == overLpt.pixels);
  // Not because there is nothing: the six operations have left six different memories.
  const size_t memory = overU2c.pixels.size() / 6;
  for (size_t i = 1; i < 6; ++i) {
    const auto begin = overU2c.pixels.begin() + static_cast<std::ptrdiff_t>(i * memory);
    const auto end = begin + static_cast<std::ptrdiff_t>(memory);
    EXPECT_FALSE(std::equal(begin, end, begin - static_cast<std::ptrdiff_t>(memory))) << i;
  }
}

// A word of n bits is 1 + 2 n bytes on the virtual port, three calls each; a register is read in 7
// calls when it has one byte, in 8 when it has two.
TEST_P(U2cPictures, CallsOfAPicture) {
  UsePlanes();
  I2c_Stop();  // connects
  const std::string path = Bitmap();
  const uint64_t before = device().calls();
  testing::internal::CaptureStdout();
  EXPECT_EQ(Sddi_Bitmap(path.c_str(), 0), 0u);
  testing::internal::GetCapturedStdout();
  const auto word = [](uint64_t bits) { return 3 * (1 + 2 * bits); };
  const uint64_t pixelWords = 20 * (SixteenBit() ? 48 / 2 : 48 * 3 / 4);
  EXPECT_EQ(device().calls() - before, word(7) + word(22) + pixelWords * word(32) + 2 * 8 + 2 * 7);
}

// SDA and SCL are one pair of pins: plain outputs take them from an unfinished transaction, and the
// next transaction takes them back.
TEST_F(U2cBoard, PictureWordsBetweenTransactions) {
  const uint8_t sub[] = {0x12};
  uint8_t back[1] = {};
  const std::pair<const char*, void (*)()> kLeftOpen[] = {
      {"I2cWriteHead", [] { I2cWriteHead(0xF4, 0x20); }},
      {"I2c_Start", [] { I2c_Start(); }},
      {"a finished transaction", [] { I2cWriteByte(0xF4, 0x20, 1); }}};
  for (const auto& [name, leave] : kLeftOpen) {
    leave();
    const uint64_t words = receiver().words();
    Sddi_Tx(7, 0x13);
    Sddi_Tx(19, 0x01234);
    EXPECT_EQ(receiver().words(), words + 2) << name;
    EXPECT_EQ(I2cWriteByte(0xF4, 0x12, 0x34), 1u) << name;
    EXPECT_EQ(I2cReadData(0xF4, sub, 1, back, 1), 1u) << name;
    EXPECT_EQ(back[0], 0x34) << name;
  }
  EXPECT_EQ(receiver().faults(PictureReceiver::Fault::kUnknownWord), 0u);
  // A write-read that is refused leaves the bus as it is.
  EXPECT_EQ(I2cLib_WriteRead(2, 0x42, nullptr, 0, back, 1), 0);
  const uint64_t words = receiver().words();
  Sddi_Tx(7, 0x13);
  EXPECT_EQ(receiver().words(), words + 1);
}

// ---- Faults. ----

// Whatever is missing, operations of the flash and of pictures run to their end and nothing
// arrives.
TEST_F(U2cBoard, NoAdapter) {
  Connect(",fault=u2c-absent");
  const std::string in = FileOf(RandomBytes(0x180));
  const std::string out = folder.File("out.bin");
  uint8_t byte = 0;
  uint32_t word = 0;
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 0u);
  EXPECT_EQ(I2cReadByte(0xF4, 0x20, &byte), 0u);
  EXPECT_EQ(I2cWrite(0xF4), 0u);
  EXPECT_EQ(I2c_Tx(0xF4), 1u);
  EXPECT_EQ(I2c_Rx(&word, 0), 0u);
  EXPECT_EQ(I2cLib_W1Byte(0, 0xF4, 0), 0);
  EXPECT_EQ(I2c_String("F4-20-55"), 1u);
  EXPECT_EQ(I2c_ReadStringEx("F4-20-F5="), -2);
  EXPECT_EQ(SPIReadID(), 0u);
  EXPECT_EQ(SPIProgramFromFile(0, 0x300, in.c_str(), 1), 0x300u);
  EXPECT_EQ(SPIProgramToFile(0, 0x300, out.c_str()), 0x300u);
  EXPECT_EQ(ReadFile(out), Bytes(0x300));
  SPIWriteByte(0, 0);
  Sddi_Tx(7, 0x13);
  Sddi_Erase(0x12345678);
  EXPECT_EQ(Lpt_Output(0), 0u);
  EXPECT_EQ(monitor.Take(), "");
  EXPECT_EQ(FlashContent(), Bytes(FlashContent().size(), 0xFF));
  EXPECT_EQ(receiver().words(), 0u);
}

TEST_F(U2cBoard, AdapterThatIsPluggedInLater) {
  Connect(",fault=u2c-absent@1");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 0u);
  EXPECT_EQ(monitor.Take(), "");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x81), 1u);
}

struct FailingCall {
  const char* function;
  uint32_t (*run)();
  uint32_t result;
  const char* wires;
};

uint8_t received;

constexpr FailingCall kFailingCalls[] = {
    {"U2C_Start", [] { return I2cWriteHead(0xF4, 0x20); }, 0, ""},
    {"U2C_PutByteWithAck", [] { return I2cWriteHead(0xF4, 0x20); }, 0, "S"},
    {"U2C_GetByteWithAck", [] { return I2cRead(&received, 1); }, 0, ""},
    {"U2C_Write", [] { return I2cWriteByte(0xF4, 0x20, 0x81); }, 0, ""},
    {"U2C_Read", [] { return I2cReadByte(0xF4, 0x20, &received); }, 0, ""},
    {"U2C_Stop", [] { return I2c_String("F4-20-55"); }, 0, "S F4+ 20+ 55+"},
    // Chip select stays high; no command is sent; no byte comes.
    {"U2C_IoWrite", [] { return SPIReadID(); }, 0xFFFFFF, ""},
    {"U2C_SpiWrite", [] { return SPIReadID(); }, 0xFFFFFF, ""},
    {"U2C_SpiRead", [] { return SPIReadID(); }, 0, ""},
};

TEST_F(U2cBoard, CallsThatFail) {
  for (const FailingCall& call : kFailingCalls) {
    Connect(std::string(",fault=u2c-fails:") + call.function);
    EXPECT_EQ(call.run(), call.result) << call.function;
    EXPECT_EQ(monitor.Take(), call.wires) << call.function;
  }
  // Failures of a flash transfer are not reported.
  Connect(",fault=u2c-fails:U2C_SpiWrite@20");
  const std::string in = FileOf(Bytes(0x100));
  EXPECT_EQ(SPIProgramFromFile(0, 0x100, in.c_str(), 0), 0x100u);
  EXPECT_EQ(FlashContent()[0xFE], 0);
  EXPECT_EQ(FlashContent()[0xFF], 0xFF);  // one byte was lost on the way
}

}  // namespace
}  // namespace brisk
