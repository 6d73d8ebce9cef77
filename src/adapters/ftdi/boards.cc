#include "adapters/ftdi/boards.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "adapters/ftdi/fast_i2c.h"
#include "adapters/ftdi/mpsse.h"
#include "base/debug.h"

namespace brisk::ftdi {
namespace {

constexpr std::string_view kTalvo = "TALVO";
constexpr uint32_t kConnectDivisor = 60;  // 12 MHz / 122: 98.4 kHz
constexpr uint8_t kLatencyMs = 2;
constexpr uint32_t kHalfBaseClockKHz = 6000;
constexpr uint32_t kTalvoMinDivisor = 20;
constexpr uint32_t kMinDivisor = 30;
constexpr uint32_t kMostDeferredBytes = 300;
constexpr uint8_t kSpiPins = kChipSelect | kSpiClock | kSpiOut;
constexpr uint8_t kMiso = 0x04;  // GPIOH2

// Devices whose writes take effect together or start something: these wait for nothing.
bool GoesAtOnce(const std::vector<uint8_t>& bytes) {
  if (bytes[0] == 0x6E || bytes[0] == 0xF4 || bytes.size() > kMostDeferredBytes) return true;
  return bytes.size() >= 3 && bytes[0] == 0x10 && bytes[1] == 0xE1 &&
         (bytes[2] == 0x10 || bytes[2] == 0x08);
}

}  // namespace

void Boards::Close() {
  const std::lock_guard guard(owner_.lock());
  CMpsseI2c& engine = owner_.engine();
  owner_.deferred().FlushAll();
  for (const uint32_t handle : handles_) {
    static_cast<void>(engine.Close(handle));
    engine.RemoveModeRecord(handle);
  }
  handles_.clear();
}

uint32_t Boards::Connect() {
  const std::lock_guard guard(owner_.lock());
  Close();
  owner_.Renew();
  CMpsseI2c& engine = owner_.engine();
  DeviceList list;
  static_cast<void>(engine.ListDevices(true, &list));
  handles_.assign(list.size(), 0);
  for (uint32_t i = 0; i < handles_.size(); ++i) OpenBoard(engine, i, &handles_[i]);
  return static_cast<uint32_t>(handles_.size());
}

// The index runs over all interfaces, while their count left out those in use: with one of these
// listed first, its place stays closed and the last interface is not reached.
void Boards::OpenBoard(CMpsseI2c& engine, uint32_t index, uint32_t* handle) {
  char name[100] = "";
  uint32_t location = 0;
  static_cast<void>(engine.GetDeviceNameLocation(index, name, sizeof name, &location));
  if (std::string_view(name).starts_with(kTalvo)) talvoSeen_ = true;
  const Status status = engine.OpenByNameLocation(name, location, handle);
  if (status != kOk) {
    *handle = 0;
    debugLog.Print(0, "FTDI: interface %u \"%s\" not opened: status %u\n", index, name, status);
    return;
  }
  engine.AddModeRecord(*handle);
  static_cast<void>(engine.Initialise(*handle, kConnectDivisor));
  engine.SetModeOf(*handle, kStandardMode);
  static_cast<void>(engine.SetLatency(*handle, kLatencyMs));
}

bool Boards::WriteDeferred(const std::vector<uint8_t>& bytes) {
  const std::lock_guard guard(owner_.lock());
  Status status = kInvalidHandle;
  for (const uint32_t handle : handles_) status = WriteToBoard(owner_.engine(), handle, bytes);
  return status == kOk;
}

// The first failure counts, the flush of earlier transactions included: their calls could not tell.
Status Boards::WriteToBoard(CMpsseI2c& engine, uint32_t handle, const std::vector<uint8_t>& bytes) {
  if (handle == 0) return kInvalidHandle;
  DeferredWrites& deferred = owner_.deferred();
  DeferredWrites::Lane& lane = deferred.LaneOf(handle);
  const CMpsseDevices::QueueSelection selection(engine, lane.queue);
  Status status = kOk;
  if (lane.pending == 0) {
    engine.ClearQueue();
  } else if (bytes.size() > kMostDeferredBytes) {
    status = deferred.Flush(lane);
  }
  FastI2c i2c(engine, clockRateKHz_);
  i2c.SendFastStart(handle);
  const Status queued =
      i2c.QueueFastBytes(handle, bytes.data(), static_cast<uint32_t>(bytes.size()));
  i2c.QueueFastStop(handle);
  const Status sent = GoesAtOnce(bytes) ? deferred.Flush(lane) : deferred.Add(lane);
  if (status == kOk) status = queued;
  return status == kOk ? sent : status;
}

bool Boards::Read(std::vector<uint8_t>& control, uint8_t* destination, uint32_t count) {
  const std::lock_guard guard(owner_.lock());
  std::fill_n(destination, count, uint8_t{0xFF});
  std::vector<uint8_t> scratch(count);
  Status status = kInvalidHandle;
  for (const uint32_t handle : handles_) {
    std::fill(scratch.begin(), scratch.end(), uint8_t{0xFF});
    status = ReadFromBoard(owner_.engine(), handle, control, scratch.data(), count);
    if (status != kOk) continue;
    if (handles_.size() == 1) {
      std::copy(scratch.begin(), scratch.end(), destination);
      continue;
    }
    for (uint32_t i = 0; i < count; ++i) {
      destination[i] = scratch[i] == 0xFF ? uint8_t{0} : destination[i] & scratch[i];
    }
  }
  return status == kOk;
}

Status Boards::ReadFromBoard(CMpsseI2c& engine, uint32_t handle, std::vector<uint8_t>& control,
                             uint8_t* destination, uint32_t count) {
  if (handle == 0) return kInvalidHandle;
  DeferredWrites::Lane& lane = owner_.deferred().LaneOf(handle);
  if (lane.pending != 0) static_cast<void>(owner_.deferred().Flush(lane));
  engine.ClearQueue();
  FastI2c i2c(engine, clockRateKHz_);
  Status status = kOk;
  if (control.size() > 1) {
    i2c.SendFastStart(handle);
    control[0] &= 0xFE;
    status = i2c.QueueFastBytes(handle, control.data(), static_cast<uint32_t>(control.size()));
  }
  i2c.SendFastStart(handle);
  control[0] |= 0x01;
  static_cast<void>(i2c.QueueFastBytes(handle, control.data(), 1));
  const Status read = i2c.ReadFast(handle, destination, count);
  return status == kOk ? read : status;
}

uint32_t Boards::SetClockRate(uint32_t kHz) {
  const std::lock_guard guard(owner_.lock());
  const uint32_t least = talvoSeen_ ? kTalvoMinDivisor : kMinDivisor;
  const uint32_t divisor = std::max(kHalfBaseClockKHz / std::max(kHz, 1U), least);
  owner_.deferred().FlushAll();
  for (const uint32_t handle : handles_) {
    if (handle != 0) static_cast<void>(owner_.engine().SetClockDivisor(handle, divisor));
  }
  clockRateKHz_ = kHalfBaseClockKHz / divisor;
  return clockRateKHz_;
}

void Boards::SetPins(uint8_t direction, uint8_t levels) {
  const std::lock_guard guard(owner_.lock());
  owner_.deferred().FlushAll();
  for (const uint32_t handle : handles_) {
    if (owner_.engine().IsOpen(handle) != kOk) continue;
    static_cast<void>(owner_.engine().SetGpios(handle, direction & 0x0F, levels & 0x0F));
  }
}

bool Boards::WriteSpiPins(uint8_t pins) {
  const std::lock_guard guard(owner_.lock());
  CMpsseI2c& engine = owner_.engine();
  owner_.deferred().FlushAll();
  bool any = false;
  for (const uint32_t handle : handles_) {
    if (handle == 0) continue;
    engine.value() = (engine.value() & ~uint32_t{kSpiPins}) | (pins & kSpiPins);
    engine.AddDirection(kSpiPins);
    engine.QueuePins();
    any = engine.Flush(handle) == kOk || any;
  }
  return any;
}

bool Boards::SampleMiso(bool* level) {
  const std::lock_guard guard(owner_.lock());
  *level = false;
  if (handles_.empty() || handles_[0] == 0) return false;
  owner_.deferred().FlushAll();
  uint8_t pins = 0;
  if (owner_.engine().GetGpios(handles_[0], &pins) != kOk) return false;
  *level = (pins & kMiso) != 0;
  return true;
}

}  // namespace brisk::ftdi
