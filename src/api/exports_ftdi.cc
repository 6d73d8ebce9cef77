// The I2C_ functions: checks in their order, then one operation of the engine. They pass the
// dispatch by: the engine has a lock of its own, and the selected device type does not matter. Null
// pointers without a status of their own come after the checks that have one.
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "brisk/brisk_ftdi.h"

#include "api/ftdi_call.h"

using namespace brisk::ftdi;  // NOLINT(google-build-using-namespace)
using brisk::Number;
using brisk::OnBus;
using brisk::OnHiSpeed;
using brisk::OnOpen;
using brisk::WithEngine;
using brisk::WithoutEngine;

namespace {

using brisk::Buffer;
using brisk::Bytes;

constexpr char kVersion[] = "2.0";
constexpr char kLanguage[] = "EN";
constexpr size_t kMessageSize = 100;
constexpr uint32_t kMostControlBytes = 255;
constexpr uint32_t kMostDataBytes = 65535;
constexpr uint32_t kMinChannelBuffer = 5;

uint32_t CountInterfaces(Speed speed, CMpsseI2c::Opened opened, uint32_t* count) {
  if (count == nullptr) return Number(kNullInputOutputBuffer);
  *count = 0;
  return WithEngine(kDeviceNotFound, [&](CMpsseI2c& engine) {
    const auto [status, positions] = engine.List(speed, opened);
    *count = static_cast<uint32_t>(positions.size());
    return status;
  });
}

template <typename Operation>
uint32_t Open(uint32_t* handle, Operation operation) {
  if (handle == nullptr) return Number(kNullInputOutputBuffer);
  return WithEngine(kDeviceNotFound, [&](CMpsseI2c& engine) {
    const auto [status, opened] = operation(engine);
    if (status == kOk) *handle = opened;
    return status;
  });
}

StatusCode CopyText(std::string_view text, char* buffer, uint32_t size, StatusCode tooSmall) {
  if (size <= text.size()) return tooSmall;
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  return kOk;
}

bool IsChannel(std::string_view channel) {
  return channel == "A" || channel == "B" || channel == "a" || channel == "b";
}

// What the device list says, as far as its location; `detail` is for what else it says.
StatusCode Describe(CMpsseI2c& engine, Speed speed, uint32_t index, char* name, uint32_t nameSize,
                    uint32_t* location, DeviceDetail* detail) {
  auto [status, found] = engine.Detail(speed, index);
  if (status != kOk) return status;
  if (location != nullptr) *location = found.location;
  *detail = std::move(found);
  return CopyText(detail->description, name, nameSize, kNameBufferTooSmall);
}

// 0 for a D2XX type of another family.
uint32_t HiSpeedTypeCode(uint32_t deviceType) {
  if (deviceType == brisk::d2xx::kFt2232h) return I2C_FT2232H_DEVICE;
  return deviceType == brisk::d2xx::kFt4232h ? I2C_FT4232H_DEVICE : 0;
}

bool OutOfRange(uint32_t count, uint32_t most) { return count == 0 || count > most; }

StatusCode CheckData(uint32_t type, const uint8_t* data, uint32_t count,
                     const PageWriteRecord* pages) {
  if (type == I2C_NO_WRITE_TYPE) return kOk;
  if (data == nullptr) return kNullWriteBuffer;
  if (OutOfRange(count, kMostDataBytes)) return kInvalidWriteCount;
  if (type != I2C_PAGE_WRITE_TYPE) return kOk;
  if (pages == nullptr) return kNullPageBuffer;
  const bool enough = count >= uint64_t{pages->pages} * pages->bytesPerPage;
  return enough ? kOk : kTooFewBytesForPages;
}

uint32_t ClockOfDivisor(uint32_t baseClock, uint32_t divisor, uint32_t* frequency) {
  return WithoutEngine([&] {
    if (divisor > kMaxDivisor) return kInvalidDivisor;
    if (frequency == nullptr) return kNullInputOutputBuffer;
    *frequency = BitRate(baseClock, divisor);
    return kOk;
  });
}

template <size_t n>
Pins Pack(const GpioPin (&pins)[n]) {
  Pins packed;
  for (size_t i = 0; i < n; ++i) {
    const auto pin = static_cast<uint8_t>(1U << i);
    if (pins[i].output != 0) packed.Drive(pin, pin);
    if (pins[i].high != 0) packed.Raise(pin);
  }
  return packed;
}

template <size_t n>
void Unpack(uint8_t levels, uint32_t (&high)[n]) {
  for (size_t i = 0; i < n; ++i) high[i] = levels >> i & 1;
}

StatusCode LeavePins(CMpsseI2c& engine, uint32_t handle, const FinalStatePins& state) {
  const struct {
    uint8_t pin;
    uint32_t change, high;
  } kLines[] = {{kScl, state.changeScl, state.sclHigh},
                {kSdaOut, state.changeSda, state.sdaHigh},
                {kChipSelect, state.changeChipSelect, state.chipSelectHigh}};
  Pins pins;
  for (const auto& [pin, change, high] : kLines) {
    if (change != 0) pins.Drive(pin, pin);
    if (high != 0) pins.Raise(pin);
  }
  return pins.outputs != 0 ? engine.SetLowPins(handle, pins.outputs, pins.levels) : kOk;
}

StatusCode BuildMessage(const char* language, StatusCode status, char (&message)[kMessageSize]) {
  const char* const text = MessageOf(status);
  if (text == nullptr) {
    std::snprintf(message, sizeof message, "%s%u", MessageOf(kUnknownStatus), Number(status));
    return kUnknownStatus;
  }
  const bool known = std::string_view(language) == kLanguage;
  std::snprintf(message, sizeof message, "%s", known ? text : MessageOf(kUnsupportedLanguage));
  return known ? kOk : kUnsupportedLanguage;
}

}  // namespace

