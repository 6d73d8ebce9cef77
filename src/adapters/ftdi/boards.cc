#include "adapters/ftdi/boards.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "adapters/ftdi/fast_i2c.h"
#include "adapters/ftdi/mpsse.h"

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
constexpr uint8_t kNibble = 0x0F;
constexpr uint8_t kNothingRead = 0xFF;
constexpr uint8_t kReadFlag = 0x01;

// Devices whose writes take effect together or start something: these wait for nothing.
bool GoesAtOnce(Bytes bytes) {
  if (bytes[0] == 0x6E || bytes[0] == 0xF4 || bytes.size() > kMostDeferredBytes) return true;
  return bytes.size() >= 3 && bytes[0] == 0x10 && bytes[1] == 0xE1 &&
         (bytes[2] == 0x10 || bytes[2] == 0x08);
}

// The address byte, the register bytes and the data in one run; empty when too long to be counted.
std::vector<uint8_t> Join(uint8_t device, Bytes command, Bytes data) {
  const uint64_t total = uint64_t{1} + command.size() + data.size();
  std::vector<uint8_t> bytes;
  if (total > std::numeric_limits<uint32_t>::max()) return bytes;
  bytes.reserve(static_cast<size_t>(total));
  bytes.push_back(device);
  bytes.insert(bytes.end(), command.begin(), command.end());
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

}  // namespace

void Boards::Close() {
  owner_.OnBus([&](CMpsseI2c& engine) { CloseAll(engine); });
}

void Boards::CloseAll(CMpsseI2c& engine) {
  for (const uint32_t handle : handles_) static_cast<void>(engine.Close(handle));
  handles_.clear();
}

uint32_t Boards::Connect() {
  return owner_.OnBus([&](CMpsseI2c& engine) {
    CloseAll(engine);
    owner_.Renew();
    const size_t found = engine.List(Speed::kFull, CMpsseI2c::Opened::kLeftOut).value.size();
    handles_.assign(found, 0);
    for (uint32_t i = 0; i < found; ++i) handles_[i] = OpenBoard(engine, i);
    return static_cast<uint32_t>(found);
  });
}

// The index runs over all interfaces, while their count left out those in use: with one of these
// listed first, its place stays closed and the last interface is not reached.
uint32_t Boards::OpenBoard(CMpsseI2c& engine, uint32_t index) {
  const DeviceDetail detail = engine.Detail(Speed::kFull, index).value;
  if (detail.description.starts_with(kTalvo)) talvoSeen_ = true;
  const auto [status, handle] = engine.Open(Speed::kFull, detail.description, detail.location);
  if (status != kOk) {
    log_.Print(0, "FTDI: interface %u \"%s\" not opened: status %u\n", index,
               detail.description.c_str(), static_cast<uint32_t>(status));
    return 0;
  }
  static_cast<void>(engine.Initialise(handle, kConnectDivisor));
  engine.SetMode(handle, Mode::kStandard);
  static_cast<void>(engine.line().SetLatency(handle, kLatencyMs));
  return handle;
}

Status Boards::WriteData(uint8_t device, Bytes command, Bytes data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  const std::vector<uint8_t> bytes = Join(device, command, data);
  if (bytes.empty()) return Cause::kBadArgument;
  return owner_.Run([&](CMpsseI2c& engine) {
    StatusCode status = kInvalidHandle;
    for (const uint32_t handle : handles_) status = WriteToBoard(engine, handle, bytes);
    return ToStatus(status);
  });
}

// The first failure counts, the flush of earlier transactions included: their calls could not tell.
StatusCode Boards::WriteToBoard(CMpsseI2c& engine, uint32_t handle, Bytes bytes) {
  if (handle == 0) return kInvalidHandle;
  DeferredWrites& deferred = owner_.deferred();
  DeferredWrites::Lane& lane = deferred.LaneOf(handle);
  const MpsseLine::QueueSelection selection(engine.line(), lane.queue);
  StatusCode status = kOk;
  if (lane.pending == 0) {
    engine.line().ClearQueue();
  } else if (bytes.size() > kMostDeferredBytes) {
    status = deferred.Flush(lane);
  }
  FastI2c i2c(engine, handle, clockRateKHz_);
  i2c.QueueStart();
  const StatusCode queued = i2c.QueueBytes(bytes);
  i2c.QueueStop();
  const StatusCode sent = GoesAtOnce(bytes) ? deferred.Flush(lane) : deferred.Add(lane);
  if (status == kOk) status = queued;
  return status == kOk ? sent : status;
}

