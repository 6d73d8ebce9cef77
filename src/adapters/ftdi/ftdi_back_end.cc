#include "adapters/ftdi/ftdi_back_end.h"

#include <limits>
#include <vector>

#include "i2c/bus.h"
#include "platform/library_thread.h"

namespace brisk::ftdi {
namespace {

// The address byte, the register bytes and the data in one run; empty when too long to be counted.
std::vector<uint8_t> Join(uint8_t device, const uint8_t* command, uint32_t commandLength,
                          const uint8_t* data, uint32_t dataLength) {
  const uint64_t total = uint64_t{1} + commandLength + dataLength;
  std::vector<uint8_t> bytes;
  if (total > std::numeric_limits<uint32_t>::max()) return bytes;
  bytes.reserve(static_cast<size_t>(total));
  bytes.push_back(device);
  if (commandLength != 0) bytes.insert(bytes.end(), command, command + commandLength);
  if (dataLength != 0) bytes.insert(bytes.end(), data, data + dataLength);
  return bytes;
}

}  // namespace

FtdiBackEnd::FtdiBackEnd(ProgressReporter& reporter)
    : link_(boards_, [this] { flash_.Stop(); }), flash_(link_, reporter) {}

// Where the unloading step may not wait, it does nothing at all: the deferred-write thread has kept
// the library loaded until everything was sent, and at the end of the process it is gone, along
// with what it had not sent. The boards and the D2XX library stay open until the process ends:
// closing them could wait for a thread of D2XX.
void FtdiBackEnd::ProcessDetach() {
  if (!kUnloadMayWait) return;
  boards_.Close();
  EngineOwner::Instance().Release();
}

uint32_t FtdiBackEnd::I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                   const uint8_t* data, uint32_t dataLength) {
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  const std::vector<uint8_t> bytes = Join(device, command, commandLength, data, dataLength);
  return !bytes.empty() && boards_.WriteDeferred(bytes) ? 1 : 0;
}

uint32_t FtdiBackEnd::I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                                  uint8_t* data, uint32_t dataLength) {
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  std::vector<uint8_t> control = Join(device, command, commandLength, nullptr, 0);
  return !control.empty() && boards_.Read(control, data, dataLength) ? 1 : 0;
}

uint32_t FtdiBackEnd::SetPortVal(uint8_t direction, uint8_t levels) {
  boards_.SetPins(direction, levels);
  return 1;
}

void FtdiBackEnd::SPIInit() {
  link_.Begin();
  link_.Rest();
}

uint32_t FtdiBackEnd::SPIReadID() {
  link_.Begin();
  return flash_.ReadId();
}

void FtdiBackEnd::SPIBulkErase() {
  link_.Begin();
  flash_.BulkErase();
}

void FtdiBackEnd::SPISectorErase(uint32_t adr) {
  link_.Begin();
  flash_.EraseSector(adr);
}

void FtdiBackEnd::SPIWriteByte(uint32_t adr, uint32_t data) {
  link_.Begin();
  flash_.WriteByte(adr, data);
}

void FtdiBackEnd::SPIReadByte(uint32_t adr, uint32_t* data) {
  link_.Begin();
  flash_.ReadByte(adr, data);
}

uint32_t FtdiBackEnd::SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                                         uint32_t erase) {
  link_.Begin();
  return flash_.ProgramFromFile(adr, maxsize, szfile, erase != 0);
}

uint32_t FtdiBackEnd::SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) {
  link_.Begin();
  return flash_.ProgramToFile(adr, maxsize, szfile);
}

}  // namespace brisk::ftdi
