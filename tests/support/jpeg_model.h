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

  int width;
  int height;
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

  JpegModel(int widthOfAll, int heightOfAll) : width(widthOfAll), height(heightOfAll) {}
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

// Codes of every length class: short ones, ones that just fit a small lookup, and long ones. The
// symbols follow one another by `step`.
struct ModelTable {
  std::array<uint8_t, 16> counts{};
  std::vector<uint8_t> symbols;
  std::array<std::pair<uint32_t, int>, 256> codes{};  // code, length

  ModelTable(const std::vector<std::pair<int, int>>& lengths, int total, int first, int step) {
    uint32_t code = 0;
    int before = 0;
    for (const auto& [length, count] : lengths) {
      counts[Size(length - 1)] = static_cast<uint8_t>(count);
      code <<= length - std::exchange(before, length);
      for (int i = 0; i < count; ++i) {
        symbols.push_back(static_cast<uint8_t>(first % total));
        codes[symbols.back()] = {code++, length};
        first += step;
      }
    }
  }
};

class JpegEncoder {
 public:
  explicit JpegEncoder(const JpegModel& model) : model_(model) {}

  std::vector<uint8_t> Encode() {
    Put(0xFFD8, 2);
    Segment(0xE0, 14);
    for (const uint32_t word : {0x4A464946, 0x00010200, 0x00010001}) Put(word, 4);
    Put(0, 2);
    Tables();
    Frame();
    if (model_.heightBeforeScan) Height();
    if (model_.restartInterval != 0) {
      Segment(0xDD, 2);
      Put(model_.restartInterval, 2);
    }
    Segment(0xDA, 10);
    Put(3);
    for (const int c : model_.scanOrder) Put(model_.components[Size(c)].identifier << 8, 2);
    Put(63 << 8, 3);
    Scan();
    if (model_.heightInDnl) Height();
    Marker(0xD9);
    return file_;
  }

 private:
  template <typename Number>
  void Put(Number value, int bytes = 1) {
    while (bytes-- > 0) file_.push_back(static_cast<uint8_t>(value >> 8 * bytes));
  }

  void Marker(int code) {
    for (int i = 0; i <= model_.fillBytes; ++i) Put(0xFF);
    Put(code);
  }

  void Segment(int code, int length) {
    Marker(code);
    Put(length + 2, 2);
  }

  void Height() {
    Segment(0xDC, 2);
    Put(model_.height, 2);
  }

  void Tables() {
    const int width = model_.wideQuantisation ? 2 : 1;
    for (int t = 0; t < 2; ++t) {
      Segment(0xDB, 1 + 64 * width);
      Put((width - 1) << 4 | t);
      for (const uint16_t entry : model_.quantisation[Size(t)]) Put(entry, width);
    }
    Segment(0xC4, 2 * 17 + 16 + 256);  // both tables in one segment
    for (const ModelTable* table : {&dc_, &ac_}) {
      Put(table == &dc_ ? 0x00 : 0x10);
      for (const uint8_t count : table->counts) Put(count);
      for (const uint8_t symbol : table->symbols) Put(symbol);
    }
  }

  void Frame() {
    Segment(model_.frameMarker, 15);
    Put(8);
    Put(model_.heightInDnl || model_.heightBeforeScan ? 0 : model_.height, 2);
    Put(model_.width, 2);
    Put(3);
    for (const auto& c : model_.components) {
      Put(c.identifier << 16 | c.horizontal << 12 | c.vertical << 8 | c.table, 3);
    }
  }

  void Scan() {
    std::array<int, 3> predictors{};
    const int mcus = model_.McuColumns() * model_.McuRows();
    for (int mcu = 0; mcu < mcus; ++mcu) {
      if (model_.restartInterval != 0 && mcu != 0 && mcu % model_.restartInterval == 0) {
        Flush();
        Marker(0xD0 + (mcu / model_.restartInterval - 1) % 8);
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
  const ModelTable dc_{{{3, 4}, {5, 6}, {12, 6}}, 16, 2, 7};
  const ModelTable ac_{{{2, 1}, {4, 4}, {6, 8}, {9, 60}, {12, 80}, {16, 103}}, 256, 0, 37};
  std::vector<uint8_t> file_;
  uint8_t byte_ = 0;
  unsigned bits_ = 0;
};

inline std::vector<uint8_t> EncodeModel(const JpegModel& model) {
  return JpegEncoder(model).Encode();
}

}  // namespace brisk
