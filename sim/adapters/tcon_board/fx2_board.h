#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <vector>

#include "sim/board/board_master.h"
#include "sim/config/bench.h"

namespace brisk::sim {

// The setup packet of a control transfer.
struct UsbSetup {
  uint8_t requestType = 0;
  uint8_t request = 0;
  uint16_t value = 0;
  uint16_t index = 0;
  uint16_t length = 0;

  bool in() const { return (requestType & 0x80) != 0; }
};

enum class UsbAnswer : uint8_t {
  kDone,
  kStall,   // the device refuses
  kSilent,  // the device never answers
  kGone,    // there is no device any more
};

// The timing-controller board at the level of its USB transfers: an FX2 controller whose ROM
// answers standard requests and 0xA0 (RAM and CPU control), and whose firmware answers everything
// else, but only while the CPU runs with an image that was loaded since it was last held in reset.
// Register and block requests move the board's I2C lines; a byte that is not acknowledged stalls.
// What is sent to the bulk or interrupt OUT endpoint comes back on the IN endpoint of its kind.
class Fx2Board {
 public:
  static constexpr size_t kRamSize = 0x10000;
  static constexpr uint32_t kInternalRamEnd = 0x2000;

  explicit Fx2Board(Bench& bench);

  // `data` is the data stage: `setup.length` bytes to the device, or what it answered with.
  UsbAnswer Control(const UsbSetup& setup, std::vector<uint8_t>* data);
  UsbAnswer Write(uint8_t endpoint, const std::vector<uint8_t>& bytes);
  UsbAnswer Read(uint8_t endpoint, size_t most, std::vector<uint8_t>* bytes);
  void ResetPort() { pipes_.fill({}); }

  bool Present();
  bool FirmwareRuns() const { return !cpuHeld_ && imageBytes_ != 0; }
  uint8_t ram(uint32_t address) const { return ram_[address]; }
  uint8_t port(uint8_t number) const { return ports_[number]; }
  void SetPort(uint8_t number, uint8_t value) { ports_[number] = value; }
  unsigned i2cRate() const { return i2cRate_; }
  // The last control transfers that arrived, oldest first.
  static constexpr size_t kMostSeen = 1000;
  struct Seen {
    UsbSetup setup;
    std::vector<uint8_t> data;  // to the device
  };
  std::deque<Seen> seen;

 private:
  UsbAnswer Standard(const UsbSetup& setup, std::vector<uint8_t>* data);
  UsbAnswer LoadRam(const UsbSetup& setup, std::vector<uint8_t>* data);
  UsbAnswer Vendor(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool WriteRegister(uint8_t address, const std::vector<uint8_t>& data);
  bool ReadRegister(uint8_t address, std::vector<uint8_t>* data);
  bool BlockWrite(const UsbSetup& setup, const std::vector<uint8_t>& data);
  bool BlockRead(const UsbSetup& setup, std::vector<uint8_t>* data);
  void SetRate(unsigned kHz);

  Bench& bench_;
  BoardMaster master_;
  std::vector<uint8_t> ram_;
  bool cpuHeld_ = false;
  size_t imageBytes_ = 0;
  bool gone_ = false;
  uint8_t slave_ = 0;
  unsigned i2cRate_ = 100;
  std::array<uint8_t, 256> ports_{};
  std::array<std::deque<uint8_t>, 16> pipes_;
};

}  // namespace brisk::sim
