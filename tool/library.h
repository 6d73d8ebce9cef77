#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"
#include "brisk/brisk_ftdi.h"
#include "brisk/brisk_serial.h"
#include "brisk/brisk_sim.h"

#include "outcome.h"

namespace brisk::tool {

// Every function of the library that the tool calls, under the function's own name. Those that a
// library may lack stay null.
struct Api {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared takes none.
#define BRISK_TOOL_MEMBER(name) decltype(&::name) name = nullptr
  BRISK_TOOL_MEMBER(BriskSetDevice);
  BRISK_TOOL_MEMBER(BriskGetVersion);
  BRISK_TOOL_MEMBER(BriskEnableDebug);
  BRISK_TOOL_MEMBER(BriskSetProgressCallback);
  BRISK_TOOL_MEMBER(I2cSetClockRate);
  BRISK_TOOL_MEMBER(I2cReadByte);
  BRISK_TOOL_MEMBER(I2cWriteData);
  BRISK_TOOL_MEMBER(I2cReadData);
  BRISK_TOOL_MEMBER(I2cLib_Write);
  BRISK_TOOL_MEMBER(I2c_String);
  BRISK_TOOL_MEMBER(I2c_ReadString);
  BRISK_TOOL_MEMBER(I2c_ReadStringEx);
  BRISK_TOOL_MEMBER(Lpt_Output);
  BRISK_TOOL_MEMBER(Lpt_Input);
  BRISK_TOOL_MEMBER(SetPortVal);
  BRISK_TOOL_MEMBER(GetPortVal);
  BRISK_TOOL_MEMBER(Sddi_Erase);
  BRISK_TOOL_MEMBER(Sddi_Bitblt);
  BRISK_TOOL_MEMBER(Sddi_Bitblt_Copy);
  BRISK_TOOL_MEMBER(Sddi_Bitmap);
  BRISK_TOOL_MEMBER(Sddi_Jpeg);
  BRISK_TOOL_MEMBER(Pll_Clock);
  BRISK_TOOL_MEMBER(Pll_Nandu);
  BRISK_TOOL_MEMBER(SPIInit);
  BRISK_TOOL_MEMBER(SPIReadID);
  BRISK_TOOL_MEMBER(SPIBulkErase);
  BRISK_TOOL_MEMBER(SPISectorErase);
  BRISK_TOOL_MEMBER(SPIWriteByte);
  BRISK_TOOL_MEMBER(SPIReadByte);
  BRISK_TOOL_MEMBER(SPIProgramFromFile);
  BRISK_TOOL_MEMBER(SPIProgramToFile);
  BRISK_TOOL_MEMBER(SPISetClockRate);
  BRISK_TOOL_MEMBER(uart_connect);
  BRISK_TOOL_MEMBER(uart_mag_connect);
  BRISK_TOOL_MEMBER(I2C_GetDeviceNameLocID);
  BRISK_TOOL_MEMBER(I2C_GetHiSpeedDeviceNameLocIDChannel);
  BRISK_TOOL_MEMBER(I2C_OpenEx);
  BRISK_TOOL_MEMBER(I2C_OpenHiSpeedDevice);
  BRISK_TOOL_MEMBER(I2C_Close);
  BRISK_TOOL_MEMBER(I2C_InitDevice);
  BRISK_TOOL_MEMBER(I2C_SetMode);
  BRISK_TOOL_MEMBER(I2C_SetGPIOs);
  BRISK_TOOL_MEMBER(I2C_SetHiSpeedDeviceGPIOs);
  BRISK_TOOL_MEMBER(I2C_GetGPIOs);
  BRISK_TOOL_MEMBER(I2C_GetHiSpeedDeviceGPIOs);
  BRISK_TOOL_MEMBER(I2C_Write);
  BRISK_TOOL_MEMBER(I2C_Read);
  BRISK_TOOL_MEMBER(I2C_GetErrorCodeString);
  // The simulated bench's library alone.
  BRISK_TOOL_MEMBER(BriskSimConfigure);
  BRISK_TOOL_MEMBER(BriskSimSnapshot);
#undef BRISK_TOOL_MEMBER
};

// The library, loaded at run time: the real one, or the one over the simulated bench.
class Library {
 public:
  Library() = default;
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Looks beside the executable, in the lib folder next to its folder, then where the system keeps
  // libraries.
  std::optional<Failure> Load(bool simulated);

  const Api& api() const { return api_; }
  const std::string& path() const { return path_; }

 private:
  std::optional<Failure> Bind(bool simulated);

  void* handle_ = nullptr;
  std::string path_;
  Api api_;
};

}  // namespace brisk::tool
