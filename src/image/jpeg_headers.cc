#include "image/jpeg_headers.h"

#include <algorithm>
#include <cstring>

namespace brisk::image {
namespace {

constexpr uint8_t kStartOfImage = 0xD8;
constexpr uint8_t kStartOfScan = 0xDA;

// The contents of one segment. Reads past its end give zeros and are remembered.
class Segment {
 public:
  Segment(const uint8_t* begin, const uint8_t* end) : next_(begin), end_(end) {}

  size_t remaining() const { return static_cast<size_t>(end_ - next_); }
  bool overrun() const { return overrun_; }
  uint8_t Byte() {
    if (next_ == end_) {
      overrun_ = true;
      return 0;
    }
    return *next_++;
  }
  uint16_t Word() {
    const unsigned high = Byte();
    return static_cast<uint16_t>(high << 8 | Byte());
  }
  // Null when fewer are left.
  const uint8_t* Take(size_t count) {
    if (remaining() < count) return nullptr;
    next_ += count;
    return next_ - count;
  }

 private:
  const uint8_t* next_;
  const uint8_t* end_;
  bool overrun_ = false;
};

// Layouts in which a chroma sample covers a whole number of luma blocks' width and height the way
// the planes are laid out: 4:4:4, 4:2:2, 4:2:0. T.81 allows ten blocks in an MCU.
bool IsSupportedSampling(const std::array<JpegComponent, JpegHeaders::kComponents>& components) {
  const JpegComponent& luma = components[0];
  const auto sameAsLuma = [&](const JpegComponent& c) {
    return c.horizontal == luma.horizontal && c.vertical == luma.vertical;
  };
  const auto single = [](const JpegComponent& c) { return c.horizontal == 1 && c.vertical == 1; };
  const unsigned blocks = unsigned{luma.horizontal} * luma.vertical;
  if (blocks == 0 || luma.horizontal > 2 || luma.vertical > 2) return false;
  if (sameAsLuma(components[1]) && sameAsLuma(components[2])) return 3 * blocks <= 10;
  return luma.horizontal == 2 && single(components[1]) && single(components[2]);
}

class HeaderReader {
 public:
  HeaderReader(Bytes file, JpegHeaders& headers) : file_(file), headers_(headers) {}

  JpegStatus Run();

 private:
  JpegStatus ReadSegment(uint8_t marker, Segment segment);
  JpegStatus ReadFrame(Segment segment);
  JpegStatus ReadHuffmanTables(Segment segment);
  JpegStatus ReadQuantisationTables(Segment segment);
  JpegStatus ReadApplicationSegment(Segment segment);
  JpegStatus ReadScan(Segment segment);
  bool ReadScanComponent(Segment& segment, size_t index);
  bool FindHeightBehindScan();

