#include "image/jpeg_decoder.h"

#include <algorithm>

#include "image/jpeg_idct.h"

namespace brisk::image {
namespace {

constexpr uint32_t RoundUp(uint32_t value, uint32_t unit) {
  return (value + unit - 1) / unit * unit;
}

uint32_t McuWidth(const JpegHeaders& headers) { return 8U * headers.components[0].horizontal; }
uint32_t McuHeight(const JpegHeaders& headers) { return 8U * headers.components[0].vertical; }

}  // namespace

uint32_t ScanDecoder::OutputWidth(const JpegHeaders& headers) {
  return RoundUp(headers.width, McuWidth(headers));
}

uint32_t ScanDecoder::OutputHeight(const JpegHeaders& headers) {
  return RoundUp(headers.height, McuHeight(headers));
}

ScanDecoder::ScanDecoder(const JpegHeaders& headers, Bytes file, const JpegKernels& kernels)
    : headers_(headers),
      kernels_(kernels),
      file_(file),
      bits_(file.data(), headers.scanData, file.size()),
      countdown_(headers.restartInterval),
      mcusPerRow_(OutputWidth(headers) / McuWidth(headers)) {
  LayOut();
}

// The blocks of an MCU in the order of the scan: components in turn, each row by row (T.81, A.2.3).
void ScanDecoder::LayOut() {
  for (const uint8_t index : headers_.scanOrder) {
    const JpegComponent& component = headers_.components[index];
    Plane& plane = planes_[index];
    plane.stride = size_t{8} * component.horizontal * mcusPerRow_;
    plane.samples.resize(plane.stride * 8 * component.vertical);
    for (size_t y = 0; y < component.vertical; ++y) {
      for (size_t x = 0; x < component.horizontal; ++x) {
        blocks_.push_back({&plane, headers_.dc[component.dc].get(), headers_.ac[component.ac].get(),
                           &*headers_.quantisation[component.quantisation],
                           8 * y * plane.stride + 8 * x, size_t{8} * component.horizontal});
      }
    }
  }
}

JpegStatus ScanDecoder::Run(MessageQueue& messages, uint8_t* pixels, size_t stride) {
  const uint32_t mcuHeight = McuHeight(headers_);
  for (uint32_t y = 0; y < headers_.height; y += mcuHeight) {
    DecodeMcuRow();
    ConvertMcuRow(std::min(mcuHeight, headers_.height - y), pixels + y * stride, stride);
    if (messages.TakeStopRequest()) return JpegStatus::kStopped;
  }
  return CheckEnd();
}

void ScanDecoder::DecodeMcuRow() {
  for (size_t column = 0; column < mcusPerRow_; ++column) {
    if (headers_.restartInterval != 0) {
      if (countdown_ == 0) Restart();
      --countdown_;
    }
    DecodeMcu(column);
  }
}

void ScanDecoder::DecodeMcu(size_t column) {
  for (const Block& block : blocks_) {
    alignas(32) std::array<int32_t, 64> coefficients{};
    const uint32_t last = DecodeBlock(bits_, *block.dc, *block.ac, *block.quantisation,
                                      block.plane->predictor, coefficients.data());
    uint8_t* const samples = block.plane->samples.data() + block.offset + column * block.advance;
    if (last == 0) {
      InverseDctOfDc(coefficients[0], samples, block.plane->stride);
    } else {
      kernels_.inverseDct(coefficients.data(), samples, block.plane->stride);
    }
  }
}

// Decoding goes on behind the next restart marker, wherever damage has left the position.
void ScanDecoder::Restart() {
  size_t position = bits_.BytePosition();
  NextMarker(file_, position);
  bits_.SeekByte(position);
  for (Plane& plane : planes_) plane.predictor = 0;
  countdown_ = headers_.restartInterval;
}

// With two lines of luma to one of chroma, both take the same chroma line: no interpolation.
void ScanDecoder::ConvertMcuRow(uint32_t rows, uint8_t* pixels, size_t stride) const {
  const JpegComponent& luma = headers_.components[0];
  const JpegComponent& chroma = headers_.components[1];
  const size_t verticalRatio = luma.vertical / chroma.vertical;
  const auto convert =
      luma.horizontal == chroma.horizontal ? kernels_.convertRow : kernels_.convertRowDoubled;
  const size_t chromaStride = planes_[1].stride;
  for (size_t y = 0; y < rows; ++y) {
    const size_t chromaOffset = y / verticalRatio * chromaStride;
    convert(planes_[0].samples.data() + y * planes_[0].stride,
            planes_[1].samples.data() + chromaOffset, planes_[2].samples.data() + chromaOffset,
            planes_[0].stride, pixels + y * stride);
  }
}

// The end of the image must follow the scan, or the segment with the height and then the end.
JpegStatus ScanDecoder::CheckEnd() {
  size_t position = bits_.BytePosition();
  uint8_t marker = NextMarker(file_, position);
  if (marker == kNumberOfLines && headers_.heightBehindScan && SkipSegment(file_, position)) {
    marker = NextMarker(file_, position);
  }
  return marker == kEndOfImage ? JpegStatus::kDecoded : JpegStatus::kNoEnd;
}

}  // namespace brisk::image
