#include "adapter.h"

#include "ftdi/ftdi_adapter.h"
#include "lpt_adapter.h"
#include "serial/bridge_adapter.h"
#include "u2c/u2c_device.h"
#include "usb/debug_board_adapter.h"
#include "usb/fx2_adapter.h"

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
