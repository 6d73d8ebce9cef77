#include "image/transfer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "base/user_message.h"
#include "image/bmp.h"
#include "image/jpeg.h"

// The controller's picture port takes words without an address or an answer; it knows each kind by
// its length in bits:
//
//    7  start of an operation
//   19  colour, low half then high half; with bit 18 set, one row of a 16-pixel pattern
//   22  frame address in units of two pixels; with bit 21 set, the source of a copy
//   12  command: fill a run, skip to the next line, copy a block
//   32  pixels at the address, which counts on: two of 16 bits, or four bytes of 24-bit pixels
//
// Frame size, colour mode and the second plane's place are read from its registers first, over I2C.
namespace brisk::image {
namespace {

// Controller registers, as string commands: "=" reads 16 bits, "-" eight.
constexpr const char* kFrameWidth = "F4-70-F5=";
constexpr const char* kFrameHeight = "F4-72-F5=";
constexpr const char* kColourMode = "F4-02-F5-";   // bit 1: YCbCr
constexpr const char* kPixelFormat = "F4-66-F5-";  // bit 3: 16-bit pixels
constexpr const char* kSecondWidth = "F4-42-F5=";
constexpr const char* kSecondHeight = "F4-4A-F5=";
constexpr const char* kSecondColourMode = "F4-32-F5-";  // bit 1: YCbCr
constexpr const char* kSecondStart = "F4-6C-F5-";       // in units of 8192 address units
constexpr uint32_t kYCbCrBit = 0x02;
constexpr uint32_t kSixteenBitBit = 0x08;
constexpr uint32_t kSecondStartShift = 13;

// Each kind of word has its own length in bits, by which the controller knows it.
constexpr uint32_t kStartBits = 7;
constexpr uint32_t kCommandBits = 12;
constexpr uint32_t kColourBits = 19;
constexpr uint32_t kAddressBits = 22;
constexpr uint32_t kPixelBits = 32;

constexpr uint32_t kStartWord = 0x13;
constexpr uint32_t kColourHigh = 0x10000;
constexpr uint32_t kPatternRow = 0x40000;
constexpr uint32_t kAddressMask = 0x1FFFFF;
constexpr uint32_t kCopySource = 0x200000;
constexpr uint32_t kFillRun = 0x277;
constexpr uint32_t kLineSkip = 0x800;
constexpr uint32_t kBlockCopy = 0x600;
constexpr uint32_t kPixelsPerFillRun = 120;

constexpr uint32_t kPatternColour = 0xFFFF03E0;
constexpr std::array<uint16_t, 16> kPattern = {0x2000, 0x10F8, 0xFC88, 0x0088, 0x7888, 0x030E,
                                               0x7800, 0x01F8, 0x7888, 0x4850, 0x4820, 0x4850,
                                               0x788C, 0x4B04, 0x0000, 0x0000};

// What stands to the right of the picture.
constexpr uint32_t kFillRgb = MakeCell(0, 0, 0);
constexpr uint32_t kFillYCbCr = MakeCell(0x80, 0x10, 0x80);

constexpr uint32_t Rgb16(uint32_t cell) {
  return static_cast<uint32_t>(GreenOf(cell) >> 2 << 10 | BlueOf(cell) >> 3 << 5 |
                               RedOf(cell) >> 3);
}

constexpr uint32_t RgbPair(uint32_t even, uint32_t odd) { return Rgb16(odd) << 16 | Rgb16(even); }

// Y of both pixels; the chroma of the odd one is dropped.
constexpr uint32_t YCbCrPair(uint32_t even, uint32_t odd) {
  return uint32_t{GreenOf(odd)} << 24 | uint32_t{GreenOf(even)} << 16 |
         uint32_t{BlueOf(even)} << 8 | RedOf(even);
}
static_assert(YCbCrPair(kFillYCbCr, kFillYCbCr) == 0x10108080);

Status CannotOpen() {
  TellUser(kNoInputFile);
  return Cause::kFile;
}

void PrintSize(int32_t width, int32_t height) {
  std::printf("Source Size=%3d %3d\n", static_cast<int>(width), static_cast<int>(height));
  std::fflush(stdout);
}

void CopyPixels(const DecodeRequest& request, PictureBuffer& picture) {
  for (int32_t y = 0; y < picture.height(); ++y) {
    const uint8_t* bytes = request.pixels.get() + static_cast<size_t>(y) * request.stride;
    uint32_t* cells = picture.Row(y);
    for (int32_t x = 0; x < picture.width(); ++x, bytes += 3) {
      cells[x] = MakeCell(bytes[0], bytes[1], bytes[2]);
    }
  }
}

// Packs three bytes a pixel, in the order red, blue, green, into words that go out as soon as they
// are full. It runs over row ends; what the last word lacks is never sent.
class BytePacker {
 public:
  explicit BytePacker(WordWriter& writer) : writer_(writer) {}