BRISK_BEGIN_DECLS

uint32_t BRISK_CALL I2C_GetNumDevices(uint32_t* count) {
  return CountInterfaces(Speed::kFull, CMpsseI2c::Opened::kLeftOut, count);
}

uint32_t BRISK_CALL I2C_GetNumHiSpeedDevices(uint32_t* count) {
  return CountInterfaces(Speed::kHi, CMpsseI2c::Opened::kIncluded, count);
}

uint32_t BRISK_CALL I2C_GetDeviceNameLocID(uint32_t index, char* name, uint32_t nameSize,
                                           uint32_t* location) {
  if (name == nullptr) return Number(kNullNameBuffer);
  return WithEngine(kDeviceNotFound, [&](CMpsseI2c& engine) {
    DeviceDetail detail;
    return Describe(engine, Speed::kFull, index, name, nameSize, location, &detail);
  });
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceNameLocIDChannel(uint32_t index, char* name,
                                                         uint32_t nameSize, uint32_t* location,
                                                         char* channel, uint32_t channelSize,
                                                         uint32_t* type) {
  if (type == nullptr) return Number(kNullInputOutputBuffer);
  *type = 0;
  if (name == nullptr) return Number(kNullNameBuffer);
  if (channel == nullptr) return Number(kNullChannelBuffer);
  return WithEngine(kDeviceNotFound, [&](CMpsseI2c& engine) {
    DeviceDetail detail;
    StatusCode status = Describe(engine, Speed::kHi, index, name, nameSize, location, &detail);
    if (status != kOk) return status;
    const char letter = CMpsseI2c::ChannelOf(detail.description);
    if (letter == 0) return kDeviceNotFound;
    if (channelSize < kMinChannelBuffer) return kChannelBufferTooSmall;
    status = CopyText({&letter, 1}, channel, channelSize, kChannelBufferTooSmall);
    *type = HiSpeedTypeCode(detail.type);
    return *type != 0 ? status : kDeviceNotFound;
  });
}

uint32_t BRISK_CALL I2C_Open(uint32_t* handle) {
  return Open(handle, [](CMpsseI2c& engine) { return engine.OpenTheDevice(); });
}

uint32_t BRISK_CALL I2C_OpenEx(const char* name, uint32_t location, uint32_t* handle) {
  return Open(handle, [&](CMpsseI2c& engine) -> Answer<uint32_t> {
    if (name == nullptr) return {kNullNameBuffer};
    return engine.Open(Speed::kFull, name, location);
  });
}

uint32_t BRISK_CALL I2C_OpenHiSpeedDevice(const char* name, uint32_t location, const char* channel,
                                          uint32_t* handle) {
  return Open(handle, [&](CMpsseI2c& engine) -> Answer<uint32_t> {
    if (name == nullptr) return {kNullNameBuffer};
    if (channel == nullptr) return {kNullChannelBuffer};
    if (!IsChannel(channel)) return {kInvalidChannel};
    return engine.Open(Speed::kHi, name, location);
  });
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceType(uint32_t handle, uint32_t* type) {
  if (type == nullptr) return Number(kNullInputOutputBuffer);
  *type = 0;
  return WithEngine(kInvalidHandle, [&](CMpsseI2c& engine) {
    const auto [status, isFt2232h] = engine.QueryHiSpeedType(handle);
    if (status == kOk) *type = isFt2232h ? I2C_FT2232H_DEVICE : I2C_FT4232H_DEVICE;
    return status;
  });
}

uint32_t BRISK_CALL I2C_Close(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.Close(handle); });
}

