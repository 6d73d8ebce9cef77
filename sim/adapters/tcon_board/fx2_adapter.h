#pragma once

#include <memory>

#include "platform/device_interfaces.h"
#include "sim/adapters/adapter.h"
#include "sim/adapters/plugged.h"
#include "sim/adapters/tcon_board/fx2_board.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// The timing-controller board behind its kernel driver: one present device of the driver's
// interface class, opened by path, answering device-control requests.
class Fx2Adapter final : public Adapter, public DeviceInterfaces {
 public:
  Fx2Adapter(const Site& site, DeviceInterfaceSocket& interfaces, DeviceSockets& devices);
  ~Fx2Adapter() override;

  Fx2Board& board() { return board_; }

  std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) override;
  std::unique_ptr<DeviceNotification> NotifyOfClass(void* window,
                                                    const Guid& interfaceClass) override;
  std::unique_ptr<DeviceNotification> NotifyOfHandle(void* window, void* device) override;

 private:
  const Site site_;
  DeviceInterfaceSocket& interfaces_;
  DeviceSockets& devices_;
  Fx2Board board_;
  const Plugged<Fx2Adapter> plugged_{*this};
};

}  // namespace brisk::sim
