// The one place that knows which adapter goes into which of the PC's connectors.
#include "sim/config/adapter_kinds.h"

#include "sim/adapters/bridges/bridge_adapter.h"
#include "sim/adapters/debug_board/debug_board_adapter.h"
#include "sim/adapters/ftdi/ftdi_adapter.h"
#include "sim/adapters/lpt/lpt_adapter.h"
#include "sim/adapters/tcon_board/fx2_adapter.h"
#include "sim/adapters/text_bridge/text_firmware.h"
#include "sim/adapters/u2c/u2c_device.h"
#include "sim/adapters/uart_bridge/uart_firmware.h"
#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

using Made = std::unique_ptr<Adapter>;

// COM ports.
constexpr unsigned kUartPort = 3;
constexpr unsigned kTextPort = 7;

template <const LptWiring& kWiring>
Made MakeLpt(Bench& bench, std::string* whyNot) {
  return LptAdapter::Make(kWiring, bench.board(), bench.ports(), whyNot);
}

Made MakeU2c(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<U2cDevice>(bench.site(), bench.libraries());
}

Made MakeDebugBoard(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<DebugBoardAdapter>(bench.site(), bench.libraries());
}

Made MakeFx2(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<Fx2Adapter>(bench.site(), bench.deviceInterfaces(), bench.devices());
}

template <FirmwareMaker kFirmware, unsigned kPort>
Made MakeBridge(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<BridgeAdapter>(kFirmware, bench.site(), bench.serialPorts(), kPort);
}

// The host of the bench's first FTDI adapter serves the others too.
std::shared_ptr<D2xxHost> HostOf(Bench& bench) {
  for (const AdapterKind& kind : AdapterKinds()) {
    const auto* other = dynamic_cast<FtdiAdapter*>(bench.adapter(kind.name));
    if (other != nullptr) return other->host();
  }
  return std::make_shared<D2xxHost>(bench.clock(), bench.faults());
}

template <const FtdiModel& kModel>
Made MakeFtdi(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<FtdiAdapter>(kModel, HostOf(bench), bench.site(), nullptr,
                                       bench.libraries());
}

Made MakeSecondFtdi(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<FtdiAdapter>(kSecondFt2232c, HostOf(bench), bench.site(),
                                       std::make_unique<OwnBoard>(bench.options(), bench.site()),
                                       bench.libraries());
}

constexpr AdapterKind kKinds[] = {
    {"lpt", MakeLpt<kLptWiringA>},
    {"lpt-b", MakeLpt<kLptWiringB>},
    {"lpt-c", MakeLpt<kLptWiringC>},
    {"u2c", MakeU2c},
    {"debug-board", MakeDebugBoard},
    {"tcon-usb", MakeFx2},
    {"uart", MakeBridge<MakeUartFirmware, kUartPort>},
    {"text-bridge", MakeBridge<MakeTextFirmware, kTextPort>},
    {"ft2232c", MakeFtdi<kFt2232c>},
    {"ft2232c-2", MakeSecondFtdi},
    {"talvo", MakeFtdi<kTalvoBoard>},
    {"ft2232h", MakeFtdi<kFt2232h>},
    {"ft4232h", MakeFtdi<kFt4232h>},
};

}  // namespace

std::span<const AdapterKind> AdapterKinds() { return kKinds; }

}  // namespace brisk::sim