uint32_t BRISK_CALL I2C_CloseDevice(uint32_t handle, const FinalStatePins* finalState) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (finalState == nullptr) return kNullFinalState;
    const StatusCode status = LeavePins(engine, handle, *finalState);
    return status == kOk ? engine.Close(handle) : status;
  });
}

uint32_t BRISK_CALL I2C_InitDevice(uint32_t handle, uint32_t divisor) {
  return OnOpen(handle, [&](CMpsseI2c& engine) { return engine.Initialise(handle, divisor); });
}

uint32_t BRISK_CALL I2C_TurnOnDivideByFiveClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SetDivideByFive(handle, true); });
}

uint32_t BRISK_CALL I2C_TurnOffDivideByFiveClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SetDivideByFive(handle, false); });
}

uint32_t BRISK_CALL I2C_TurnOnThreePhaseDataClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SetAdaptiveClocking(handle, true); });
}

uint32_t BRISK_CALL I2C_TurnOffThreePhaseDataClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SetAdaptiveClocking(handle, false); });
}

uint32_t BRISK_CALL I2C_SetDeviceLatencyTimer(uint32_t handle, uint8_t milliseconds) {
  return WithEngine(kInvalidHandle, [&](CMpsseI2c& engine) {
    return engine.line().SetLatency(handle, milliseconds);
  });
}

uint32_t BRISK_CALL I2C_GetDeviceLatencyTimer(uint32_t handle, uint8_t* milliseconds) {
  if (milliseconds == nullptr) return Number(kNullInputOutputBuffer);
  return WithEngine(kInvalidHandle, [&](CMpsseI2c& engine) {
    const auto [status, latency] = engine.line().GetLatency(handle);
    if (status == kOk) *milliseconds = latency;
    return status;
  });
}

uint32_t BRISK_CALL I2C_GetClock(uint32_t divisor, uint32_t* frequency) {
  return ClockOfDivisor(kBaseClock, divisor, frequency);
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceClock(uint32_t divisor, uint32_t* frequency) {
  return ClockOfDivisor(kHiSpeedBaseClock, divisor, frequency);
}

uint32_t BRISK_CALL I2C_SetClock(uint32_t handle, uint32_t divisor, uint32_t* frequency) {
  return OnBus([&](CMpsseI2c& engine) {
    if (divisor > kMaxDivisor) return kInvalidDivisor;
    if (!engine.IsOpen(handle)) return kInvalidHandle;
    if (frequency == nullptr) return kNullInputOutputBuffer;
    *frequency = engine.ClockOf(handle, divisor);
    return engine.SetClockDivisor(handle, divisor);
  });
}

uint32_t BRISK_CALL I2C_SetLoopback(uint32_t handle, uint32_t on) {
  return OnOpen(handle, [&](CMpsseI2c& engine) { return engine.SetLoopback(handle, on != 0); });
}

uint32_t BRISK_CALL I2C_SetMode(uint32_t handle, uint32_t mode) {
  return WithEngine(kInvalidHandle, [&](CMpsseI2c& engine) {
    if (!engine.IsOpen(handle)) return kInvalidHandle;
    const bool known =
        mode == I2C_STANDARD_MODE || mode == I2C_FAST_MODE || mode == I2C_STRETCH_DATA_MODE;
    if (!known) return kInvalidMode;
    engine.SetMode(handle, static_cast<Mode>(mode));
    return kOk;
  });
}

uint32_t BRISK_CALL I2C_SetGPIOs(uint32_t handle, const GpioPins* pins) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (pins == nullptr) return kNullInputOutputBuffer;
    return engine.SetHighPins(handle, Pack(pins->pins));
  });
}

