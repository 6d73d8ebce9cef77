#include "sim/config/adapter.h"

#include "sim/adapters/bridges/bridge_adapter.h"
#include "sim/adapters/debug_board/debug_board_adapter.h"
#include "sim/adapters/ftdi/ftdi_adapter.h"
#include "sim/adapters/lpt/lpt_adapter.h"
#include "sim/adapters/tcon_board/fx2_adapter.h"
#include "sim/adapters/u2c/u2c_device.h"

namespace brisk::sim {
namespace {

// Every adapter that exists.
constexpr AdapterKind kKinds[] = {
    {"lpt", MakeLpt},
    {"lpt-b", MakeLptB},
    {"lpt-c", MakeLptC},
    {"u2c", MakeU2c},
    {"debug-board", MakeDebugBoard},
    {"tcon-usb", MakeFx2},
    {"uart", MakeUartBridge},
    {"text-bridge", MakeTextBridge},
    {"ft2232c", MakeFt2232c},
    {"ft2232c-2", MakeSecondFt2232c},
    {"talvo", MakeTalvo},
    {"ft2232h", MakeFt2232h},
    {"ft4232h", MakeFt4232h},
};

}  // namespace

std::span<const AdapterKind> AdapterKinds() { return kKinds; }

}  // namespace brisk::sim
