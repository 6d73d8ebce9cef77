#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "base/bytes.h"
#include "image/jpeg.h"
#include "image/jpeg_huffman.h"

// A JPEG file (ITU-T T.81, annex B) is a run of segments: 0xFF, a code, and for most codes a
// big-endian length that counts itself, then as many bytes. Behind the start-of-scan segment comes
// entropy-coded data, in which 0xFF is followed by 0x00 ("stuffing") so that no marker appears.
namespace brisk::image {

constexpr uint8_t kEndOfImage = 0xD9;
constexpr uint8_t kNumberOfLines = 0xDC;

// The code of the next marker from `position` on, which ends up behind it. The end of the data
// counts as the end of the image.
uint8_t NextMarker(Bytes file, size_t& position);

// Moves `position` behind the segment there; false when the segment does not fit into the data.
bool SkipSegment(Bytes file, size_t& position);

struct JpegComponent {
  uint8_t identifier = 0;
  uint8_t horizontal = 0;  // sampling factors
  uint8_t vertical = 0;
  uint8_t quantisation = 0;  // table numbers
  uint8_t dc = 0;
  uint8_t ac = 0;
};

using QuantisationTable = std::array<uint16_t, 64>;  // in zigzag order

// What the segments up to the first scan say. All that a decode keeps is in here and in the scan
// decoder: nothing lasts from one picture to the next.
struct JpegHeaders {
  static constexpr size_t kTables = 4;
  static constexpr size_t kComponents = 3;

  uint32_t width = 0;
  uint32_t height = 0;
  bool heightBehindScan = false;
  std::array<JpegComponent, kComponents> components;  // in frame order
  std::array<uint8_t, kComponents> scanOrder{};       // indices of components
  std::array<std::optional<QuantisationTable>, kTables> quantisation;
  std::array<std::unique_ptr<HuffmanTable>, kTables> dc;
  std::array<std::unique_ptr<HuffmanTable>, kTables> ac;
  uint32_t restartInterval = 0;
  size_t scanData = 0;  // where the entropy-coded data begins
};

// Reads the segments up to and with the first start of scan. Any status but 0 ends the decode.
JpegStatus ReadJpegHeaders(Bytes file, JpegHeaders& headers);

}  // namespace brisk::image
