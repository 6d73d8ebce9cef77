#include "i2c/transactions.h"

namespace brisk::i2c {

uint32_t WriteAll(Bus& bus, const uint8_t* bytes, uint32_t length) {
  uint32_t ok = 1;
  for (uint32_t i = 0; i < length; ++i) ok &= Write(bus, bytes[i]);
  return ok;
}

uint32_t SendAddress(Bus& bus, uint16_t address, uint8_t readFlag) {
  const AddressBytes sent(address, readFlag);
  return WriteAll(bus, sent.bytes, sent.count);
}

uint32_t Write(Bus& bus, uint8_t byte) { return bus.I2c_Tx(byte) == 0 ? 1 : 0; }

uint32_t Read(Bus& bus, uint8_t* data, uint32_t last) {
  if (data == nullptr) return 0;
  uint32_t value = 0;
  if (bus.I2c_Rx(&value, last) != 0) return 0;
  *data = static_cast<uint8_t>(value);
  return 1;
}

uint32_t WriteHead(Bus& bus, uint8_t device, uint8_t subAddress) {
  bus.I2c_Start();
  return Write(bus, device) != 0 && Write(bus, subAddress) != 0 ? 1 : 0;
}

uint32_t WriteByte(Bus& bus, uint8_t device, uint8_t subAddress, uint8_t data) {
  const bool ok = WriteHead(bus, device, subAddress) != 0 && Write(bus, data) != 0;
  bus.I2c_Stop();
  return ok ? 1 : 0;
}

uint32_t ReadByte(Bus& bus, uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return 0;
  bool ok = WriteHead(bus, device, subAddress) != 0;
  if (ok) {
    bus.I2c_Start();
    ok = Write(bus, device | 1) != 0 && Read(bus, data, 1) != 0;
  }
  bus.I2c_Stop();
  return ok ? 1 : 0;
}

uint32_t WriteData(Bus& bus, uint8_t device, const uint8_t* command, uint32_t commandLength,
                   const uint8_t* data, uint32_t dataLength) {
  if (Missing(command, commandLength) || Missing(data, dataLength)) return 0;
  bus.I2c_Start();
  uint32_t ok = Write(bus, device);
  if (ok != 0) {
    for (uint32_t i = 0; i < commandLength; ++i) ok = Write(bus, command[i]);
  }
  for (uint32_t i = 0; ok != 0 && i < dataLength; ++i) ok = Write(bus, data[i]);
  bus.I2c_Stop();
  return ok;
}

uint32_t ReadData(Bus& bus, uint8_t device, const uint8_t* command, uint32_t commandLength,
                  uint8_t* data, uint32_t dataLength) {
  if (Missing(command, commandLength) || Missing(data, dataLength)) return 0;
  bus.I2c_Start();
  if (Write(bus, device) != 0) WriteAll(bus, command, commandLength);
  bus.I2c_RStart();
  uint32_t ok = Write(bus, device | 1);
  for (uint32_t i = 0; ok != 0 && i < dataLength; ++i) {
    ok = Read(bus, data + i, i + 1 == dataLength ? 1 : 0);
  }
  bus.I2c_Stop();
  return ok;
}

uint8_t LibWrite(Bus& bus, uint16_t address, const uint8_t* first, uint32_t firstLength,
                 const uint8_t* second, uint32_t secondLength) {
  if (Missing(first, firstLength) || Missing(second, secondLength)) return 0;
  bus.I2c_Start();
  uint32_t ok = SendAddress(bus, address, 0);
  if (ok != 0) ok = WriteAll(bus, first, firstLength);
  if (ok != 0) ok = WriteAll(bus, second, secondLength);
  bus.I2c_Stop();
  return static_cast<uint8_t>(ok);
}

uint8_t LibRead(Bus& bus, uint16_t address, uint8_t* data, uint32_t length) {
  if (Missing(data, length)) return 0;
  bus.I2c_Start();
  const uint32_t ok = SendAddress(bus, address, 1);
  for (uint32_t i = 0; ok != 0 && i < length; ++i) {
    Read(bus, data + i, i + 1 == length ? 1 : 0);
  }
  bus.I2c_Stop();
  return static_cast<uint8_t>(ok);
}

uint8_t LibWriteRead(Bus& bus, uint16_t address, const uint8_t* write, uint32_t writeLength,
                     uint8_t* read, uint32_t readLength) {
  if (Missing(write, writeLength) || Missing(read, readLength)) return 0;
  bus.I2c_Start();
  uint32_t ok = SendAddress(bus, address, 0);
  if (ok != 0) ok = WriteAll(bus, write, writeLength);
  if (ok != 0) return LibRead(bus, address, read, readLength);
  bus.I2c_Stop();
  return 0;
}

}  // namespace brisk::i2c
