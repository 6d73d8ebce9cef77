#include "sim/adapters/uart_bridge/uart_firmware.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "sim/board/board.h"
#include "sim/board/board_master.h"
#include "sim/board/timing_controller.h"
#include "sim/common/faults.h"

namespace brisk::sim {
namespace {

constexpr size_t kLongestLine = 80;

constexpr char kWake[] = "TalvoCli";
constexpr char kBeginFrames[] = "uart_2_i2c";
constexpr char kEndFrames[] = "uartleave";

enum FrameCode : uint8_t {
  kRegisters = 0x50,
  kStart = 0xFA,
  kRepeatedStart = 0xFB,
  kStop = 0xFC,
  kTransmit = 0xFD,
  kReceive = 0xFE,
  kReply = 0xFF,  // begins every answer
};

// The second byte of a register frame.
struct RegisterCode {
  uint8_t code;
  bool read;
  uint8_t width;
};
constexpr RegisterCode kRegisterCodes[] = {
    {0xE1, false, 1}, {0xE2, false, 2}, {0xE4, false, 4},
    {0xE8, true, 1},  {0xE9, true, 2},  {0xEB, true, 4},
};
constexpr uint8_t kWrongWidth = 3;  // what no register code asks for

class UartFirmware final : public BridgeFirmware {
 public:
  UartFirmware(const Site& site, BridgeLine& line)
      : board_(site.board), faults_(site.faults), line_(line), master_(site.board, site.clock) {}

  void Receive(uint8_t byte) override {
    if (frame_.empty() && (!frameMode_ || Find(byte) == nullptr)) return TextByte(byte);
    text_.clear();
    frame_.push_back(byte);
    if (frame_.size() < FrameLength()) return;
    const std::lock_guard lock(board_.mutex());
    RunFrame();
    frame_.clear();
  }

 private:
  struct Frame {
    uint8_t code;
    size_t length;
    void (*run)(UartFirmware& f);
  };
  static const Frame kFrames[6];

  static const Frame* Find(uint8_t code) {
    const auto* found = std::ranges::find(kFrames, code, &Frame::code);
    return found == std::end(kFrames) ? nullptr : found;
  }

  void TextByte(uint8_t byte) {
    if (byte != '\n') {
      if (text_.size() < kLongestLine) text_ += static_cast<char>(byte);
      return;
    }
    const std::string text = std::exchange(text_, {});
    if (text == kWake && !frameMode_) {
      awake_ = true;
      line_.Say("CLI_ACK\n");
    } else if (text == kBeginFrames && awake_) {
      frameMode_ = true;
      line_.Say("UI2C_ACK\n");
    } else if (text == kEndFrames && frameMode_) {
      frameMode_ = false;
      line_.Say("LEAVE_ACK\n");
    }
  }

  const RegisterCode* Code() const {
    const auto* found = std::ranges::find(kRegisterCodes, frame_[1], &RegisterCode::code);
    return found == std::end(kRegisterCodes) ? nullptr : found;
  }

  // As far as the bytes so far tell.
  size_t FrameLength() const {
    const size_t length = Find(frame_[0])->length;
    if (frame_[0] != kRegisters || frame_.size() < length) return length;
    const RegisterCode* code = Code();
    return length + (code == nullptr || code->read ? 0 : code->width);
  }

  void RunFrame() {
    if (std::exchange(owed_, false)) master_.Acknowledge(frame_[0] == kReceive);
    Find(frame_[0])->run(*this);
  }

  void Transmit() {
    const uint8_t reply[] = {kReply, static_cast<uint8_t>(master_.Send(frame_[1]) ? 0 : 1)};
    line_.Answer(reply);
  }

  void ReceiveByte() {
    const uint8_t reply[] = {kReply, 0x00, kReply, master_.ReceiveBits()};
    owed_ = frame_[1] != 0;
    if (!owed_) master_.Acknowledge(true);
    line_.Answer(reply);
  }

  // Silent when the controller does not acknowledge or the code is unknown.
  void Registers() {
    const RegisterCode* code = Code();
    if (code == nullptr) return;
    std::vector<uint8_t> bytes;  // low byte first
    master_.Start();
    bool ok = master_.Send(TimingController::kAddress) && master_.Send(frame_[2]);
    if (code->read && ok) {
      master_.Start();
      ok = master_.Send(TimingController::kAddress | 1);
      while (ok && bytes.size() < code->width) {
        bytes.push_back(master_.Receive(bytes.size() + 1U < code->width));
      }
    }
    if (!code->read) ok = ok && WriteBackwards(code->width);
    master_.Stop();
    const bool wrong = faults_.Strikes(FaultKind::kLineWidth);
    std::vector<uint8_t> reply = {kReply, wrong ? kWrongWidth : code->width};
    reply.insert(reply.end(), bytes.rbegin(), bytes.rend());
    if (ok) line_.Answer(reply);
  }

  // The last bytes of the frame.
  bool WriteBackwards(size_t count) {
    const auto end = frame_.rbegin() + static_cast<ptrdiff_t>(count);
    return std::all_of(frame_.rbegin(), end, [this](uint8_t byte) { return master_.Send(byte); });
  }

  Board& board_;
  Faults& faults_;
  BridgeLine& line_;
  BoardMaster master_;
  std::string text_;
  std::vector<uint8_t> frame_;
  bool awake_ = false;
  bool frameMode_ = false;
  bool owed_ = false;  // the acknowledge of the byte received last
};

const UartFirmware::Frame UartFirmware::kFrames[6] = {
    {kRegisters, 3, [](UartFirmware& f) { f.Registers(); }},  // and the bytes to write
    {kStart, 1, [](UartFirmware& f) { f.master_.Start(); }},
    {kRepeatedStart, 1, [](UartFirmware& f) { f.master_.Start(); }},
    {kStop, 1, [](UartFirmware& f) { f.master_.Stop(); }},
    {kTransmit, 2, [](UartFirmware& f) { f.Transmit(); }},
    {kReceive, 2, [](UartFirmware& f) { f.ReceiveByte(); }},
};

}  // namespace

std::unique_ptr<BridgeFirmware> MakeUartFirmware(const Site& site, BridgeLine& line) {
  return std::make_unique<UartFirmware>(site, line);
}

}  // namespace brisk::sim
