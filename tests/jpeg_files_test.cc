// Pictures made by other encoders, against what another decoder makes of them.
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "image/jpeg.h"
#include "support/files.h"
#include "support/pictures.h"

namespace brisk::image {
namespace {

bool Shell(const std::string& command) { return std::system(command.c_str()) == 0; }

RgbPicture Decode(const std::string& path) {
  DecodeRequest request;
  request.path = path;
  DecodeJpeg(request);
  EXPECT_EQ(request.status, JpegStatus::kDecoded) << path;
  if (request.status != JpegStatus::kDecoded) return {};
  RgbPicture picture(request.imageWidth, request.imageHeight);
  for (size_t y = 0; y < picture.height; ++y) {
    for (size_t x = 0; x < picture.width; ++x) {
      const uint8_t* pixel = request.pixels.get() + y * request.stride + 3 * x;
      for (size_t c = 0; c < 3; ++c) picture.At(x, y)[c] = pixel[2 - c];
    }
  }
  return picture;
}

struct Encoder {
  const char* name;
  std::string command;  // reads IN, writes OUT
};

const Encoder kEncoders[] = {
    {"cjpeg 4:4:4", "cjpeg -quality 90 -sample 1x1 IN > OUT"},
    {"cjpeg 4:2:2", "cjpeg -quality 75 -sample 2x1 IN > OUT"},
    {"cjpeg 4:2:0", "cjpeg -quality 85 -sample 2x2 -optimize IN > OUT"},
    {"cjpeg restart rows", "cjpeg -quality 85 -sample 2x2 -restart 1 IN > OUT"},
    {"cjpeg restart 4 MCUs", "cjpeg -quality 50 -sample 2x1 -restart 4B IN > OUT"},
    {"cjpeg best", "cjpeg -quality 100 -sample 1x1 IN > OUT"},
    {"ImageMagick 4:2:0", "convert IN -sampling-factor 4:2:0 -quality 92 jpg:OUT"},
    {"ImageMagick 4:4:4", "convert IN -sampling-factor 4:4:4 -quality 60 jpg:OUT"},
};

// Truncation in the inverse DCT and in the colours lowers results by up to a few steps where the
// other decoder rounds. Both bounds hold per channel.
constexpr int kLargest = 4;
constexpr double kMean = 1.6;  // of pictures large enough for one

TEST(JpegFiles, DifferFromAnotherDecoderByTruncationOnly) {
  ASSERT_TRUE(Shell("cjpeg -version 2> /dev/null") && Shell("convert -version > /dev/null"))
      << "needs cjpeg, djpeg and ImageMagick";
  TemporaryFolder folder;
  const std::string in = folder.File("in.ppm");
  const std::string out = folder.File("out.jpg");
  const std::string reference = folder.File("reference.ppm");
  PictureDifference worst;
  for (const RgbPicture& source : {MakePhoto(320, 240), MakePhoto(317, 201, 2), MakePhoto(17, 9, 3),
                                   MakePhoto(1, 1, 4), MakeNoise(64, 64)}) {
    WritePpm(in, source);
    for (const Encoder& encoder : kEncoders) {
      std::string command = encoder.command;
      command.replace(command.find("IN"), 2, in);
      command.replace(command.find("OUT"), 3, out);
      ASSERT_TRUE(Shell(command)) << command;
      ASSERT_TRUE(Shell("djpeg -dct int -nosmooth " + out + " > " + reference));
      const RgbPicture expected = ReadPpm(reference);
      const RgbPicture actual = Decode(out);
      ASSERT_EQ(actual.width, source.width) << encoder.name;
      ASSERT_EQ(actual.bytes.size(), expected.bytes.size()) << encoder.name;
      const PictureDifference difference = Compare(actual, expected);
      for (size_t c = 0; c < 3; ++c) {
        EXPECT_LE(difference.largest[c], kLargest) << encoder.name << ", channel " << c;
        if (source.bytes.size() >= 3000) {
          EXPECT_LE(difference.mean[c], kMean) << encoder.name << ", channel " << c;
        }
        worst.largest[c] = std::max(worst.largest[c], difference.largest[c]);
        if (source.bytes.size() >= 3000) {
          worst.mean[c] = std::max(worst.mean[c], difference.mean[c]);
        }
      }
    }
  }
  std::printf("largest difference %d %d %d, largest mean %.3f %.3f %.3f (red, green, blue)\n",
              worst.largest[0], worst.largest[1], worst.largest[2], worst.mean[0], worst.mean[1],
              worst.mean[2]);
}

TEST(JpegFiles, KindsThatAreNotDecoded) {
  TemporaryFolder folder;
  WritePpm(folder.File("in.ppm"), MakePhoto(40, 30));
  const struct {
    const char* options;
    JpegStatus status;
  } kKinds[] = {{"-grayscale", JpegStatus::kGreyscale},
                {"-progressive", JpegStatus::kUnsupported},
                {"-arithmetic", JpegStatus::kUnsupported},
                {"-sample 4x1", JpegStatus::kUnsupported},
                {"-sample 1x2", JpegStatus::kUnsupported}};
  for (const auto& kind : kKinds) {
    DecodeRequest request;
    request.path = folder.File("out.jpg");
    ASSERT_TRUE(Shell(std::string("cjpeg ") + kind.options + " " + folder.File("in.ppm") + " > " +
                      request.path));
    DecodeJpeg(request);
    EXPECT_EQ(request.status, kind.status) << kind.options;
  }
  DecodeRequest request;
  request.path = folder.File("cmyk.jpg");
  ASSERT_TRUE(Shell("convert " + folder.File("in.ppm") + " -colorspace CMYK " + request.path));
  DecodeJpeg(request);
  EXPECT_EQ(request.status, JpegStatus::kUnsupported);
}

}  // namespace
}  // namespace brisk::image