  Bytes file_;
  JpegHeaders& headers_;
  size_t position_ = 0;
  bool frameSeen_ = false;
};

// Markers that stand alone: TEM, RSTn, SOI.
bool HasNoSegment(uint8_t marker) {
  return marker == 0x01 || (marker >= 0xD0 && marker <= kStartOfImage);
}

// Frame headers other than baseline and extended Huffman; 0xC4, 0xC8 and 0xCC are no frames.
bool IsUnsupportedFrame(uint8_t marker) {
  return marker >= 0xC2 && marker <= 0xCF && marker % 4 != 0;
}

JpegStatus HeaderReader::Run() {
  if (file_.size() < 2 || file_[0] != 0xFF || file_[1] != kStartOfImage) {
    return JpegStatus::kUnreadable;
  }
  position_ = 2;
  for (;;) {
    const uint8_t marker = NextMarker(file_, position_);
    if (marker == kEndOfImage) return JpegStatus::kUnsupported;
    if (HasNoSegment(marker)) continue;
    const size_t begin = position_ + 2;
    if (!SkipSegment(file_, position_)) return JpegStatus::kUnsupported;
    const JpegStatus status =
        ReadSegment(marker, Segment(file_.data() + begin, file_.data() + position_));
    if (status != JpegStatus::kDecoded || marker == kStartOfScan) return status;
  }
}

JpegStatus HeaderReader::ReadSegment(uint8_t marker, Segment segment) {
  if (IsUnsupportedFrame(marker)) return JpegStatus::kUnsupported;
  switch (marker) {
    case 0xC0:
    case 0xC1:
      return ReadFrame(segment);
    case 0xC4:
      return ReadHuffmanTables(segment);
    case 0xDB:
      return ReadQuantisationTables(segment);
    case 0xDD:
      headers_.restartInterval = segment.Word();
      break;
    case kNumberOfLines:
      headers_.height = segment.Word();
      break;
    case 0xE0:
      return ReadApplicationSegment(segment);
    case kStartOfScan:
      return ReadScan(segment);
    default:
      return JpegStatus::kDecoded;
  }
  return segment.overrun() ? JpegStatus::kUnsupported : JpegStatus::kDecoded;
}

JpegStatus HeaderReader::ReadFrame(Segment segment) {
  const uint8_t precision = segment.Byte();
  headers_.height = segment.Word();
  headers_.width = segment.Word();
  const uint8_t count = segment.Byte();
  if (segment.overrun() || precision != 8 || headers_.width == 0) return JpegStatus::kUnsupported;
  if (count == 1) return JpegStatus::kGreyscale;
  if (count != JpegHeaders::kComponents) return JpegStatus::kUnsupported;
  for (JpegComponent& component : headers_.components) {
    component.identifier = segment.Byte();
    const uint8_t factors = segment.Byte();
    component.horizontal = factors >> 4;
    component.vertical = factors & 15;
    component.quantisation = segment.Byte();
    if (component.quantisation >= JpegHeaders::kTables) return JpegStatus::kUnsupported;
  }
  const auto& c = headers_.components;
  const bool isYiq = c[0].identifier == 1 && c[1].identifier == 4 && c[2].identifier == 5;
  if (segment.overrun() || isYiq || !IsSupportedSampling(c)) return JpegStatus::kUnsupported;
  frameSeen_ = true;
  return JpegStatus::kDecoded;
}

JpegStatus HeaderReader::ReadHuffmanTables(Segment segment) {
  while (segment.remaining() > 0) {
    const uint8_t kind = segment.Byte();
    const size_t number = kind & 15;
    std::array<uint8_t, 16> counts{};
    size_t total = 0;
    for (uint8_t& count : counts) total += count = segment.Byte();
    const uint8_t* symbols = segment.Take(total);
    if (segment.overrun() || symbols == nullptr || number >= JpegHeaders::kTables) {
      return JpegStatus::kUnsupported;
    }
    const bool isAc = (kind & 0x10) != 0;
    auto table = HuffmanTable::Build(isAc ? HuffmanClass::kAc : HuffmanClass::kDc, counts, symbols);
    if (table == nullptr) return JpegStatus::kUnsupported;
    (isAc ? headers_.ac : headers_.dc)[number] = std::move(table);
  }
  return JpegStatus::kDecoded;
}

JpegStatus HeaderReader::ReadQuantisationTables(Segment segment) {
  while (segment.remaining() > 0) {
    const uint8_t kind = segment.Byte();
    const size_t number = kind & 15;
    if (number >= JpegHeaders::kTables) return JpegStatus::kUnsupported;
    QuantisationTable& table = headers_.quantisation[number].emplace();
    for (uint16_t& entry : table) entry = kind >> 4 == 0 ? segment.Byte() : segment.Word();
    if (segment.overrun()) return JpegStatus::kUnsupported;
  }
  return JpegStatus::kDecoded;
}

JpegStatus HeaderReader::ReadApplicationSegment(Segment segment) {
  constexpr char kJfif[5] = "JFIF";
  constexpr uint8_t kUnknownMajorVersion = 2;
  const uint8_t* identifier = segment.Take(sizeof kJfif);
  if (identifier == nullptr || std::memcmp(identifier, kJfif, sizeof kJfif) != 0) {
    return JpegStatus::kUnsupported;
  }
  const uint8_t majorVersion = segment.Byte();
  return segment.overrun() || majorVersion >= kUnknownMajorVersion ? JpegStatus::kUnsupported
                                                                   : JpegStatus::kDecoded;
}

JpegStatus HeaderReader::ReadScan(Segment segment) {
  if (!frameSeen_ || segment.Byte() != JpegHeaders::kComponents) return JpegStatus::kUnsupported;
  for (size_t i = 0; i < JpegHeaders::kComponents; ++i) {
    if (!ReadScanComponent(segment, i)) return JpegStatus::kUnsupported;
  }
  headers_.scanData = position_;
  if (segment.overrun()) return JpegStatus::kUnsupported;
  if (headers_.height == 0 && !FindHeightBehindScan()) return JpegStatus::kUnsupported;
  return JpegStatus::kDecoded;
}

bool HeaderReader::ReadScanComponent(Segment& segment, size_t index) {
  auto& components = headers_.components;
  const uint8_t identifier = segment.Byte();
  const uint8_t tables = segment.Byte();
  const auto found = std::find_if(components.begin(), components.end(),
                                  [&](const auto& c) { return c.identifier == identifier; });
  if (found == components.end()) return false;
  const auto number = static_cast<uint8_t>(found - components.begin());
  const auto chosen = headers_.scanOrder.begin();
  const auto chosenEnd = chosen + static_cast<ptrdiff_t>(index);
  if (std::find(chosen, chosenEnd, number) != chosenEnd) return false;
  headers_.scanOrder[index] = number;
  found->dc = tables >> 4;
  found->ac = tables & 15;
  return found->dc < JpegHeaders::kTables && found->ac < JpegHeaders::kTables &&
         headers_.dc[found->dc] != nullptr && headers_.ac[found->ac] != nullptr &&
         headers_.quantisation[found->quantisation].has_value();
}

// T.81 lets an encoder that learns the height last write 0 in the frame header and the height in a
// segment behind the first scan.
bool HeaderReader::FindHeightBehindScan() {
  for (size_t position = position_;;) {
    const uint8_t marker = NextMarker(file_, position);
    if (marker == kEndOfImage) return false;
    if (marker != kNumberOfLines) continue;
    const size_t begin = position + 2;
    if (!SkipSegment(file_, position)) return false;
    headers_.height = Segment(file_.data() + begin, file_.data() + position).Word();
    headers_.heightBehindScan = true;
    return headers_.height != 0;
  }
}

}  // namespace

uint8_t NextMarker(Bytes file, size_t& position) {
  while (position < file.size()) {
    const void* found = std::memchr(file.data() + position, 0xFF, file.size() - position);
    if (found == nullptr) break;
    position = static_cast<size_t>(static_cast<const uint8_t*>(found) - file.data());
    while (position < file.size() && file[position] == 0xFF) ++position;
    if (position == file.size()) break;
    const uint8_t code = file[position++];
    if (code != 0) return code;
  }
  position = file.size();
  return kEndOfImage;
}

bool SkipSegment(Bytes file, size_t& position) {
  if (file.size() - position < 2) return false;
  const size_t length = size_t{file[position]} << 8 | file[position + 1];
  if (length < 2 || length > file.size() - position) return false;
  position += length;
  return true;
}

JpegStatus ReadJpegHeaders(Bytes file, JpegHeaders& headers) {
  return HeaderReader(file, headers).Run();
}

}  // namespace brisk::image
