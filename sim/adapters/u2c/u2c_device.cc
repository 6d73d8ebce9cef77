#include "sim/adapters/u2c/u2c_device.h"

#include "sim/adapters/u2c/u2c_functions.h"
#include "sim/common/faults.h"

namespace brisk::sim {
namespace {

constexpr uint32_t kLine0 = 1;
// A call over USB, which the adapter answers in the next frame at the earliest.
constexpr uint64_t kCallNs = 100'000;

struct Rate {
  uint8_t code;
  unsigned kHz;
};

// The clock codes that work; 0 is the fastest clock, which differs between I2C and SPI.
constexpr unsigned kFastestI2c = 400;
constexpr unsigned kFastestSpi = 200;
constexpr Rate kRates[] = {{1, 100}, {2, 83},  {3, 71}, {4, 62}, {6, 50},
                           {16, 25}, {46, 10}, {96, 5}, {242, 2}};

constexpr char kCommonLibrary[] = "U2CCommon";
constexpr char kBridgeLibrary[] = "i2cbrdg";

bool TooLong(const u2c::Transaction& transaction) {
  return transaction.memoryAddressLength > sizeof transaction.memoryAddress ||
         transaction.bufferLength > sizeof transaction.buffer;
}

int32_t SetRate(uint8_t code, unsigned fastest, unsigned* kHz) {
  if (code == 0) {
    *kHz = fastest;
    return u2c::kDone;
  }
  for (const Rate& rate : kRates) {
    if (rate.code != code) continue;
    *kHz = rate.kHz;
    return u2c::kDone;
  }
  return U2cDevice::kFailed;
}

}  // namespace

U2cDevice::U2cDevice(const Site& site, LibraryShelf& libraries)
    : site_(site),
      libraries_(libraries),
      master_(site.board, site.clock),
      plain_(site.board.i2c().AddDriver()) {
  site_.board.i2c().AddDevice(*this);
  master_.SetSpiRate(spiKHz_);
  libraries_.Add(kCommonLibrary, U2cCommonSymbols());
  libraries_.Add(kBridgeLibrary, U2cBridgeSymbols());
}

U2cDevice::~U2cDevice() {
  libraries_.Remove(kCommonLibrary);
  libraries_.Remove(kBridgeLibrary);
}

bool U2cDevice::Call(int32_t handle, const char* function) {
  ++calls_;
  site_.clock.Spend(kCallNs);
  return handle == kHandle && !site_.faults.Strikes(FaultKind::kU2cFails, function);
}

int32_t U2cDevice::Open() {
  ++calls_;
  return site_.faults.Strikes(FaultKind::kU2cAbsent) ? u2c::kNoHandle : kHandle;
}

void U2cDevice::SetDirection(uint32_t mask, uint32_t outputs) {
  if ((mask & kLine0) != 0) line0IsOutput_ = (outputs & kLine0) != 0;
}

// An input is pulled high: the flash is then not selected.
void U2cDevice::SetLines(uint32_t value, uint32_t mask) {
  if ((mask & kLine0) == 0) return;
  line0_ = !line0IsOutput_ || (value & kLine0) != 0;
  site_.board.spi().Drive(line0_, false, false);
  site_.board.picture().Drive(site_.board.i2c().scl(), line0_);
}

void U2cDevice::LinesChanged(bool scl, bool /*sda*/) { site_.board.picture().Drive(scl, line0_); }

void U2cDevice::Drive(bool scl, bool sda) {
  scl_ = scl;
  sda_ = sda;
  site_.board.i2c().Drive(plain_, scl, sda);
}

void U2cDevice::DriveSda(bool released) {
  TakeFromMaster();
  Drive(scl_, released);
}

void U2cDevice::DriveScl(bool released) {
  TakeFromMaster();
  Drive(released, sda_);
}

// After an unfinished transaction the master holds SCL low. The plain outputs hold it in its place
// while the master lets go, which therefore makes no edge.
void U2cDevice::TakeFromMaster() {
  const I2cWires& i2c = site_.board.i2c();
  if (!scl_ || i2c.scl()) return;
  const bool sda = i2c.sda();
  Drive(false, false);
  master_.Stop();
  Drive(false, sda);
}

// SDA first, as the master itself would begin.
BoardMaster& U2cDevice::master() {
  Drive(scl_, true);
  Drive(true, true);
  return master_;
}

bool U2cDevice::SendMemoryAddress(const u2c::Transaction& transaction) {
  bool ok = master_.Send(static_cast<uint8_t>(transaction.slaveAddress << 1));
  for (unsigned i = transaction.memoryAddressLength; ok && i-- > 0;) {
    ok = master_.Send(static_cast<uint8_t>(transaction.memoryAddress >> (8 * i)));
  }
  return ok;
}

int32_t U2cDevice::Write(const u2c::Transaction& transaction) {
  if (TooLong(transaction)) return kFailed;
  master().Start();
  bool ok = SendMemoryAddress(transaction);
  for (unsigned i = 0; ok && i < transaction.bufferLength; ++i) {
    ok = master_.Send(transaction.buffer[i]);
  }
  master_.Stop();
  return ok ? u2c::kDone : kFailed;
}

int32_t U2cDevice::Read(u2c::Transaction* transaction) {
  if (TooLong(*transaction)) return kFailed;
  master().Start();
  bool ok = true;
  if (transaction->memoryAddressLength != 0) {
    ok = SendMemoryAddress(*transaction);
    if (ok) master_.Start();
  }
  ok = ok && master_.Send(static_cast<uint8_t>(transaction->slaveAddress << 1 | 1));
  for (unsigned i = 0; ok && i < transaction->bufferLength; ++i) {
    transaction->buffer[i] = master_.Receive(i + 1U != transaction->bufferLength);
  }
  master_.Stop();
  return ok ? u2c::kDone : kFailed;
}

int32_t U2cDevice::SetI2cCode(uint8_t code) {
  const int32_t result = SetRate(code, kFastestI2c, &i2cKHz_);
  master_.SetI2cRate(i2cKHz_);
  return result;
}

int32_t U2cDevice::SetSpiCode(uint8_t code) {
  const int32_t result = SetRate(code, kFastestSpi, &spiKHz_);
  master_.SetSpiRate(spiKHz_);
  return result;
}

}  // namespace brisk::sim
