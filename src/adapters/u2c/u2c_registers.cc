#include "adapters/u2c/u2c_registers.h"

#include <algorithm>

#include "adapters/u2c/silent_trace.h"

namespace brisk::u2c {
namespace {

constexpr uint32_t kMostSubBytes = 4;
constexpr uint32_t kMostData = sizeof(Transaction::buffer);

// Whether a record can carry the counts; more sub bytes than it has room for are traced with the
// line that tools know them from.
bool FitsRecord(size_t subCount, size_t dataCount, int line) {
  if (subCount > kMostSubBytes) SilentTrace("ASSERT FAIL : %s %d \n", kSourcePath, line);
  return subCount <= kMostSubBytes && dataCount <= kMostData;
}

// What an operation does not fill in goes to the library as 0.
Transaction MakeRecord(uint8_t address, size_t subCount, size_t dataCount) {
  Transaction record{};
  record.slaveAddress = address >> 1;
  record.memoryAddressLength = static_cast<uint8_t>(subCount);
  record.bufferLength = static_cast<uint16_t>(dataCount);
  return record;
}

// The memory address with the sub bytes in order from its first byte on.
uint32_t InOrder(Bytes subBytes) {
  uint32_t address = 0;
  for (size_t i = 0; i < subBytes.size(); ++i) address |= uint32_t{subBytes[i]} << (8 * i);
  return address;
}

uint32_t MostSignificantFirst(Bytes subBytes) {
  uint32_t address = 0;
  for (const uint8_t byte : subBytes) address = address << 8 | byte;
  return address;
}

bool UsesRecord(uint16_t address, Bytes first, Bytes second) {
  return !i2c::IsTenBitAddress(address) && !first.empty() && !second.empty();
}

// No received byte is acknowledged; what fails in a write phase stays as it is, with no stop.
constexpr i2c::ChannelForm kChannelForm{
    .repeatedStartBeforeRead = true,
    .acknowledgeReads = false,
    .stopAfterFailedWrite = false,
};

}  // namespace

Status U2cRegisters::WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  Transaction record = MakeRecord(device, 1, 1);
  record.memoryAddress = subAddress;
  record.buffer[0] = data;
  return link_.Write(record);
}

Status U2cRegisters::ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return Cause::kBadArgument;
  Transaction record = MakeRecord(device, 1, 1);
  record.memoryAddress = subAddress;
  const Status status = link_.Read(record);
  *data = record.buffer[0];
  return status;
}

Status U2cRegisters::WriteData(uint8_t device, Bytes command, Bytes data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  const uint64_t total = uint64_t{command.size()} + data.size();
  if (total == 0 || total > kMostData + 1) return Cause::kBadArgument;
  Transaction record = MakeRecord(device, 1, static_cast<size_t>(total - 1));
  const auto joined = [&](size_t i) {
    return i < command.size() ? command[i] : data[i - command.size()];
  };
  record.memoryAddress = joined(0);
  for (size_t i = 1; i < total; ++i) record.buffer[i - 1] = joined(i);
  return link_.Write(record);
}

Status U2cRegisters::ReadData(uint8_t device, Bytes command, Buffer data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  if (command.size() == 3) return ReadWithThreeSubBytes(device, command, data);
  if (!FitsRecord(command.size(), data.size(), 792)) return Cause::kBadArgument;
  Transaction record = MakeRecord(device, command.size(), data.size());
  record.memoryAddress = MostSignificantFirst(command);
  const Status status = link_.Read(record);
  std::copy_n(record.buffer, data.size(), data.begin());
  return status;
}

// The data's own failures do not count.
Status U2cRegisters::ReadWithThreeSubBytes(uint8_t device, Bytes command, Buffer data) {
  link_.Start();
  Status status = link_.Send(device & 0xFE);
  for (size_t i = 0; status.ok() && i < command.size(); ++i) status = link_.Send(command[i]);
  if (status.ok()) {
    link_.RepeatedStart();
    status = link_.Send(device | i2c::kReadFlag);
    bool received = status.ok();
    for (size_t i = 0; received && i < data.size(); ++i) {
      received = i2c::ReceiveInto(link_, &data[i], i + 1 == data.size() ? 1 : 0).ok();
    }
  }
  link_.Stop();
  return status;
}

void U2cRegisters::SetClockRate(uint32_t kHz) {
  flash_.Init();
  link_.SetI2cClock(kHz);
}

U2cChannels::U2cChannels(U2cLink& link, i2c::BusClock& clock)
    : BusChannels(link, kChannelForm), link_(link), clock_(clock) {}

void U2cChannels::SetSpeedMode(uint8_t mode) {
  if (mode == speedMode_) return;
  speedMode_ = mode;
  const unsigned speed = mode & 0x0F;
  if (speed <= 1) clock_.SetClockRate(100);
  if (speed == 2) clock_.SetClockRate(400);
}

Status U2cChannels::Write(uint8_t channel, uint16_t address, Bytes first, Bytes second) {
  if (IsNullWithLength(first) || IsNullWithLength(second)) return Cause::kBadArgument;
  SetSpeedMode(channel);
  if (!UsesRecord(address, first, second)) {
    return BusChannels::Write(channel, address, first, second);
  }
  if (!FitsRecord(first.size(), second.size(), 1397)) return Cause::kBadArgument;
  Transaction record = MakeRecord(static_cast<uint8_t>(address), first.size(), second.size());
  record.memoryAddress = InOrder(first);
  std::copy_n(second.data(), second.size(), record.buffer);
  return link_.Write(record);
}

Status U2cChannels::Read(uint8_t channel, uint16_t address, Buffer data) {
  if (IsNullWithLength(data)) return Cause::kBadArgument;
  SetSpeedMode(channel);
  return BusChannels::Read(channel, address, data);
}

Status U2cChannels::WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) {
  if (IsNullWithLength(write) || IsNullWithLength(read)) return Cause::kBadArgument;
  SetSpeedMode(channel);
  if (!UsesRecord(address, write, read)) {
    return BusChannels::WriteRead(channel, address, write, read);
  }
  if (!FitsRecord(write.size(), read.size(), 1494)) return Cause::kBadArgument;
  Transaction record = MakeRecord(static_cast<uint8_t>(address), write.size(), read.size());
  record.memoryAddress = InOrder(write);
  const Status status = link_.Read(record);
  std::copy_n(record.buffer, read.size(), read.begin());
  return status;
}

}  // namespace brisk::u2c
