// The simulated NOR flash, driven over its four lines.
#include <gtest/gtest.h>
#include <optional>

#include "sim/board/nor_flash.h"
#include "support/files.h"
#include "support/wire_master.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

class SimFlash : public testing::Test {
 protected:
  void Use(const std::string& options) {
    bench_ = MakeBench("adapter=none," + options);
    ASSERT_NE(bench_, nullptr);
    spi_.emplace(*bench_);
  }
  void SetUp() override { Use("flash=w25q16"); }

  static Bytes Command(uint8_t code, uint32_t address, const Bytes& data = {}) {
    Bytes bytes{code, static_cast<uint8_t>(address >> 16), static_cast<uint8_t>(address >> 8),
                static_cast<uint8_t>(address)};
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
  }
  void Enabled(const Bytes& bytes) {
    spi_->Transact({0x06});
    spi_->Transact(bytes);
  }
  void Finish() { bench_->clock().Advance(10'000'000'000); }
  uint8_t Status() { return spi_->Transact({0x05}, 1)[0]; }
  Bytes Read(uint32_t address, size_t count) {
    return spi_->Transact(Command(0x03, address), count);
  }

  std::unique_ptr<sim::Bench> bench_;
  std::optional<SpiMaster> spi_;
};

TEST_F(SimFlash, IdentifiesTheChip) {
  for (const auto& [name, capacity] : {std::pair<const char*, uint8_t>{"w25q16", 0x15},
                                       {"w25q32", 0x16},
                                       {"w25q64", 0x17},
                                       {"w25q128", 0x18}}) {
    Use(std::string("flash=") + name);
    EXPECT_EQ(spi_->Transact({0x9F}, 3), (Bytes{0xEF, 0x40, capacity})) << name;
  }
  Use("flash=none");
  EXPECT_EQ(spi_->Transact({0x9F}, 3), (Bytes{0xFF, 0xFF, 0xFF}));
}

TEST_F(SimFlash, ProgramsNothingWithoutWriteEnable) {
  spi_->Transact(Command(0x02, 0, {0x00}));
  EXPECT_EQ(Status(), 0x00);
  EXPECT_EQ(Read(0, 1), (Bytes{0xFF}));
  spi_->Transact({0x06});
  EXPECT_EQ(Status(), 0x02);
  spi_->Transact({0x04});
  spi_->Transact(Command(0x02, 0, {0x00}));
  EXPECT_EQ(Read(0, 1), (Bytes{0xFF}));
}

TEST_F(SimFlash, WriteEnableServesOnce) {
  Enabled(Command(0x02, 0, {0x12}));
  EXPECT_EQ(Status(), 0x03);
  Finish();
  EXPECT_EQ(Status(), 0x00);
  spi_->Transact(Command(0x02, 1, {0x34}));
  EXPECT_EQ(Read(0, 2), (Bytes{0x12, 0xFF}));
}

TEST_F(SimFlash, ProgrammingOnlyClearsBits) {
  Enabled(Command(0x02, 0x100, {0xF0}));
  Finish();
  Enabled(Command(0x02, 0x100, {0x3C}));
  Finish();
  EXPECT_EQ(Read(0x100, 1), (Bytes{0x30}));
}

TEST_F(SimFlash, PageProgramWrapsInsideItsPage) {
  Enabled(Command(0x02, 0x1FE, {1, 2, 3, 4}));
  Finish();
  EXPECT_EQ(Read(0x1FE, 3), (Bytes{1, 2, 0xFF}));
  EXPECT_EQ(Read(0x100, 3), (Bytes{3, 4, 0xFF}));
}

TEST_F(SimFlash, PageKeepsTheLast256BytesSent) {
  Bytes data(258, 0x00);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i);
  data[256] = 0xA0;
  data[257] = 0xA1;
  Enabled(Command(0x02, 0x300, data));
  Finish();
  EXPECT_EQ(Read(0x300, 4), (Bytes{0xA0, 0xA1, 2, 3}));
}

TEST_F(SimFlash, PageProgramWithoutDataDoesNothing) {
  Enabled(Command(0x02, 0x300));
  EXPECT_EQ(Status(), 0x02);
}

TEST_F(SimFlash, CommandCutInAByteDoesNothing) {
  spi_->Transact({0x06});
  spi_->Select();
  for (const uint8_t byte : Command(0x02, 0, {0x00})) spi_->Exchange(byte);
  spi_->Set(false, true, false);  // a ninth clock
  spi_->Deselect();
  EXPECT_EQ(Read(0, 1), (Bytes{0xFF}));
}

TEST_F(SimFlash, SectorEraseErasesItsSectorOnly) {
  for (const uint32_t address : {0x0FFFFu, 0x10000u, 0x1FFFFu, 0x20000u}) {
    Enabled(Command(0x02, address, {0x00}));
    Finish();
  }
  Enabled(Command(0xD8, 0x12345));
  Finish();
  EXPECT_EQ(Read(0x0FFFF, 2), (Bytes{0x00, 0xFF}));
  EXPECT_EQ(Read(0x1FFFF, 2), (Bytes{0xFF, 0x00}));
}

TEST_F(SimFlash, ChipEraseErasesEverything) {
  Enabled(Command(0x02, 0, {0x00}));
  Finish();
  Enabled(Command(0x02, 0x1FFFFF, {0x00}));
  Finish();
  Enabled({0xC7});
  Finish();
  EXPECT_EQ(Read(0x1FFFFF, 2), (Bytes{0xFF, 0xFF}));
}

TEST_F(SimFlash, ReadRunsOnOverTheEndOfTheChip) {
  Enabled(Command(0x02, 0x1FFFFF, {0x77}));
  Finish();
  Enabled(Command(0x02, 0, {0x88, 0x99}));
  Finish();
  EXPECT_EQ(Read(0x1FFFFF, 3), (Bytes{0x77, 0x88, 0x99}));
  EXPECT_EQ(Read(0xFFFFFF, 3), (Bytes{0x77, 0x88, 0x99}));  // upper address bits do not exist
}

struct BusyCase {
  const char* what;
  Bytes command;
  uint64_t typicalUs;
};

TEST_F(SimFlash, StaysBusyForItsTimeAndAnswersOnlyStatus) {
  const BusyCase cases[] = {
      {"page program", Command(0x02, 0x40, {0x00}), 700},
      {"sector erase", Command(0xD8, 0), 150'000},
      {"chip erase", {0xC7}, 1'000'000},
  };
  for (const BusyCase& test : cases) {
    Use("flash=w25q16");
    Enabled(test.command);
    EXPECT_EQ(spi_->Transact({0x9F}, 3), (Bytes{0xFF, 0xFF, 0xFF})) << test.what;
    EXPECT_EQ(Read(0, 1), (Bytes{0xFF})) << test.what;
    bench_->clock().Advance((test.typicalUs - 300) * 1000);
    EXPECT_EQ(Status() & 1, 1) << test.what;
    bench_->clock().Advance(300'000);
    EXPECT_EQ(Status(), 0) << test.what;
    EXPECT_EQ(spi_->Transact({0x9F}, 1), (Bytes{0xEF})) << test.what;
  }
}

TEST_F(SimFlash, StatusRepeatsUnderOneSelectionUntilReady) {
  Enabled(Command(0x02, 0, {0x00}));
  spi_->Select();
  spi_->Exchange(0x05);
  int polls = 0;
  while ((spi_->Exchange(0) & 1) != 0 && polls < 1000) ++polls;
  spi_->Deselect();
  EXPECT_GT(polls, 10);
  EXPECT_LT(polls, 100);  // 0.7 ms at 17 us a byte
}

TEST_F(SimFlash, BusyFaults) {
  ASSERT_EQ(bench_->SetFault("flash-busy:6000"), "");
  Enabled(Command(0x02, 0, {0x00}));
  bench_->clock().Advance(5'900'000'000);
  EXPECT_EQ(Status() & 1, 1);
  bench_->clock().Advance(200'000'000);
  EXPECT_EQ(Status() & 1, 0);
  bench_->ClearFaults();
  ASSERT_EQ(bench_->SetFault("flash-busy"), "");
  Enabled(Command(0x02, 0, {0x00}));
  Finish();
  EXPECT_EQ(Status() & 1, 1);
}

TEST_F(SimFlash, UnknownCommandsAndUnselectedClocksDoNothing) {
  Enabled(Command(0x52, 0));
  EXPECT_EQ(Status(), 0x02);
  for (int i = 0; i < 16; ++i) spi_->Set(true, i % 2 == 0, true);
  EXPECT_EQ(spi_->Transact({0x9F}, 1), (Bytes{0xEF}));
}

TEST_F(SimFlash, ImageFileKeepsWhatIsProgrammedAndErased) {
  const TemporaryFolder folder;
  const std::string path = folder.File("flash.bin");
  Use("flash=w25q16,image=" + path);
  Bytes blank(2 << 20, 0xFF);
  EXPECT_EQ(ReadFile(path), blank);
  Enabled(Command(0x02, 0x10010, {1, 2, 3}));
  blank[0x10010] = 1;
  blank[0x10011] = 2;
  blank[0x10012] = 3;
  EXPECT_EQ(ReadFile(path), blank);  // at once: another process may look
  Use("flash=w25q16,image=" + path);
  EXPECT_EQ(Read(0x10010, 3), (Bytes{1, 2, 3}));
  Enabled(Command(0xD8, 0x10000));
  EXPECT_EQ(ReadFile(path), Bytes(2 << 20, 0xFF));
}

TEST_F(SimFlash, ShortImageIsFilledUpAndALongOneRefused) {
  const TemporaryFolder folder;
  const std::string path = folder.File("flash.bin");
  WriteFile(path, {9, 8, 7});
  Use("flash=w25q16,image=" + path);
  EXPECT_EQ(Read(1, 3), (Bytes{8, 7, 0xFF}));
  EXPECT_EQ(ReadFile(path).size(), size_t{2} << 20);
  WriteFile(path, Bytes((2 << 20) + 1, 0x00));
  std::string whyNot;
  EXPECT_EQ(MakeBench("flash=w25q16,image=" + path, &whyNot), nullptr);
  EXPECT_NE(whyNot.find("larger than the w25q16"), std::string::npos) << whyNot;
  EXPECT_EQ(MakeBench("flash=none,image=" + path, &whyNot), nullptr);
  EXPECT_NE(whyNot.find("flash=none"), std::string::npos) << whyNot;
  EXPECT_EQ(MakeBench("image=" + folder.File("no/such/folder"), &whyNot), nullptr);
  EXPECT_NE(whyNot.find("neither opened nor created"), std::string::npos) << whyNot;
}

}  // namespace
}  // namespace brisk
