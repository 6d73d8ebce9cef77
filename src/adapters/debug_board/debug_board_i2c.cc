#include "adapters/debug_board/debug_board_i2c.h"

#include <algorithm>
#include <initializer_list>

namespace brisk::debug_board {
namespace {

constexpr size_t kMaxWriteCommand = 60;  // with start and address they fill the first packet
constexpr size_t kMaxReadCommand = 58;   // the repeated start, address and end come behind

constexpr std::initializer_list<uint8_t> kLastByte = {script::kReadLast, script::kNoAcknowledge,
                                                      script::kStop, script::kEnd};

// A packet being filled with opcodes, each with its data byte at the same position.
class Script {
 public:
  explicit Script(Direction direction, std::initializer_list<uint8_t> opcodes = {})
      : frame_(direction) {
    Add(opcodes);
  }

  void Add(uint8_t opcode, uint8_t data = 0) {
    frame_.command[position_] = opcode;
    frame_.data[position_] = data;
    ++position_;
  }
  void Add(std::initializer_list<uint8_t> opcodes) {
    for (const uint8_t opcode : opcodes) Add(opcode);
  }
  void Send(Bytes bytes) {
    for (const uint8_t byte : bytes) Add(script::kSend, byte);
  }
  void Read(size_t count) {
    for (size_t i = 0; i < count; ++i) Add(script::kRead);
  }
  // Filling starts again; the packets keep what they held.
  void Rewind() { position_ = script::kFirst; }

  size_t left() const { return script::kFull - position_; }
  Frame& frame() { return frame_; }
  // The bytes that the first positions read.
  void CopyReply(Buffer to) const {
    std::copy_n(frame_.data.begin() + script::kFirst, to.size(), to.begin());
  }

 private:
  Frame frame_;
  size_t position_ = script::kFirst;
};

}  // namespace

void DebugBoardI2c::Start() {
  library_.Exchange(Script(Direction::kToBoard, {script::kStart, script::kEnd}).frame());
}

void DebugBoardI2c::Stop() {
  library_.Exchange(Script(Direction::kToBoard, {script::kStop, script::kEnd}).frame());
}

Status DebugBoardI2c::Send(uint8_t byte) {
  Script script(Direction::kToBoard);
  script.Add(script::kSend, byte);
  script.Add(script::kEnd);
  return library_.Run(script.frame());
}

Status DebugBoardI2c::Receive(uint8_t* byte, uint32_t last) {
  if (!library_.ready()) return Cause::kNoAdapter;
  Script script(Direction::kFromBoard);
  if (last != 0) {
    script.Add({script::kReadLast, script::kNoAcknowledge, script::kEnd});
  } else {
    script.Add({script::kRead, script::kEnd});
  }
  const Status status = library_.Run(script.frame());
  script.CopyReply({byte, 1});
  return status;
}

Status DebugBoardI2c::WriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  Frame frame(kI2cRegWrite);
  frame.data[1] = device;
  frame.data[3] = subAddress;
  frame.data[4] = data;
  return library_.Run(frame);
}

Status DebugBoardI2c::ReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr) return Cause::kBadArgument;
  if (!library_.ready()) return Cause::kNoAdapter;
  Frame frame(kI2cRegRead, {device, 0, subAddress});
  const Status status = library_.Run(frame);
  *data = frame.data[1];
  return status;
}

Status DebugBoardI2c::Ready(Bytes command, size_t most, Bytes data) const {
  if (!library_.ready()) return Cause::kNoAdapter;
  const bool bad = command.size() > most || IsNullWithLength(command) || IsNullWithLength(data);
  return bad ? Cause::kBadArgument : Status();
}

// The packets keep what they held when filling starts again; the header tells what that does to a
// write that leaves one position over.
Status DebugBoardI2c::WriteData(uint8_t device, Bytes command, Bytes data) {
  const Status ready = Ready(command, kMaxWriteCommand, data);
  if (!ready.ok()) return ready;
  Script script(Direction::kToBoard);
  script.Add(script::kStart);
  script.Add(script::kSend, device);
  script.Send(command);
  for (const uint8_t byte : data) {
    script.Add(script::kSend, byte);
    if (script.left() != 0) continue;
    library_.Exchange(script.frame());
    script.Rewind();
  }
  const bool stopFits = script.left() >= 2;
  if (stopFits) script.Add({script::kStop, script::kEnd});
  library_.Exchange(script.frame());
  if (!stopFits) Stop();
  return {};
}

Status DebugBoardI2c::ReadData(uint8_t device, Bytes command, Buffer data) {
  const Status ready = Ready(command, kMaxReadCommand, data);
  if (!ready.ok()) return ready;
  SendReadAddress(device, command);
  if (!data.empty()) ReadBlock(data);
  return {};
}

// Without command bytes the device is addressed for reading at once.
void DebugBoardI2c::SendReadAddress(uint8_t device, Bytes command) {
  Script script(Direction::kToBoard);
  if (!command.empty()) {
    script.Add(script::kStart);
    script.Add(script::kSend, device);
    script.Send(command);
  }
  script.Add(script::kStart);
  script.Add(script::kSend, device | i2c::kReadFlag);
  script.Add(script::kEnd);
  library_.Exchange(script.frame());
}

// Every byte but the last is acknowledged. The last one's opcodes stand in one packet: where they
// do not fit behind the others they have one of their own.
void DebugBoardI2c::ReadBlock(Buffer data) {
  for (; data.size() > script::kPositions; data = data.subspan(script::kPositions)) {
    Script full(Direction::kFromBoard);
    full.Read(script::kPositions);
    library_.Exchange(full.frame());
    full.CopyReply(data.first(script::kPositions));
  }
  const size_t acknowledged = data.size() - 1;
  Script rest(Direction::kFromBoard);
  rest.Read(acknowledged);
  const bool lastFits = rest.left() >= kLastByte.size();
  lastFits ? rest.Add(kLastByte) : rest.Add(script::kEnd);
  library_.Exchange(rest.frame());
  rest.CopyReply(data.first(lastFits ? data.size() : acknowledged));
  if (lastFits) return;
  Script last(Direction::kFromBoard, kLastByte);
  library_.Exchange(last.frame());
  last.CopyReply(data.last(1));
}

}  // namespace brisk::debug_board
