#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <mutex>
#include <string_view>

#include "brisk/brisk_ftdi.h"

#include "adapters/ftdi/engine_owner.h"
#include "adapters/ftdi/i2c_engine.h"
#include "adapters/ftdi/status.h"

// The I2C_ functions: checks in their order, then one operation of the engine. Null pointers
// without a status of their own come after the checks that have one.

using namespace brisk::ftdi;  // NOLINT(google-build-using-namespace)

namespace {

constexpr char kVersion[] = "2.0";
constexpr char kLanguage[] = "EN";
constexpr size_t kMessageSize = 100;
constexpr uint32_t kMostControlBytes = 255;
constexpr uint32_t kMostDataBytes = 65535;

// Runs the operation under the engine lock. Nothing leaves the library: what can still be thrown is
// a lack of memory.
template <typename Operation>
Status WithEngine(Operation operation) {
  try {
    EngineOwner& owner = EngineOwner::Instance();
    const std::lock_guard guard(owner.lock());
    return operation(owner.engine());
  } catch (const std::exception&) {
    return kInsufficientResources;
  }
}

// As WithEngine, for operations that reach an interface: what waits to be sent goes first.
template <typename Operation>
Status OnBus(Operation operation) {
  return WithEngine([&](CMpsseI2c& engine) {
    EngineOwner::Instance().deferred().FlushAll();
    return operation(engine);
  });
}

// As OnBus, for handles of either speed that are open.
template <typename Operation>
Status OnOpen(uint32_t handle, Operation operation) {
  return OnBus([&](CMpsseI2c& engine) {
    const Status status = engine.IsOpen(handle);
    return status == kOk ? operation(engine) : status;
  });
}

template <typename Operation>
Status OnHiSpeed(uint32_t handle, Operation operation) {
  return OnBus([&](CMpsseI2c& engine) {
    const Status status = engine.IsOpenHiSpeed(handle);
    return status == kOk ? operation(engine) : status;
  });
}

template <typename Operation>
Status Open(uint32_t* handle, Operation operation) {
  return WithEngine([&](CMpsseI2c& engine) {
    uint32_t opened = 0;
    if (handle == nullptr) return kNullInputOutputBuffer;
    const Status status = operation(engine, &opened);
    if (status != kOk) return status;
    *handle = opened;
    engine.AddModeRecord(opened);
    return kOk;
  });
}

Status CloseAndForget(CMpsseI2c& engine, uint32_t handle) {
  const Status status = engine.Close(handle);
  engine.RemoveModeRecord(handle);
  return status;
}

bool OutOfRange(uint32_t count, uint32_t most) { return count == 0 || count > most; }

Status CheckData(uint32_t type, const uint8_t* data, uint32_t count, const PageWriteRecord* pages) {
  if (type == I2C_NO_WRITE_TYPE) return kOk;
  if (data == nullptr) return kNullWriteBuffer;
  if (OutOfRange(count, kMostDataBytes)) return kInvalidWriteCount;
  if (type != I2C_PAGE_WRITE_TYPE) return kOk;
  if (pages == nullptr) return kNullPageBuffer;
  const bool enough = count >= uint64_t{pages->pages} * pages->bytesPerPage;
  return enough ? kOk : kTooFewBytesForPages;
}

// 0 for a D2XX type of another family.
uint32_t HiSpeedTypeCode(uint32_t deviceType) {
  if (deviceType == kFt2232h) return I2C_FT2232H_DEVICE;
  return deviceType == kFt4232h ? I2C_FT4232H_DEVICE : 0;
}

Status Clock(uint32_t divisor, uint32_t frequency, uint32_t* out) {
  if (divisor > kMaxDivisor) return kInvalidDivisor;
  if (out == nullptr) return kNullInputOutputBuffer;
  *out = frequency;
  return kOk;
}

uint32_t SafeDivisor(uint32_t divisor) { return std::min(divisor, kMaxDivisor); }

Status BuildMessage(const char* language, Status status, char (&message)[kMessageSize]) {
  const char* text = MessageOf(status);
  if (text == nullptr) {
    std::snprintf(message, sizeof message, "%s%u", MessageOf(kUnknownStatus), status);
    return kUnknownStatus;
  }
  const bool known = std::string_view(language) == kLanguage;
  std::snprintf(message, sizeof message, "%s", known ? text : MessageOf(kUnsupportedLanguage));
  return known ? kOk : kUnsupportedLanguage;
}

}  // namespace

BRISK_BEGIN_DECLS

uint32_t BRISK_CALL I2C_GetNumDevices(uint32_t* count) {
  return WithEngine([&](CMpsseI2c& engine) {
    if (count == nullptr) return kNullInputOutputBuffer;
    DeviceList list;
    *count = 0;
    const Status status = engine.ListDevices(true, &list);
    *count = static_cast<uint32_t>(list.size());
    return status;
  });
}

uint32_t BRISK_CALL I2C_GetNumHiSpeedDevices(uint32_t* count) {
  return WithEngine([&](CMpsseI2c& engine) {
    if (count == nullptr) return kNullInputOutputBuffer;
    DeviceList list;
    *count = 0;
    const Status status = engine.ListHiSpeedDevices(&list);
    *count = static_cast<uint32_t>(list.size());
    return status;
  });
}

