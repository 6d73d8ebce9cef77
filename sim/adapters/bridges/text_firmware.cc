#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/adapters/bridges/bridge_firmware.h"
#include "sim/adapters/bridges/i2c_master.h"
#include "sim/board/board.h"

namespace brisk::sim {
namespace {

constexpr size_t kLongestLine = 4096;

// The bridge with text lines. A line is a whole transaction, its bytes in hexadecimal:
//
//   A0 05 12      writes 05 12 to the device A0
//   A1            reads from it
//   A0 05 A1      writes 05, then reads: the last byte is the first with the read flag. So a write
//                 whose last byte happens to be that cannot be told from it
//   F2 34 05      10-bit addresses have two bytes; F3 34 reads, always in a line of its own
//   1             the PC has what it wanted; no answer
//
// Every other line is answered with "1" or "0" and a line feed. The bridge is not told how much the
// PC wants to read, so after the status of a read it sends characters with a pause between them
// until the PC sends anything. A nibble goes out as '0' plus its value, so that 10 to 15 are the
// six characters after '9'.
class TextFirmware final : public BridgeFirmware {
 public:
  explicit TextFirmware(const BridgeParts& parts)
      : board_(parts.board), line_(parts.line), master_(parts.board.i2c(), parts.clock) {}

  void Receive(uint8_t byte) override {
    if (streaming_) EndStream();
    if (byte != '\n') {
      if (text_.size() <= kLongestLine) text_ += static_cast<char>(byte);
      return;
    }
    const std::string text = std::exchange(text_, {});
    if (text == "MagicCli") {
      Say("CLIMagic\n");
    } else if (text != "1") {
      Transaction(text);
    }
  }

  bool Streaming() const override { return streaming_; }

  void StreamOn() override {
    if (!low_) {
      const std::lock_guard lock(board_.mutex());
      if (held_) master_.Acknowledge(true);
      const uint8_t byte = master_.Read();
      held_ = true;
      low_ = static_cast<char>('0' + (byte & 0x0F));
      Say(std::string(1, static_cast<char>('0' + (byte >> 4))));
    } else {
      Say(std::string(1, *low_));
      low_.reset();
    }
  }

 private:
  using Bytes = std::vector<uint8_t>;

  void Say(std::string_view text) {
    line_.Answer({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  }

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
    for (const uint8_t byte : bytes) ok = ok && master_.Write(byte);
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
      ok = master_.Write(first | 1);
    }
    streaming_ = ok && (combined || (first & 1) != 0);
    if (!streaming_) master_.Stop();
    Say(ok ? "1\n" : "0\n");
  }

  void EndStream() {
    const std::lock_guard lock(board_.mutex());
    if (!held_) master_.Read();  // while the device drives SDA there can be no STOP
    master_.Acknowledge(false);
    master_.Stop();
    streaming_ = false;
    held_ = false;
    low_.reset();
  }

  Board& board_;
  BridgeLine& line_;
  I2cMaster master_;
  std::string text_;
  bool streaming_ = false;
  bool held_ = false;        // a byte has been received but not yet acknowledged
  std::optional<char> low_;  // the second character of that byte, still to be sent
};

}  // namespace

std::unique_ptr<BridgeFirmware> MakeTextFirmware(const BridgeParts& parts) {
  return std::make_unique<TextFirmware>(parts);
}

}  // namespace brisk::sim
