// Whole pictures from their coefficients, every status, and damaged data.
#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "image/jpeg.h"
#include "sim/config/bench.h"
#include "support/calls.h"
#include "support/files.h"
#include "support/jpeg_model.h"
#include "support/picture_services.h"

namespace brisk::image {
namespace {

using Bytes = std::vector<uint8_t>;

DecodeRequest Decode(const Bytes& file) {
  DecodeRequest request;
  DecodeJpeg(TestPictureServices(), request, file.data(), file.size());
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

// A picture's shape in words, numbers in hexadecimal.
void Shape(JpegModel& model, const std::string& words) {
  std::istringstream stream(words);
  for (std::string word; stream >> word;) {
    const size_t equals = word.find('=');
    const std::string key = word.substr(0, equals);
    const int value = std::stoi(word.substr(equals + 1), nullptr, 16);
    if (key == "luma") model.SetSampling(value / 16, value % 16);
    if (key == "frame") model.frameMarker = static_cast<uint8_t>(value);
    if (key == "restart") model.restartInterval = value;
    if (key == "fill") model.fillBytes = value;
    if (key == "wide") model.wideQuantisation = true;
    if (key == "behind") model.heightInDnl = true;
    if (key == "before") model.heightBeforeScan = true;
    if (key == "order") model.scanOrder = {2, 0, 1};
    for (size_t c = 0; c < 3; ++c) {
      if (key == "all") model.components[c].horizontal = value / 16;
      if (key == "all") model.components[c].vertical = value % 16;
      if (key == "odd") model.components[c].identifier = std::array{'Y' + 0, 0, 255}[c];
    }
  }
}

const struct {
  const char* words;
  uint32_t digest;  // of the pixels of all its pictures
} kShapes[] = {
    {"", 0x59E446CB},
    {"luma=21", 0xB629C224},
    {"luma=22", 0xFAF5758},
    {"all=21", 0xC60F3E54},
    {"all=12", 0xBB7FB967},
    {"frame=C1", 0x909D790A},
    {"restart=1", 0xBCCD34DC},
    {"restart=4 luma=22", 0x8720C544},
    {"restart=3 fill=3 luma=21", 0x9946215A},
    {"wide=1", 0x86E4D48E},
    {"behind=1", 0x6C5B0792},
    {"before=1", 0xA3EBFA78},
    {"luma=22 order=1", 0x5803A128},
    {"odd=1", 0x7A1E742F},
};

// The digests are of the pictures that the model gave when its coefficients went through the
// transform and the colour formulas written down term by term.
TEST(JpegDecoder, EveryPixelOfEveryShape) {
  uint32_t seed = 0;
  for (const auto& shape : kShapes) {
    uint32_t digest = Digest(Bytes{});
    for (const auto& [width, height] :
         {std::pair{1, 1}, {8, 8}, {16, 16}, {17, 9}, {33, 40}, {100, 51}, {131, 17}}) {
      for (const auto& [spread, density] : {std::pair{0, 0}, {3, 4}, {40, 20}, {1000, 64}}) {
        JpegModel model(width, height);
        Shape(model, shape.words);
        model.Fill(++seed, spread, density);
        const DecodeRequest request = Decode(EncodeModel(model));
        const std::string what = std::string(shape.words) + ", " + std::to_string(width) + " x " +
                                 std::to_string(height) + ", spread " + std::to_string(spread);
        ASSERT_EQ(request.status, JpegStatus::kDecoded) << what;
        ASSERT_EQ(request.imageWidth, static_cast<uint32_t>(width)) << what;
        ASSERT_EQ(request.imageHeight, static_cast<uint32_t>(height)) << what;
        ASSERT_EQ(request.header.width, model.OutputWidth()) << what;
        ASSERT_EQ(request.header.height, model.OutputHeight()) << what;
        ASSERT_EQ(request.header.headerSize, 40U);
        ASSERT_EQ(request.header.planes, 1);
        ASSERT_EQ(request.header.bitsPerPixel, 24);
        ASSERT_EQ(request.header.compression, 0U);
        ASSERT_EQ(request.stride, static_cast<uint32_t>(3 * model.OutputWidth() + 3) / 4 * 4);
        digest = Digest(Pixels(request), digest);
      }
    }
    EXPECT_EQ(digest, shape.digest) << shape.words;
  }
}

// A good file to spoil, by words: C0+5=01 sets a byte of a segment, counted behind its length; C0-2
// one in front of it, which is the length; @2:FFD3 inserts at a place, C0:FFD9 in front of a
// segment; !C4 takes a segment out, <DA and <DA+8 cut the file there, $2 cuts so many bytes off the
// end.
class Patient {
 public:
  Patient() {
    JpegModel model(20, 20);
    model.Fill(5, 5, 10);
    bytes = EncodeModel(model);
  }
  size_t Find(size_t marker) const {
    for (size_t i = 0; i + 1 < bytes.size(); ++i) {
      if (bytes[i] == 0xFF && bytes[i + 1] == marker) return i;
    }
    ADD_FAILURE() << "no such marker";
    return 0;
  }
  void Spoil(const std::string& words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) Apply(word);
  }
  Bytes bytes;

 private:
  void Apply(const std::string& word) {
    const auto hex = [&](size_t at) { return std::stoul(word.substr(at), nullptr, 16); };
    const size_t colon = word.find(':');
    const size_t equals = word.find('=');
    if (word[0] == '$') {
      bytes.resize(bytes.size() - std::min<size_t>(bytes.size(), std::stoul(word.substr(1))));
    } else if (word[0] == '<') {
      const size_t more = word.find('+');
      bytes.resize(Find(hex(1)) + (more == std::string::npos ? 0 : std::stoul(word.substr(more))));
    } else if (word[0] == '!') {
      const auto begin = bytes.begin() + static_cast<ptrdiff_t>(Find(hex(1)));
      bytes.erase(begin, begin + 2 + (begin[2] << 8 | begin[3]));
    } else if (colon != std::string::npos) {
      const size_t at = word[0] == '@' ? std::stoul(word.substr(1)) : Find(hex(0));
      const Bytes more = Unhex(word.substr(colon + 1));
      bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(at), more.begin(), more.end());
    } else {
      bytes[Find(hex(0)) + 4 + static_cast<size_t>(std::stol(word.substr(2)))] =
          static_cast<uint8_t>(hex(equals + 1));
    }
  }
};

constexpr JpegStatus kOk = JpegStatus::kDecoded;
constexpr JpegStatus kBad = JpegStatus::kUnsupported;

// Alternatives with the same cause; the limit on the size is inclusive.
const struct {
  const char* cause;
  JpegStatus status;
  const char* words;
} kSpoiled[] = {
    {"none", kOk, " | $2 | C0+1=04 C0+2=0 C0+3=FF C0+4=FF"},
    {"what is passed over", kOk,
     "!E0 | @2:FFE10004FFD9FFFE0003C0 | @2:FFCC000300 | @2:FFD3 | @2:010203FF00FF"},
    {"no start", JpegStatus::kUnreadable, "$99999 | <D8+1 | D8-3=D9"},
    {"no scan", kBad, "<D8+2 | <DA | <DA+8 | C0:FFD9"},
    {"another marker at the end", JpegStatus::kNoEnd, "D9-3=DA"},
    {"another process", kBad,
     "C0-3=C2 | C0-3=C3 | C0-3=C5 | C0-3=C6 | C0-3=C7 | C0-3=C9 | C0-3=CA | C0-3=CB | C0-3=CD | "
     "C0-3=CE | C0-3=CF"},
    {"precision 12", kBad, "C0+0=0C"},
    {"no width or height", kBad, "C0+3=0 C0+4=0 | C0+1=0 C0+2=0"},
    {"too large", kBad, "C0+1=FF C0+2=FF C0+3=FF C0+4=FF | C0+1=20 C0+2=01 C0+3=20 C0+4=0"},
    {"greyscale", JpegStatus::kGreyscale, "C0+5=1"},
    {"number of components", kBad, "C0+5=2 | C0+5=4 | C0+5=0 | C0+5=FF"},
    {"YIQ", kBad, "C0+9=4 C0+12=5 DA+3=4 DA+5=5"},
    {"sampling", kBad,
     "C0+7=41 | C0+7=12 | C0+10=22 | C0+7=22 C0+10=21 | C0+7=22 C0+10=22 C0+13=22 | C0+7=01 | "
     "C0+7=0 C0+10=0 C0+13=0"},
    {"quantisation table", kBad, "C0+8=4 | C0+8=3 | DB+0=4 | DB+0=10"},
    {"Huffman table", kBad, "C4+0=4 | DA+2=10 | DA+2=04 | C4+1=3 | C4+16=FF | C4+17=10 | !C4"},
    {"scan without its components", kBad, "!C0 | DA+0=1 | DA+1=9 | DA+3=1"},
    {"length of a segment", kBad, "DB-1=1 | C0-1=C | @2:FFDD000300"},
    {"not JFIF 1", kBad, "E0+3=58 | E0+4=2E | E0+5=2 | @2:FFE000064A464946"},
};

TEST(JpegDecoder, EveryRejection) {
  for (const auto& [cause, status, words] : kSpoiled) {
    std::istringstream alternatives(words);
    for (std::string spoiled; std::getline(alternatives, spoiled, '|');) {
      Patient patient;
      patient.Spoil(spoiled);
      EXPECT_EQ(Decode(patient.bytes).status, status) << cause << ": " << spoiled;
    }
  }
}

TEST(JpegDecoder, FilesAndStopRequests) {
  TemporaryFolder folder;
  JpegModel model(40, 80);
  model.Fill(2, 10, 10);
  DecodeRequest request;
  request.path = folder.File("a.jpg");
  DecodeJpeg(TestPictureServices(), request);
  EXPECT_EQ(request.status, JpegStatus::kUnreadable);
  const Bytes file = EncodeModel(model);
  WriteFile(request.path, file);
  DecodeJpeg(TestPictureServices(), request);
  ASSERT_EQ(request.status, kOk);
  EXPECT_TRUE(Pixels(request) == Pixels(Decode(file)));

  std::filesystem::resize_file(request.path, kMaxJpegFileSize / 2 + 1);
  DecodeJpeg(TestPictureServices(), request);
  EXPECT_EQ(request.status, kOk);

  sim::bench().messageQueue().Post();
  DecodeJpeg(TestPictureServices(), request);
  EXPECT_EQ(request.status, JpegStatus::kStopped);
  EXPECT_EQ(request.pixels, nullptr);
  DecodeJpeg(TestPictureServices(), request);
  EXPECT_EQ(request.status, kOk);
}

// Cut anywhere, a file gives a status; from the scan on it gives a picture whose beginning is
// right.
TEST(JpegDecoder, TruncatedFiles) {
  JpegModel model(64, 64);
  model.SetSampling(2, 2);
  model.Fill(3, 20, 20);
  const Bytes whole = EncodeModel(model);
  const Bytes expected = Pixels(Decode(whole));
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

}  // namespace
}  // namespace brisk::image
