#include "adapters/debug_board/debug_board.h"

#include "brisk/brisk.h"

#include "base/debug.h"

namespace brisk::usb {
namespace {

// Port registers written when the board comes and goes.
struct PortValue {
  uint8_t port;
  uint8_t value;
};
constexpr PortValue kAtAttach[] = {{49, 0xFE}, {29, 0x80}};
constexpr PortValue kAtDetach{49, 0};

// Picture port lines on the emulated parallel port; both high is idle.
constexpr uint8_t kOne = 0x02;
constexpr uint8_t kZero = 0x40;
constexpr uint8_t kIdle = kOne | kZero;
constexpr uint8_t kAlwaysHigh = 0x01;

constexpr uint8_t Byte(uint32_t value, int shift) { return static_cast<uint8_t>(value >> shift); }

}  // namespace

void DebugBoardBackEnd::ProcessAttach() {
  if (!library_.Load()) {
    debugLog.Print(0, "Error: Load WinIo.dll fail.");
    return;
  }
  if (!library_.OpenBoard()) {
    debugLog.Print(0, "Error: Cannot detect talvo debug board.");
    debugLog.Print(0, "       Please unplug & plug your USB cable.");
    return;
  }
  // The exported function, as tools know it from this library: with another device type selected,
  // the values go to that type's board.
  for (const PortValue& write : kAtAttach) ::SetPortVal(write.port, write.value);
}

void DebugBoardBackEnd::ProcessDetach() {
  if (!library_.loaded()) return;
  ::SetPortVal(kAtDetach.port, kAtDetach.value);
  library_.Unload();
}

uint32_t DebugBoardBackEnd::SetPortVal(uint8_t port, uint8_t value) {
  return Send(Frame(kPortWrite, {port, value}));
}

uint32_t DebugBoardBackEnd::GetPortVal(uint8_t port, uint8_t* value) {
  if (value == nullptr || !library_.ready()) return 0;
  Frame frame(kPortRead, {port});
  const uint32_t result = library_.Exchange(frame);
  *value = frame.data[0];
  return result;
}

uint32_t DebugBoardBackEnd::Lpt_Output(uint8_t value) {
  Send(Frame(kLptOutput, {kBoardUnit, MirrorToBoard(value)}));
  return 0;
}

uint32_t DebugBoardBackEnd::Lpt_Input(uint8_t* value) {
  if (value == nullptr || !library_.ready()) return 0;
  Frame frame(kLptInput, {kBoardUnit});
  library_.Exchange(frame);
  *value = MirrorFromBoard(frame.data[0]);
  return 0;
}

void DebugBoardBackEnd::Sddi_Tx(uint32_t bits, uint32_t value) {
  if (bits == 0 || bits > 32 || !library_.ready()) return;
  uint8_t idle = 0;
  Lpt_Input(&idle);
  idle |= kIdle | kAlwaysHigh;
  const auto low = static_cast<uint8_t>(idle & ~kIdle);
  Lpt_Output(idle);
  for (uint32_t i = bits; i-- > 0;) {
    Lpt_Output(low | ((value >> i & 1) != 0 ? kOne : kZero));
    Lpt_Output(i != 0 ? low : idle);
  }
}

uint32_t DebugBoardBackEnd::Pll_Write(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) {
  // The PLL word's bits 23 to 16 are not the caller's: the board expects 0x17 there.
  Send(Frame(kPllWrite,
             {kBoardUnit, a, b, Byte(c, 24), Byte(c, 16), Byte(c, 8), Byte(c, 0), Byte(d, 24),
              Byte(d, 16), Byte(d, 8), Byte(d, 0), Byte(e, 24), 0x17, Byte(e, 8), Byte(e, 0)}));
  return 0;
}

}  // namespace brisk::usb
