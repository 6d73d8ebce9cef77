#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "sim/adapters/adapter.h"
#include "sim/board/board_master.h"

namespace brisk::sim {

// The setup packet of a control transfer, as on the wire.
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

// How a transfer ended, and the bytes that it moved.
struct UsbResult {
  UsbAnswer answer;
  size_t moved = 0;
};

// The simulated board's descriptor that a GET_DESCRIPTOR with this value asks for: an FX2
// controller with one configuration whose interface has every kind of endpoint, and an alternate
// setting without any. Empty when there is no such descriptor.
std::vector<uint8_t> Fx2Descriptor(uint16_t value);

// The timing-controller board at the level of its USB transfers: an FX2 controller whose ROM
// answers standard requests and 0xA0 (RAM and CPU control), and whose firmware answers everything
// else, but only while the CPU runs with an image that was loaded since it was last held in reset.
// Register and block requests move the board's I2C lines; a byte that is not acknowledged stalls.
// What is sent to the bulk or interrupt OUT endpoint comes back on the IN endpoint of its kind.
class Fx2Board {
 public:
  explicit Fx2Board(const Site& site);

  // `stage` is the data stage, `setup.length` bytes: sent, or filled with what the board answers.
  UsbResult Control(const UsbSetup& setup, std::span<uint8_t> stage);
  // The other endpoints, by address: the numbers of those to the board, and 0x80 + number.
  UsbResult Transfer(uint8_t endpoint, std::span<uint8_t> bytes);
  // Empties the pipes; the CPU and its RAM do not notice.
  void ResetPort() { pipes_.fill({}); }

  // False once a fault has unplugged the board, for good.
  bool Present();
  bool FirmwareRuns() const { return !cpuHeld_ && imageBytes_ != 0; }
  uint8_t ram(uint32_t address) const { return ram_[address]; }
  uint8_t port(uint8_t number) const { return ports_[number]; }
  // The last control transfers that arrived, oldest first.
  static constexpr size_t kMostSeen = 1000;
  struct Seen {
    UsbSetup setup;
    std::vector<uint8_t> data;  // to the device
  };
  std::deque<Seen> seen;

 private:
  struct VendorRequest;
  static const VendorRequest kVendorRequests[];

  // Requests; `data` is what came, or the answer. False = the board stalls.
  bool LoadRam(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool Vendor(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool WriteMemory(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool SetSlave(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool SetRate(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool Registers(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool Block(const UsbSetup& setup, std::vector<uint8_t>* data);
  bool Port(const UsbSetup& setup, std::vector<uint8_t>* data);

  const Site site_;
  BoardMaster master_;
  std::vector<uint8_t> ram_;
  bool cpuHeld_ = false;
  size_t imageBytes_ = 0;  // loaded since the CPU was last taken into reset
  bool gone_ = false;
  uint8_t slave_ = 0;  // write address that register requests go to
  std::array<uint8_t, 256> ports_{};
  std::array<std::deque<uint8_t>, 16> pipes_;  // what IN endpoints have to send, by number
};

}  // namespace brisk::sim
