// The texts that describe a bench and its faults.
#include <gtest/gtest.h>

#include "sim/board/nor_flash.h"
#include "sim/config/adapter.h"
#include "sim/config/options.h"

namespace brisk::sim {
namespace {

TEST(SimOptions, EmptyTextIsTheDefaultBench) {
  Options options;
  ASSERT_EQ(ParseOptions("", &options), "");
  EXPECT_EQ(options.adapters, std::vector<std::string>{"lpt"});
  EXPECT_STREQ(options.flash->name, "w25q32");
  EXPECT_EQ(options.frameWidth, 1024u);
  EXPECT_EQ(options.frameHeight, 768u);
  EXPECT_EQ(options.tenBitAddress, -1);
  EXPECT_FALSE(options.realClock);
  EXPECT_TRUE(options.nt);
}

TEST(SimOptions, EveryKeyArrives) {
  Options options;
  ASSERT_EQ(ParseOptions("adapter=lpt-b,flash=w25q128,chip-erase-ms=40000,image=a,,b.bin,"
                         "frame=640x480,ten-bit=0x3A5,trace=t.vcd,clock=real,seed=9,system=9x,"
                         "debug=stderr,fault=nak:eeprom@2+disk-full:1000+sda-low%5",
                         &options),
            "");
  EXPECT_EQ(options.adapters, std::vector<std::string>{"lpt-b"});
  EXPECT_STREQ(options.flash->name, "w25q128");
  EXPECT_EQ(options.chipEraseMs, 40000u);
  EXPECT_EQ(options.image, "a,b.bin");
  EXPECT_EQ(options.frameWidth, 640u);
  EXPECT_EQ(options.frameHeight, 480u);
  EXPECT_EQ(options.tenBitAddress, 0x3A5);
  EXPECT_EQ(options.trace, "t.vcd");
  EXPECT_TRUE(options.realClock);
  EXPECT_EQ(options.seed, 9u);
  EXPECT_FALSE(options.nt);
  EXPECT_TRUE(options.debugToStderr);
  ASSERT_EQ(options.faults.size(), 3u);
  EXPECT_EQ(options.faults[0].kind, FaultKind::kNak);
  EXPECT_EQ(options.faults[0].argument, "eeprom");
  EXPECT_EQ(options.faults[0].at, 2u);
  EXPECT_EQ(options.faults[1].number, 1000u);
  EXPECT_EQ(options.faults[2].percent, 5u);
}

struct Wrong {
  const char* text;
  const char* said;
};

TEST(SimOptions, WrongTextsSayWhatIsKnown) {
  const Wrong cases[] = {
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
      {"fault=nak@x", "an occasion is a number"},
      {"fault=nak%200", "a chance is a whole number of percent"},
      {"fault=sda-low:1", "fault 'sda-low' takes no argument"},
      {"fault=disk-full", "fault 'disk-full' needs a number"},
      {"fault=flash-busy:long", "takes a number, not 'long'"},
  };
  for (const Wrong& test : cases) {
    Options options;
    const std::string wrong = ParseOptions(test.text, &options);
    EXPECT_NE(wrong.find(test.said), std::string::npos) << test.text << " -> " << wrong;
  }
}

TEST(SimOptions, HelpNamesEveryKeyThatAnErrorNames) {
  Options options;
  const std::string wrong = ParseOptions("nothing=1", &options);
  const std::string help = OptionsHelp();
  size_t keys = 0;
  for (size_t start = wrong.find("known: ") + 7; start < wrong.size(); ++keys) {
    const size_t end = std::min(wrong.find(", ", start), wrong.size());
    const std::string key = wrong.substr(start, end - start);
    EXPECT_NE(help.find(key + "="), std::string::npos) << key;
    start = end + 2;
  }
  EXPECT_GE(keys, 12u);
}

}  // namespace
}  // namespace brisk::sim
