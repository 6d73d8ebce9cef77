#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "brisk/brisk.h"

namespace brisk {

inline std::string Hex(const uint8_t* bytes, size_t count) {
  std::string text;
  char digits[4];
  for (size_t i = 0; i < count; ++i) {
    std::snprintf(digits, sizeof digits, "%02X", unsigned{bytes[i]});
    text += digits;
  }
  return text;
}

inline std::vector<uint8_t> Unhex(const std::string& digits) {
  std::vector<uint8_t> bytes;
  for (size_t at = 0; at + 1 < digits.size(); at += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

// A call of an export as a line of text, so that a table of calls is data:
//
//   I2cWriteData F4 10 2122    numbers are hexadecimal, blocks of bytes are written out
//   I2cReadData F4 10 256      of what is to be read stands the number of bytes, in decimal
//   I2cLib_W1ByteR1Byte 0 F4 10 1      also when it is always one
//
// "77*100" is a hundred times the same byte, "-" nothing at all; "null:5" claims five bytes at the
// null pointer. A string command is the rest of the line.
class CallLine {
 public:
  static constexpr int64_t kNothing = INT64_MIN;  // the result of a function without one

  explicit CallLine(const std::string& line) : line_(line) {
    std::istringstream stream(line);
    words_ = {std::istream_iterator<std::string>(stream), {}};
  }

  // What the call gives back: its result, in hexadecimal unless it is negative, and behind it what
  // it stored, if anything. A byte that was left out shows as EE.
  std::string Run();

  uint32_t N(size_t i) const { return Number(words_.at(i), 16); }
  uint16_t W(size_t i) const { return static_cast<uint16_t>(N(i)); }
  uint8_t B(size_t i) const { return static_cast<uint8_t>(N(i)); }
  // The bytes that word `i` writes out, in a buffer of exactly their size.
  const uint8_t* In(size_t i) { return Null(i) ? nullptr : Block(i).data(); }
  uint32_t InSize(size_t i) {
    return Null(i) ? NullSize(i) : static_cast<uint32_t>(Block(i).size());
  }
  uint8_t* Out(size_t i) {
    if (!Null(i)) out_.assign(OutSize(i), 0xEE);
    return Null(i) ? nullptr : out_.data();
  }
  uint32_t OutSize(size_t i) const { return Null(i) ? NullSize(i) : Number(words_[i], 10); }
  uint32_t* Word() { return &word_; }
  uint16_t* Half(size_t i) { return halves_ + i; }
  const char* Path(size_t i) const { return words_.at(i).c_str(); }
  char* Text() { return text_; }
  const char* Rest() const {
    return line_.c_str() + std::min(line_.find(' '), line_.size() - 1) + 1;
  }

 private:
  static uint32_t Number(const std::string& digits, int base) {
    return static_cast<uint32_t>(std::stoul(digits, nullptr, base));
  }
  bool Null(size_t i) const { return words_.at(i) == "-" || words_[i].substr(0, 4) == "null"; }
  uint32_t NullSize(size_t i) const {
    return words_[i].size() < 6 ? 0 : Number(words_[i].substr(5), 10);
  }
  const std::vector<uint8_t>& Block(size_t i) {
    std::vector<uint8_t>& bytes = blocks_[i];
    if (!bytes.empty()) return bytes;
    const std::string& word = words_[i];
    const size_t star = word.find('*');
    bytes = Unhex(word.substr(0, star));
    if (star != std::string::npos) bytes.resize(Number(word.substr(star + 1), 10), bytes[0]);
    return bytes;
  }

  const std::string line_;
  std::vector<std::string> words_;
  std::map<size_t, std::vector<uint8_t>> blocks_;
  std::vector<uint8_t> out_;
  uint32_t word_ = 0xEEEEEEEE;
  uint16_t halves_[3] = {};
  char text_[16] = "untouched";
};

struct CallByName {
  const char* name;
  int64_t (*run)(CallLine& line);
};

// `E` an expression of the call's words.
#define BRISK_RESULT(name, E)                                        \
  CallByName {                                                       \
    name, [](CallLine& c) -> int64_t { return (void)c, int64_t{E}; } \
  }
#define BRISK_NOTHING(name, E)                                                  \
  CallByName {                                                                  \
    name, [](CallLine& c) -> int64_t { return (void)c, E, CallLine::kNothing; } \
  }

inline const CallByName kCallsByName[] = {
    BRISK_NOTHING("I2c_Start", I2c_Start()),
    BRISK_NOTHING("I2c_RStart", I2c_RStart()),
    BRISK_NOTHING("I2c_Stop", I2c_Stop()),
    BRISK_RESULT("I2c_Tx", I2c_Tx(c.N(1))),
    BRISK_RESULT("I2c_Rx", I2c_Rx(c.Word(), c.N(1))),
    BRISK_NOTHING("I2c_BitOut", I2c_BitOut(c.B(1))),
    BRISK_RESULT("I2c_BitIn", I2c_BitIn()),
    BRISK_RESULT("I2cWrite", I2cWrite(c.B(1))),
    BRISK_RESULT("I2cRead", I2cRead(c.Out(1), c.N(2))),
    BRISK_NOTHING("I2cSetClockRate", I2cSetClockRate(c.N(1))),
    BRISK_RESULT("I2cWriteHead", I2cWriteHead(c.B(1), c.B(2))),
    BRISK_RESULT("I2cWriteByte", I2cWriteByte(c.B(1), c.B(2), c.B(3))),
    BRISK_RESULT("I2cReadByte", I2cReadByte(c.B(1), c.B(2), c.Out(3))),
    BRISK_RESULT("I2cWriteData", I2cWriteData(c.B(1), c.In(2), c.InSize(2), c.In(3), c.InSize(3))),
    BRISK_RESULT("I2cReadData", I2cReadData(c.B(1), c.In(2), c.InSize(2), c.Out(3), c.OutSize(3))),
    BRISK_RESULT("I2cLib_Write",
                 I2cLib_Write(c.B(1), c.W(2), c.In(3), c.InSize(3), c.In(4), c.InSize(4))),
    BRISK_RESULT("I2cLib_Read", I2cLib_Read(c.B(1), c.W(2), c.Out(3), c.OutSize(3))),
    BRISK_RESULT("I2cLib_WriteRead",
                 I2cLib_WriteRead(c.B(1), c.W(2), c.In(3), c.InSize(3), c.Out(4), c.OutSize(4))),
    BRISK_RESULT("I2cLib_W1Byte", I2cLib_W1Byte(c.B(1), c.W(2), c.B(3))),
    BRISK_RESULT("I2cLib_W2Bytes", I2cLib_W2Bytes(c.B(1), c.W(2), c.B(3), c.B(4))),
    BRISK_RESULT("I2cLib_W1ByteR1Byte", I2cLib_W1ByteR1Byte(c.B(1), c.W(2), c.B(3), c.Out(4))),
    BRISK_RESULT("I2c_String", I2c_String(c.Rest())),
    BRISK_RESULT("I2c_ReadString", I2c_ReadString(c.Text(), c.Rest())),
    BRISK_RESULT("I2c_ReadStringEx", I2c_ReadStringEx(c.Rest())),
    BRISK_RESULT("I2c_WriteString", I2c_WriteString(nullptr, c.Rest())),
    BRISK_RESULT("Lpt_Output", Lpt_Output(c.B(1))),
    BRISK_RESULT("Lpt_Input", Lpt_Input(c.Out(1))),
    BRISK_RESULT("SetPortVal", SetPortVal(c.B(1), c.B(2))),
    BRISK_RESULT("GetPortVal", GetPortVal(c.B(1), c.Out(2))),
    BRISK_RESULT("Pll_Write", Pll_Write(c.B(1), c.B(2), c.N(3), c.N(4), c.N(5))),
    BRISK_RESULT("Pll_Clock", Pll_Clock(c.N(1), c.N(2), c.Half(0), c.Half(1), c.Half(2))),
    BRISK_RESULT("Pll_Nandu", Pll_Nandu(c.N(1), c.N(2), c.Half(0), c.Half(1), c.Half(2))),
    BRISK_RESULT("SPIProgramFromFile", SPIProgramFromFile(c.N(1), c.N(2), c.Path(3), c.N(4))),
    BRISK_RESULT("SPIProgramToFile", SPIProgramToFile(c.N(1), c.N(2), c.Path(3))),
    BRISK_RESULT("Sddi_Bitmap", Sddi_Bitmap(c.Path(1), c.N(2))),
    BRISK_RESULT("Sddi_Jpeg", Sddi_Jpeg(c.Path(1), c.N(2))),
    BRISK_NOTHING("SPIInit", SPIInit()),
    BRISK_NOTHING("SPIStop", SPIStop()),
    BRISK_RESULT("SPIReadID", SPIReadID()),
    BRISK_RESULT("SPIGetProgress", SPIGetProgress()),
    BRISK_NOTHING("SPIBulkErase", SPIBulkErase()),
    BRISK_NOTHING("SPISectorErase", SPISectorErase(c.N(1))),
    BRISK_NOTHING("SPIWriteByte", SPIWriteByte(c.N(1), c.N(2))),
    BRISK_NOTHING("SPIReadByte", SPIReadByte(c.N(1), c.Word())),
    BRISK_NOTHING("SPISetClockRate", SPISetClockRate(c.N(1))),
    BRISK_NOTHING("Sddi_Tx", Sddi_Tx(c.N(1), c.N(2))),
    BRISK_NOTHING("C1_TxDebug", C1_TxDebug(c.N(1), c.N(2))),
    BRISK_NOTHING("Sddi_Erase", Sddi_Erase(c.N(1))),
    BRISK_NOTHING("Sddi_Bitblt", Sddi_Bitblt(c.N(1), c.N(2), 0)),
    BRISK_NOTHING("Sddi_Bitblt_Copy",
                  Sddi_Bitblt_Copy(c.N(1), c.N(2), c.N(3), c.N(4), c.N(5), c.N(6))),
};
#undef BRISK_RESULT
#undef BRISK_NOTHING

inline std::string CallLine::Run() {
  for (const CallByName& known : kCallsByName) {
    if (words_.at(0) != known.name) continue;
    const int64_t result = known.run(*this);
    std::ostringstream text;
    if (result < 0 && result != kNothing) text << result << ' ';
    if (result >= 0) text << std::hex << std::uppercase << result << ' ';
    const bool stored =
        std::any_of(out_.begin(), out_.end(), [](int byte) { return byte != 0xEE; });
    if (stored) text << Hex(out_.data(), out_.size());
    if (word_ != 0xEEEEEEEE) text << std::hex << std::uppercase << word_;
    if (std::string(text_) != "untouched") text << (text_[0] == 0 ? "(empty)" : text_);
    std::string outcome = text.str();
    if (!outcome.empty() && outcome.back() == ' ') outcome.pop_back();
    return outcome;
  }
  throw std::invalid_argument("no such call: " + line_);
}

inline std::string Call(const std::string& line) { return CallLine(line).Run(); }

// A row of a table of calls: the call, what it gives back, and what the hardware sees of it.
struct CallCase {
  const char* call;
  const char* outcome;
  std::string seen;
};

}  // namespace brisk
