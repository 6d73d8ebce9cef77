// A page program through the adapter is 258 transfers of its SPI (command, address, and a byte
// each), with line 0 going low before them and high after. The status poll is one more for every
// look.
#include "adapters/u2c/u2c_flash.h"

#include <array>

#include "adapters/u2c/silent_trace.h"
#include "base/bytes.h"

namespace brisk::u2c {
namespace {

// No debug lines. Reports find the percentage before a page is programmed, and after it is read.
constexpr flash::LinkForm kForm{
    .files = {.logs = false, .fillsPages = true, .stoppable = false, .countsRead = true},
    .logs = false,
    .erasesChipForByte = true,
    .resetsProgress = true,
};

}  // namespace

void U2cSpi::Begin() {
  if (adapter_.connected()) return;
  adapter_.Connect();
  adapter_.SetFastestSpiClock();
  adapter_.MakeLineAnOutput();
}

void U2cSpi::SendByte(uint8_t byte) {
  if (!adapter_.SpiWrite(&byte, 1)) SilentTrace("SPIWriteByte Fail\n");
}

void U2cSpi::SendAddress(uint32_t address) {
  const std::array<uint8_t, 3> bytes = {ByteOf(address, 2), ByteOf(address, 1), ByteOf(address, 0)};
  if (!adapter_.SpiWrite(bytes.data(), bytes.size())) SilentTrace("spiwrite24adr Fail\n");
}

uint8_t U2cSpi::ReadByte() {
  uint8_t byte = 0;
  if (!adapter_.SpiRead(&byte)) SilentTrace("SPIReadByte Fail\n");
  return byte;
}

void U2cSpi::Waited(bool inTime) {
  if (!inTime) SilentTrace("System is still busy\n");
}

U2cFlash::U2cFlash(U2cLink& adapter, Clock& clock, Files& files, CDebug& log,
                   ProgressReporter& reporter)
    : U2cSpi(adapter, clock),
      LinkFlash(static_cast<U2cSpi&>(*this), clock, files, log, reporter, kForm) {}

void U2cFlash::Stop() { SilentTrace("U2C doesn't support SPIStop_U2c currently\n"); }

}  // namespace brisk::u2c
