#pragma once

#include <memory>
#include <string>

#include "platform/device_interfaces.h"
#include "sim/adapters/tcon_board/fx2_board.h"
#include "sim/config/adapter.h"

namespace brisk::sim {

// The timing-controller board behind its kernel driver: one present device of the driver's
// interface class, opened by path, answering device-control requests.
class Fx2Adapter final : public Adapter, public DeviceInterfaces {
 public:
  explicit Fx2Adapter(Bench& bench);
  ~Fx2Adapter() override;

  Fx2Board& board() { return board_; }

  std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) override;
  std::unique_ptr<DeviceNotification> NotifyOfClass(void* window,
                                                    const Guid& interfaceClass) override;
  std::unique_ptr<DeviceNotification> NotifyOfHandle(void* window, void* device) override;

  // Notifications registered and not closed.
  int notifications = 0;

 private:
  Bench& bench_;
  Fx2Board board_;
};

std::unique_ptr<Adapter> MakeFx2(Bench& bench, std::string* whyNot);

}  // namespace brisk::sim