Status Boards::ReadData(uint8_t device, Bytes command, Buffer data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  std::vector<uint8_t> control = Join(device, command, {});
  if (control.empty()) return Cause::kBadArgument;
  return owner_.Run([&](CMpsseI2c& engine) {
    std::fill(data.begin(), data.end(), kNothingRead);
    std::vector<uint8_t> answers(data.size());
    StatusCode status = kInvalidHandle;
    for (const uint32_t handle : handles_) {
      std::fill(answers.begin(), answers.end(), kNothingRead);
      status = ReadFromBoard(engine, handle, control, answers);
      if (status == kOk) Combine(answers, data);
    }
    return ToStatus(status);
  });
}

void Boards::Combine(Bytes answers, Buffer data) const {
  const bool one = handles_.size() == 1;
  std::transform(answers.begin(), answers.end(), data.begin(), data.begin(),
                 [&](uint8_t answer, uint8_t sofar) -> uint8_t {
                   if (one) return answer;
                   return answer == kNothingRead ? 0 : answer & sofar;
                 });
}

StatusCode Boards::ReadFromBoard(CMpsseI2c& engine, uint32_t handle, Buffer control, Buffer data) {
  if (handle == 0) return kInvalidHandle;
  DeferredWrites::Lane& lane = owner_.deferred().LaneOf(handle);
  if (lane.pending != 0) static_cast<void>(owner_.deferred().Flush(lane));
  engine.line().ClearQueue();
  FastI2c i2c(engine, handle, clockRateKHz_);
  StatusCode status = kOk;
  if (control.size() > 1) {
    i2c.QueueStart();
    control[0] &= static_cast<uint8_t>(~kReadFlag);
    status = i2c.QueueBytes(control);
  }
  i2c.QueueStart();
  control[0] |= kReadFlag;
  static_cast<void>(i2c.QueueBytes(control.first(1)));
  const StatusCode read = i2c.Read(data);
  return status == kOk ? read : status;
}

void Boards::SetClockRate(uint32_t kHz) {
  owner_.OnBus([&](CMpsseI2c& engine) {
    const uint32_t least = talvoSeen_ ? kTalvoMinDivisor : kMinDivisor;
    const uint32_t divisor = std::max(kHalfBaseClockKHz / std::max(kHz, 1U), least);
    for (const uint32_t handle : handles_) {
      if (handle != 0) static_cast<void>(engine.SetClockDivisor(handle, divisor));
    }
    clockRateKHz_ = kHalfBaseClockKHz / divisor;
  });
}

Status Boards::WritePort(uint8_t outputs, uint8_t levels) {
  const Pins pins{.levels = static_cast<uint8_t>(levels & kNibble),
                  .outputs = static_cast<uint8_t>(outputs & kNibble)};
  owner_.OnBus([&](CMpsseI2c& engine) {
    for (const uint32_t handle : handles_) {
      if (engine.IsOpen(handle)) static_cast<void>(engine.SetHighPins(handle, pins));
    }
  });
  return Status::Done(1);
}

bool Boards::WriteSpiPins(uint8_t levels) {
  return owner_.OnBus([&](CMpsseI2c& engine) {
    bool any = false;
    for (const uint32_t handle : handles_) {
      if (handle != 0) any = engine.SetLowPins(handle, kSpiPins, levels) == kOk || any;
    }
    return any;
  });
}

std::optional<bool> Boards::SampleMiso() {
  return owner_.OnBus([&](CMpsseI2c& engine) -> std::optional<bool> {
    if (handles_.empty() || handles_[0] == 0) return std::nullopt;
    const auto [status, pins] = engine.GetGpios(handles_[0]);
    if (status != kOk) return std::nullopt;
    return (pins & kMiso) != 0;
  });
}

}  // namespace brisk::ftdi
