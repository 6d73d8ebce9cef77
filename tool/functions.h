#pragma once

// Every function of the library that the tool calls, once: NAMED ones have a Windows name of their
// own (the I2cLib_ family's encodes the parameter types, the I2C_ family's carries the size of the
// arguments in bytes), SIMULATED ones are in the simulated bench's library alone.
// clang-format off
#define BRISK_TOOL_FUNCTIONS(PLAIN, NAMED, SIMULATED) \
  PLAIN(BriskSetDevice) \
  PLAIN(BriskEnableDebug) \
  PLAIN(BriskSetProgressCallback) \
  PLAIN(I2cSetClockRate) \
  PLAIN(I2cReadByte) \
  PLAIN(I2cWriteData) \
  PLAIN(I2cReadData) \
  NAMED(I2cLib_Write, "?I2cLib_Write@@YAEEGPAEI0I@Z") \
  PLAIN(I2c_String) \
  PLAIN(I2c_ReadString) \
  PLAIN(I2c_ReadStringEx) \
  PLAIN(Lpt_Output) \
  PLAIN(Lpt_Input) \
  PLAIN(SetPortVal) \
  PLAIN(GetPortVal) \
  PLAIN(Sddi_Erase) \
  PLAIN(Sddi_Bitblt) \
  PLAIN(Sddi_Bitblt_Copy) \
  PLAIN(Sddi_Bitmap) \
  PLAIN(Sddi_Jpeg) \
  PLAIN(Pll_Clock) \
  PLAIN(Pll_Nandu) \
  PLAIN(SPIInit) \
  PLAIN(SPIReadID) \
  PLAIN(SPIBulkErase) \
  PLAIN(SPISectorErase) \
  PLAIN(SPIWriteByte) \
  PLAIN(SPIReadByte) \
  PLAIN(SPIProgramFromFile) \
  PLAIN(SPIProgramToFile) \
  PLAIN(SPISetClockRate) \
  PLAIN(uart_connect) \
  PLAIN(uart_mag_connect) \
  NAMED(I2C_GetDeviceNameLocID, "_I2C_GetDeviceNameLocID@16") \
  NAMED(I2C_GetHiSpeedDeviceNameLocIDChannel, "_I2C_GetHiSpeedDeviceNameLocIDChannel@28") \
  NAMED(I2C_OpenEx, "_I2C_OpenEx@12") \
  NAMED(I2C_OpenHiSpeedDevice, "_I2C_OpenHiSpeedDevice@16") \
  NAMED(I2C_Close, "_I2C_Close@4") \
  NAMED(I2C_InitDevice, "_I2C_InitDevice@8") \
  NAMED(I2C_SetMode, "_I2C_SetMode@8") \
  NAMED(I2C_SetGPIOs, "_I2C_SetGPIOs@8") \
  NAMED(I2C_SetHiSpeedDeviceGPIOs, "_I2C_SetHiSpeedDeviceGPIOs@20") \
  NAMED(I2C_GetGPIOs, "_I2C_GetGPIOs@8") \
  NAMED(I2C_GetHiSpeedDeviceGPIOs, "_I2C_GetHiSpeedDeviceGPIOs@20") \
  NAMED(I2C_Write, "_I2C_Write@48") \
  NAMED(I2C_Read, "_I2C_Read@32") \
  NAMED(I2C_GetErrorCodeString, "_I2C_GetErrorCodeString@16") \
  SIMULATED(BriskSimConfigure) \
  SIMULATED(BriskSimSnapshot)
// clang-format on
