// What the exports write to the debugger output stream, and when.
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

#include "brisk/brisk.h"

#include "base/debug.h"
#include "support/bench_test.h"
#include "support/calls.h"
#include "support/files.h"

namespace brisk {
namespace {

class DebugLines : public BenchTest {
 protected:
  void TearDown() override { BriskEnableDebug(0); }
};

const struct {
  const char* call;
  const char* line;
} kLines[] = {
    {"I2c_Start", "I2c_Start\n"},
    {"I2c_RStart", "I2c_RStart\n"},
    {"I2c_Stop", "I2c_Stop\n"},
    {"I2c_Tx 1A5", "I2c_Tx : 0x000001a5\n"},
    {"I2c_Rx 5", "I2c_Rx : 0x000000ff ack=5\n"},
    {"I2c_BitOut 7", "I2c_BitOut : 0x00000007\n"},
    {"I2c_BitIn", "I2c_BitIn : 0x00000001\n"},
    {"I2cWrite A0", "I2cWrite :  0x000000a0\n"},
    {"I2cRead 1 1", "I2cRead : data = 0x000000ff, ack = 1\n"},
    {"I2cWriteHead 42 3", "I2cWriteHead:device=0x00000042, subadr=0x00000003\n"},
    {"I2cWriteByte F4 10 5A",
     "I2cWriteByte :  device=0x000000f4, subadr=0x00000010, data=0x0000005a\n"},
    {"I2cReadByte F4 10 1",
     "I2cReadByte :  device=0x000000f4, subadr=0x00000010, data=0x0000005a\n"},
    {"I2cReadByte F4 10 null",
     "I2cReadByte :  device=0x000000f4, subadr=0x00000010, data=0x00000000\n"},
    {"I2cWriteData F4 10 2122",
     "I2cWriteData :  device=0x000000f4, cmd=0x00000010, cmdlen=1, data=0x00000021, data len=2\n"},
    {"I2cWriteData F4 - -",
     "I2cWriteData :  device=0x000000f4, cmd=0x00000000, cmdlen=0, data=0x00000000, data len=0\n"},
    {"I2cReadData F4 10 2",
     "I2cReadData : device=0x000000f4, cmd=0x00000010, cmdlen=1, data=0x00000021, data len=2\n"},
    {"I2cSetClockRate 64", "I2cSetClockRate : 100 KHz"},
    {"I2c_String F4-10-55", "I2c_String : F4-10-55\n"},
    {"I2c_ReadStringEx F4-10-F5-", "I2c_ReadStringEx : F4-10-F5-\n"},
    {"I2c_WriteString text", "I2c_WriteString : text\n"},
    {"I2cLib_W1Byte 0 F4 1", ""},
    {"Lpt_Output 1", ""},
    {"SetPortVal 1 1", ""},
    {"SPIInit", ""},
};

TEST_F(DebugLines, EveryLineOfTheTable) {
  for (const auto& [call, line] : kLines) {
    for (const bool on : {false, true}) {
      I2c_Stop();
      BriskEnableDebug(on ? 0x100 : 0);
      ClearDebugText();
      Call(call);
      EXPECT_EQ(DebugText(), on ? line : "") << call;
      BriskEnableDebug(0);
    }
  }
  // With the address of the text.
  char text[16];
  char line[64];
  std::snprintf(line, sizeof line, "I2c_ReadString :  0x%08x, F4-70-F5-\n",
                static_cast<unsigned>(reinterpret_cast<uintptr_t>(text)));
  BriskEnableDebug(1);
  ClearDebugText();
  I2c_ReadString(text, "F4-70-F5-");
  EXPECT_EQ(DebugText(), line);
  // Of bytes that do not count, nothing.
  const uint8_t byte = 0x5A;
  ClearDebugText();
  I2cWriteData(0xF4, &byte, 0, &byte, 0);
  EXPECT_NE(DebugText().find("cmd=0x00000000, cmdlen=0, data=0x00000000"), std::string::npos);
}

// The flash's lines do not wait to be enabled.
TEST_F(DebugLines, OfFlashFiles) {
  const TemporaryFolder folder;
  const std::string in = folder.File("in");
  WriteFile(in, RandomBytes(10));
  for (const auto& [call, lines] :
       {std::pair("SPIProgramFromFile ABC00 123 " + in + " 0",
                  "SPIProgramFromFile, adr = abc00, maxsize=123, szfile=" + in +
                      "\nSPIProgramFromFile, adr = abc00, maxsize=123\n"),
        {"SPIProgramFromFile 1 2 none/none 0",
         "SPIProgramFromFile, adr = 1, maxsize=2, szfile=none/none\n"},
        {"SPIProgramToFile 10 20 " + in,
         "SPIProgramToFile, adr = 10, maxsize=20, szfile=" + in + "\n"},
        {"SPIWriteByte 12345 FF5A", "SPIWriteByte, adr = 12345, data=ff5a\n"},
        {"SPIReadByte FF012345", "SPIReadByte, adr = ff012345\n"}}) {
    ClearDebugText();
    Call(call);
    EXPECT_EQ(DebugText(), lines) << call;
  }
}

// Types without a back end write their lines as usual.
TEST_F(DebugLines, WithoutABackEnd) {
  BriskSetDevice(6);
  BriskEnableDebug(1);
  ClearDebugText();
  I2c_Start();
  EXPECT_EQ(I2cWrite(0xA0), 0u);
  EXPECT_EQ(DebugText(), "I2c_Start\nI2cWrite :  0x000000a0\n");
}

TEST_F(DebugLines, AreCutAt1023Characters) {
  const CDebug log(platform().debugStream);
  const std::string longText(5000, 'x');
  ClearDebugText();
  log.Print(0, "%s", longText.c_str());
  EXPECT_EQ(DebugText(), std::string(1023, 'x'));
  ClearDebugText();
  log.Print(1, "above the threshold");
  log.Print(-1, "below");
  EXPECT_EQ(DebugText(), "below");
}

}  // namespace
}  // namespace brisk
