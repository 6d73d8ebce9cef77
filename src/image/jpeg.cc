#include "image/jpeg.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "image/jpeg_decoder.h"
#include "image/jpeg_headers.h"

namespace brisk::image {
namespace {

// A whole file, with room for the zero bytes that the bit reader looks at behind it. malloc and
// realloc, so that memory which is not read into is never touched.
struct FileImage {
  std::unique_ptr<uint8_t[], FreeMemory> bytes;
  size_t size = 0;

  bool Reserve(size_t capacity) {
    void* const moved = std::realloc(bytes.get(), capacity + BitReader::kPadding);
    if (moved == nullptr) return false;
    static_cast<void>(bytes.release());
    bytes.reset(static_cast<uint8_t*>(moved));
    return true;
  }
};

// False when the file cannot be opened, is larger than the limit, or memory is short.
bool ReadFile(Files& files, const char* path, FileImage& image) {
  const auto file = files.OpenForReading(path);
  if (file == nullptr) return false;
  for (size_t capacity = size_t{1} << 20; capacity <= kMaxJpegFileSize; capacity *= 2) {
    if (!image.Reserve(capacity)) return false;
    image.size += file->Read(image.bytes.get() + image.size, capacity - image.size);
    if (image.size < capacity) return true;
  }
  return false;
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

JpegStatus Decode(const PictureServices& services, DecodeRequest& request, FileImage& file) {
  JpegHeaders headers;
  const JpegStatus status = ReadJpegHeaders({file.bytes.get(), file.size}, headers);
  if (status != JpegStatus::kDecoded) return status;

  request.imageWidth = headers.width;
  request.imageHeight = headers.height;
  const uint32_t width = ScanDecoder::OutputWidth(headers);
  const uint32_t height = ScanDecoder::OutputHeight(headers);
  if (uint64_t{width} * height > kMaxJpegPixels) return JpegStatus::kUnsupported;
  request.header = MakeHeader(width, height);
  request.stride = (3 * width + 3) / 4 * 4;
  request.pixels = MakeZeroedArray<uint8_t>(services.system, size_t{request.stride} * height);
  if (request.pixels == nullptr) return JpegStatus::kUnsupported;

  const size_t size = RemoveStuffing(file.bytes.get(), headers.scanData, file.size);
  std::memset(file.bytes.get() + size, 0, BitReader::kPadding);
  return ScanDecoder(headers, {file.bytes.get(), size}, FastestJpegKernels())
      .Run(services.messages, request.pixels.get(), request.stride);
}

void DecodeImage(const PictureServices& services, DecodeRequest& request, FileImage& file) {
  request.status = Decode(services, request, file);
  if (request.status != JpegStatus::kDecoded) request.pixels.reset();
}

}  // namespace

void DecodeJpeg(const PictureServices& services, DecodeRequest& request) {
  FileImage file;
  request.status = JpegStatus::kUnreadable;
  if (ReadFile(services.files, request.path.c_str(), file)) DecodeImage(services, request, file);
}

void DecodeJpeg(const PictureServices& services, DecodeRequest& request, const uint8_t* file,
                size_t size) {
  FileImage image;
  request.status = JpegStatus::kUnreadable;
  if (size > kMaxJpegFileSize || !image.Reserve(size)) return;
  if (size > 0) std::memcpy(image.bytes.get(), file, size);
  image.size = size;
  DecodeImage(services, request, image);
}

}  // namespace brisk::image
