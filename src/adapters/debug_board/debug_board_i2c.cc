#include <algorithm>

#include "adapters/debug_board/debug_board.h"
#include "i2c/bus.h"

namespace brisk::usb {
namespace {

constexpr uint32_t kMaxWriteCommand = 60;  // with start and address they fill the first packet
constexpr uint32_t kMaxReadCommand = 58;   // the repeated start, address and end come behind
constexpr uint8_t kReadFlag = 1;

// A packet being filled with opcodes.
class Script {
 public:
  explicit Script(Direction direction) : frame_(direction) {}

  void Add(uint8_t opcode, uint8_t data = 0) {
    frame_.command[position_] = opcode;
    frame_.data[position_] = data;
    ++position_;
  }
  void Send(std::span<const uint8_t> bytes) {
    for (const uint8_t byte : bytes) Add(script::kSend, byte);
  }
  // Filling starts again; the packets keep what they held.
  void Rewind() { position_ = script::kFirst; }
  size_t position() const { return position_; }
  bool full() const { return position_ == script::kFull; }
  Frame& frame() { return frame_; }
  const uint8_t* reply() const { return frame_.data.data() + script::kFirst; }

 private:
  Frame frame_;
  size_t position_ = script::kFirst;
};

template <typename... Opcodes>
Frame ScriptOf(Direction direction, Opcodes... opcodes) {
  Script script(direction);
  (script.Add(opcodes), ...);
  return script.frame();
}

}  // namespace

void DebugBoardBackEnd::I2c_Start() {
  Send(ScriptOf(Direction::kToBoard, script::kStart, script::kEnd));
}

void DebugBoardBackEnd::I2c_Stop() {
  Send(ScriptOf(Direction::kToBoard, script::kStop, script::kEnd));
}

uint32_t DebugBoardBackEnd::I2cWrite(uint8_t byte) {
  Script script(Direction::kToBoard);
  script.Add(script::kSend, byte);
  script.Add(script::kEnd);
  return library_.Exchange(script.frame());
}

uint32_t DebugBoardBackEnd::I2c_Tx(uint32_t byte) {
  I2cWrite(static_cast<uint8_t>(byte));
  return 0;
}

uint32_t DebugBoardBackEnd::I2cRead(uint8_t* data, uint32_t last) {
  if (data == nullptr || !library_.ready()) return 0;
  Frame frame = last == 0 ? ScriptOf(Direction::kFromBoard, script::kRead, script::kEnd)
                          : ScriptOf(Direction::kFromBoard, script::kReadLast,
                                     script::kNoAcknowledge, script::kEnd);
  const uint32_t result = library_.Exchange(frame);
  *data = frame.data[script::kFirst];
  return result;
}

uint32_t DebugBoardBackEnd::I2c_Rx(uint32_t* data, uint32_t last) {
  if (data == nullptr || !library_.ready()) return 0;
  uint8_t byte = 0;
  I2cRead(&byte, last);
  *data = byte;
  return 0;
}

uint32_t DebugBoardBackEnd::I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  Frame frame(kI2cRegWrite);
  frame.data[1] = device;
  frame.data[3] = subAddress;
  frame.data[4] = data;
  return library_.Exchange(frame);
}

uint32_t DebugBoardBackEnd::I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  if (data == nullptr || !library_.ready()) return 0;
  Frame frame(kI2cRegRead, {device, 0, subAddress});
  const uint32_t result = library_.Exchange(frame);
  *data = frame.data[1];
  return result;
}

// The packets keep what they held when filling starts again; the header tells what that does to a
// write that leaves one position over.
uint32_t DebugBoardBackEnd::I2cWriteData(uint8_t device, const uint8_t* command,
                                         uint32_t commandLength, const uint8_t* data,
                                         uint32_t dataLength) {
  if (!library_.ready() || commandLength > kMaxWriteCommand) return 0;
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  Script script(Direction::kToBoard);
  script.Add(script::kStart);
  script.Add(script::kSend, device);
  script.Send({command, commandLength});
  for (uint32_t i = 0; i < dataLength; ++i) {
    script.Add(script::kSend, data[i]);
    if (!script.full()) continue;
    library_.Exchange(script.frame());
    script.Rewind();
  }
  if (script.position() < script::kFull - 1) {
    script.Add(script::kStop);
    script.Add(script::kEnd);
    library_.Exchange(script.frame());
  } else {
    library_.Exchange(script.frame());
    I2c_Stop();
  }
  return 1;
}

