#include "adapters/u2c/u2c_back_end.h"

#include <algorithm>

#include "adapters/u2c/silent_trace.h"
#include "base/debug.h"
#include "i2c/string_command.h"
#include "i2c/transactions.h"

namespace brisk::u2c {
namespace {

constexpr uint32_t kMostSubBytes = 4;
constexpr uint32_t kMostData = sizeof(Transaction::buffer);

// Whether a record can carry the counts; more sub bytes than it has room for are traced with the
// line that they were always reported from.
bool FitsRecord(uint32_t subCount, uint32_t dataCount, int line) {
  if (subCount > kMostSubBytes) SilentTrace("ASSERT FAIL : %s %d \n", kSourcePath, line);
  return subCount <= kMostSubBytes && dataCount <= kMostData;
}

Transaction MakeRecord(uint8_t address, uint32_t subCount, uint32_t dataCount) {
  Transaction record{};
  record.slaveAddress = address >> 1;
  record.memoryAddressLength = static_cast<uint8_t>(subCount);
  record.bufferLength = static_cast<uint16_t>(dataCount);
  return record;
}

// The memory address with the sub bytes in order from its first byte on.
uint32_t InOrder(const uint8_t* subBytes, uint32_t count) {
  uint32_t address = 0;
  for (uint32_t i = 0; i < count; ++i) address |= uint32_t{subBytes[i]} << (8 * i);
  return address;
}

uint32_t MostSignificantFirst(const uint8_t* subBytes, uint32_t count) {
  uint32_t address = 0;
  for (uint32_t i = 0; i < count; ++i) address = address << 8 | subBytes[i];
  return address;
}

bool UsesRecord(uint16_t address, uint32_t firstCount, uint32_t secondCount) {
  return !i2c::IsTenBitAddress(address) && firstCount != 0 && secondCount != 0;
}

}  // namespace

U2cBackEnd::U2cBackEnd(ProgressReporter& reporter)
    : picture_(adapter_, bLptImage),
      flash_(adapter_, reporter),
      transfer_(picture_, picture_, reporter) {}

int32_t U2cBackEnd::Picture::ReadRegister(const char* command) {
  return i2c::ReadStringEx(adapter_, command);
}

uint32_t U2cBackEnd::I2cWrite(uint8_t byte) { return i2c::Write(adapter_, byte); }

uint32_t U2cBackEnd::I2cRead(uint8_t* data, uint32_t last) {
  return data != nullptr && adapter_.Receive(data, last == 0) ? 1 : 0;
}

uint32_t U2cBackEnd::I2cWriteHead(uint8_t device, uint8_t subAddress) {
  return i2c::WriteHead(adapter_, device, subAddress);
}

uint32_t U2cBackEnd::I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  Transaction record = MakeRecord(device, 1, 1);
  record.memoryAddress = subAddress;
  record.buffer[0] = data;
  return adapter_.Write(record) ? 1 : 0;
}

// The byte is stored even on failure.
uint32_t U2cBackEnd::I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return 0;
  Transaction record = MakeRecord(device, 1, 1);
  record.memoryAddress = subAddress;
  const bool done = adapter_.Read(record);
  *data = record.buffer[0];
  return done ? 1 : 0;
}

// Of the joined bytes the first is the memory address and the rest is data.
uint32_t U2cBackEnd::I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                  const uint8_t* data, uint32_t dataLength) {
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  const uint64_t total = uint64_t{commandLength} + dataLength;
  if (total == 0 || total > kMostData + 1) return 0;
  Transaction record = MakeRecord(device, 1, static_cast<uint32_t>(total - 1));
  const auto joined = [&](uint32_t i) {
    return i < commandLength ? command[i] : data[i - commandLength];
  };
  record.memoryAddress = joined(0);
  for (uint32_t i = 1; i < total; ++i) record.buffer[i - 1] = joined(i);
  return adapter_.Write(record) ? 1 : 0;
}

uint32_t U2cBackEnd::I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                 uint8_t* data, uint32_t dataLength) {
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  if (commandLength == 3) return ReadWithThreeSubBytes(device, command, {data, dataLength});
  if (!FitsRecord(commandLength, dataLength, 792)) return 0;
  Transaction record = MakeRecord(device, commandLength, dataLength);
  record.memoryAddress = MostSignificantFirst(command, commandLength);
  const bool done = adapter_.Read(record);
  std::copy_n(record.buffer, dataLength, data);
  return done ? 1 : 0;
}

