#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

namespace brisk {

constexpr size_t Size(int value) { return static_cast<size_t>(value); }

// A JPEG picture as its quantised coefficients, and the file of it by an encoder of the simplest
// kind: for what other encoders do not make.
struct JpegModel {
  using Block = std::array<int32_t, 64>;  // zigzag order

  struct Component {
    int identifier;
    int horizontal, vertical;
    int table;  // quantisation
  };

  int width = 16;
  int height = 16;
  std::array<Component, 3> components{{{1, 1, 1, 0}, {2, 1, 1, 1}, {3, 1, 1, 1}}};
  std::array<std::array<uint16_t, 64>, 2> quantisation{};
  bool wideQuantisation = false;  // 16-bit entries in the file
  int restartInterval = 0;
  int fillBytes = 0;         // further 0xFF before every marker
  bool heightInDnl = false;  // 0 in the frame header, the height behind the scan
  bool heightBeforeScan = false;
  uint8_t frameMarker = 0xC0;
  std::array<int, 3> scanOrder{0, 1, 2};
  // blocks[component][MCU * blocks per MCU + block]
  std::array<std::vector<Block>, 3> blocks;

  int McuColumns() const {
    return (width + 8 * components[0].horizontal - 1) / (8 * components[0].horizontal);
  }
  int McuRows() const {
    return (height + 8 * components[0].vertical - 1) / (8 * components[0].vertical);
  }
  int OutputWidth() const { return McuColumns() * 8 * components[0].horizontal; }
  int OutputHeight() const { return McuRows() * 8 * components[0].vertical; }

  void SetSampling(int horizontal, int vertical) {
    components[0].horizontal = horizontal;
    components[0].vertical = vertical;
  }

  // Random tables and coefficients; `spread` scales the latter, `density` of 64 are not zero.
  void Fill(uint32_t seed, int spread, int density) {
    std::mt19937 random(seed);
    for (auto& table : quantisation) {
      for (auto& entry : table) {
        entry = static_cast<uint16_t>(1 + random() % (wideQuantisation ? 300 : 60));
      }
    }
    for (size_t c = 0; c < 3; ++c) {
      const int count =
          McuColumns() * McuRows() * components[c].horizontal * components[c].vertical;
      blocks[c].assign(Size(count), Block{});
      for (Block& block : blocks[c]) {
        block[0] = static_cast<int>(random() % 41) - 20;
        for (size_t k = 1; k < 64; ++k) {
          if (static_cast<int>(random() % 64) >= density) continue;
          block[k] = static_cast<int>(random() % static_cast<unsigned>(2 * spread + 1)) - spread;
        }
      }
    }
  }
};

// Codes of every length class: short ones, ones that just fit a small lookup, and long ones.
struct ModelTable {
  std::array<uint8_t, 16> counts{};
  std::vector<uint8_t> symbols;
  std::array<std::pair<uint32_t, int>, 256> codes{};  // code, length

  void Number() {
    uint32_t code = 0;
    size_t next = 0;
    for (int length = 1; length <= 16; ++length, code <<= 1) {
      for (int i = 0; i < counts[Size(length - 1)]; ++i) {
        codes[symbols[next++]] = {code++, length};
      }
    }
  }

  // How many codes there are of which length; the symbols follow one another by `step`.
  static ModelTable Make(const std::vector<std::pair<int, int>>& lengths, int symbols, int first,
                         int step) {
    ModelTable table;
    for (const auto& [length, count] : lengths) {
      table.counts[Size(length - 1)] = static_cast<uint8_t>(count);
    }
    for (int i = 0; i < symbols; ++i) {
      table.symbols.push_back(static_cast<uint8_t>((first + i * step) % symbols));
    }
    table.Number();
    return table;
  }
};

class JpegEncoder {
 public:
  explicit JpegEncoder(const JpegModel& model) : model_(model) {}