uint32_t BRISK_CALL I2C_GetDeviceNameLocID(uint32_t index, char* name, uint32_t nameSize,
                                           uint32_t* location) {
  return WithEngine([&](CMpsseI2c& engine) {
    return engine.GetDeviceNameLocation(index, name, nameSize, location);
  });
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceNameLocIDChannel(uint32_t index, char* name,
                                                         uint32_t nameSize, uint32_t* location,
                                                         char* channel, uint32_t channelSize,
                                                         uint32_t* type) {
  return WithEngine([&](CMpsseI2c& engine) {
    if (type == nullptr) return kNullInputOutputBuffer;
    *type = 0;
    uint32_t deviceType = 0;
    const Status status = engine.GetHiSpeedDeviceNameLocationChannel(
        index, name, nameSize, location, channel, channelSize, &deviceType);
    if (status != kOk) return status;
    *type = HiSpeedTypeCode(deviceType);
    return *type != 0 ? kOk : kDeviceNotFound;
  });
}

uint32_t BRISK_CALL I2C_Open(uint32_t* handle) {
  return Open(handle,
              [](CMpsseI2c& engine, uint32_t* opened) { return engine.OpenTheDevice(opened); });
}

uint32_t BRISK_CALL I2C_OpenEx(const char* name, uint32_t location, uint32_t* handle) {
  return Open(handle, [&](CMpsseI2c& engine, uint32_t* opened) {
    return engine.OpenByNameLocation(name, location, opened);
  });
}

uint32_t BRISK_CALL I2C_OpenHiSpeedDevice(const char* name, uint32_t location, const char* channel,
                                          uint32_t* handle) {
  return Open(handle, [&](CMpsseI2c& engine, uint32_t* opened) {
    return engine.OpenHiSpeed(name, location, channel, opened);
  });
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceType(uint32_t handle, uint32_t* type) {
  return WithEngine([&](CMpsseI2c& engine) {
    if (type == nullptr) return kNullInputOutputBuffer;
    *type = 0;
    bool isFt2232h = false;
    const Status status = engine.QueryHiSpeedType(handle, &isFt2232h);
    if (status == kOk) *type = isFt2232h ? I2C_FT2232H_DEVICE : I2C_FT4232H_DEVICE;
    return status;
  });
}

uint32_t BRISK_CALL I2C_Close(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return CloseAndForget(engine, handle); });
}

uint32_t BRISK_CALL I2C_CloseDevice(uint32_t handle, const FinalStatePins* finalState) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (finalState == nullptr) return kNullFinalState;
    const Status status = engine.SetFinalState(handle, *finalState);
    return status == kOk ? CloseAndForget(engine, handle) : status;
  });
}

uint32_t BRISK_CALL I2C_InitDevice(uint32_t handle, uint32_t divisor) {
  return OnBus([&](CMpsseI2c& engine) {
    Status status = engine.IsOpenHiSpeed(handle);
    if (status == kOk) status = engine.Initialise(handle, divisor);
    if (status != kInvalidHandle) return status;
    status = engine.IsOpenFullSpeed(handle);
    return status == kOk ? engine.Initialise(handle, divisor) : status;
  });
}

uint32_t BRISK_CALL I2C_TurnOnDivideByFiveClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SetDivideByFive(handle, true); });
}

uint32_t BRISK_CALL I2C_TurnOffDivideByFiveClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SetDivideByFive(handle, false); });
}

uint32_t BRISK_CALL I2C_TurnOnThreePhaseDataClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SendAdaptiveClockingOn(handle); });
}

uint32_t BRISK_CALL I2C_TurnOffThreePhaseDataClockingHiSpeedDevice(uint32_t handle) {
  return OnBus([&](CMpsseI2c& engine) { return engine.SendAdaptiveClockingOff(handle); });
}

uint32_t BRISK_CALL I2C_SetDeviceLatencyTimer(uint32_t handle, uint8_t milliseconds) {
  return WithEngine([&](CMpsseI2c& engine) { return engine.SetLatency(handle, milliseconds); });
}

uint32_t BRISK_CALL I2C_GetDeviceLatencyTimer(uint32_t handle, uint8_t* milliseconds) {
  return WithEngine([&](CMpsseI2c& engine) {
    if (milliseconds == nullptr) return kNullInputOutputBuffer;
    return engine.GetLatency(handle, milliseconds);
  });
}

