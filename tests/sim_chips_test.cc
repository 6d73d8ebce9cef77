// The simulated NOR flash and the I2C wires with what hangs on them, driven by masters of the
// tests' own.
#include <gtest/gtest.h>
#include <optional>
#include <sstream>

#include "sim/board/nor_flash.h"
#include "sim/board/timing_controller.h"
#include "support/calls.h"
#include "support/files.h"
#include "support/wire_master.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

class SimFlash : public testing::Test {
 protected:
  SimFlash() { Use("flash=w25q16"); }
  void Use(const std::string& options) {
    bench_ = MakeBench("adapter=none," + options);
    ASSERT_NE(bench_, nullptr);
    spi_.emplace(*bench_);
  }

  // One selection a word: the bytes sent, and behind ? how many come back, which are given back. A
  // word in brackets comes behind a write enable and is waited for.
  std::string Run(const std::string& script) {
    std::string answers;
    std::istringstream words(script);
    for (std::string word; words >> word;) {
      const bool whole = word[0] == '[';
      if (whole) {
        spi_->Transact({0x06});
        word = word.substr(1, word.size() - 2);
      }
      const size_t mark = word.find('?');
      const size_t count = mark == std::string::npos ? 0 : std::stoul(word.substr(mark + 1));
      const Bytes answer = spi_->Transact(Unhex(word.substr(0, mark)), count);
      if (count > 0) answers += (answers.empty() ? "" : " ") + Hex(answer.data(), count);
      if (whole) bench_->clock().Advance(10'000'000'000);
    }
    return answers;
  }

  std::unique_ptr<sim::Bench> bench_;
  std::optional<SpiMaster> spi_;
};

TEST_F(SimFlash, IdentifiesTheChip) {
  for (const auto& [name, id] : {std::pair{"w25q16", "EF4015"},
                                 {"w25q32", "EF4016"},
                                 {"w25q64", "EF4017"},
                                 {"w25q128", "EF4018"},
                                 {"none", "FFFFFF"}}) {
    Use(std::string("flash=") + name);
    EXPECT_EQ(Run("9F?3"), id) << name;
  }
}

const struct {
  const char* name;
  const char* script;
  const char* answers;
} kScripts[] = {
    {"write enable is needed", "0200000000 05?1 03000000?1", "00 FF"},
    {"and taken back", "06 05?1 04 0200000000 03000000?1", "02 FF"},
    {"and serves once", "[0200000012] 05?1 0200000134 03000000?2", "00 12FF"},
    {"busy behind a program", "06 0200000012 05?1", "03"},
    {"programming only clears bits", "[02000100F0] [020001003C] 03000100?1", "30"},
    {"a page wraps", "[020001FE01020304] 030001FE?3 03000100?3", "0102FF 0304FF"},
    {"no data, nothing done", "06 02000300 05?1", "02"},
    {"a sector alone is erased",
     "[0200FFFF00] [0201000000] [0201FFFF00] [0202000000] [D8012345] 0300FFFF?2 0301FFFF?2",
     "00FF FF00"},
    {"or the chip", "[0200000000] [021FFFFF00] [C7] 031FFFFF?2", "FFFF"},
    {"a read runs on over the end; upper bits do not exist",
     "[021FFFFF77] [020000008899] 031FFFFF?3 03FFFFFF?3", "778899 778899"},
    {"unknown commands do nothing", "06 52000000 05?1 9F?1", "02 EF"},
};

TEST_F(SimFlash, Scripts) {
  for (const auto& [name, script, answers] : kScripts) {
    Use("flash=w25q16");
    EXPECT_EQ(Run(script), answers) << name;
  }
}

TEST_F(SimFlash, PageKeepsTheLast256BytesSent) {
  Bytes data = {0x02, 0x00, 0x03, 0x00};
  for (int i = 0; i < 258; ++i) data.push_back(static_cast<uint8_t>(i < 256 ? i : 0xA0 + i % 2));
  Run("[" + Hex(data.data(), data.size()) + "]");
  EXPECT_EQ(Run("03000300?4"), "A0A10203");
}

TEST_F(SimFlash, CommandCutInAByteDoesNothing) {
  Run("06");
  spi_->Select();
  for (const uint8_t byte : {0x02, 0, 0, 0, 0}) spi_->Exchange(byte);
  spi_->Set(false, true, false);  // a ninth clock
  spi_->Deselect();
  bench_->clock().Advance(10'000'000);  // while it is busy everything reads as FF
  EXPECT_EQ(Run("03000000?1"), "FF");
  for (int i = 0; i < 16; ++i) spi_->Set(true, i % 2 == 0, true);  // nobody is selected
  EXPECT_EQ(Run("9F?1"), "EF");
}

TEST_F(SimFlash, StaysBusyForItsTimeAndAnswersOnlyStatus) {
  const struct {
    const char* command;
    uint64_t typicalUs;
  } kCases[] = {{"0200004000", 700}, {"D8000000", 150'000}, {"C7", 1'000'000}};
  for (const auto& [command, typicalUs] : kCases) {
    Use("flash=w25q16");
    EXPECT_EQ(Run(std::string("06 ") + command + " 9F?3 03000000?1"), "FFFFFF FF") << command;
    bench_->clock().Advance((typicalUs - 300) * 1000);
    EXPECT_EQ(Run("05?1"), "03") << command;
    bench_->clock().Advance(300'000);
    EXPECT_EQ(Run("05?1 9F?1"), "00 EF") << command;
  }
  // One selection is enough to wait for it.
  Run("06 0200000000");
  spi_->Select();
  spi_->Exchange(0x05);
  int polls = 0;
  while ((spi_->Exchange(0) & 1) != 0 && polls < 1000) ++polls;
  spi_->Deselect();
  EXPECT_GT(polls, 10);
  EXPECT_LT(polls, 100);  // 0.7 ms at 17 us a byte
}

TEST_F(SimFlash, BusyFaults) {
  ASSERT_EQ(bench_->SetFault("flash-busy:6000@2"), "");
  Run("06 0200000000");
  bench_->clock().Advance(1'000'000);
  EXPECT_EQ(Run("05?1"), "00");
  Run("06 0200000000");
  bench_->clock().Advance(5'900'000'000);
  EXPECT_EQ(Run("05?1"), "03");
  bench_->clock().Advance(200'000'000);
  EXPECT_EQ(Run("05?1"), "00");
  bench_->ClearFaults();
  ASSERT_EQ(bench_->SetFault("flash-busy"), "");
  EXPECT_EQ(Run("[0200000000] 05?1"), "03");
}

TEST_F(SimFlash, ImageFileKeepsWhatIsProgrammedAndErased) {
  const TemporaryFolder folder;
  const std::string path = folder.File("flash.bin");
  Use("flash=w25q16,image=" + path);
  Bytes expected(2 << 20, 0xFF);
  EXPECT_EQ(ReadFile(path), expected);
  Run("06 02010010010203");
  expected[0x10010] = 1;
  expected[0x10011] = 2;
  expected[0x10012] = 3;
  EXPECT_EQ(ReadFile(path), expected);  // at once: another process may look
  Use("flash=w25q16,image=" + path);
  EXPECT_EQ(Run("03010010?3 06 D8010000"), "010203");
  EXPECT_EQ(ReadFile(path), Bytes(2 << 20, 0xFF));
}

TEST_F(SimFlash, ShortImageIsFilledUpAndALongOneRefused) {
  const TemporaryFolder folder;
  const std::string path = folder.File("flash.bin");
  WriteFile(path, {9, 8, 7});
  Use("flash=w25q16,image=" + path);
  EXPECT_EQ(Run("03000001?3"), "0807FF");
  EXPECT_EQ(ReadFile(path).size(), size_t{2} << 20);
  WriteFile(path, Bytes((2 << 20) + 1, 0x00));
  for (const auto& [options, told] :
       {std::pair("flash=w25q16,image=" + path, "larger than the w25q16"),
        {"flash=none,image=" + path, "flash=none"},
        {"image=" + folder.File("no/such/folder"), "neither opened nor created"}}) {
    std::string whyNot;
    EXPECT_EQ(MakeBench(options, &whyNot), nullptr);
    EXPECT_NE(whyNot.find(told), std::string::npos) << whyNot;
  }
}

class SimI2c : public testing::Test {
 protected:
  SimI2c() { Use("adapter=none,frame=800x480"); }
  void Use(const std::string& options) {
    bench_ = MakeBench(options);
    ASSERT_NE(bench_, nullptr);
    master_.emplace(*bench_);
  }

  // Words: S and P for the conditions, bytes to send, ?n to read n bytes of which the last is not
  // acknowledged, ~n to wait n microseconds. Gives back + or - for every byte sent, and the bytes
  // that came. A message ends with the first byte that is not acknowledged.
  std::string Run(const std::string& script) {
    std::string seen;
    bool dead = false;
    std::istringstream words(script);
    for (std::string word; words >> word;) {
      if (word == "S") {
        master_->Start();
        dead = false;
      } else if (word == "P") {
        master_->Stop();
        dead = true;
      } else if (word[0] == '~') {
        bench_->clock().Advance(std::stoul(word.substr(1)) * 1000);
      } else if (word[0] == '?' && !dead) {
        for (size_t left = std::stoul(word.substr(1)); left > 0; --left) {
          const uint8_t byte = master_->Read(left > 1);
          seen += Hex(&byte, 1);
        }
      } else if (word[0] != '?') {
        for (const uint8_t byte : Unhex(word)) {
          if (dead) break;
          dead = !master_->Write(byte);
          seen += dead ? '-' : '+';
        }
      }
    }
    return seen;
  }
  uint8_t Register(uint8_t at) { return bench_->board().controller().Register(at); }

  std::unique_ptr<sim::Bench> bench_;
  std::optional<I2cMaster> master_;
};

TEST_F(SimI2c, LinesAreTheAndOfAllDrivers) {
  sim::I2cWires& wires = bench_->board().i2c();
  const auto a = wires.AddDriver();
  const auto b = wires.AddDriver();
  wires.Drive(a, false, true);
  wires.Drive(b, false, false);
  wires.Drive(a, true, true);
  EXPECT_FALSE(wires.scl());
  EXPECT_FALSE(wires.sda());
  wires.Drive(b, true, true);
  EXPECT_TRUE(wires.scl());
  EXPECT_TRUE(wires.sda());
}

// Each device sees the same levels in the same order, whoever answers an edge from inside it.
TEST_F(SimI2c, EveryDeviceSeesTheSameSequence) {
  struct Recorder : sim::I2cDevice {
    void LinesChanged(bool scl, bool sda) override {
      levels.push_back(static_cast<uint8_t>((scl ? 2 : 0) | (sda ? 1 : 0)));
      if (answer != nullptr && !scl) answer->Drive(driver, true, false);
    }
    Bytes levels;
    sim::I2cWires* answer = nullptr;
    sim::I2cWires::Driver driver = 0;
  };
  sim::I2cWires& wires = bench_->board().i2c();
  Recorder first;
  Recorder second;
  first.answer = &wires;
  first.driver = wires.AddDriver();
  wires.AddDevice(first);
  wires.AddDevice(second);
  wires.Drive(wires.AddDriver(), false, true);
  EXPECT_EQ(first.levels, (Bytes{1, 0}));
  EXPECT_EQ(second.levels, first.levels);
}

const struct {
  const char* name;
  const char* options;
  const char* script;
  const char* seen;
} kMessages[] = {
    {"the controller starts with the frame", "frame=800x480", "S F470 P S F5 ?4 P", "+++2003E001"},
    {"and the second plane behind it", "frame=800x480", "S F46C P S F5 ?1 P", "+++18"},
    {"its registers wrap", "", "S F4FE112233 P S F4FE S F5 ?3 P S F400 S F5 ?1 P",
     "++++++++112233+++33"},
    {"foreign addresses", "", "S 00 P S F2 P S F6 P S A2 P S 74 P", "-----"},
    {"no 10-bit device", "", "S F2A507 P", "-"},
    {"a 10-bit device", "ten-bit=0x1A5", "S F2A5074243 P S F2A6 P S F2A507 S F3A5 ?2 P",
     "++++++-+++++4243"},
    {"the EEPROM wraps inside its page", "", "S A01601020304 P ~6000 S A010 S A1 ?8 P",
     "+++++++++0304FFFFFFFF0102"},
    {"and does not answer while it writes", "",
     "S A00055 P S A0 P ~4500 S A0 P ~500 S A000 S A1 ?1 P", "+++--+++55"},
    {"which begins at a stop only", "", "S A00055 S A000 S A1 ?1 P", "++++++FF"},
    {"no acknowledge", "fault=nak", "S F410 P", "-"},
    {"of the controller", "fault=nak:controller", "S F410 P", "-"},
    {"of another", "fault=nak:eeprom", "S F410 P S A010 P", "++-"},
    {"of one byte", "fault=nak@1", "S F410 P S F410 P", "-++"},
    {"of a later one", "fault=nak@3", "S F4101112 P", "++-"},
    {"of two of them", "fault=nak@1+nak:controller@3", "S F410 P S F410 P", "-+-"},
    {"each with its own count", "fault=nak@2+nak:eeprom@1", "S F410 P S A0 P", "+--"},
    {"with no chance", "fault=nak%0", "S F4101112 P", "++++"},
    {"of one that is not there", "fault=nak:ten-bit@2", "S F4101112 P", "++++"},
};

TEST_F(SimI2c, Scripts) {
  for (const auto& [name, options, script, seen] : kMessages) {
    Use(std::string("adapter=none") + (*options == 0 ? "" : ",") + options);
    EXPECT_EQ(Run(script), seen) << name;
  }
}

TEST_F(SimI2c, SimultaneousChangesAreNeitherStartNorStop) {
  // Into a message with both lines falling at once, and on with an address: nobody listens.
  master_->Set(false, false);
  EXPECT_FALSE(master_->Write(0xF4));
  // Out of a message with both lines rising at once: the message goes on.
  EXPECT_EQ(Run("S F410"), "++");
  master_->Set(false, false);
  master_->Set(true, true);  // this is the first data bit, a 1
  master_->Set(false, true);
  for (int bit = 0; bit < 7; ++bit) {
    for (const bool scl : {false, true, false}) master_->Set(scl, false);
  }
  master_->Set(false, true);
  master_->Set(true, true);
  EXPECT_FALSE(bench_->board().i2c().sda());  // acknowledged
  master_->Set(false, true);
  master_->Stop();
  EXPECT_EQ(Register(0x10), 0x80);
}

TEST_F(SimI2c, StopInTheMiddleOfAByteDropsIt) {
  EXPECT_EQ(Run("S F420"), "++");
  for (int bit = 0; bit < 5; ++bit) {
    for (const bool scl : {false, true, false}) master_->Set(scl, false);
  }
  master_->Stop();
  EXPECT_EQ(Register(0x20), 0);
  EXPECT_EQ(Run("S F4205A P"), "+++");
  EXPECT_EQ(Register(0x20), 0x5A);
}

// The byte arrives; only its acknowledge is lost, and those of the bytes after it are not.
TEST_F(SimI2c, OneLostAcknowledgeLosesNothingElse) {
  ASSERT_EQ(bench_->SetFault("nak@3"), "");
  EXPECT_EQ(Run("S F41011"), "++-");
  EXPECT_TRUE(master_->Write(0x12));
  master_->Stop();
  EXPECT_EQ(bench_->board().controller().Register16(0x10), 0x1211);
}

TEST_F(SimI2c, StuckLinesStayLow) {
  sim::I2cWires& wires = bench_->board().i2c();
  ASSERT_EQ(bench_->SetFault("sda-low@20"), "");
  EXPECT_TRUE(wires.sda());
  EXPECT_EQ(Run("S F410FF P"), "+++");  // stuck after the first bit of the third byte
  EXPECT_EQ(Register(0x10), 0x80);
  EXPECT_FALSE(wires.sda());
  EXPECT_TRUE(wires.scl());
  ASSERT_EQ(bench_->SetFault("scl-low"), "");
  EXPECT_FALSE(wires.scl());
  Run("S F41099 P");  // no edge gets through
  bench_->ClearFaults();
  EXPECT_TRUE(wires.scl());
  EXPECT_TRUE(wires.sda());
  EXPECT_EQ(Register(0x10), 0x80);
}

TEST_F(SimI2c, RandomFaultsRepeatWithTheSeed) {
  const auto run = [this](const std::string& seed) {
    Use("adapter=none,fault=nak%20,seed=" + seed);
    std::string pattern;
    for (int i = 0; i < 64; ++i) pattern += Run("S F40102 P");
    return pattern;
  };
  const std::string once = run("7");
  EXPECT_EQ(run("7"), once);
  EXPECT_NE(run("8"), once);
}

}  // namespace
}  // namespace brisk
