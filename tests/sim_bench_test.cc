// The simulated PC: clock, ports and the board behind them, connectors, files, faults, and the
// texts that describe it.
#include <gtest/gtest.h>
#include <thread>

#include "brisk/brisk.h"
#include "brisk/brisk_sim.h"

#include "api/attach.h"
#include "sim/adapters/lpt/lpt_adapter.h"
#include "sim/board/nor_flash.h"
#include "sim/board/timing_controller.h"
#include "sim/config/adapter_kinds.h"
#include "sim/config/options.h"
#include "support/files.h"
#include "support/wire_master.h"

namespace brisk {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(SimClock, VirtualTimePassesOnlyByWhatIsDone) {
  sim::VirtualClock clock;
  EXPECT_EQ(clock.Now(), 0u);
  clock.Sleep(5000);
  EXPECT_EQ(clock.Now(), 5'000'000'000u);
  const uint64_t before = clock.Now();
  const uint64_t tsc = clock.TimeStampCounter();
  EXPECT_EQ(clock.Now() - before, 20u);
  clock.Sleep(0);
  EXPECT_GT(clock.Now(), before + 20);
  // All sources agree, and the ticks wrap.
  const uint32_t tick = clock.TickCount();
  const int64_t performance = clock.PerformanceCounter();
  const int64_t local = clock.LocalTime();
  clock.Advance(1'000'000'000);
  EXPECT_EQ(clock.TickCount() - tick, 1000u);
  EXPECT_NEAR(static_cast<double>(clock.TimeStampCounter() - tsc), 3e9, 3e4);
  EXPECT_NEAR(static_cast<double>(clock.PerformanceCounter() - performance),
              static_cast<double>(clock.PerformanceFrequency()), 100);
  EXPECT_NEAR(static_cast<double>(clock.LocalTime() - local), 1e7, 100);
  clock.Advance(uint64_t{0xFFFFFFFF} * 1'000'000 - clock.Now());
  EXPECT_EQ(clock.TickCount(), 0xFFFFFFFFu);
  clock.Advance(1'000'000);
  EXPECT_EQ(clock.TickCount(), 0u);
}

TEST(SimClock, ThreadsLoseNoTime) {
  sim::VirtualClock clock;
  const auto read = [&clock] {
    for (int i = 0; i < 10'000; ++i) clock.TimeStampCounter();
  };
  std::thread other(read);
  read();
  other.join();
  EXPECT_EQ(clock.Now(), 20'000u * 20);
}

TEST(SimClock, RealTimePassesByItself) {
  sim::VirtualClock clock(true);
  const uint64_t start = clock.Now();
  clock.Spend(1'000'000'000'000);
  clock.Sleep(2);
  EXPECT_GE(clock.Now() - start, 2'000'000u);
  EXPECT_LT(clock.Now() - start, 100'000'000'000u);
}

TEST(SimPorts, EmptyPortsReadHighAndEveryAccessCounts) {
  const auto bench = MakeBench("adapter=none");
  sim::PortBus& ports = bench->ports();
  ports.Out(0x378, 0);
  EXPECT_EQ(ports.In(0x379), 0xFF);
  EXPECT_EQ(ports.In(0x80), 0xFF);
  EXPECT_EQ(ports.writes(), 1u);
  EXPECT_EQ(ports.reads(), 2u);
  EXPECT_EQ(bench->clock().Now(), 3000u);
}

TEST(SimPorts, TwoWiringsExcludeOneAnother) {
  std::string whyNot;
  EXPECT_EQ(MakeBench("adapter=lpt+lpt-b", &whyNot), nullptr);
  EXPECT_EQ(whyNot, "adapter=lpt-b: the parallel port at 0x378 has another adapter on it already");
}

// Everything on the board's lines, by letters for those that are high: SCL and SDA as L and A, CS,
// SCK and MOSI as c, k and m, the picture port's ONE and ZERO as 1 and 0.
class Lines final : public sim::SpiDevice, public sim::PictureDevice {
 public:
  explicit Lines(sim::Bench& bench) : wires_(bench.board().i2c()) {
    bench.board().spi().SetDevice(this);
    bench.board().picture().SetDevice(this);
  }
  void LinesChanged(bool cs, bool sck, bool mosi) override { cs_ = cs, sck_ = sck, mosi_ = mosi; }
  void LinesChanged(bool one, bool zero) override { one_ = one, zero_ = zero; }
  bool Miso() const override { return miso; }
  std::string Shown() const {
    std::string text;
    for (const auto& [level, letter] : {std::pair(wires_.scl(), 'L'),
                                        {wires_.sda(), 'A'},
                                        {cs_, 'c'},
                                        {sck_, 'k'},
                                        {mosi_, 'm'},
                                        {one_, '1'},
                                        {zero_, '0'}}) {
      if (level) text += letter;
    }
    return text;
  }
  bool miso = true;

 private:
  const sim::I2cWires& wires_;
  bool cs_ = true, sck_ = false, mosi_ = true, one_ = true, zero_ = true;
};

// One register write from idle, and where every line is then.
TEST(SimPorts, RegisterBitsMoveTheLinesOfTheirWiring) {
  const struct {
    const char* adapter;
    uint16_t port;
    uint8_t value;
    const char* lines;
  } kCases[] = {{"lpt", 0x378, 0xFC, "ckm0"},      {"lpt", 0x378, 0x02, "L1"},
                {"lpt", 0x378, 0x01, "A"},         {"lpt", 0x378, 0x4C, "ckm0"},
                {"lpt", 0x37A, 0x00, "LAcm10"},    {"lpt-b", 0x378, 0xFF, "Lckm10"},
                {"lpt-b", 0x378, 0x7F, "LAckm10"}, {"lpt-b", 0x378, 0x00, "LA"},
                {"lpt-b", 0x37A, 0xF7, "Acm10"},   {"lpt-c", 0x378, 0x80, "L"},
                {"lpt-c", 0x37A, 0x00, "Acm10"}};
  for (const auto& [adapter, port, value, expected] : kCases) {
    const auto bench = MakeBench(std::string("flash=none,adapter=") + adapter);
    const Lines lines(*bench);
    bench->ports().Out(port, value);
    EXPECT_EQ(lines.Shown(), expected) << adapter << ' ' << port << ' ' << int{value};
  }
}

TEST(SimPorts, StatusShowsTheInputsOfItsWiring) {
  const struct {
    const char* adapter;
    bool sda, miso;
    uint8_t sdaAndMiso;  // status bits
    uint8_t mask;
  } kCases[] = {{"lpt", true, true, 0x50, 0x50},    {"lpt", false, true, 0x40, 0x50},
                {"lpt", true, false, 0x10, 0x50},   {"lpt-b", true, false, 0x80, 0xC0},
                {"lpt-b", false, true, 0x40, 0xC0}, {"lpt-c", true, true, 0x40, 0xC0},
                {"lpt-c", false, false, 0x80, 0xC0}};
  for (const auto& test : kCases) {
    const auto bench = MakeBench(std::string("flash=none,adapter=") + test.adapter);
    Lines lines(*bench);
    lines.miso = test.miso;
    bench->board().spi().Drive(false, true, false);
    EXPECT_EQ(test.sda ? "" : bench->SetFault("sda-low"), "");
    // What is not connected is high, behind the port's own inverter low.
    EXPECT_EQ(bench->ports().In(0x379), test.sdaAndMiso | (0x7F & ~test.mask))
        << test.adapter << ' ' << test.sda << test.miso;
  }
}

TEST(SimConnectors, LibrariesByNameAndOrdinal) {
  const auto bench = MakeBench("");
  static int byName = 0;
  static int byOrdinal = 0;
  bench->libraries().Add("Vendor", {{"One", 0, &byName}, {"Two", 7, &byOrdinal}});
  const auto library = bench->platform().libraries.Load("Vendor", nullptr);
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(library->Symbol("One", 0), &byName);
  EXPECT_EQ(library->Symbol("One", 99), &byName);  // it has no ordinal: the name counts
  EXPECT_EQ(library->Symbol(nullptr, 7), &byOrdinal);
  EXPECT_EQ(library->Symbol("Two", 8), nullptr);
  EXPECT_EQ(library->Symbol("Three", 0), nullptr);
  std::string whyNot;
  EXPECT_EQ(bench->platform().libraries.Load("Missing", &whyNot), nullptr);
  EXPECT_NE(whyNot.find("Missing"), std::string::npos);
}

TEST(SimFiles, Faults) {
  const TemporaryFolder folder;
  const std::string path = folder.File("a.bin");
  const auto bench = MakeBench("fault=disk-full:10");
  Files& files = bench->platform().files;
  auto file = files.Create(path.c_str());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->Write("12345678", 8), 8u);
  EXPECT_EQ(file->Write("12345678", 8), 2u);
  EXPECT_EQ(file->Write("12345678", 8), 0u);
  EXPECT_FALSE(file->Close());
  EXPECT_EQ(ReadFile(path).size(), 10u);
  ASSERT_EQ(bench->SetFault("open-refused@2"), "");
  EXPECT_NE(files.OpenForReading(path.c_str()), nullptr);
  EXPECT_EQ(files.Create(path.c_str()), nullptr);
  EXPECT_EQ(ReadFile(path).size(), 10u);  // not truncated
  EXPECT_NE(files.OpenForReading(path.c_str()), nullptr);
}

TEST(SimBench, ConfigureExchangesTheBenchUnderTheLibrary) {
  char message[64] = "";
  ASSERT_EQ(BriskSimConfigure("adapter=lpt-c,frame=320x240", message, sizeof message), 0);
  EXPECT_STREQ(message, "");
  BriskSetDevice(BRISK_DEVICE_LPT_C);
  EXPECT_EQ(I2c_ReadStringEx("F4-70-F5="), 320);
  EXPECT_EQ(SPIReadID(), 0xEF4016u);

  EXPECT_EQ(BriskSimConfigure("flsh=none", message, 20), 1);
  EXPECT_STREQ(message, "unknown option 'fls");
  EXPECT_EQ(BriskSimConfigure("adapter=lpt+lpt-c", nullptr, 0), 1);
  EXPECT_EQ(BriskSimConfigure(nullptr, nullptr, 0), 1);
  EXPECT_EQ(I2c_ReadStringEx("F4-72-F5="), 240);  // the old bench stays

  ASSERT_EQ(BriskSimConfigure("flash=none", message, sizeof message), 0);
  EXPECT_EQ(I2c_ReadStringEx("F4-70-F5="), 1024);  // device type 0 again, on its own wiring
  EXPECT_EQ(SPIReadID(), 0xFFFFFFu);
  DetachLibrary();
}

using namespace sim;

// Those that nothing else shows.
TEST(SimOptions, Arrive) {
  Options options;
  ASSERT_EQ(ParseOptions("chip-erase-ms=40000,image=a,,b.bin,clock=real,seed=9,system=9x,"
                         "debug=stderr,fault=sda-low%5",
                         &options),
            "");
  EXPECT_EQ(options.chipEraseMs, 40000u);
  EXPECT_EQ(options.image, "a,b.bin");
  EXPECT_TRUE(options.realClock);
  EXPECT_EQ(options.seed, 9u);
  EXPECT_FALSE(options.nt);
  EXPECT_TRUE(options.debugToStderr);
  EXPECT_EQ(options.faults.at(0).percent, 5u);
}

TEST(SimOptions, WrongTextsSayWhatIsKnown) {
  constexpr std::pair<const char*, const char*> kCases[] = {
      {"flahs=w25q32", "unknown option 'flahs'; did you mean 'flash'? Known: adapter, flash, "},
      {"qqqqqqqq=1", "unknown option 'qqqqqqqq'; known: adapter, "},
      {"flash", "option 'flash' needs a value"},
      {"flash=w25q23", "unknown flash 'w25q23'; did you mean 'w25q"},
      {"adapter=ltp", "unknown adapter 'ltp'; did you mean 'lpt'? Known: none, lpt, lpt-b, lpt-c"},
      {"adapter=lpt+", "unknown adapter ''"},
      {"frame=1024", "frame=1024: WIDTHxHEIGHT"},
      {"frame=0x768", "frame=0x768: WIDTHxHEIGHT"},
      {"frame=70000x10", "frame=70000x10: WIDTHxHEIGHT"},
      {"frame=10x10x10", "frame=10x10x10: WIDTHxHEIGHT"},
      {"ten-bit=0x400", "ten-bit=0x400: an address"},
      {"ten-bit=-2", "ten-bit=-2: an address"},
      {"chip-erase-ms=0", "chip-erase-ms=0: a number"},
      {"clock=vitual", "unknown value of clock 'vitual'; did you mean 'virtual'?"},
      {"seed=1a", "seed=1a: a number is needed"},
      {"fault=nack", "unknown fault 'nack'; did you mean 'nak'?"},
      {"fault=nak:eprom", "unknown device 'eprom'; did you mean 'eeprom'?"},
      {"fault=nak@x", "an occasion is a number from 1"},
      {"fault=nak@0", "an occasion is a number from 1"},
      {"fault=nak+", "unknown fault ''"},
      {"fault=nak%200", "a chance is a whole number of percent"},
      {"fault=sda-low:1", "fault 'sda-low' takes no argument"},
      {"fault=disk-full", "fault 'disk-full' needs a number"},
      {"fault=flash-busy:long", "takes a number, not 'long'"},
      {"adapter=ft2232h,fault=d2xx-fails:FT_Wirte", "'FT_Wirte'; did you mean 'FT_Write'?"},
      {"adapter=u2c,fault=u2c-fails:FT_Write", "unknown U2C function 'FT_Write'; known: U2C_"},
      {"fault=line-gone,adapter=u2c", "that are not connected: uart text-bridge"},
      {"adapter=text-bridge,fault=line-width",
       "'line-width' is of adapters that are not connected"},
  };
  for (const auto& [text, said] : kCases) {
    Options options;
    const std::string wrong = ParseOptions(text, &options);
    EXPECT_NE(wrong.find(said), std::string::npos) << text << " -> " << wrong;
  }
}

}  // namespace
}  // namespace brisk
