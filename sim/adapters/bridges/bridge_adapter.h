#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/serial_ports.h"
#include "sim/adapters/bridges/serial_line.h"
#include "sim/config/adapter.h"

namespace brisk::sim {

// A bridge on one of the simulated PC's COM ports: "uart" on COM3, "text-bridge" on COM7. The port
// can be opened once at a time, at any rate; what arrived while it was closed is lost.
class BridgeAdapter final : public Adapter {
 public:
  BridgeAdapter(FirmwareMaker firmware, Bench& bench);

  SerialLine& line() { return line_; }
  bool open() const { return open_; }
  // Rates that the port was opened with, oldest first.
  const std::vector<uint32_t>& rates() const { return rates_; }

  std::unique_ptr<SerialPort> Open(unsigned number, std::string* whyNot);

 private:
  class Port;

  Faults& faults_;
  SerialLine line_;
  bool open_ = false;
  std::vector<uint32_t> rates_;
};

std::unique_ptr<Adapter> MakeUartBridge(Bench& bench, std::string* whyNot);
std::unique_ptr<Adapter> MakeTextBridge(Bench& bench, std::string* whyNot);

}  // namespace brisk::sim
