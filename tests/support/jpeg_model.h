#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace brisk {

constexpr size_t Size(int value) { return static_cast<size_t>(value); }

// A JPEG picture as its quantised coefficients. From them come the file, by an encoder of the
// simplest kind, and the picture that a decoder must make of it, by the arithmetic written down
// term by term; neither knows anything of the decoder under test.
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

// The position of each coefficient on the walk along the diagonals.
inline std::array<int, 64> WalkZigzag() {
  std::array<int, 64> natural{};
  int x = 0;
  int y = 0;
  for (int k = 0; k < 64; ++k) {
    natural[Size(k)] = 8 * y + x;
    const bool up = (x + y) % 2 == 0;
    // At an edge the walk steps along it; inside, along the diagonal.
    if (up ? x == 7 : x == 0 && y != 7) {
      ++y;
    } else if (up ? y == 0 : y == 7) {
      ++x;
    } else {
      x += up ? 1 : -1;
      y += up ? -1 : 1;
    }
  }
  return natural;
}

// Wraps to 32 bits, as the decoder's arithmetic does.
inline int64_t Wrap(int64_t value) { return static_cast<int32_t>(static_cast<uint64_t>(value)); }

inline std::array<int64_t, 8> SlowTransform(const std::array<int64_t, 8>& in, int64_t scale) {
  const auto factor = [](double real) { return static_cast<int64_t>(std::lround(real * 8192)); };
  int64_t z1 = (in[2] + in[6]) * factor(0.541196100);
  const int64_t tmp2 = z1 - in[6] * factor(1.847759065);
  const int64_t tmp3 = z1 + in[2] * factor(0.765366865);
  const int64_t tmp0 = (in[0] + in[4]) * scale;
  const int64_t tmp1 = (in[0] - in[4]) * scale;
  const int64_t tmp10 = tmp0 + tmp3;
  const int64_t tmp13 = tmp0 - tmp3;
  const int64_t tmp11 = tmp1 + tmp2;
  const int64_t tmp12 = tmp1 - tmp2;
  int64_t t0 = in[7];
  int64_t t1 = in[5];
  int64_t t2 = in[3];
  int64_t t3 = in[1];
  z1 = t0 + t3;
  int64_t z2 = t1 + t2;
  int64_t z3 = t0 + t2;
  int64_t z4 = t1 + t3;
  const int64_t z5 = (z3 + z4) * factor(1.175875602);
  t0 *= factor(0.298631336);
  t1 *= factor(2.053119869);
  t2 *= factor(3.072711026);
  t3 *= factor(1.501321110);
  z1 *= -factor(0.899976223);
  z2 *= -factor(2.562915447);
  z3 = z3 * -factor(1.961570560) + z5;
  z4 = z4 * -factor(0.390180644) + z5;
  t0 += z1 + z3;
  t1 += z2 + z4;
  t2 += z2 + z3;
  t3 += z1 + z4;
  return {Wrap(tmp10 + t3), Wrap(tmp11 + t2), Wrap(tmp12 + t1), Wrap(tmp13 + t0),
          Wrap(tmp13 - t0), Wrap(tmp12 - t1), Wrap(tmp11 - t2), Wrap(tmp10 - t3)};
}

