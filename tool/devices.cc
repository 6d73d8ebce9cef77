#include "devices.h"

#include <array>

#include "brisk/brisk.h"

#include "text.h"

namespace brisk::tool {
namespace {

constexpr unsigned kPort = kI2c | kString | kFlash | kPicture | kPll | kLines;

constexpr std::array kDevices = {
    DeviceType{
        .number = BRISK_DEVICE_LPT, .name = "lpt", .text = "PC parallel port", .abilities = kPort},
    DeviceType{.number = BRISK_DEVICE_U2C,
               .name = "u2c",
               .text = "USB-to-I2C/SPI adapter",
               .abilities = kPort,
               .mostBytes = 256,
               .longestTransfer = 4096,
               .byteErases = ByteErases::kChip},
    DeviceType{.number = BRISK_DEVICE_DEBUG_BOARD,
               .name = "debug-board",
               .text = "USB debug board",
               .abilities = kI2c | kFlash | kLines | kRegisterRead | kRegisterWrite,
               .probe = Probe::kNone,
               .acknowledges = false,
               .erasesOnProgram = true,
               .packetsStray = true,
               .alignsPages = true,
               .byteErases = ByteErases::kNothing},
    DeviceType{.number = BRISK_DEVICE_UART,
               .name = "uart",
               .text = "UART-to-I2C bridge",
               .abilities = kI2c,
               .serial = true,
               .simulatedPort = 3,
               .readsBlocks = false},
    DeviceType{.number = BRISK_DEVICE_TCON_USB,
               .name = "tcon-usb",
               .text = "USB timing-controller board",
               .abilities = kI2c | kRegisterRead | kRegisterWrite,
               .probe = Probe::kRegister},
    DeviceType{.number = BRISK_DEVICE_LPT_B,
               .name = "lpt-b",
               .text = "PC parallel port, second wiring",
               .abilities = kPort},
    DeviceType{.number = BRISK_DEVICE_TEXT_BRIDGE,
               .name = "text-bridge",
               .text = "serial text bridge",
               .abilities = kI2c,
               .serial = true,
               .simulatedPort = 7},
    DeviceType{.number = BRISK_DEVICE_FTDI,
               .name = "ftdi",
               .adapter = "ft2232c",
               .text = "FTDI board with an MPSSE on interface A",
               .abilities = kI2c | kFlash | kRegisterWrite,
               .probe = Probe::kFtdiFamily,
               .acknowledges = false},
    DeviceType{.number = BRISK_DEVICE_LPT_C,
               .name = "lpt-c",
               .text = "PC parallel port, third wiring",
               .abilities = kPort},
};

struct AbilityText {
  Ability ability;
  const char* name;
};

constexpr std::array<AbilityText, 8> kAbilityNames = {{
    {kI2c, "i2c"},
    {kString, "string"},
    {kFlash, "flash"},
    {kPicture, "picture"},
    {kPll, "pll"},
    {kLines, "port lines"},
    {kRegisterRead, "port get"},
    {kRegisterWrite, "port set"},
}};

}  // namespace

std::span<const DeviceType> DeviceTypes() { return kDevices; }

const DeviceType* FindDevice(std::string_view nameOrNumber) {
  const std::optional<uint32_t> number = ParseNumber(nameOrNumber);
  for (const DeviceType& device : kDevices) {
    if (nameOrNumber == device.name || number == device.number) return &device;
  }
  return nullptr;
}

std::vector<std::string> DevicesThatCan(unsigned abilities) {
  std::vector<std::string> names;
  for (const DeviceType& device : kDevices) {
    if (device.Can(abilities)) names.emplace_back(device.name);
  }
  return names;
}

std::vector<std::string> AbilityNames(unsigned abilities) {
  std::vector<std::string> names;
  for (const AbilityText& row : kAbilityNames) {
    if ((abilities & row.ability) != 0) names.emplace_back(row.name);
  }
  return names;
}

}  // namespace brisk::tool
