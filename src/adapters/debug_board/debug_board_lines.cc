#include "adapters/debug_board/debug_board_lines.h"

#include "base/bytes.h"

namespace brisk::debug_board {
namespace {

constexpr uint8_t kAlwaysHigh = 0x01;  // of the port, while a picture word is sent
constexpr uint32_t kMostBits = 32;     // of a picture word
constexpr uint8_t kPllMark = 0x17;     // in place of bits 23 to 16 of the last PLL value

}  // namespace

Status DebugBoardLines::Output(uint8_t value) {
  Frame frame(kLptOutput, {kBoardUnit, MirrorToBoard(value)});
  library_.Exchange(frame);
  return {};
}

Status DebugBoardLines::Input(uint8_t* value) {
  if (!library_.ready()) return {};
  Frame frame(kLptInput, {kBoardUnit});
  library_.Exchange(frame);
  *value = MirrorFromBoard(frame.data[0]);
  return {};
}

void DebugBoardLines::SendWord(uint32_t bits, uint32_t value) {
  if (bits == 0 || bits > kMostBits || !library_.ready()) return;
  static_cast<void>(Input(&base_));
  base_ |= kAlwaysHigh;
  PortWords::SendWord(bits, value);
}

Status DebugBoardRegisters::WritePort(uint8_t port, uint8_t value) {
  Frame frame(kPortWrite, {port, value});
  return library_.Run(frame);
}

Status DebugBoardRegisters::ReadPort(uint8_t port, uint8_t* value) {
  if (!library_.ready()) return Cause::kNoAdapter;
  Frame frame(kPortRead, {port});
  const Status status = library_.Run(frame);
  *value = frame.data[0];
  return status;
}

Status DebugBoardRegisters::WriteDividers(uint8_t a, uint8_t b, uint32_t c, uint32_t d,
                                          uint32_t e) {
  Frame frame(kPllWrite, {kBoardUnit, a, b,                                        //
                          ByteOf(c, 3), ByteOf(c, 2), ByteOf(c, 1), ByteOf(c, 0),  //
                          ByteOf(d, 3), ByteOf(d, 2), ByteOf(d, 1), ByteOf(d, 0),  //
                          ByteOf(e, 3), kPllMark, ByteOf(e, 1), ByteOf(e, 0)});
  library_.Exchange(frame);
  return {};
}

}  // namespace brisk::debug_board
