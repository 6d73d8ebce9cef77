// Whole pictures from their coefficients, every status, and damaged data.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "image/jpeg.h"
#include "sim/config/bench.h"
#include "support/files.h"
#include "support/jpeg_model.h"

namespace brisk::image {
namespace {

using Bytes = std::vector<uint8_t>;

DecodeRequest Decode(const Bytes& file) {
  DecodeRequest request;
  DecodeJpeg(request, file.data(), file.size());
  EXPECT_EQ(request.pixels != nullptr, request.status == JpegStatus::kDecoded);
  return request;
}

Bytes Pixels(const DecodeRequest& request) {
  Bytes pixels;
  const auto row = static_cast<size_t>(3 * request.header.width);
  for (size_t y = 0; y < static_cast<size_t>(request.header.height); ++y) {
    const uint8_t* begin = request.pixels.get() + y * request.stride;
    pixels.insert(pixels.end(), begin, begin + row);
  }
  return pixels;
}

struct Shape {
  const char* name;
  std::function<void(JpegModel&)> change;
};

const std::vector<Shape> kShapes = {
    {"4:4:4", [](JpegModel&) {}},
    {"4:2:2", [](JpegModel& m) { m.SetSampling(2, 1); }},
    {"4:2:0", [](JpegModel& m) { m.SetSampling(2, 2); }},
    {"4:4:4 as 2x1",
     [](JpegModel& m) {
       for (auto& c : m.components) c.horizontal = 2;
     }},
    {"4:4:4 as 1x2",
     [](JpegModel& m) {
       for (auto& c : m.components) c.vertical = 2;
     }},
    {"extended", [](JpegModel& m) { m.frameMarker = 0xC1; }},
    {"restart 1", [](JpegModel& m) { m.restartInterval = 1; }},
    {"restart 4, 4:2:0",
     [](JpegModel& m) {
       m.restartInterval = 4;
       m.SetSampling(2, 2);
     }},
    {"restart 3, fill bytes",
     [](JpegModel& m) {
       m.restartInterval = 3;
       m.fillBytes = 3;
       m.SetSampling(2, 1);
     }},
    {"16-bit tables", [](JpegModel& m) { m.wideQuantisation = true; }},
    {"height behind the scan", [](JpegModel& m) { m.heightInDnl = true; }},
    {"height before the scan", [](JpegModel& m) { m.heightBeforeScan = true; }},
    {"scan in another order",
     [](JpegModel& m) {
       m.SetSampling(2, 2);
       m.scanOrder = {2, 0, 1};
     }},
    {"odd identifiers",
     [](JpegModel& m) {
       m.components[0].identifier = 'Y';
       m.components[1].identifier = 0;
       m.components[2].identifier = 255;
     }},
};

TEST(JpegDecoder, EveryPixelOfEveryShape) {
  uint32_t seed = 0;
  for (const Shape& shape : kShapes) {
    for (const auto& [width, height] :
         {std::pair{1, 1}, {8, 8}, {16, 16}, {17, 9}, {33, 40}, {100, 51}, {131, 17}}) {
      for (const auto& [spread, density] : {std::pair{0, 0}, {3, 4}, {40, 20}, {1000, 64}}) {
        JpegModel model;
        model.width = width;
        model.height = height;
        shape.change(model);
        model.Fill(++seed, spread, density);
        const DecodeRequest request = Decode(EncodeModel(model));
        const std::string what = std::string(shape.name) + ", " + std::to_string(width) + " x " +
                                 std::to_string(height) + ", spread " + std::to_string(spread);
        ASSERT_EQ(request.status, JpegStatus::kDecoded) << what;
        ASSERT_EQ(request.imageWidth, static_cast<uint32_t>(width)) << what;
        ASSERT_EQ(request.imageHeight, static_cast<uint32_t>(height)) << what;
        ASSERT_EQ(request.header.width, model.OutputWidth()) << what;
        ASSERT_EQ(request.header.height, model.OutputHeight()) << what;
        ASSERT_EQ(request.stride, static_cast<uint32_t>(3 * model.OutputWidth() + 3) / 4 * 4);
        ASSERT_TRUE(Pixels(request) == SlowDecode(model)) << what;
      }
    }
  }
}

TEST(JpegDecoder, OutputIsRoundedUpAndBlackBelow) {
  JpegModel model;
  model.width = 17;
  model.height = 9;
  model.SetSampling(2, 2);
  model.Fill(1, 10, 10);
  const DecodeRequest request = Decode(EncodeModel(model));
  ASSERT_EQ(request.status, JpegStatus::kDecoded);
  EXPECT_EQ(request.header.headerSize, 40U);
  EXPECT_EQ(request.header.width, 32);
  EXPECT_EQ(request.header.height, 16);
  EXPECT_EQ(request.header.planes, 1);
  EXPECT_EQ(request.header.bitsPerPixel, 24);
  EXPECT_EQ(request.header.compression, 0U);
  const Bytes pixels = Pixels(request);
  EXPECT_TRUE(
      std::any_of(pixels.begin() + 8 * 96, pixels.begin() + 9 * 96, [](int b) { return b; }));
  EXPECT_TRUE(std::all_of(pixels.begin() + 9 * 96, pixels.end(), [](int b) { return b == 0; }));
}

// Files to spoil: where a segment begins, and cutting and pasting of bytes.
class Patient {
 public:
  Patient() {
    JpegModel model;
    model.width = 20;
    model.height = 20;
    model.Fill(5, 5, 10);
    bytes = EncodeModel(model);
  }
  size_t Find(uint8_t marker) const {
    for (size_t i = 0; i + 1 < bytes.size(); ++i) {
      if (bytes[i] == 0xFF && bytes[i + 1] == marker) return i;
    }
    ADD_FAILURE() << "no such marker";
    return 0;
  }
  // Byte `offset` behind the length of a segment.
  uint8_t& In(uint8_t marker, size_t offset) { return bytes[Find(marker) + 4 + offset]; }
  void Insert(size_t at, const Bytes& more) {
    bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(at), more.begin(), more.end());
  }
  void Remove(uint8_t marker) {
    const size_t at = Find(marker);
    const auto begin = bytes.begin() + static_cast<ptrdiff_t>(at);
    bytes.erase(begin, begin + 2 + (bytes[at + 2] << 8 | bytes[at + 3]));
  }
  Bytes bytes;
};

struct Spoiled {
  const char* name;
  JpegStatus status;
  std::function<void(Patient&)> spoil;
};

constexpr JpegStatus kOk = JpegStatus::kDecoded;
constexpr JpegStatus kBad = JpegStatus::kUnsupported;

const std::vector<Spoiled> kSpoiled = {
    {"untouched", kOk, [](Patient&) {}},
    {"empty", JpegStatus::kUnreadable, [](Patient& p) { p.bytes.clear(); }},
    {"one byte", JpegStatus::kUnreadable, [](Patient& p) { p.bytes.resize(1); }},
    {"no start", JpegStatus::kUnreadable, [](Patient& p) { p.bytes[1] = 0xD9; }},
    {"start only", kBad, [](Patient& p) { p.bytes.resize(2); }},
    {"ends before the scan", kBad, [](Patient& p) { p.bytes.resize(p.Find(0xDA)); }},
    {"ends in the scan header", kBad, [](Patient& p) { p.bytes.resize(p.Find(0xDA) + 8); }},
    {"end of image before the scan", kBad,
     [](Patient& p) {
       p.Insert(p.Find(0xC0), {0xFF, 0xD9});
     }},
    {"no end of image", kOk, [](Patient& p) { p.bytes.resize(p.bytes.size() - 2); }},
    {"another marker at the end", JpegStatus::kNoEnd, [](Patient& p) { p.bytes.back() = 0xDA; }},
    {"precision 12", kBad, [](Patient& p) { p.In(0xC0, 0) = 12; }},
    {"width 0", kBad,
     [](Patient& p) {
       p.In(0xC0, 3) = 0;
       p.In(0xC0, 4) = 0;
     }},
    {"height 0 for good", kBad,
     [](Patient& p) {
       p.In(0xC0, 1) = 0;
       p.In(0xC0, 2) = 0;
     }},
    {"larger than the limit", kBad,
     [](Patient& p) {
       for (size_t i = 1; i < 5; ++i) p.In(0xC0, i) = 0xFF;
     }},
    {"greyscale", JpegStatus::kGreyscale, [](Patient& p) { p.In(0xC0, 5) = 1; }},
    {"two components", kBad, [](Patient& p) { p.In(0xC0, 5) = 2; }},
    {"four components", kBad, [](Patient& p) { p.In(0xC0, 5) = 4; }},
    {"no components", kBad, [](Patient& p) { p.In(0xC0, 5) = 0; }},
    {"255 components", kBad, [](Patient& p) { p.In(0xC0, 5) = 255; }},
    {"YIQ", kBad,
     [](Patient& p) {
       p.In(0xC0, 9) = 4;
       p.In(0xC0, 12) = 5;
     }},
    {"4:1:1", kBad, [](Patient& p) { p.In(0xC0, 7) = 0x41; }},
    {"4:4:0", kBad, [](Patient& p) { p.In(0xC0, 7) = 0x12; }},
    {"chroma larger", kBad, [](Patient& p) { p.In(0xC0, 10) = 0x22; }},
    {"chroma of two kinds", kBad,
     [](Patient& p) {
       p.In(0xC0, 7) = 0x22;
       p.In(0xC0, 10) = 0x21;
     }},
    {"all 2x2", kBad, [](Patient& p) { p.In(0xC0, 7) = p.In(0xC0, 10) = p.In(0xC0, 13) = 0x22; }},
    {"sampling 0", kBad, [](Patient& p) { p.In(0xC0, 7) = 0x01; }},
    {"sampling 0 everywhere", kBad,
     [](Patient& p) { p.In(0xC0, 7) = p.In(0xC0, 10) = p.In(0xC0, 13) = 0x00; }},
    {"quantisation table 4", kBad, [](Patient& p) { p.In(0xC0, 8) = 4; }},
    {"quantisation table missing", kBad, [](Patient& p) { p.In(0xC0, 8) = 3; }},
    {"quantisation table defined as 4", kBad, [](Patient& p) { p.In(0xDB, 0) = 4; }},
    {"quantisation table cut", kBad, [](Patient& p) { p.In(0xDB, 0) = 0x10; }},
    {"Huffman table 4", kBad, [](Patient& p) { p.In(0xC4, 0) = 4; }},
    {"Huffman table missing", kBad, [](Patient& p) { p.In(0xDA, 2) = 0x10; }},
    {"Huffman table number 4 in the scan", kBad, [](Patient& p) { p.In(0xDA, 2) = 0x04; }},
    {"Huffman codes overflow", kBad, [](Patient& p) { p.In(0xC4, 1) = 3; }},
    {"Huffman symbols missing", kBad, [](Patient& p) { p.In(0xC4, 16) = 255; }},
    {"DC size of 16", kBad, [](Patient& p) { p.In(0xC4, 17) = 16; }},
    {"no tables at all", kBad, [](Patient& p) { p.Remove(0xC4); }},
    {"no frame", kBad, [](Patient& p) { p.Remove(0xC0); }},
    {"scan of one component", kBad, [](Patient& p) { p.In(0xDA, 0) = 1; }},
    {"scan of a stranger", kBad, [](Patient& p) { p.In(0xDA, 1) = 9; }},
    {"scan of one component twice", kBad, [](Patient& p) { p.In(0xDA, 3) = 1; }},
    {"segment length 1", kBad, [](Patient& p) { p.bytes[p.Find(0xDB) + 3] = 1; }},
    {"frame header cut by its length", kBad, [](Patient& p) { p.bytes[p.Find(0xC0) + 3] = 12; }},
    {"not JFIF", kBad, [](Patient& p) { p.In(0xE0, 3) = 'X'; }},
    {"JFIF without its zero", kBad, [](Patient& p) { p.In(0xE0, 4) = '.'; }},
    {"JFIF 2", kBad, [](Patient& p) { p.In(0xE0, 5) = 2; }},
    {"JFIF cut", kBad,
     [](Patient& p) {
       p.Insert(2, {0xFF, 0xE0, 0, 6, 'J', 'F', 'I', 'F'});
     }},
    {"no application segment", kOk, [](Patient& p) { p.Remove(0xE0); }},
    {"Exif and a comment", kOk,
     [](Patient& p) {
       p.Insert(2, {0xFF, 0xE1, 0, 4, 0xFF, 0xD9, 0xFF, 0xFE, 0, 3, 0xC0});
     }},
    {"arithmetic conditioning", kOk,
     [](Patient& p) {
       p.Insert(2, {0xFF, 0xCC, 0, 3, 0});
     }},
    {"stray restart marker", kOk,
     [](Patient& p) {
       p.Insert(2, {0xFF, 0xD3});
     }},
    {"restart interval cut", kBad,
     [](Patient& p) {
       p.Insert(2, {0xFF, 0xDD, 0, 3, 0});
     }},
    {"rubbish between segments", kOk,
     [](Patient& p) {
       p.Insert(2, {1, 2, 3, 0xFF, 0, 0xFF});
     }},
};

TEST(JpegDecoder, EveryRejection) {
  for (const Spoiled& spoiled : kSpoiled) {
    Patient patient;
    spoiled.spoil(patient);
    EXPECT_EQ(Decode(patient.bytes).status, spoiled.status) << spoiled.name;
  }
}

TEST(JpegDecoder, OtherProcessesAreRejected) {
  for (const int marker : {0xC2, 0xC3, 0xC5, 0xC6, 0xC7, 0xC9, 0xCA, 0xCB, 0xCD, 0xCE, 0xCF}) {
    Patient patient;
    patient.bytes[patient.Find(0xC0) + 1] = static_cast<uint8_t>(marker);
    EXPECT_EQ(Decode(patient.bytes).status, kBad) << std::hex << marker;
  }
}

TEST(JpegDecoder, LimitIsInclusive) {
  Patient patient;
  const auto setSize = [&](unsigned width, unsigned height) {
    patient.In(0xC0, 1) = static_cast<uint8_t>(height >> 8);
    patient.In(0xC0, 2) = static_cast<uint8_t>(height);
    patient.In(0xC0, 3) = static_cast<uint8_t>(width >> 8);
    patient.In(0xC0, 4) = static_cast<uint8_t>(width);
  };
  setSize(8192, 8192 + 1);
  EXPECT_EQ(Decode(patient.bytes).status, kBad);
  setSize(65535, 1024);
  EXPECT_EQ(Decode(patient.bytes).status, kOk);  // 65536 x 1024: damaged, but within the limit
}

TEST(JpegDecoder, FilesAndStopRequests) {
  TemporaryFolder folder;
  JpegModel model;
  model.width = 40;
  model.height = 80;
  model.Fill(2, 10, 10);
  DecodeRequest request;
  request.path = folder.File("a.jpg");
  DecodeJpeg(request);
  EXPECT_EQ(request.status, JpegStatus::kUnreadable);
  WriteFile(request.path, EncodeModel(model));
  DecodeJpeg(request);
  ASSERT_EQ(request.status, kOk);
  EXPECT_TRUE(Pixels(request) == SlowDecode(model));

  sim::bench().messageQueue().Post();
  DecodeJpeg(request);
  EXPECT_EQ(request.status, JpegStatus::kStopped);
  EXPECT_EQ(request.pixels, nullptr);
  DecodeJpeg(request);
  EXPECT_EQ(request.status, kOk);
}

// Cut anywhere, a file gives a status; from the scan on it gives a picture whose beginning is
// right.
TEST(JpegDecoder, TruncatedFiles) {
  JpegModel model;
  model.width = 64;
  model.height = 64;
  model.SetSampling(2, 2);
  model.Fill(3, 20, 20);
  const Bytes whole = EncodeModel(model);
  const Bytes expected = SlowDecode(model);
  size_t decoded = 0;
  for (size_t length = 0; length < whole.size(); ++length) {
    const DecodeRequest request =
        Decode(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)));
    if (request.status != kOk) {
      EXPECT_EQ(request.status, length < 2 ? JpegStatus::kUnreadable : kBad) << length;
      continue;
    }
    ++decoded;
    if (length > whole.size() * 3 / 4) {
      const Bytes pixels = Pixels(request);
      EXPECT_TRUE(std::equal(pixels.begin(), pixels.begin() + 3 * 64 * 16, expected.begin()));
    }
  }
  EXPECT_GT(decoded, whole.size() / 2);
}

TEST(JpegDecoder, DamagedDataStillGivesEveryMcu) {
  std::mt19937 random(11);
  int decoded = 0;
  for (int i = 0; i < 3000; ++i) {
    JpegModel model;
    model.width = 50;
    model.height = 40;
    model.SetSampling(1 + i % 2, 1 + i / 2 % 2 * (i % 2));
    model.restartInterval = i % 3;
    model.Fill(static_cast<uint32_t>(i), 30, 20);
    Bytes file = EncodeModel(model);
    for (int flips = 0; flips < 1 + i % 8; ++flips) {
      file[random() % file.size()] ^= static_cast<uint8_t>(1 + random() % 255);
    }
    const DecodeRequest request = Decode(file);
    EXPECT_LE(request.status, JpegStatus::kNoEnd);
    decoded += request.status == kOk ? 1 : 0;
  }
  EXPECT_GT(decoded, 300);
}

}  // namespace
}  // namespace brisk::image
