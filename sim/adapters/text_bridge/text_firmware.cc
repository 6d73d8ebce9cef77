#include "sim/adapters/text_bridge/text_firmware.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/board/board.h"
#include "sim/board/board_master.h"

namespace brisk::sim {
namespace {

constexpr size_t kLongestLine = 4096;

constexpr char kWake[] = "MagicCli";
constexpr char kEnough[] = "1";  // the PC has what it wanted

class TextFirmware final : public BridgeFirmware {
 public:
  TextFirmware(const Site& site, BridgeLine& line)
      : board_(site.board), line_(line), master_(site.board, site.clock) {}

  void Receive(uint8_t byte) override {
    if (streaming_) EndStream();
    if (byte != '\n') {
      if (text_.size() <= kLongestLine) text_ += static_cast<char>(byte);
      return;
    }
    const std::string text = std::exchange(text_, {});
    if (text == kWake) {
      line_.Say("CLIMagic\n");
    } else if (text != kEnough) {
      Transaction(text);
    }
  }

  bool Streaming() const override { return streaming_; }

  void StreamOn() override {
    if (!low_) {
      const std::lock_guard lock(board_.mutex());
      if (held_) master_.Acknowledge(true);
      const uint8_t byte = master_.ReceiveBits();
      held_ = true;
      low_ = static_cast<char>('0' + (byte & 0x0F));
      line_.Say(std::string(1, static_cast<char>('0' + (byte >> 4))));
    } else {
      line_.Say(std::string(1, *low_));
      low_.reset();
    }
  }

 private:
  using Bytes = std::vector<uint8_t>;

  static std::optional<unsigned> Digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return std::nullopt;
  }

  static std::optional<Bytes> Parse(std::string_view text) {
    if (text.empty() || text.size() % 2 != 0 || text.size() > kLongestLine) return std::nullopt;
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
      const auto high = Digit(text[i]);
      const auto low = Digit(text[i + 1]);
      if (!high || !low) return std::nullopt;
      bytes.push_back(static_cast<uint8_t>(*high << 4 | *low));
    }
    return bytes;
  }

  bool WriteAll(const Bytes& bytes) {
    bool ok = true;
    for (const uint8_t byte : bytes) ok = ok && master_.Send(byte);
    return ok;
  }

  // Text that is no transaction ("Fail connect") gets no answer.
  void Transaction(std::string_view text) {
    std::optional<Bytes> bytes = Parse(text);
    if (!bytes) return;
    const std::lock_guard lock(board_.mutex());
    const uint8_t first = bytes->front();
    const bool combined = bytes->size() > 1 && (first & 1) == 0 && bytes->back() == (first | 1);
    if (combined) bytes->pop_back();
    master_.Start();
    bool ok = WriteAll(*bytes);
    if (ok && combined) {
      master_.Start();
      ok = master_.Send(first | 1);
    }
    streaming_ = ok && (combined || (first & 1) != 0);
    if (!streaming_) master_.Stop();
    line_.Say(ok ? "1\n" : "0\n");
  }

  void EndStream() {
    const std::lock_guard lock(board_.mutex());
    if (!held_) master_.ReceiveBits();  // while the device drives SDA there can be no STOP
    master_.Acknowledge(false);
    master_.Stop();
    streaming_ = false;
    held_ = false;
    low_.reset();
  }

  Board& board_;
  BridgeLine& line_;
  BoardMaster master_;
  std::string text_;
  bool streaming_ = false;
  bool held_ = false;        // a byte has been received but not yet acknowledged
  std::optional<char> low_;  // the second character of that byte, still to be sent
};

}  // namespace

std::unique_ptr<BridgeFirmware> MakeTextFirmware(const Site& site, BridgeLine& line) {
  return std::make_unique<TextFirmware>(site, line);
}

}  // namespace brisk::sim
