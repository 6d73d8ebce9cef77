#include "adapters/debug_board/debug_board.h"

namespace brisk::debug_board {
namespace {

// Port registers written when the board comes and goes. Which board they reach is for the selected
// device type to say: tools rely on that.
struct PortValue {
  uint8_t port;
  uint8_t value;
};
constexpr PortValue kAtAttach[] = {{49, 0xFE}, {29, 0x80}};
constexpr PortValue kAtDetach{49, 0};

// No received byte is acknowledged, as this board's tools expect it of the short transfers that
// channels are made for; what fails in a write phase stays as it is, with no stop.
constexpr i2c::ChannelForm kChannelForm{
    .repeatedStartBeforeRead = true,
    .acknowledgeReads = false,
    .stopAfterFailedWrite = false,
};

}  // namespace

DebugBoard::DebugBoard(const Host& host, PortRegisters& selectedPorts)
    : log_(host.log),
      selectedPorts_(selectedPorts),
      library_(host.system.libraries, host.log),
      channels_(i2c_, kChannelForm),
      flash_(library_, host.system.clock, host.system.files, host.log, host.progress),
      device_{
          .bus = &i2c_,
          .registers = &i2c_,
          .blocks = &i2c_,
          .channels = &channels_,
          .flash = &flash_,
          .words = &lines_,
          .lines = &lines_,
          .ports = &registers_,
          .generator = &registers_,
      } {}

void DebugBoard::Attach() {
  if (!library_.Load()) {
    log_.Print(0, "Error: Load WinIo.dll fail.");
    return;
  }
  if (!library_.OpenBoard()) {
    log_.Print(0, "Error: Cannot detect talvo debug board.");
    log_.Print(0, "       Please unplug & plug your USB cable.");
    return;
  }
  for (const auto& [port, value] : kAtAttach) {
    static_cast<void>(selectedPorts_.WritePort(port, value));
  }
}

void DebugBoard::Detach() {
  if (!library_.loaded()) return;
  static_cast<void>(selectedPorts_.WritePort(kAtDetach.port, kAtDetach.value));
  library_.Unload();
}

}  // namespace brisk::debug_board