uint32_t U2cBackEnd::ReadWithThreeSubBytes(uint8_t device, const uint8_t* command,
                                           std::span<uint8_t> destination) {
  adapter_.I2c_Start();
  uint32_t ok = I2cWrite(device & 0xFE);
  for (int i = 0; ok != 0 && i < 3; ++i) ok = I2cWrite(command[i]);
  if (ok != 0) {
    adapter_.I2c_RStart();
    ok = I2cWrite(device | 1);
    uint32_t received = ok;
    for (size_t i = 0; received != 0 && i < destination.size(); ++i) {
      received = I2cRead(&destination[i], i + 1 == destination.size() ? 1 : 0);
    }
  }
  adapter_.I2c_Stop();
  return ok;
}

void U2cBackEnd::I2cSetClockRate(uint32_t kHz) {
  flash_.Prepare();
  adapter_.SetI2cClock(kHz);
}

void U2cBackEnd::SetSpeedMode(uint8_t mode) {
  if (mode == speedMode_) return;
  speedMode_ = mode;
  const unsigned speed = mode & 0x0F;
  if (speed <= 1) I2cSetClockRate(100);
  if (speed == 2) I2cSetClockRate(400);
}

uint8_t U2cBackEnd::I2cLib_Write(uint8_t channel, uint16_t address, const uint8_t* first,
                                 uint32_t firstLength, const uint8_t* second,
                                 uint32_t secondLength) {
  if (i2c::Missing(first, firstLength) || i2c::Missing(second, secondLength)) return 0;
  SetSpeedMode(channel);
  if (!UsesRecord(address, firstLength, secondLength)) {
    return i2c::LibWrite(adapter_, address, first, firstLength, second, secondLength);
  }
  if (!FitsRecord(firstLength, secondLength, 1397)) return 0;
  Transaction record = MakeRecord(static_cast<uint8_t>(address), firstLength, secondLength);
  record.memoryAddress = InOrder(first, firstLength);
  std::copy_n(second, secondLength, record.buffer);
  return adapter_.Write(record) ? 1 : 0;
}

// Begins with a repeated start, also on an idle bus; no received byte is acknowledged.
uint8_t U2cBackEnd::I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data, uint32_t length) {
  if (i2c::Missing(data, length)) return 0;
  SetSpeedMode(channel);
  adapter_.I2c_RStart();
  const bool ok = i2c::SendAddress(adapter_, address, 1) != 0;
  for (uint32_t i = 0; ok && i < length; ++i) adapter_.Receive(data + i, false);
  adapter_.I2c_Stop();
  return ok ? 1 : 0;
}

uint8_t U2cBackEnd::I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                                     uint32_t writeLength, uint8_t* read, uint32_t readLength) {
  if (i2c::Missing(write, writeLength) || i2c::Missing(read, readLength)) return 0;
  SetSpeedMode(channel);
  if (UsesRecord(address, writeLength, readLength)) {
    if (!FitsRecord(writeLength, readLength, 1494)) return 0;
    Transaction record = MakeRecord(static_cast<uint8_t>(address), writeLength, readLength);
    record.memoryAddress = InOrder(write, writeLength);
    const bool done = adapter_.Read(record);
    std::copy_n(record.buffer, readLength, read);
    return done ? 1 : 0;
  }
  adapter_.I2c_Start();
  const bool ok = i2c::SendAddress(adapter_, address, 0) != 0 &&
                  i2c::WriteAll(adapter_, write, writeLength) != 0;
  // Without an acknowledge the transaction is left as it is, with no stop.
  return ok ? I2cLib_Read(channel, address, read, readLength) : uint8_t{0};
}

uint32_t U2cBackEnd::I2c_String(const char* command) { return i2c::String(adapter_, command); }

uint32_t U2cBackEnd::I2c_ReadString(char* result, const char* command) {
  return i2c::ReadString(adapter_, result, command);
}

int32_t U2cBackEnd::I2c_ReadStringEx(const char* command) {
  return i2c::ReadStringEx(adapter_, command);
}

uint32_t U2cBackEnd::Lpt_Output(uint8_t value) {
  adapter_.WritePort(value);
  bLptImage = value & 0xFC;
  return 0;
}

uint32_t U2cBackEnd::Lpt_Input(uint8_t* value) {
  if (value == nullptr) return 1;
  *value = 0;
  return 0;
}

uint32_t U2cBackEnd::Pll_Write(uint8_t /*a*/, uint8_t /*b*/, uint32_t /*c*/, uint32_t /*d*/,
                               uint32_t /*e*/) {
  debugLog.Print(0, "FIXME: not supported yet !!\n");
  return 0;
}

void U2cBackEnd::SPIStop() { SilentTrace("U2C doesn't support SPIStop_U2c currently\n"); }

}  // namespace brisk::u2c
