#include "i2c/channels.h"

namespace brisk::i2c {

Status BusChannels::SendAddress(uint16_t address, uint8_t direction) {
  const AddressBytes sent(address, direction);
  return SendAll(bus_, {sent.bytes, sent.count});
}

Status BusChannels::Write(uint8_t /*channel*/, uint16_t address, Bytes first, Bytes second) {
  if (IsNullWithLength(first) || IsNullWithLength(second)) return Cause::kBadArgument;
  bus_.Start();
  Status status = SendAddress(address, kWriteFlag);
  if (status.ok()) status = SendAll(bus_, first);
  if (status.ok()) status = SendAll(bus_, second);
  bus_.Stop();
  return status;
}

Status BusChannels::Read(uint8_t /*channel*/, uint16_t address, Buffer data) {
  if (IsNullWithLength(data)) return Cause::kBadArgument;
  form_.repeatedStartBeforeRead ? bus_.RepeatedStart() : bus_.Start();
  const Status addressed = SendAddress(address, kReadFlag);
  for (size_t i = 0; addressed.ok() && i < data.size(); ++i) {
    const bool acknowledge = form_.acknowledgeReads && i + 1 != data.size();
    static_cast<void>(ReceiveInto(bus_, &data[i], acknowledge ? 0 : 1));
  }
  bus_.Stop();
  return addressed;
}

Status BusChannels::WriteRead(uint8_t channel, uint16_t address, Bytes write, Buffer read) {
  if (IsNullWithLength(write) || IsNullWithLength(read)) return Cause::kBadArgument;
  bus_.Start();
  Status status = SendAddress(address, kWriteFlag);
  if (status.ok()) status = SendAll(bus_, write);
  if (status.ok()) return Read(channel, address, read);
  if (form_.stopAfterFailedWrite) bus_.Stop();
  return status;
}

Status ChannelRegisters::WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  return channels_.Write(0, device, {&subAddress, 1}, {&data, 1});
}

Status ChannelRegisters::ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  return channels_.WriteRead(0, device, {&subAddress, 1}, {data, 1});
}

Status ChannelRegisters::WriteData(uint8_t device, Bytes command, Bytes data) {
  return channels_.Write(0, device, command, data);
}

Status ChannelRegisters::ReadData(uint8_t device, Bytes command, Buffer data) {
  return channels_.WriteRead(0, device, command, data);
}

}  // namespace brisk::i2c
