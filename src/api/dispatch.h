#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "adapters/lpt/ports.h"
#include "api/back_end.h"
#include "base/progress.h"
#include "port_driver/driver.h"

namespace brisk {

// Owns one back end per device type.
class Dispatch {
 public:
  Dispatch(lpt::Ports& ports, Driver& driver, ProgressReporter& reporter);

  // The back end of a device type; for types without one, the base whose operations do nothing.
  BackEnd& For(uint8_t deviceType);

  static constexpr uint8_t kDeviceTypes = 10;

 private:
  std::array<std::unique_ptr<BackEnd>, kDeviceTypes> backEnds_;
  BackEnd none_;
};

}  // namespace brisk