  std::vector<uint8_t> Encode() {
    file_ = {0xFF, 0xD8};
    Segment(0xE0, {'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0});
    Tables();
    Frame();
    if (model_.heightBeforeScan) Segment(0xDC, Height());
    if (model_.restartInterval != 0) {
      Segment(0xDD, {static_cast<uint8_t>(model_.restartInterval >> 8),
                     static_cast<uint8_t>(model_.restartInterval)});
    }
    std::vector<uint8_t> scan = {3};
    for (const int c : model_.scanOrder) {
      scan.push_back(static_cast<uint8_t>(model_.components[Size(c)].identifier));
      scan.push_back(0x00);
    }
    scan.insert(scan.end(), {0, 63, 0});
    Segment(0xDA, scan);
    Scan();
    if (model_.heightInDnl) Segment(0xDC, Height());
    Marker(0xD9);
    return file_;
  }

 private:
  std::vector<uint8_t> Height() const {
    return {static_cast<uint8_t>(model_.height >> 8), static_cast<uint8_t>(model_.height)};
  }

  void Marker(uint8_t code) {
    file_.insert(file_.end(), Size(1 + model_.fillBytes), 0xFF);
    file_.push_back(code);
  }

  void Segment(uint8_t code, const std::vector<uint8_t>& contents) {
    Marker(code);
    const size_t length = contents.size() + 2;
    file_.push_back(static_cast<uint8_t>(length >> 8));
    file_.push_back(static_cast<uint8_t>(length));
    file_.insert(file_.end(), contents.begin(), contents.end());
  }

  void Tables() {
    for (uint8_t t = 0; t < 2; ++t) {
      std::vector<uint8_t> contents = {
          static_cast<uint8_t>(t | (model_.wideQuantisation ? 0x10 : 0))};
      for (const uint16_t entry : model_.quantisation[t]) {
        if (model_.wideQuantisation) contents.push_back(static_cast<uint8_t>(entry >> 8));
        contents.push_back(static_cast<uint8_t>(entry));
      }
      Segment(0xDB, contents);
    }
    std::vector<uint8_t> contents;  // both tables in one segment
    for (const ModelTable* table : {&dc_, &ac_}) {
      contents.push_back(table == &dc_ ? 0x00 : 0x10);
      contents.insert(contents.end(), table->counts.begin(), table->counts.end());
      contents.insert(contents.end(), table->symbols.begin(), table->symbols.end());
    }
    Segment(0xC4, contents);
  }

  void Frame() {
    const int height = model_.heightInDnl || model_.heightBeforeScan ? 0 : model_.height;
    std::vector<uint8_t> contents = {8,
                                     static_cast<uint8_t>(height >> 8),
                                     static_cast<uint8_t>(height),
                                     static_cast<uint8_t>(model_.width >> 8),
                                     static_cast<uint8_t>(model_.width),
                                     3};
    for (const auto& c : model_.components) {
      contents.push_back(static_cast<uint8_t>(c.identifier));
      contents.push_back(static_cast<uint8_t>(c.horizontal << 4 | c.vertical));
      contents.push_back(static_cast<uint8_t>(c.table));
    }
    Segment(model_.frameMarker, contents);
  }

  void Scan() {
    std::array<int, 3> predictors{};
    const int mcus = model_.McuColumns() * model_.McuRows();
    for (int mcu = 0; mcu < mcus; ++mcu) {
      if (model_.restartInterval != 0 && mcu != 0 && mcu % model_.restartInterval == 0) {
        Flush();
        Marker(static_cast<uint8_t>(0xD0 + (mcu / model_.restartInterval - 1) % 8));
        predictors = {};
      }
      for (const int c : model_.scanOrder) {
        const auto& component = model_.components[Size(c)];
        const int perMcu = component.horizontal * component.vertical;
        for (int b = 0; b < perMcu; ++b) {
          EncodeBlock(model_.blocks[Size(c)][Size(mcu * perMcu + b)], predictors[Size(c)]);
        }
      }
    }
    Flush();
  }

  void EncodeBlock(const JpegModel::Block& block, int& predictor) {
    Coefficient(dc_, 0, block[0] - predictor);
    predictor = block[0];
    int run = 0;
    for (size_t k = 1; k < 64; ++k) {
      if (block[k] == 0) {
        ++run;
        continue;
      }
      for (; run > 15; run -= 16) Symbol(ac_, 0xF0);
      Coefficient(ac_, run, block[k]);
      run = 0;
    }
    if (run > 0) Symbol(ac_, 0x00);
  }

  void Coefficient(const ModelTable& table, int run, int value) {
    int size = 0;
    for (int rest = std::abs(value); rest != 0; rest >>= 1) ++size;
    Symbol(table, run << 4 | size);
    Bits(static_cast<uint32_t>(value < 0 ? value + (1 << size) - 1 : value), size);
  }

  void Symbol(const ModelTable& table, int symbol) {
    const auto [code, length] = table.codes[Size(symbol)];
    Bits(code, length);
  }

  void Bits(uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) {
      byte_ = static_cast<uint8_t>(byte_ << 1 | (value >> i & 1));
      if (++bits_ % 8 != 0) continue;
      file_.push_back(byte_);
      if (byte_ == 0xFF) file_.push_back(0);
    }
  }

  void Flush() {
    while (bits_ % 8 != 0) Bits(1, 1);
  }

  const JpegModel& model_;
  const ModelTable dc_ = ModelTable::Make({{3, 4}, {5, 6}, {12, 6}}, 16, 2, 7);
  const ModelTable ac_ =
      ModelTable::Make({{2, 1}, {4, 4}, {6, 8}, {9, 60}, {12, 80}, {16, 103}}, 256, 0, 37);
  std::vector<uint8_t> file_;
  uint8_t byte_ = 0;
  unsigned bits_ = 0;
};

inline std::vector<uint8_t> EncodeModel(const JpegModel& model) {
  return JpegEncoder(model).Encode();
}

}  // namespace brisk