  void Put(uint32_t cell) {
    const uint32_t pixel =
        RedOf(cell) | uint32_t{BlueOf(cell)} << 8 | uint32_t{GreenOf(cell)} << 16;
    held_ |= uint64_t{pixel} << heldBits_;
    heldBits_ += 24;
    if (heldBits_ < kPixelBits) return;
    writer_.SendWord(kPixelBits, static_cast<uint32_t>(held_));
    held_ >>= kPixelBits;
    heldBits_ -= kPixelBits;
  }

 private:
  WordWriter& writer_;
  uint64_t held_ = 0;
  uint32_t heldBits_ = 0;
};

}  // namespace

bool PictureTransfer::Read(const char* command, uint32_t& value) {
  const auto read = registers_.ReadRegister(command);
  value = read.value();
  return read.ok();
}

bool PictureTransfer::ReadFrame(uint32_t& width, uint32_t& height) {
  return Read(kFrameWidth, width) && Read(kFrameHeight, height);
}

bool PictureTransfer::ReadPlane(bool second, Plane& plane) {
  uint32_t colourMode = 0;
  uint32_t pixelFormat = kSixteenBitBit;
  uint32_t start = 0;
  const bool read = second ? Read(kSecondWidth, plane.width) && Read(kSecondHeight, plane.height) &&
                                 Read(kSecondColourMode, colourMode) && Read(kSecondStart, start)
                           : ReadFrame(plane.width, plane.height) &&
                                 Read(kColourMode, colourMode) && Read(kPixelFormat, pixelFormat);
  plane.address = start << kSecondStartShift;
  plane.yCbCr = (colourMode & kYCbCrBit) != 0;
  plane.sixteenBit = (pixelFormat & kSixteenBitBit) != 0;
  return read;
}

void PictureTransfer::SendColour(uint32_t colour) {
  writer_.SendWord(kColourBits, colour & 0xFFFF);
  writer_.SendWord(kColourBits, kColourHigh + (colour >> 16));
}

void PictureTransfer::SendAddress(uint32_t address) {
  writer_.SendWord(kAddressBits, address & kAddressMask);
}

void PictureTransfer::Fill(uint32_t colour) {
  uint32_t width = 0;
  uint32_t height = 0;
  if (!ReadFrame(width, height)) return;
  writer_.SendWord(kStartBits, kStartWord);
  SendColour(colour);
  SendAddress(0);
  const uint32_t runs = width * height / kPixelsPerFillRun;
  for (uint32_t i = 0; i < runs; ++i) writer_.SendWord(kCommandBits, kFillRun);
}

void PictureTransfer::DrawPattern(uint32_t x, uint32_t y) {
  uint32_t width = 0;
  uint32_t height = 0;
  if (!ReadFrame(width, height)) return;
  SendColour(kPatternColour);
  for (uint32_t row = 0; row < kPattern.size(); ++row) {
    SendAddress(((y + row) * width + x) / 2);
    writer_.SendWord(kColourBits, kPatternRow + kPattern[row]);
  }
}

void PictureTransfer::Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2, uint32_t width,
                           uint32_t height) {
  uint32_t frameWidth = 0;
  uint32_t frameHeight = 0;
  if (!ReadFrame(frameWidth, frameHeight)) return;
  const uint32_t skip = (frameWidth - width) / 2 + kLineSkip;
  SendAddress((y2 * frameWidth + x2) / 2);
  writer_.SendWord(kCommandBits, skip);
  const uint32_t source = (y1 * frameWidth + x1) / 2;
  writer_.SendWord(kAddressBits, kCopySource | (source & kAddressMask));
  writer_.SendWord(kCommandBits, skip);
  writer_.SendWord(kCommandBits, kBlockCopy + (height & 15) * 16 + (width / 2 & 15));
}