uint32_t DebugBoardBackEnd::I2cReadData(uint8_t device, const uint8_t* command,
                                        uint32_t commandLength, uint8_t* data,
                                        uint32_t dataLength) {
  if (!library_.ready() || commandLength > kMaxReadCommand) return 0;
  if (i2c::Missing(command, commandLength) || i2c::Missing(data, dataLength)) return 0;
  Script script(Direction::kToBoard);
  if (commandLength != 0) {
    script.Add(script::kStart);
    script.Add(script::kSend, device);
    script.Send({command, commandLength});
  }
  script.Add(script::kStart);
  script.Add(script::kSend, device | kReadFlag);
  script.Add(script::kEnd);
  library_.Exchange(script.frame());
  if (dataLength != 0) ReadBlock({data, dataLength});
  return 1;
}

// The last byte needs four positions (read, no acknowledge, stop, end) in one packet.
void DebugBoardBackEnd::ReadBlock(std::span<uint8_t> data) {
  const size_t acknowledged = data.size() - 1;
  size_t done = 0;
  for (; acknowledged - done >= script::kPositions; done += script::kPositions) {
    Script script(Direction::kFromBoard);
    while (!script.full()) script.Add(script::kRead);
    library_.Exchange(script.frame());
    std::copy_n(script.reply(), script::kPositions, data.begin() + static_cast<ptrdiff_t>(done));
  }
  const size_t pending = acknowledged - done;
  Script script(Direction::kFromBoard);
  for (size_t i = 0; i < pending; ++i) script.Add(script::kRead);
  const bool lastFits = script.position() < script::kFull - 3;
  if (lastFits) {
    for (const uint8_t opcode :
         {script::kReadLast, script::kNoAcknowledge, script::kStop, script::kEnd}) {
      script.Add(opcode);
    }
  } else {
    script.Add(script::kEnd);
  }
  library_.Exchange(script.frame());
  std::copy_n(script.reply(), pending + (lastFits ? 1 : 0),
              data.begin() + static_cast<ptrdiff_t>(done));
  if (lastFits) return;
  Frame last = ScriptOf(Direction::kFromBoard, script::kReadLast, script::kNoAcknowledge,
                        script::kStop, script::kEnd);
  library_.Exchange(last);
  data.back() = last.data[script::kFirst];
}

// Every byte goes out, also after one that failed.
bool DebugBoardBackEnd::SendAll(std::span<const uint8_t> bytes) {
  uint32_t ok = 1;
  for (const uint8_t byte : bytes) ok &= I2cWrite(byte);
  return ok != 0;
}

bool DebugBoardBackEnd::SendAddress(uint16_t address, uint8_t readFlag) {
  const i2c::AddressBytes sent(address, readFlag);
  return SendAll({sent.bytes, sent.count});
}

uint8_t DebugBoardBackEnd::I2cLib_Write(uint8_t /*channel*/, uint16_t address, const uint8_t* first,
                                        uint32_t firstLength, const uint8_t* second,
                                        uint32_t secondLength) {
  if (i2c::Missing(first, firstLength) || i2c::Missing(second, secondLength)) return 0;
  I2c_Start();
  const bool ok =
      SendAddress(address, 0) && SendAll({first, firstLength}) && SendAll({second, secondLength});
  I2c_Stop();
  return ok ? 1 : 0;
}

// Every byte is read without acknowledge, as this board's tools expect it of the short transfers
// that the family is made for. The results of the reads do not count.
uint8_t DebugBoardBackEnd::I2cLib_Read(uint8_t /*channel*/, uint16_t address, uint8_t* data,
                                       uint32_t length) {
  if (i2c::Missing(data, length)) return 0;
  I2c_RStart();
  const bool ok = SendAddress(address, kReadFlag);
  for (uint32_t i = 0; ok && i < length; ++i) I2cRead(data + i, 1);
  I2c_Stop();
  return ok ? 1 : 0;
}

// A write phase that fails ends without a stop condition.
uint8_t DebugBoardBackEnd::I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                                            uint32_t writeLength, uint8_t* read,
                                            uint32_t readLength) {
  if (i2c::Missing(write, writeLength) || i2c::Missing(read, readLength)) return 0;
  I2c_Start();
  if (!SendAddress(address, 0) || !SendAll({write, writeLength})) return 0;
  return I2cLib_Read(channel, address, read, readLength);
}

}  // namespace brisk::usb
