#include "image/jpeg.h"

#include <cstring>
#include <optional>

#include "image/jpeg_decoder.h"
#include "image/jpeg_headers.h"
#include "platform/platform.h"

namespace brisk::image {
namespace {

// Empty when the file cannot be opened or is larger than the limit.
std::optional<std::vector<uint8_t>> ReadFile(const char* path) {
  const auto file = platform().files.OpenForReading(path);
  if (file == nullptr) return std::nullopt;
  std::vector<uint8_t> bytes(size_t{1} << 20);
  size_t size = 0;
  for (;;) {
    size += file->Read(bytes.data() + size, bytes.size() - size);
    if (size < bytes.size()) break;
    if (size > kMaxJpegFileSize) return std::nullopt;
    bytes.resize(2 * size);
  }
  bytes.resize(size);
  return bytes;
}

// Takes the zero bytes out that follow each 0xFF of entropy-coded data; returns the new size. Done
// once, so that the bit reader can take eight bytes at a time as they are.
size_t RemoveStuffing(uint8_t* data, size_t begin, size_t size) {
  size_t to = begin;
  for (size_t from = begin; from < size;) {
    const void* found = std::memchr(data + from, 0xFF, size - from);
    const size_t next = found == nullptr
                            ? size
                            : static_cast<size_t>(static_cast<const uint8_t*>(found) - data) + 1;
    std::memmove(data + to, data + from, next - from);
    to += next - from;
    from = next + (found != nullptr && next < size && data[next] == 0 ? 1 : 0);
  }
  return to;
}

BitmapInfoHeader MakeHeader(uint32_t width, uint32_t height) {
  BitmapInfoHeader header{};
  header.headerSize = sizeof header;
  header.width = static_cast<int32_t>(width);
  header.height = static_cast<int32_t>(height);
  header.planes = 1;
  header.bitsPerPixel = 24;
  return header;
}

JpegStatus Decode(DecodeRequest& request, std::vector<uint8_t>& file) {
  JpegHeaders headers;
  const JpegStatus status = ReadJpegHeaders({file.data(), file.size()}, headers);
  if (status != JpegStatus::kDecoded) return status;

  request.imageWidth = headers.width;
  request.imageHeight = headers.height;
  const uint32_t width = ScanDecoder::OutputWidth(headers);
  const uint32_t height = ScanDecoder::OutputHeight(headers);
  if (uint64_t{width} * height > kMaxJpegPixels) return JpegStatus::kUnsupported;
  request.header = MakeHeader(width, height);
  request.stride = (3 * width + 3) / 4 * 4;
  request.pixels = MakeZeroedArray<uint8_t>(size_t{request.stride} * height);
  if (request.pixels == nullptr) return JpegStatus::kUnsupported;

  const size_t size = RemoveStuffing(file.data(), headers.scanData, file.size());
  file.resize(size);
  file.resize(size + BitReader::kPadding);
  return ScanDecoder(headers, {file.data(), size}, FastestJpegKernels())
      .Run(request.pixels.get(), request.stride);
}

}  // namespace

void DecodeJpeg(DecodeRequest& request) {
  auto file = ReadFile(request.path.c_str());
  request.status = JpegStatus::kUnreadable;
  if (file) DecodeJpeg(request, std::move(*file));
}

void DecodeJpeg(DecodeRequest& request, std::vector<uint8_t> file) {
  request.status = Decode(request, file);
  if (request.status != JpegStatus::kDecoded) request.pixels.reset();
}

}  // namespace brisk::image
