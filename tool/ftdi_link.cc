#include "ftdi_link.h"

#include <algorithm>
#include <array>

#include "text.h"

namespace brisk::tool {
namespace {

constexpr const char* kSimulatedChip = "ft2232c";
constexpr uint32_t kMostInterfaces = 50;
constexpr uint32_t kFullSpeedKHz = 12000;
constexpr uint32_t kHiSpeedKHz = 60000;
constexpr uint32_t kDefaultRate = 100;
constexpr uint32_t kMostDivisor = 65535;
constexpr uint32_t kLowPins = 8;  // where GPIOL0 stands in the masks
// Without GPIOL0, which the library always drives high. The FT4232H has no GPIOH pins.
constexpr uint32_t kLowPinMask = 0xE00;
constexpr uint32_t kHighPinMask = 0x0FF;

// Statuses that the advice distinguishes.
constexpr uint32_t kDeviceNotFound = 2;
constexpr uint32_t kDeviceNotOpened = 3;
constexpr uint32_t kInUse = 27;
constexpr uint32_t kNoControlAcknowledge = 39;
constexpr uint32_t kNoDataAcknowledge = 42;

const char* Advice(uint32_t status) {
  switch (status) {
    case kDeviceNotFound:
      return "check the cable, and that the FTDI driver library (FTD2XX.dll, libftd2xx.so) is "
             "installed";
    case kDeviceNotOpened:
    case kInUse:
      return "close the other program that has the interface open, and check that you may "
             "access it";
    case kNoControlAcknowledge:
    case kNoDataAcknowledge:
      return "check power and wiring of the board and the address; brisk --device ftdi i2c scan "
             "lists what answers";
    default:
      return "unplug the board, plug it in again and retry";
  }
}

// So that the bus is not faster than asked for.
uint32_t Divisor(uint32_t baseKHz, uint32_t rate) {
  const uint32_t twice = 2 * std::min(rate, baseKHz);
  const uint32_t steps = (baseKHz + twice - 1) / twice;
  return std::clamp(steps, 1U, kMostDivisor + 1) - 1;
}

// Both look at an index of the library's list; false after the last.
bool FullSpeed(const Api& api, uint32_t index, FtdiInterface& found) {
  std::array<char, 128> name{};
  if (api.I2C_GetDeviceNameLocID(index, name.data(), name.size(), &found.location) != 0) {
    return false;
  }
  found.name = name.data();
  return true;
}

bool HiSpeed(const Api& api, uint32_t index, FtdiInterface& found) {
  std::array<char, 128> name{};
  std::array<char, 8> channel{};
  uint32_t type = 0;
  if (api.I2C_GetHiSpeedDeviceNameLocIDChannel(index, name.data(), name.size(), &found.location,
                                               channel.data(), channel.size(), &type) != 0) {
    return false;
  }
  const bool four = type == I2C_FT4232H_DEVICE;
  found.name = name.data();
  found.channel = channel.data();
  found.chip = four ? "FT4232H" : "FT2232H";
  found.hiSpeed = true;
  found.pins = four ? kLowPinMask : kLowPinMask | kHighPinMask;
  return true;
}

uint32_t Bit(uint32_t mask, uint32_t bit) { return mask >> bit & 1U; }

template <typename Levels>
uint32_t Mask(const Levels& levels) {
  uint32_t mask = 0;
  for (uint32_t i = 0; i < std::size(levels.high); ++i) {
    mask |= (levels.high[i] != 0 ? 1U : 0U) << i;
  }
  return mask;
}

}  // namespace

std::vector<FtdiInterface> ListFtdi(Session& session) {
  session.Load(kSimulatedChip);
  std::vector<FtdiInterface> all;
  for (const auto look : {FullSpeed, HiSpeed}) {
    FtdiInterface found;
    for (uint32_t i = 0; i < kMostInterfaces && look(session.api(), i, found); ++i) {
      all.push_back(found);
    }
  }
  return all;
}

std::unique_ptr<FtdiLink> FtdiLink::Open(Session& session, const FtdiSettings& settings) {
  const std::vector<FtdiInterface> all = ListFtdi(session);
  const std::string tried = "open FTDI interface " + std::to_string(settings.index);
  if (all.empty()) {
    throw OperationFailure(tried, "no FTDI interface was found", Advice(kDeviceNotFound));
  }
  if (settings.index >= all.size()) {
    throw UsageFailure(tried, "there are " + std::to_string(all.size()) + ", counted from 0",
                       "see brisk ftdi list");
  }
  std::unique_ptr<FtdiLink> link(new FtdiLink(session, all[settings.index], settings));
  link->Check(tried, link->Start());
  return link;
}

uint32_t FtdiLink::Start() {
  const Api& api = session_.api();
  const uint32_t opened =
      interface_.hiSpeed ? api.I2C_OpenHiSpeedDevice(interface_.name.c_str(), interface_.location,
                                                     interface_.channel.c_str(), &handle_)
                         : api.I2C_OpenEx(interface_.name.c_str(), interface_.location, &handle_);
  if (opened != 0) return opened;
  open_ = true;
  const uint32_t divisor = Divisor(interface_.hiSpeed ? kHiSpeedKHz : kFullSpeedKHz,
                                   session_.options().rate.value_or(kDefaultRate));
  if (const uint32_t status = api.I2C_InitDevice(handle_, divisor); status != 0) return status;
  return api.I2C_SetMode(handle_, settings_.mode);
}

FtdiLink::~FtdiLink() {
  if (open_) session_.api().I2C_Close(handle_);
}

void FtdiLink::Check(const std::string& tried, uint32_t status) const {
  if (status == 0) return;
  std::array<char, 128> message{};
  session_.api().I2C_GetErrorCodeString("EN", status, message.data(), message.size());
  throw OperationFailure(tried, "status " + std::to_string(status) + ": " + message.data(),
                         Advice(status), {{"status", status}});
}

uint32_t FtdiLink::Write(const std::vector<uint8_t>& control, const std::vector<uint8_t>& data) {
  // A byte write sends one byte; a run of several is a page.
  const uint32_t type = data.empty()       ? I2C_NO_WRITE_TYPE
                        : data.size() == 1 ? I2C_BYTE_WRITE_TYPE
                                           : I2C_PAGE_WRITE_TYPE;
  const auto count = static_cast<uint32_t>(data.size());
  const PageWriteRecord page = {1, count};
  return session_.api().I2C_Write(handle_, control.data(), static_cast<uint32_t>(control.size()), 1,
                                  settings_.timeoutMs, 1, type, data.data(), count, 1,
                                  settings_.timeoutMs, &page);
}

uint32_t FtdiLink::Read(std::vector<uint8_t> control, std::vector<uint8_t>& data) {
  const uint32_t type = data.size() == 1 ? I2C_BYTE_READ_TYPE : I2C_BLOCK_READ_TYPE;
  return session_.api().I2C_Read(handle_, control.data(), static_cast<uint32_t>(control.size()), 1,
                                 settings_.timeoutMs, type, data.data(),
                                 static_cast<uint32_t>(data.size()));
}

uint32_t FtdiLink::SetPins(uint32_t outputs, uint32_t levels) {
  const auto pin = [&](uint32_t bit) { return GpioPin{Bit(outputs, bit), Bit(levels, bit)}; };
  if (!interface_.hiSpeed) {
    GpioPins pins{};
    for (uint32_t i = 0; i < std::size(pins.pins); ++i) pins.pins[i] = pin(i);
    return session_.api().I2C_SetGPIOs(handle_, &pins);
  }
  HiSpeedLowGpioPins low{};
  HiSpeedHighGpioPins high{};
  for (uint32_t i = 0; i < std::size(low.pins); ++i) low.pins[i] = pin(kLowPins + i);
  for (uint32_t i = 0; i < std::size(high.pins); ++i) high.pins[i] = pin(i);
  return session_.api().I2C_SetHiSpeedDeviceGPIOs(handle_, 1, &low, 1, &high);
}

uint32_t FtdiLink::GetPins(uint32_t& levels) {
  if (!interface_.hiSpeed) {
    GpioLevels pins{};
    const uint32_t status = session_.api().I2C_GetGPIOs(handle_, &pins);
    levels = Mask(pins);
    return status;
  }
  HiSpeedLowGpioLevels low{};
  HiSpeedHighGpioLevels high{};
  const uint32_t status = session_.api().I2C_GetHiSpeedDeviceGPIOs(handle_, 1, &low, 1, &high);
  levels = Mask(low) << kLowPins | Mask(high);
  return status;
}

}  // namespace brisk::tool