// Dequantised coefficients in natural order to 64 samples.
inline std::array<uint8_t, 64> SlowInverseDct(const std::array<int32_t, 64>& coefficients) {
  std::array<std::array<int64_t, 8>, 8> work{};  // work[y][x]
  for (size_t x = 0; x < 8; ++x) {
    std::array<int64_t, 8> in{};
    bool flat = true;
    for (size_t y = 0; y < 8; ++y) {
      in[y] = coefficients[8 * y + x];
      flat = flat && (y == 0 || in[y] == 0);
    }
    const auto out = SlowTransform(in, 8192);
    for (size_t y = 0; y < 8; ++y) work[y][x] = flat ? Wrap(in[0] * 8192) : out[y];
  }
  std::array<uint8_t, 64> samples{};
  for (size_t y = 0; y < 8; ++y) {
    std::array<int64_t, 8> in = work[y];
    bool flat = true;
    for (size_t x = 1; x < 8; ++x) flat = flat && in[x] == 0;
    for (const size_t x : {1, 2, 3, 5, 6, 7}) in[x] >>= 11;
    const auto out = SlowTransform(in, 4);
    for (size_t x = 0; x < 8; ++x) {
      const int64_t value = (flat ? in[0] >> 16 : out[x] >> 18) + 128;
      samples[8 * y + x] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
  }
  return samples;
}

inline uint8_t SlowClamp(int value) {
  return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// Blue, green, red.
inline std::array<uint8_t, 3> SlowColour(int y, int cb, int cr) {
  const auto term = [](double factor, int chroma) {
    return static_cast<int>(std::trunc(factor * (chroma - 128)));
  };
  return {SlowClamp(y + term(1.772, cb)), SlowClamp(y + term(-0.34414, cb) + term(-0.71414, cr)),
          SlowClamp(y + term(1.402, cr))};
}

// Rows of blue, green, red without padding.
inline std::vector<uint8_t> SlowDecode(const JpegModel& model) {
  const auto zigzag = WalkZigzag();
  const int width = model.OutputWidth();
  const int height = model.OutputHeight();
  std::array<std::vector<int>, 3> planes;  // at full size
  for (size_t c = 0; c < 3; ++c) {
    planes[c].resize(Size(width * height));
    const auto& component = model.components[c];
    const int perMcu = component.horizontal * component.vertical;
    const int stretchX = model.components[0].horizontal / component.horizontal;
    const int stretchY = model.components[0].vertical / component.vertical;
    for (int i = 0; i < static_cast<int>(model.blocks[c].size()); ++i) {
      std::array<int32_t, 64> coefficients{};
      for (size_t k = 0; k < 64; ++k) {
        coefficients[Size(zigzag[k])] = static_cast<int32_t>(Wrap(
            int64_t{model.blocks[c][Size(i)][k]} * model.quantisation[Size(component.table)][k]));
      }
      const auto samples = SlowInverseDct(coefficients);
      const int mcu = i / perMcu;
      const int left =
          (mcu % model.McuColumns() * component.horizontal + i % perMcu % component.horizontal) * 8;
      const int top =
          (mcu / model.McuColumns() * component.vertical + i % perMcu / component.horizontal) * 8;
      for (int y = 0; y < 8 * stretchY; ++y) {
        for (int x = 0; x < 8 * stretchX; ++x) {
          planes[c][Size((top * stretchY + y) * width + left * stretchX + x)] =
              samples[Size(y / stretchY * 8 + x / stretchX)];
        }
      }
    }
  }
  std::vector<uint8_t> pixels(Size(3 * width * height));
  for (size_t i = 0; i < Size(width * model.height); ++i) {
    const auto bgr = SlowColour(planes[0][i], planes[1][i], planes[2][i]);
    for (size_t k = 0; k < 3; ++k) pixels[3 * i + k] = bgr[k];
  }
  return pixels;
}

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

  static ModelTable Dc() {
    ModelTable table;
    table.counts[2] = 4;   // length 3
    table.counts[4] = 6;   // length 5
    table.counts[11] = 6;  // length 12
    for (int i = 0; i < 16; ++i) table.symbols.push_back(static_cast<uint8_t>((i * 7 + 2) % 16));
    table.Number();
    return table;
  }

  static ModelTable Ac() {
    ModelTable table;
    table.counts[1] = 1;
    table.counts[3] = 4;
    table.counts[5] = 8;
    table.counts[8] = 60;
    table.counts[11] = 80;
    table.counts[15] = 103;
    for (int i = 0; i < 256; ++i) table.symbols.push_back(static_cast<uint8_t>(i * 37 % 256));
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
  const ModelTable dc_ = ModelTable::Dc();
  const ModelTable ac_ = ModelTable::Ac();
  std::vector<uint8_t> file_;
  uint8_t byte_ = 0;
  unsigned bits_ = 0;
};

inline std::vector<uint8_t> EncodeModel(const JpegModel& model) {
  return JpegEncoder(model).Encode();
}

}  // namespace brisk
