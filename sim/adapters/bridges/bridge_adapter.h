#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/serial_ports.h"
#include "sim/adapters/adapter.h"
#include "sim/adapters/bridges/serial_line.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// A bridge on one of the simulated PC's COM ports. The port can be opened once at a time, at any
// rate; what arrived while it was closed is lost.
class BridgeAdapter final : public Adapter {
 public:
  BridgeAdapter(FirmwareMaker firmware, const Site& site, SerialSockets& ports, unsigned number);
  ~BridgeAdapter() override;

  SerialLine& line() { return line_; }
  bool open() const { return open_; }
  // Rates that the port was opened with, oldest first.
  const std::vector<uint32_t>& rates() const { return rates_; }

 private:
  class Port;

  std::unique_ptr<SerialPort> Open(std::string* whyNot);

  Faults& faults_;
  SerialSockets& ports_;
  const unsigned number_;
  SerialLine line_;
  bool open_ = false;
  std::vector<uint32_t> rates_;
};

}  // namespace brisk::sim