Status PictureTransfer::ShowBitmap(const char* path, bool second) {
  const auto file = path == nullptr ? nullptr : services_.files.OpenForReading(path);
  if (file == nullptr) return CannotOpen();
  const auto size = ReadBmpHeader(*file);
  if (!size) return Cause::kRejected;
  PrintSize(size->width, size->height);
  PictureBuffer picture;
  if (!picture.Allocate(services_.system, size->width, size->height)) return {};
  ReadBmpPixels(*file, picture, services_.log);
  return StreamPicture(picture, second);
}

Status PictureTransfer::ShowJpeg(const char* path, bool second) {
  DecodeRequest request;
  if (path != nullptr) request.path = path;
  DecodeJpeg(services_, request);
  if (request.status != JpegStatus::kDecoded) return CannotOpen();
  PrintSize(request.header.width, request.header.height);
  PictureBuffer picture;
  if (!picture.Allocate(services_.system, request.header.width, request.header.height)) return {};
  CopyPixels(request, picture);
  request.pixels.reset();
  return StreamPicture(picture, second);
}

// The whole picture is converted, also what the frame clips.
Status PictureTransfer::StreamPicture(PictureBuffer& picture, bool second) {
  writer_.SendWord(kStartBits, kStartWord);
  Plane plane;
  if (!ReadPlane(second, plane)) return Cause::kTransfer;
  const uint32_t width = std::min(static_cast<uint32_t>(picture.width()), plane.width);
  const uint32_t height = std::min(static_cast<uint32_t>(picture.height()), plane.height);
  if (plane.yCbCr) picture.ConvertToYCbCr();
  SendAddress(plane.address);
  const bool complete = plane.sixteenBit ? StreamPairs(picture, plane, width, height)
                                         : StreamBytes(picture, plane, width, height);
  return complete ? Status() : Cause::kStopped;
}

// The odd pixel of a row's last pair is the next cell while the picture has one in that row, else
// the fill pixel. Rows of an odd frame width are sent one pixel longer.
bool PictureTransfer::StreamPairs(const PictureBuffer& picture, const Plane& plane, uint32_t width,
                                  uint32_t height) {
  const auto pair = plane.yCbCr ? YCbCrPair : RgbPair;
  const uint32_t fill = plane.yCbCr ? kFillYCbCr : kFillRgb;
  const auto pictureWidth = static_cast<uint32_t>(picture.width());
  for (uint32_t y = 0; y < height; ++y) {
    const uint32_t* cells = picture.Row(static_cast<int32_t>(y));
    uint32_t x = 0;
    for (; x < width; x += 2) {
      const uint32_t odd = x + 1 < pictureWidth ? cells[x + 1] : fill;
      writer_.SendWord(kPixelBits, pair(cells[x], odd));
    }
    for (; x < plane.width; x += 2) writer_.SendWord(kPixelBits, pair(fill, fill));
    if (reporter_.Report(y + 1, height)) return false;
  }
  return true;
}

// In 24-bit mode; the bytes of a row's end and the next one's beginning share a word.
bool PictureTransfer::StreamBytes(const PictureBuffer& picture, const Plane& plane, uint32_t width,
                                  uint32_t height) {
  const uint32_t fill = plane.yCbCr ? kFillYCbCr : kFillRgb;
  BytePacker packer(writer_);
  for (uint32_t y = 0; y < height; ++y) {
    const uint32_t* cells = picture.Row(static_cast<int32_t>(y));
    for (uint32_t x = 0; x < width; ++x) packer.Put(cells[x]);
    for (uint32_t x = width; x < plane.width; ++x) packer.Put(fill);
    if (reporter_.Report(y + 1, height)) return false;
  }
  return true;
}

}  // namespace brisk::image