uint32_t BRISK_CALL I2C_SetHiSpeedDeviceGPIOs(uint32_t handle, uint32_t changeLow,
                                              const HiSpeedLowGpioPins* low, uint32_t changeHigh,
                                              const HiSpeedHighGpioPins* high) {
  return OnHiSpeed(handle, [&](CMpsseI2c& engine) {
    if (low == nullptr || high == nullptr) return kNullInputOutputBuffer;
    StatusCode status = kOk;
    if (changeLow != 0) status = engine.SetHiSpeedLowGpios(handle, Pack(low->pins));
    if (changeHigh != 0) status = engine.SetHiSpeedHighGpios(handle, Pack(high->pins));
    return status;
  });
}

uint32_t BRISK_CALL I2C_GetGPIOs(uint32_t handle, GpioLevels* levels) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (levels == nullptr) return kNullInputBuffer;
    const auto [status, pins] = engine.GetGpios(handle);
    if (status == kOk) Unpack(pins, levels->high);
    return status;
  });
}

// A level that could not be read is low.
uint32_t BRISK_CALL I2C_GetHiSpeedDeviceGPIOs(uint32_t handle, uint32_t readLow,
                                              HiSpeedLowGpioLevels* low, uint32_t readHigh,
                                              HiSpeedHighGpioLevels* high) {
  return OnHiSpeed(handle, [&](CMpsseI2c& engine) {
    if (low == nullptr || high == nullptr) return kNullInputOutputBuffer;
    engine.WaitForPins();
    Answer<uint8_t> pins;
    if (readLow != 0) {
      pins = engine.GetHiSpeedLowGpios(handle);
      Unpack(pins.value, low->high);
    }
    if (readHigh != 0) {
      pins = engine.GetHiSpeedHighGpios(handle);
      Unpack(pins.value, high->high);
    }
    return pins.status;
  });
}

uint32_t BRISK_CALL I2C_Write(uint32_t handle, const uint8_t* control, uint32_t controlCount,
                              uint32_t controlAck, uint32_t controlTimeout, uint32_t stop,
                              uint32_t writeType, const uint8_t* data, uint32_t count,
                              uint32_t dataAck, uint32_t dataTimeout,
                              const PageWriteRecord* pages) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (control == nullptr) return kNullControlBuffer;
    if (OutOfRange(controlCount, kMostControlBytes)) return kInvalidControlCount;
    if (writeType > I2C_PAGE_WRITE_TYPE) return kInvalidWriteType;
    const StatusCode status = CheckData(writeType, data, count, pages);
    if (status != kOk) return status;
    return engine.Write(handle, {.control = Bytes(control, controlCount),
                                 .controlAck = {controlAck != 0, controlTimeout},
                                 .stop = stop != 0,
                                 .type = static_cast<CMpsseI2c::WriteType>(writeType),
                                 .data = Bytes(data, count),
                                 .dataAck = {dataAck != 0, dataTimeout}});
  });
}

uint32_t BRISK_CALL I2C_Read(uint32_t handle, uint8_t* control, uint32_t controlCount,
                             uint32_t controlAck, uint32_t controlTimeout, uint32_t readType,
                             uint8_t* data, uint32_t count) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (control == nullptr) return kNullControlBuffer;
    if (data == nullptr) return kNullReadBuffer;
    if (OutOfRange(controlCount, kMostControlBytes)) return kInvalidControlCount;
    if (OutOfRange(count, kMostDataBytes)) return kInvalidReadCount;
    if (readType != I2C_BYTE_READ_TYPE && readType != I2C_BLOCK_READ_TYPE) return kInvalidReadType;
    return engine.Read(handle, {.control = Buffer(control, controlCount),
                                .controlAck = {controlAck != 0, controlTimeout},
                                .type = static_cast<CMpsseI2c::ReadType>(readType),
                                .data = Buffer(data, count)});
  });
}

uint32_t BRISK_CALL I2C_GetDllVersion(char* version, uint32_t size) {
  return WithoutEngine([&] {
    if (version == nullptr) return kNullVersionBuffer;
    return CopyText(kVersion, version, size, kVersionBufferTooSmall);
  });
}

uint32_t BRISK_CALL I2C_GetErrorCodeString(const char* language, uint32_t status, char* message,
                                           uint32_t size) {
  return WithoutEngine([&] {
    if (language == nullptr) return kNullLanguage;
    if (message == nullptr) return kNullMessageBuffer;
    char text[kMessageSize];
    const StatusCode result = BuildMessage(language, static_cast<StatusCode>(status), text);
    const StatusCode copied = CopyText(text, message, size, kMessageBufferTooSmall);
    return copied == kOk ? result : copied;
  });
}

BRISK_END_DECLS
