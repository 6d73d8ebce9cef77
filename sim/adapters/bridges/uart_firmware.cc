#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "sim/adapters/bridges/bridge_firmware.h"
#include "sim/adapters/bridges/i2c_master.h"
#include "sim/board/board.h"
#include "sim/board/timing_controller.h"
#include "sim/config/faults.h"

namespace brisk::sim {
namespace {

constexpr size_t kLongestLine = 80;

// A register frame: 0x50, what to do, the register, and the bytes to write, high byte first. It
// reaches the timing controller, whose registers take the low byte first.
constexpr uint8_t kRegisterFrame = 0x50;
constexpr size_t kRegisterHeader = 3;

struct RegisterCode {
  uint8_t code;
  bool read;
  uint8_t width;
};
constexpr RegisterCode kRegisterCodes[] = {
    {0xE1, false, 1}, {0xE2, false, 2}, {0xE4, false, 4},
    {0xE8, true, 1},  {0xE9, true, 2},  {0xEB, true, 4},
};

// The bridge with binary frames. It wakes with a command line; a second command begins the frame
// mode, in which a text line of the command alphabet still ends it.
//
// A receive frame asks for a byte before the PC has said whether another follows, and PCs pass the
// same argument with every byte of a read. So with a non-zero argument the ninth clock waits for
// the next frame: acknowledged when that receives again, else not. With 0 it is acknowledged at
// once.
class UartFirmware final : public BridgeFirmware {
 public:
  explicit UartFirmware(const BridgeParts& parts)
      : board_(parts.board),
        faults_(parts.faults),
        line_(parts.line),
        master_(parts.board.i2c(), parts.clock) {}

  void Receive(uint8_t byte) override {
    if (!frame_.empty()) {
      frame_.push_back(byte);
    } else if (frameMode_ && IsFrameStart(byte)) {
      text_.clear();
      frame_.push_back(byte);
    } else {
      TextByte(byte);
      return;
    }
    if (frame_.size() < FrameLength()) return;
    const std::lock_guard lock(board_.mutex());
    RunFrame();
    frame_.clear();
  }

 private:
  static bool IsFrameStart(uint8_t byte) {
    return byte == kRegisterFrame || (byte >= 0xFA && byte <= 0xFE);
  }

  void Say(std::string_view text) {
    line_.Answer({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  }

  void TextByte(uint8_t byte) {
    if (byte != '\n') {
      if (text_.size() < kLongestLine) text_ += static_cast<char>(byte);
      return;
    }
    if (text_ == "TalvoCli" && !frameMode_) {
      awake_ = true;
      Say("CLI_ACK\n");
    } else if (text_ == "uart_2_i2c" && awake_) {
      frameMode_ = true;
      Say("UI2C_ACK\n");
    } else if (text_ == "uartleave" && frameMode_) {
      frameMode_ = false;
      Say("LEAVE_ACK\n");
    }
    text_.clear();
  }

  const RegisterCode* Code() const {
    const auto* found = std::ranges::find(kRegisterCodes, frame_[1], &RegisterCode::code);
    return found == std::end(kRegisterCodes) ? nullptr : found;
  }

  size_t FrameLength() const {
    if (frame_[0] == 0xFD || frame_[0] == 0xFE) return 2;
    if (frame_[0] != kRegisterFrame) return 1;
    if (frame_.size() < kRegisterHeader) return kRegisterHeader;
    const RegisterCode* code = Code();
    return kRegisterHeader + (code == nullptr || code->read ? 0 : code->width);
  }

  void RunFrame() {
    if (owed_) {
      master_.Acknowledge(frame_[0] == 0xFE);
      owed_ = false;
    }
    switch (frame_[0]) {
      case 0xFA:
      case 0xFB:
        master_.Start();
        break;
      case 0xFC:
        master_.Stop();
        break;
      case 0xFD: {
        const uint8_t reply[] = {0xFF, static_cast<uint8_t>(master_.Write(frame_[1]) ? 0 : 1)};
        line_.Answer(reply);
        break;
      }
      case 0xFE: {
        const uint8_t reply[] = {0xFF, 0x00, 0xFF, master_.Read()};
        owed_ = frame_[1] != 0;
        if (!owed_) master_.Acknowledge(true);
        line_.Answer(reply);
        break;
      }
      default:
        RegisterFrame();
    }
  }

  // Silent when the controller does not acknowledge or the code is unknown.
  void RegisterFrame() {
    const RegisterCode* code = Code();
    if (code == nullptr) return;
    master_.Start();
    bool ok = master_.Write(TimingController::kAddress) && master_.Write(frame_[2]);
    std::vector<uint8_t> reply = {0xFF, code->width};
    if (code->read && ok) {
      master_.Start();
      ok = master_.Write(TimingController::kAddress | 1);
      for (unsigned i = 0; i < code->width && ok; ++i) {
        reply.insert(reply.begin() + 2, master_.Read());
        master_.Acknowledge(i + 1U < code->width);
      }
    }
    for (unsigned i = code->width; !code->read && ok && i-- > 0;) {
      ok = master_.Write(frame_[kRegisterHeader + i]);
    }
    master_.Stop();
    if (faults_.Strikes(FaultKind::kLineWidth)) reply[1] = 3;
    if (ok) line_.Answer(reply);
  }

  Board& board_;
  Faults& faults_;
  BridgeLine& line_;
  I2cMaster master_;
  std::string text_;
  std::vector<uint8_t> frame_;
  bool awake_ = false;
  bool frameMode_ = false;
  bool owed_ = false;  // the acknowledge of the byte received last
};

}  // namespace

std::unique_ptr<BridgeFirmware> MakeUartFirmware(const BridgeParts& parts) {
  return std::make_unique<UartFirmware>(parts);
}

}  // namespace brisk::sim
