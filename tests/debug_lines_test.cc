// What the exports write to the debugger output stream, and when.
#include <cstdint>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "base/debug.h"
#include "support/bench_test.h"

namespace brisk {
namespace {

class DebugLines : public BenchTest {
 protected:
  void TearDown() override { BriskEnableDebug(0); }
};

std::string AddressLine(const void* pointer) {
  char text[64];
  std::snprintf(text, sizeof text, "I2c_ReadString :  0x%08x, F4-70-F5-\n",
                static_cast<unsigned>(reinterpret_cast<uintptr_t>(pointer)));
  return text;
}

TEST_F(DebugLines, EveryLineOfTheTable) {
  static uint8_t bytes[4];
  static uint32_t word;
  static char text[16];
  struct Case {
    std::function<void()> call;
    std::string line;
  };
  const std::vector<Case> cases = {
      {[] { I2c_Start(); }, "I2c_Start\n"},
      {[] { I2c_RStart(); }, "I2c_RStart\n"},
      {[] { I2c_Stop(); }, "I2c_Stop\n"},
      {[] { I2c_Tx(0x1A5); }, "I2c_Tx : 0x000001a5\n"},
      {[] { I2c_Rx(&word, 5); }, "I2c_Rx : 0x000000ff ack=5\n"},
      {[] { I2c_BitOut(7); }, "I2c_BitOut : 0x00000007\n"},
      {[] { I2c_BitIn(); }, "I2c_BitIn : 0x00000001\n"},
      {[] { I2cWrite(0xA0); }, "I2cWrite :  0x000000a0\n"},
      {[] { I2cRead(bytes, 1); }, "I2cRead : data = 0x000000ff, ack = 1\n"},
      {[] { I2cWriteHead(0x42, 3); }, "I2cWriteHead:device=0x00000042, subadr=0x00000003\n"},
      {[] { I2cWriteByte(0xF4, 0x10, 0x5A); },
       "I2cWriteByte :  device=0x000000f4, subadr=0x00000010, data=0x0000005a\n"},
      {[] { I2cReadByte(0xF4, 0x10, bytes); },
       "I2cReadByte :  device=0x000000f4, subadr=0x00000010, data=0x0000005a\n"},
      {[] { I2cReadByte(0xF4, 0x10, nullptr); },
       "I2cReadByte :  device=0x000000f4, subadr=0x00000010, data=0x00000000\n"},
      {[] {
         const uint8_t command[] = {0x10};
         const uint8_t data[] = {0x21, 0x22};
         I2cWriteData(0xF4, command, 1, data, 2);
       },
       "I2cWriteData :  device=0x000000f4, cmd=0x00000010, cmdlen=1, data=0x00000021, data "
       "len=2\n"},
      {[] { I2cWriteData(0xF4, bytes, 0, bytes, 0); },
       "I2cWriteData :  device=0x000000f4, cmd=0x00000000, cmdlen=0, data=0x00000000, data "
       "len=0\n"},
      {[] {
         const uint8_t command[] = {0x10};
         I2cReadData(0xF4, command, 1, bytes, 2);
       },
       "I2cReadData : device=0x000000f4, cmd=0x00000010, cmdlen=1, data=0x00000021, data len=2\n"},
      {[] { I2cSetClockRate(100); }, "I2cSetClockRate : 100 KHz"},
      {[] { I2c_String("F4-10-55"); }, "I2c_String : F4-10-55\n"},
      {[] { I2c_ReadStringEx("F4-10-F5-"); }, "I2c_ReadStringEx : F4-10-F5-\n"},
      {[] { I2c_ReadString(text, "F4-70-F5-"); }, AddressLine(text)},
      {[] { I2c_WriteString(nullptr, "text"); }, "I2c_WriteString : text\n"},
      {[] { I2cLib_W1Byte(0, 0xF4, 1); }, ""},
      {[] { Lpt_Output(1); }, ""},
      {[] { SetPortVal(1, 1); }, ""},
      {[] { SPIInit(); }, ""},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.line);
    for (const bool on : {false, true}) {
      I2c_Stop();
      BriskEnableDebug(on ? 0x100 : 0);
      ClearDebugText();
      test.call();
      EXPECT_EQ(DebugText(), on ? test.line : "");
      BriskEnableDebug(0);
    }
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
  const std::string longText(5000, 'x');
  ClearDebugText();
  debugLog.Print(0, "%s", longText.c_str());
  EXPECT_EQ(DebugText(), std::string(1023, 'x'));
  ClearDebugText();
  debugLog.Print(1, "above the threshold");
  debugLog.Print(-1, "below");
  EXPECT_EQ(DebugText(), "below");
}

}  // namespace
}  // namespace brisk
