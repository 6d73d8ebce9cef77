#include "sim/adapters/u2c/u2c_device.h"

#include "sim/adapters/u2c/u2c_functions.h"

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
constexpr Rate kRates[] = {{1, 100}, {2, 83},  {3, 71}, {4, 62}, {6, 50},
                           {16, 25}, {46, 10}, {96, 5}, {242, 2}};

int32_t SetRate(uint8_t code, unsigned fastest, unsigned* kHz) {
  if (code == 0) {
    *kHz = fastest;
    return 0;
  }
  for (const Rate& rate : kRates) {
    if (rate.code != code) continue;
    *kHz = rate.kHz;
    return 0;
  }
  return U2cDevice::kFailed;
}

}  // namespace

U2cDevice::U2cDevice(Bench& bench)
    : bench_(bench),
      master_(bench.board(), bench.clock()),
      plain_(bench.board().i2c().AddDriver()) {
  bench.board().i2c().AddDevice(*this);
  bench.libraries().Add("U2CCommon", U2cCommonSymbols());
  bench.libraries().Add("i2cbrdg", U2cBridgeSymbols());
}

U2cDevice::~U2cDevice() {
  bench_.libraries().Remove("U2CCommon");
  bench_.libraries().Remove("i2cbrdg");
}

bool U2cDevice::Call(int32_t handle, const char* function) {
  ++calls_;
  bench_.clock().Spend(kCallNs);
  return handle == kHandle && !bench_.faults().Strikes(FaultKind::kU2cFails, function);
}

int32_t U2cDevice::Open() {
  ++calls_;
  return bench_.faults().Strikes(FaultKind::kU2cAbsent) ? -1 : kHandle;
}

void U2cDevice::SetDirection(uint32_t mask, uint32_t outputs) {
  if ((mask & kLine0) != 0) line0IsOutput_ = (outputs & kLine0) != 0;
}

// An input is pulled high: the flash is then not selected.
void U2cDevice::SetLines(uint32_t value, uint32_t mask) {
  if ((mask & kLine0) == 0) return;
  line0_ = !line0IsOutput_ || (value & kLine0) != 0;
  bench_.board().spi().Drive(line0_, false, false);
  bench_.board().picture().Drive(bench_.board().i2c().scl(), line0_);
}

void U2cDevice::LinesChanged(bool scl, bool /*sda*/) {
  bench_.board().picture().Drive(scl, line0_);
}

void U2cDevice::Drive(bool scl, bool sda) {
  scl_ = scl;
  sda_ = sda;
  bench_.board().i2c().Drive(plain_, scl, sda);
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
  const I2cWires& i2c = bench_.board().i2c();
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

bool U2cDevice::SendMemoryAddress(const Record& record) {
  for (unsigned i = record.memoryLength; i-- > 0;) {
    if (!master_.Send(static_cast<uint8_t>(record.memoryAddress >> (8 * i)))) return false;
  }
  return true;
}

int32_t U2cDevice::Write(const Record& record) {
  if (record.memoryLength > 4 || record.length > 256) return kFailed;
  master().Start();
  bool ok = master_.Send(static_cast<uint8_t>(record.address << 1)) && SendMemoryAddress(record);
  for (unsigned i = 0; ok && i < record.length; ++i) ok = master_.Send(record.buffer[i]);
  master_.Stop();
  return ok ? 0 : kFailed;
}

int32_t U2cDevice::Read(const Record& record) {
  if (record.memoryLength > 4 || record.length > 256) return kFailed;
  master().Start();
  bool ok = true;
  if (record.memoryLength != 0) {
    ok = master_.Send(static_cast<uint8_t>(record.address << 1)) && SendMemoryAddress(record);
    if (ok) master_.Start();
  }
  ok = ok && master_.Send(static_cast<uint8_t>(record.address << 1 | 1));
  for (unsigned i = 0; ok && i < record.length; ++i) {
    record.buffer[i] = master_.Receive(i + 1 != record.length);
  }
  master_.Stop();
  return ok ? 0 : kFailed;
}

int32_t U2cDevice::SetI2cCode(uint8_t code) {
  const int32_t result = SetRate(code, 400, &i2cKHz_);
  master_.SetI2cRate(i2cKHz_);
  return result;
}

int32_t U2cDevice::SetSpiCode(uint8_t code) { return SetRate(code, 200, &spiKHz_); }

uint8_t U2cDevice::ExchangeSpi(uint8_t byte) {
  SpiWires& spi = bench_.board().spi();
  uint8_t in = 0;
  for (unsigned mask = 0x80; mask != 0; mask >>= 1) {
    const bool mosi = (byte & mask) != 0;
    spi.Drive(line0_, false, mosi);
    bench_.clock().Spend(500'000 / spiKHz_);
    spi.Drive(line0_, true, mosi);
    in = static_cast<uint8_t>(in << 1 | (spi.miso() ? 1 : 0));
    bench_.clock().Spend(500'000 / spiKHz_);
  }
  spi.Drive(line0_, false, false);
  return in;
}

std::unique_ptr<Adapter> MakeU2c(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<U2cDevice>(bench);
}

}  // namespace brisk::sim
