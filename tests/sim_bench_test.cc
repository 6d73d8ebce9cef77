// The simulated PC: clock, ports and the board behind them, connectors, files, faults.
#include <gtest/gtest.h>
#include <thread>

#include "brisk/brisk.h"
#include "brisk/brisk_sim.h"

#include "api/attach.h"
#include "sim/adapters/lpt/lpt_adapter.h"
#include "sim/board/nor_flash.h"
#include "sim/board/timing_controller.h"
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
  const uint32_t tick = clock.TickCount();
  clock.Advance(1'000'000'000);
  EXPECT_EQ(clock.TickCount() - tick, 1000u);
  const uint64_t before = clock.Now();
  clock.TimeStampCounter();
  EXPECT_EQ(clock.Now() - before, 20u);
  clock.Sleep(0);
  EXPECT_GT(clock.Now(), before + 20);
}

TEST(SimClock, SourcesAgree) {
  sim::VirtualClock clock;
  const uint64_t tsc = clock.TimeStampCounter();
  const int64_t performance = clock.PerformanceCounter();
  const int64_t local = clock.LocalTime();
  clock.Advance(1'000'000'000);
  EXPECT_NEAR(static_cast<double>(clock.TimeStampCounter() - tsc), 3e9, 3e4);
  EXPECT_NEAR(static_cast<double>(clock.PerformanceCounter() - performance),
              static_cast<double>(clock.PerformanceFrequency()), 100);
  EXPECT_NEAR(static_cast<double>(clock.LocalTime() - local), 1e7, 100);
}

TEST(SimClock, TickCountWraps) {
  sim::VirtualClock clock;
  clock.Advance(uint64_t{0xFFFFFFFF} * 1'000'000);
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

struct LineCase {
  const char* adapter;
  uint16_t port;
  uint8_t value;
  bool scl, sda, cs, sck, mosi, one, zero;
};

// One register write from idle, and where every line is then.
TEST(SimPorts, RegisterBitsMoveTheLinesOfTheirWiring) {
  struct Spi : sim::SpiDevice {
    void LinesChanged(bool c, bool k, bool m) override { cs = c, sck = k, mosi = m; }
    bool Miso() const override { return true; }
    bool cs = true, sck = false, mosi = true;
  };
  struct Picture : sim::PictureDevice {
    void LinesChanged(bool o, bool z) override { one = o, zero = z; }
    bool one = true, zero = true;
  };
  const LineCase cases[] = {
      {"lpt", 0x378, 0xFC, false, false, true, true, true, false, true},
      {"lpt", 0x378, 0x02, true, false, false, false, false, true, false},
      {"lpt", 0x378, 0x01, false, true, false, false, false, false, false},
      {"lpt", 0x378, 0x4C, false, false, true, true, true, false, true},
      {"lpt", 0x37A, 0x00, true, true, true, false, true, true, true},
      {"lpt-b", 0x378, 0xFF, true, false, true, true, true, true, true},
      {"lpt-b", 0x378, 0x7F, true, true, true, true, true, true, true},
      {"lpt-b", 0x378, 0x00, true, true, false, false, false, false, false},
      {"lpt-b", 0x37A, 0xF7, false, true, true, false, true, true, true},
      {"lpt-c", 0x378, 0x80, true, false, false, false, false, false, false},
      {"lpt-c", 0x37A, 0x00, false, true, true, false, true, true, true},
  };
  for (const LineCase& test : cases) {
    const auto bench = MakeBench(std::string("flash=none,adapter=") + test.adapter);
    Spi spi;
    Picture picture;
    bench->board().spi().SetDevice(&spi);
    bench->board().picture().SetDevice(&picture);
    bench->ports().Out(test.port, test.value);
    const auto name = std::string(test.adapter) + " " + std::to_string(test.port) + " " +
                      std::to_string(test.value);
    EXPECT_EQ(bench->board().i2c().scl(), test.scl) << name;
    EXPECT_EQ(bench->board().i2c().sda(), test.sda) << name;
    EXPECT_EQ(spi.cs, test.cs) << name;
    EXPECT_EQ(spi.sck, test.sck) << name;
    EXPECT_EQ(spi.mosi, test.mosi) << name;
    EXPECT_EQ(picture.one, test.one) << name;
    EXPECT_EQ(picture.zero, test.zero) << name;
  }
}

struct StatusCase {
  const char* adapter;
  bool sda, miso;
  uint8_t sdaAndMiso;  // status bits
  uint8_t mask;
};

TEST(SimPorts, StatusShowsTheInputsOfItsWiring) {
  const StatusCase cases[] = {
      {"lpt", true, true, 0x50, 0x50},     {"lpt", false, true, 0x40, 0x50},
      {"lpt", true, false, 0x10, 0x50},    {"lpt-b", true, false, 0x80, 0xC0},
      {"lpt-b", false, true, 0x40, 0xC0},  {"lpt-c", true, true, 0x40, 0xC0},
      {"lpt-c", false, false, 0x80, 0xC0},
  };
  struct Spi : sim::SpiDevice {
    void LinesChanged(bool, bool, bool) override {}
    bool Miso() const override { return level; }
    bool level = false;
  };
  for (const StatusCase& test : cases) {
    const auto bench = MakeBench(std::string("flash=none,adapter=") + test.adapter);
    Spi spi;
    spi.level = test.miso;
    bench->board().spi().SetDevice(&spi);
    bench->board().spi().Drive(false, true, false);
    if (!test.sda) {
      EXPECT_EQ(bench->SetFault("sda-low"), "");
    }
    EXPECT_EQ(bench->ports().In(0x379) & test.mask, test.sdaAndMiso)
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

TEST(SimConnectors, WhatIsNotPluggedInIsNotThere) {
  const auto bench = MakeBench("adapter=none");
  Platform& platform = bench->platform();
  std::string whyNot;
  EXPECT_EQ(platform.serialPorts.Open(1, &whyNot), nullptr);
  EXPECT_NE(whyNot.find("COM1"), std::string::npos);
  EXPECT_EQ(platform.devices.Open("\\\\.\\anything", {}), nullptr);
  EXPECT_EQ(platform.services.Connect(), nullptr);
  EXPECT_EQ(platform.deviceInterfaces.Present({}), nullptr);
  EXPECT_TRUE(platform.resources.Find("ICD_SYS").empty());
}

TEST(SimSystem, RecordsAndAnswersAsSet) {
  const auto bench = MakeBench("system=9x");
  Platform& platform = bench->platform();
  EXPECT_FALSE(platform.system.IsNt());
  bench->system().SetNt(true);
  EXPECT_TRUE(platform.system.IsNt());
  platform.scheduler.SetPriorityClass(0x100);
  platform.scheduler.SetThreadPriority(15);
  using Change = sim::PriorityRecorder::Change;
  EXPECT_EQ(bench->scheduler().changes(), (std::vector<Change>{{false, 0x100}, {true, 15}}));
  platform.debugStream.Write("a line\n");
  EXPECT_EQ(bench->debugStream().Lines(), std::vector<std::string>{"a line\n"});
  EXPECT_FALSE(platform.messageQueue.TakeStopRequest());
  bench->messageQueue().Post();
  EXPECT_TRUE(platform.messageQueue.TakeStopRequest());
  EXPECT_FALSE(platform.messageQueue.TakeStopRequest());
}

TEST(SimFiles, WriteReadAndRemove) {
  const TemporaryFolder folder;
  const std::string path = folder.File("a.bin");
  const auto bench = MakeBench("");
  Files& files = bench->platform().files;
  auto file = files.Create(path.c_str());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->Write("hello", 5), 5u);
  EXPECT_TRUE(file->Close());
  file = files.OpenForReading(path.c_str());
  ASSERT_NE(file, nullptr);
  char buffer[8];
  EXPECT_EQ(file->Read(buffer, 5), 5u);
  EXPECT_FALSE(file->AtEnd());  // no read has met the end yet
  EXPECT_EQ(file->Read(buffer, 8), 0u);
  EXPECT_TRUE(file->AtEnd());
  file.reset();
  EXPECT_TRUE(files.Remove(path.c_str()));
  EXPECT_EQ(files.OpenForReading(path.c_str()), nullptr);
  EXPECT_FALSE(files.Remove(path.c_str()));
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

TEST(SimBench, ReplacingChangesThePlatform) {
  ASSERT_EQ(sim::ReplaceBench("adapter=none,frame=320x240"), "");
  EXPECT_EQ(sim::bench().board().controller().Register16(0x70), 320);
  EXPECT_EQ(&platform(), &sim::bench().platform());
  sim::Bench* before = &sim::bench();
  EXPECT_NE(sim::ReplaceBench("frame=1x"), "");
  EXPECT_NE(sim::ReplaceBench("adapter=lpt+lpt-c"), "");
  EXPECT_EQ(&sim::bench(), before);
  EXPECT_EQ(sim::ReplaceBench(""), "");
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
  EXPECT_EQ(BriskSimConfigure("flsh=none", nullptr, 0), 1);
  EXPECT_EQ(BriskSimConfigure(nullptr, nullptr, 0), 1);
  EXPECT_EQ(I2c_ReadStringEx("F4-72-F5="), 240);  // the old bench stays

  ASSERT_EQ(BriskSimConfigure("flash=none", message, sizeof message), 0);
  EXPECT_EQ(I2c_ReadStringEx("F4-70-F5="), 1024);  // device type 0 again, on its own wiring
  EXPECT_EQ(SPIReadID(), 0xFFFFFFu);
  DetachLibrary();
}

}  // namespace
}  // namespace brisk
