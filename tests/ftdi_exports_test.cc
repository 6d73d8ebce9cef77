// The I2C_ functions: searching, opening, checks in their order, messages.
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/files.h"
#include "support/ftdi_bench.h"

namespace brisk {
namespace {

constexpr uint32_t kBad = 0xDEAD;  // no handle

class FtdiExports : public FtdiTest {
 protected:
  FtdiExports() { Connect("ft2232c"); }
};

template <typename Function>
uint32_t Count(Function count) {
  uint32_t number = 99;
  EXPECT_EQ(count(&number), 0u);
  return number;
}

TEST_F(FtdiExports, CountingLeavesOutOpenInterfacesAndNamesDoNot) {
  EXPECT_EQ(Count(I2C_GetNumDevices), 1u);  // interface B is none
  OpenFullSpeed();
  EXPECT_EQ(Count(I2C_GetNumDevices), 0u);
  char name[100] = "untouched";
  uint32_t location = 0;
  const auto length = static_cast<uint32_t>(std::strlen(kFullSpeed));
  EXPECT_EQ(I2C_GetDeviceNameLocID(0, nullptr, 100, &location), 23u);
  EXPECT_EQ(I2C_GetDeviceNameLocID(1, name, 100, &location), 22u);
  EXPECT_EQ(I2C_GetDeviceNameLocID(0, name, length, &location), 24u);
  EXPECT_STREQ(name, "untouched");
  EXPECT_EQ(location, 0x21u);
  EXPECT_EQ(I2C_GetDeviceNameLocID(0, name, length + 1, &location), 0u);
  EXPECT_STREQ(name, kFullSpeed);
}

TEST_F(FtdiExports, TheOnlyDevice) {
  uint32_t count = 7;
  uint32_t handle = 0;
  char name[100];
  EXPECT_EQ(I2C_Open(&handle), 0u);
  EXPECT_NE(handle, 0u);
  Connect("ft2232c+talvo");
  EXPECT_EQ(I2C_Open(&handle), 28u);
  host().Unplug(kFullSpeed);
  host().Unplug(kTalvo);
  EXPECT_EQ(Count(I2C_GetNumDevices), 0u);
  EXPECT_EQ((Statuses{I2C_Open(&handle), I2C_GetDeviceNameLocID(0, name, sizeof name, nullptr)}),
            (Statuses{2, 2}));
  EXPECT_EQ(host().calls("FT_OpenEx"), 0u);
  // Without the library.
  Connect("none");
  EXPECT_EQ(I2C_GetNumDevices(&count), 2u);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ((Statuses{I2C_Open(&handle), I2C_Close(1), I2C_SetDeviceLatencyTimer(1, 2)}),
            (Statuses{2, 1, 1}));
  EXPECT_NE(DebugText().find("FTDI: no D2XX library: FTD2XX"), std::string::npos);
}

TEST_F(FtdiExports, OneOpenPerInterface) {
  uint32_t handle = OpenFullSpeed();
  EXPECT_EQ(OpenFullSpeed(), handle);
  EXPECT_EQ(host().calls("FT_OpenEx"), 1u);
  EXPECT_EQ((Statuses{I2C_Close(handle), I2C_Close(handle), I2C_SetMode(handle, 1)}),
            (Statuses{0, 1, 1}));
  // A failed close frees the entry, too, and the next open asks D2XX, which still has it open.
  handle = OpenFullSpeed();
  bench().SetFault("d2xx-fails:FT_Close");
  EXPECT_EQ((Statuses{I2C_Close(handle), I2C_Close(handle)}), (Statuses{4, 1}));
  EXPECT_EQ(I2C_OpenEx(kFullSpeed, 0x21, &handle), 3u);
}

TEST_F(FtdiExports, OpenRefusals) {
  const struct {
    const char* fault;
    const char* name;
    uint32_t location, status;
  } kCases[] = {{"", nullptr, 0x21, 23},
                {"", "Dual RS232 B", 0x22, 25},
                {"", kFullSpeed, 0x99, 26},
                {"d2xx-fails:FT_GetDeviceInfoDetail", kFullSpeed, 0x21, 25},
                {"d2xx-fails:FT_OpenEx", kFullSpeed, 0x21, 4},
                {"d2xx-fails:FT_CreateDeviceInfoList", kFullSpeed, 0x21, 4}};
  uint32_t handle = 0;
  EXPECT_EQ(I2C_OpenEx(kFullSpeed, 0x21, nullptr), 36u);
  for (const auto& [fault, name, location, status] : kCases) {
    EXPECT_EQ(*fault == 0 ? "" : bench().SetFault(fault), "");
    EXPECT_EQ(I2C_OpenEx(name, location, &handle), status) << fault;
    bench().ClearFaults();
  }
  EXPECT_EQ(host().calls("FT_OpenEx"), 1u);
}

TEST_F(FtdiExports, DescriptionsThatAreInterfaces) {
  const struct {
    const char* description;  // of the chip; " A" comes behind it
    uint32_t fullSpeed, hiSpeed;
  } kCases[] = {{"Plain", 1, 2},
                {"lower a", 0, 0},       // " a A": the first " A" is not the end
                {"Some Adapter", 0, 0},  // neither for B
                {"Big Bus", 1, 1}};      // "Big Bus B": the first " B" is not the end
  for (const auto& [description, fullSpeed, hiSpeed] : kCases) {
    Connect("ft2232c");
    host().Unplug(kFullSpeed);
    host().Plug({&sim::kFtdiChips[0], description, "X1", 0x100, false}, nullptr);
    host().Plug({&sim::kFtdiChips[1], description, "X2", 0x200, false}, nullptr);
    EXPECT_EQ(Count(I2C_GetNumDevices), fullSpeed) << description;
    EXPECT_EQ(Count(I2C_GetNumHiSpeedDevices), hiSpeed) << description;
  }
}

TEST_F(FtdiExports, MoreInterfacesThanTheRegistryHolds) {
  for (unsigned i = 0; i < 60; ++i) {
    host().Plug({&sim::kFtdiChips[0], "Row " + std::to_string(i), "R" + std::to_string(i),
                 0x1000 + i * 0x10, false},
                nullptr);
  }
  EXPECT_EQ(Count(I2C_GetNumDevices), 61u);
  for (unsigned i = 0; i < 60; ++i) {
    uint32_t handle = 0;
    const std::string name = "Row " + std::to_string(i) + " A";
    EXPECT_EQ(I2C_OpenEx(name.c_str(), 0x1000 + i * 0x10, &handle), i < 50 ? 0u : 5u) << i;
  }
  EXPECT_EQ(host().calls("FT_OpenEx"), 50u);
}

TEST_F(FtdiExports, HiSpeedNamesAndChannels) {
  Connect("ft2232h+ft4232h");
  EXPECT_EQ(Count(I2C_GetNumHiSpeedDevices), 4u);
  char name[100];
  char channel[5];
  uint32_t location = 0;
  uint32_t type = 9;
  EXPECT_EQ(I2C_GetHiSpeedDeviceNameLocIDChannel(3, name, 100, &location, channel, 5, &type), 0u);
  EXPECT_STREQ(name, "Quad RS232-HS B");
  EXPECT_STREQ(channel, "B");
  EXPECT_EQ(type, uint32_t{I2C_FT4232H_DEVICE});
  const struct {
    uint32_t index;
    char* name;
    uint32_t nameSize;
    char* channel;
    uint32_t channelSize, status;
  } kCases[] = {{4, nullptr, 0, nullptr, 0, 23}, {4, name, 0, nullptr, 0, 29},
                {4, name, 0, channel, 0, 22},    {0, name, 15, channel, 0, 24},
                {0, name, 16, channel, 4, 30},   {0, name, 16, channel, 5, 0}};
  for (const auto& given : kCases) {
    type = 9;
    EXPECT_EQ(
        I2C_GetHiSpeedDeviceNameLocIDChannel(given.index, given.name, given.nameSize, &location,
                                             given.channel, given.channelSize, &type),
        given.status);
    EXPECT_EQ(type, given.status == 0 ? uint32_t{I2C_FT2232H_DEVICE} : 0u);
  }
}

TEST_F(FtdiExports, HiSpeedOpening) {
  Connect("ft2232h");
  host().Plug({&sim::kFtdiChips[1], "Taken", "T1", 0x300, true}, nullptr);
  const struct {
    const char* name;
    uint32_t location;
    const char* channel;
    uint32_t status;
  } kCases[] = {{nullptr, 0x41, nullptr, 23}, {kHiSpeed, 0x41, nullptr, 29},
                {kHiSpeed, 0x41, "C", 31},    {kHiSpeed, 0x41, "", 31},
                {kHiSpeed, 0x41, "AB", 31},   {kHiSpeed, 0x42, "A", 26},
                {"Nobody A", 0x41, "A", 25},  {"Taken A", 0x300, "A", 27},
                {kHiSpeed, 0x41, "a", 0},     {"Dual RS232-HS B", 0x42, "b", 0}};
  for (const auto& [name, location, channel, status] : kCases) {
    uint32_t handle = 0;
    EXPECT_EQ(I2C_OpenHiSpeedDevice(name, location, channel, &handle), status);
  }
  uint32_t type = 0;
  EXPECT_EQ(I2C_GetHiSpeedDeviceType(OpenHiSpeed(), &type), 0u);
  EXPECT_EQ(type, uint32_t{I2C_FT2232H_DEVICE});
  EXPECT_EQ(I2C_GetHiSpeedDeviceType(kBad, &type), 1u);
  EXPECT_EQ(type, 0u);
}

TEST_F(FtdiExports, ChecksOfTransactionsInOrder) {
  const uint32_t handle = Ready(OpenFullSpeed());
  uint8_t bytes[2] = {0xF4, 0x10};
  const PageWriteRecord pages = {2, 16};
  const PageWriteRecord huge = {0x10000, 0x10000};  // 2^32 bytes, not 0
  const auto write = [](uint32_t to, const uint8_t* control, uint32_t controlCount, uint32_t type,
                        const uint8_t* data, uint32_t count, const PageWriteRecord* record) {
    return I2C_Write(to, control, controlCount, 1, 10, 1, type, data, count, 1, 10, record);
  };
  EXPECT_EQ((Statuses{write(kBad, nullptr, 0, 3, nullptr, 0, nullptr),
                      write(handle, nullptr, 0, 3, nullptr, 0, nullptr),
                      write(handle, bytes, 0, 3, nullptr, 0, nullptr),
                      write(handle, bytes, 256, 3, nullptr, 0, nullptr),
                      write(handle, bytes, 1, 3, nullptr, 0, nullptr),
                      write(handle, bytes, 1, 1, nullptr, 0, nullptr),
                      write(handle, bytes, 1, 1, bytes, 0, nullptr),
                      write(handle, bytes, 1, 2, bytes, 65536, nullptr),
                      write(handle, bytes, 1, 2, bytes, 2, nullptr),
                      write(handle, bytes, 1, 2, bytes, 31, &pages),
                      write(handle, bytes, 1, 2, bytes, 31, &huge)}),
            (Statuses{1, 37, 38, 38, 43, 40, 41, 41, 45, 44, 44}));
  const auto read = [](uint32_t from, uint8_t* control, uint32_t controlCount, uint32_t type,
                       uint8_t* data, uint32_t count) {
    return I2C_Read(from, control, controlCount, 1, 10, type, data, count);
  };
  EXPECT_EQ(
      (Statuses{read(kBad, nullptr, 0, 0, nullptr, 0), read(handle, nullptr, 0, 0, nullptr, 0),
                read(handle, bytes, 0, 0, nullptr, 0), read(handle, bytes, 256, 0, bytes, 0),
                read(handle, bytes, 1, 0, bytes, 0), read(handle, bytes, 1, 0, bytes, 65536),
                read(handle, bytes, 1, 0, bytes, 1), read(handle, bytes, 1, 3, bytes, 1)}),
      (Statuses{1, 37, 46, 38, 47, 47, 48, 48}));
  EXPECT_TRUE(Sent().empty());
}

TEST_F(FtdiExports, ChecksOfPinsModesAndClosing) {
  const uint32_t handle = Ready(OpenFullSpeed());
  GpioPins pins{};
  GpioLevels levels{};
  HiSpeedLowGpioPins low{};
  HiSpeedHighGpioPins high{};
  FinalStatePins finalState{};
  EXPECT_EQ((Statuses{I2C_SetGPIOs(kBad, nullptr), I2C_SetGPIOs(handle, nullptr),
                      I2C_SetGPIOs(handle, &pins), I2C_GetGPIOs(kBad, nullptr),
                      I2C_GetGPIOs(handle, nullptr), I2C_GetGPIOs(handle, &levels),
                      I2C_SetHiSpeedDeviceGPIOs(handle, 1, &low, 1, &high)}),
            (Statuses{1, 36, 0, 1, 35, 0, 1}));
  EXPECT_EQ((Statuses{I2C_SetMode(handle, 3), I2C_SetMode(kBad, 1), I2C_SetMode(handle, 4),
                      I2C_SetLoopback(kBad, 1), I2C_InitDevice(kBad, 65536)}),
            (Statuses{49, 1, 0, 1, 1}));
  EXPECT_EQ((Statuses{I2C_CloseDevice(kBad, nullptr), I2C_CloseDevice(handle, nullptr),
                      I2C_CloseDevice(handle, &finalState), I2C_CloseDevice(handle, &finalState)}),
            (Statuses{1, 50, 0, 1}));
  Connect("ft2232h");
  const uint32_t fast = Ready(OpenHiSpeed());
  HiSpeedLowGpioLevels lowLevels{};
  HiSpeedHighGpioLevels highLevels{};
  EXPECT_EQ((Statuses{I2C_SetHiSpeedDeviceGPIOs(fast, 1, &low, 0, nullptr),
                      I2C_SetHiSpeedDeviceGPIOs(fast, 0, nullptr, 1, &high),
                      I2C_GetHiSpeedDeviceGPIOs(fast, 1, &lowLevels, 0, nullptr),
                      I2C_GetHiSpeedDeviceGPIOs(fast, 1, &lowLevels, 1, &highLevels)}),
            (Statuses{36, 36, 36, 0}));
}

TEST_F(FtdiExports, ClocksAndLatency) {
  uint32_t frequency = 5;
  EXPECT_EQ(I2C_GetClock(65536, &frequency), 34u);
  EXPECT_EQ(frequency, 5u);
  const struct {
    uint32_t divisor, fullSpeed, hiSpeed;
  } kCases[] = {{0, 6000000, 30000000}, {59, 100000, 500000}, {65535, 91, 457}};
  for (const auto& [divisor, fullSpeed, hiSpeed] : kCases) {
    EXPECT_EQ(I2C_GetClock(divisor, &frequency), 0u);
    EXPECT_EQ(frequency, fullSpeed);
    EXPECT_EQ(I2C_GetHiSpeedDeviceClock(divisor, &frequency), 0u);
    EXPECT_EQ(frequency, hiSpeed);
  }
  EXPECT_EQ((Statuses{I2C_SetClock(kBad, 65536, &frequency), I2C_SetClock(kBad, 0, &frequency)}),
            (Statuses{34, 1}));

  Connect("ft2232h+ft2232c");
  const uint32_t fast = OpenHiSpeed();
  const uint32_t slow = Ready(OpenFullSpeed());
  const auto clockOf = [&](uint32_t handle, uint32_t divisor) {
    EXPECT_EQ(I2C_SetClock(handle, divisor, &frequency), 0u);
    return frequency;
  };
  EXPECT_EQ(clockOf(slow, 29), 200000u);
  EXPECT_EQ(host().Find(kFullSpeed)->mpsse().divisor(), 29u);
  EXPECT_EQ(clockOf(fast, 0), 6000000u);  // the prescaler is on until it is switched off
  EXPECT_EQ(I2C_TurnOffDivideByFiveClockingHiSpeedDevice(slow), 1u);
  Ready(fast);
  EXPECT_EQ(clockOf(fast, 0), 30000000u);
  EXPECT_EQ(I2C_TurnOffDivideByFiveClockingHiSpeedDevice(fast), 0u);
  EXPECT_FALSE(host().Find(kHiSpeed)->mpsse().divideByFive());
  EXPECT_EQ(I2C_TurnOnDivideByFiveClockingHiSpeedDevice(fast), 0u);
  EXPECT_EQ(clockOf(fast, 0), 6000000u);
  EXPECT_EQ(host().Find(kHiSpeed)->mpsse().bitTimeNs(), 166u);

  uint8_t latency = 0;
  EXPECT_EQ((Statuses{I2C_SetDeviceLatencyTimer(kBad, 1), I2C_SetDeviceLatencyTimer(kBad, 2),
                      I2C_SetDeviceLatencyTimer(slow, 77)}),
            (Statuses{32, 1, 0}));
  EXPECT_EQ(I2C_GetDeviceLatencyTimer(slow, &latency), 0u);
  EXPECT_EQ(latency, 77u);
}

TEST_F(FtdiExports, MessagesAndVersion) {
  char text[100];
  const struct {
    const char* language;
    uint32_t code, status;
    const char* message;
  } kCases[] = {
      {"EN", 0, 0, ""},
      {"EN", 5, 0, "Insufficient resources available to execute function."},
      {"EN", 41, 0, "Invalid number of data bytes to be written. Valid range is 1 - 65535"},
      {"EN", 57, 0, "Unknown status code = "},
      {"EN", 7, 57, "Unknown status code = 7"},
      {"EN", 19, 57, "Unknown status code = 19"},
      {"EN", 58, 57, "Unknown status code = 58"},
      {"EN", 0xFFFFFFFF, 57, "Unknown status code = 4294967295"},
      {"xx", 7, 57, "Unknown status code = 7"},
      {"en", 1, 56, "Unsupported language code."},
      {"", 1, 56, "Unsupported language code."},
      {"ENG", 0, 56, "Unsupported language code."},
  };
  for (const auto& [language, code, status, message] : kCases) {
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(I2C_GetErrorCodeString(language, code, text, sizeof text), status) << code;
    EXPECT_STREQ(text, message);
    std::memset(text, '#', sizeof text);
    const auto length = static_cast<uint32_t>(std::strlen(message));
    EXPECT_EQ(I2C_GetErrorCodeString(language, code, text, length), 55u) << code;
    EXPECT_EQ(text[0], '#');
    EXPECT_EQ(I2C_GetErrorCodeString(language, code, text, length + 1), status) << code;
  }
  std::string all;
  for (uint32_t code = 0; code <= 57; ++code) {
    if (I2C_GetErrorCodeString("EN", code, text, sizeof text) == 0) all += text;
  }
  EXPECT_EQ(Digest(all), 0x285220E1u);
  EXPECT_EQ(I2C_GetErrorCodeString(nullptr, 1, nullptr, 100), 53u);
  EXPECT_EQ(I2C_GetErrorCodeString("EN", 1, nullptr, 100), 54u);
  *text = 0;
  EXPECT_EQ((Statuses{I2C_GetDllVersion(nullptr, 8), I2C_GetDllVersion(text, 3)}),
            (Statuses{51, 52}));
  EXPECT_STREQ(text, "");
  EXPECT_EQ(I2C_GetDllVersion(text, 4), 0u);
  EXPECT_STREQ(text, "2.0");
}

}  // namespace
}  // namespace brisk
