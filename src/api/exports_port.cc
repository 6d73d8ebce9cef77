#include "brisk/brisk.h"

#include "api/call.h"

using brisk::BackEnd;
using brisk::Dispatch;
using brisk::Dispatched;
using brisk::Instance;

namespace {

// The boards that serve SetPortVal and GetPortVal; every other device type uses the debug board.
BackEnd& PortBoard(Instance& instance, bool write) {
  const uint8_t type = brisk::SharedLoad(instance.shared().bDeviceType);
  const bool own = type == BRISK_DEVICE_TCON_USB || (type == BRISK_DEVICE_FTDI && write);
  if (!own) return instance.dispatch().For(BRISK_DEVICE_DEBUG_BOARD);
  // Those two have locks of their own, which nobody gives back who was killed while holding one.
  return instance.dispatch().For(instance.ThreadsKilled() ? Dispatch::kDeviceTypes : type);
}

}  // namespace

BRISK_API uint32_t BRISK_CALL Lpt_Output(uint8_t value) {
  return Dispatched([&](BackEnd& board) { return board.Lpt_Output(value); });
}

BRISK_API uint32_t BRISK_CALL Lpt_Input(uint8_t* value) {
  return Dispatched([&](BackEnd& board) { return board.Lpt_Input(value); });
}

BRISK_API uint32_t BRISK_CALL SetPortVal(uint8_t port, uint8_t value) {
  return brisk::Locked(
      [&](Instance& instance) { return PortBoard(instance, true).SetPortVal(port, value); });
}

BRISK_API uint32_t BRISK_CALL GetPortVal(uint8_t port, uint8_t* value) {
  return brisk::Locked(
      [&](Instance& instance) { return PortBoard(instance, false).GetPortVal(port, value); });
}