uint32_t BRISK_CALL I2C_GetClock(uint32_t divisor, uint32_t* frequency) {
  return WithEngine([&](CMpsseI2c&) {
    return Clock(divisor, CMpsseI2c::FullSpeedClock(SafeDivisor(divisor)), frequency);
  });
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceClock(uint32_t divisor, uint32_t* frequency) {
  return WithEngine([&](CMpsseI2c&) {
    return Clock(divisor, CMpsseI2c::HiSpeedClock(SafeDivisor(divisor)), frequency);
  });
}

uint32_t BRISK_CALL I2C_SetClock(uint32_t handle, uint32_t divisor, uint32_t* frequency) {
  return OnBus([&](CMpsseI2c& engine) {
    if (divisor > kMaxDivisor) return kInvalidDivisor;
    const Status open = engine.IsOpen(handle);
    if (open != kOk) return open;
    const bool hiSpeed = engine.IsOpenHiSpeed(handle) == kOk;
    const Status status =
        Clock(divisor,
              hiSpeed ? engine.HiSpeedClock(handle, divisor) : CMpsseI2c::FullSpeedClock(divisor),
              frequency);
    return status == kOk ? engine.SetClockDivisor(handle, divisor) : status;
  });
}

uint32_t BRISK_CALL I2C_SetLoopback(uint32_t handle, uint32_t on) {
  return OnOpen(handle, [&](CMpsseI2c& engine) { return engine.SetLoopback(handle, on != 0); });
}

uint32_t BRISK_CALL I2C_SetMode(uint32_t handle, uint32_t mode) {
  return WithEngine([&](CMpsseI2c& engine) {
    const Status status = engine.IsOpen(handle);
    if (status != kOk) return status;
    if (mode != kStandardMode && mode != kFastMode && mode != kStretchDataMode) return kInvalidMode;
    engine.SetModeOf(handle, mode);
    return kOk;
  });
}

uint32_t BRISK_CALL I2C_SetGPIOs(uint32_t handle, const GpioPins* pins) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (pins == nullptr) return kNullInputOutputBuffer;
    uint8_t direction = 0;
    uint8_t levels = 0;
    for (unsigned i = 0; i < 4; ++i) {
      if (pins->pins[i].output != 0) direction |= static_cast<uint8_t>(1U << i);
      if (pins->pins[i].high != 0) levels |= static_cast<uint8_t>(1U << i);
    }
    return engine.SetGpios(handle, direction, levels);
  });
}

uint32_t BRISK_CALL I2C_SetHiSpeedDeviceGPIOs(uint32_t handle, uint32_t changeLow,
                                              const HiSpeedLowGpioPins* low, uint32_t changeHigh,
                                              const HiSpeedHighGpioPins* high) {
  return OnHiSpeed(handle, [&](CMpsseI2c& engine) {
    if (low == nullptr || high == nullptr) return kNullInputOutputBuffer;
    Status status = kOk;
    if (changeLow != 0) status = engine.SetHiSpeedLowGpios(handle, *low);
    if (changeHigh != 0) status = engine.SetHiSpeedHighGpios(handle, *high);
    return status;
  });
}

uint32_t BRISK_CALL I2C_GetGPIOs(uint32_t handle, GpioLevels* levels) {
  return OnOpen(handle, [&](CMpsseI2c& engine) {
    if (levels == nullptr) return kNullInputBuffer;
    uint8_t pins = 0;
    const Status status = engine.GetGpios(handle, &pins);
    for (unsigned i = 0; status == kOk && i < 4; ++i) levels->high[i] = pins >> i & 1;
    return status;
  });
}

uint32_t BRISK_CALL I2C_GetHiSpeedDeviceGPIOs(uint32_t handle, uint32_t readLow,
                                              HiSpeedLowGpioLevels* low, uint32_t readHigh,
                                              HiSpeedHighGpioLevels* high) {
  return OnHiSpeed(handle, [&](CMpsseI2c& engine) {
    if (low == nullptr || high == nullptr) return kNullInputOutputBuffer;
    CMpsseI2c::WaitForPins();
    Status status = kOk;
    if (readLow != 0) status = engine.GetHiSpeedLowGpios(handle, low);
    if (readHigh != 0) status = engine.GetHiSpeedHighGpios(handle, high);
    return status;
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
    const Status status = CheckData(writeType, data, count, pages);
    if (status != kOk) return status;
    return engine.Write(handle, {control,
                                 {controlCount, controlAck != 0, controlTimeout},
                                 stop != 0,
                                 writeType,
                                 data,
                                 count,
                                 dataAck != 0,
                                 dataTimeout});
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
    return engine.Read(
        handle, {control, {controlCount, controlAck != 0, controlTimeout}, readType, data, count});
  });
}

uint32_t BRISK_CALL I2C_GetDllVersion(char* version, uint32_t size) {
  return WithEngine([&](CMpsseI2c&) {
    if (version == nullptr) return kNullVersionBuffer;
    if (size < sizeof kVersion) return kVersionBufferTooSmall;
    std::memcpy(version, kVersion, sizeof kVersion);
    return kOk;
  });
}

uint32_t BRISK_CALL I2C_GetErrorCodeString(const char* language, uint32_t status, char* message,
                                           uint32_t size) {
  return WithEngine([&](CMpsseI2c&) {
    if (language == nullptr) return kNullLanguage;
    if (message == nullptr) return kNullMessageBuffer;
    char text[kMessageSize];
    const Status result = BuildMessage(language, status, text);
    const size_t length = std::strlen(text);
    if (size <= length) return kMessageBufferTooSmall;
    std::memcpy(message, text, length + 1);
    return result;
  });
}

BRISK_END_DECLS
