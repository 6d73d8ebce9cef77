#include "i2c/registers.h"

namespace brisk::i2c {
namespace {

constexpr uint32_t kLast = 1;

}  // namespace

Status ReceiveInto(Bus& bus, uint8_t* data, uint32_t last) {
  uint8_t byte = *data;
  const Status status = bus.Receive(&byte, last);
  if (status.cause() != Cause::kRejected) *data = byte;
  return status;
}

Status SendAll(Bus& bus, Bytes bytes) {
  Status first;
  for (const uint8_t byte : bytes) {
    const Status sent = bus.Send(byte);
    if (first.ok()) first = sent;
  }
  return first;
}

Status BusRegisters::WriteHead(uint8_t device, uint8_t subAddress) {
  bus_.Start();
  const Status addressed = bus_.Send(device);
  return addressed.ok() ? bus_.Send(subAddress) : addressed;
}

Status BusRegisters::WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  Status status = WriteHead(device, subAddress);
  if (status.ok()) status = bus_.Send(data);
  bus_.Stop();
  return status;
}

Status BusRegisters::ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return Cause::kBadArgument;
  Status status = WriteHead(device, subAddress);
  if (status.ok()) {
    bus_.Start();
    status = bus_.Send(device | kReadFlag);
  }
  if (status.ok()) status = ReceiveInto(bus_, data, kLast);
  bus_.Stop();
  return status;
}

Status BusRegisters::WriteData(uint8_t device, Bytes command, Bytes data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  bus_.Start();
  Status status = bus_.Send(device);
  if (status.ok()) {
    for (const uint8_t byte : command) status = bus_.Send(byte);
  }
  for (size_t i = 0; status.ok() && i < data.size(); ++i) status = bus_.Send(data[i]);
  bus_.Stop();
  return status;
}

Status BusRegisters::ReadData(uint8_t device, Bytes command, Buffer data) {
  if (IsNullWithLength(command) || IsNullWithLength(data)) return Cause::kBadArgument;
  bus_.Start();
  if (bus_.Send(device).ok()) static_cast<void>(SendAll(bus_, command));
  bus_.RepeatedStart();
  Status status = bus_.Send(device | kReadFlag);
  for (size_t i = 0; status.ok() && i < data.size(); ++i) {
    status = ReceiveInto(bus_, &data[i], i + 1 == data.size() ? kLast : 0);
  }
  bus_.Stop();
  return status;
}

}  // namespace brisk::i2c
