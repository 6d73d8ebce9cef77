// Decoding a 12-megapixel picture, beside libjpeg-turbo by function with and without its SIMD
// (JSIMD_FORCENONE=1 in the environment), and reading a BMP with its colour conversion.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>
#include <vector>

#include "bench/pictures.h"
#include "image/bmp.h"
#include "image/jpeg.h"
#include "image/picture.h"
#include "platform/platform.h"
#include "tests/support/memory_file.h"
#include "tests/support/picture_services.h"

namespace {

std::vector<uint8_t> Encode(const brisk::RgbPicture& picture, int sampling) {
  jpeg_compress_struct c{};
  jpeg_error_mgr errors{};
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &bytes, &size);
  c.image_width = static_cast<JDIMENSION>(picture.width);
  c.image_height = static_cast<JDIMENSION>(picture.height);
  c.input_components = 3;
  c.in_color_space = JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, 85, TRUE);
  c.comp_info[0].h_samp_factor = c.comp_info[0].v_samp_factor = sampling;
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    JSAMPROW row = const_cast<uint8_t*>(picture.At(0, c.next_scanline));
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  std::vector<uint8_t> file(bytes, bytes + size);
  std::free(bytes);
  return file;
}

const std::vector<uint8_t>& Photo(int64_t sampling) {
  static const brisk::RgbPicture picture = brisk::MakePhoto(4000, 3000);
  static const std::vector<uint8_t> full = Encode(picture, 1);
  static const std::vector<uint8_t> half = Encode(picture, 2);
  return sampling == 1 ? full : half;
}

void BM_Decode(benchmark::State& state) {
  const auto& file = Photo(state.range(0));
  for (auto _ : state) {
    brisk::image::DecodeRequest request;
    brisk::image::DecodeJpeg(brisk::TestPictureServices(), request, file.data(), file.size());
    if (request.status != brisk::image::JpegStatus::kDecoded) state.SkipWithError("not decoded");
  }
}
BENCHMARK(BM_Decode)->Arg(2)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_LibjpegTurbo(benchmark::State& state) {
  const auto& file = Photo(state.range(0));
  for (auto _ : state) {
    jpeg_decompress_struct d{};
    jpeg_error_mgr errors{};
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&d, TRUE);
    d.out_color_space = JCS_EXT_BGR;
    d.dct_method = JDCT_ISLOW;
    d.do_fancy_upsampling = state.range(1) == 1 ? TRUE : FALSE;
    jpeg_start_decompress(&d);
    const size_t stride = size_t{3} * d.output_width;
    const auto pixels =
        brisk::image::MakeZeroedArray<uint8_t>(brisk::platform().system, stride * d.output_height);
    while (d.output_scanline < d.output_height) {
      JSAMPROW row = pixels.get() + stride * d.output_scanline;
      jpeg_read_scanlines(&d, &row, 1);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
  }
}
// The second argument is smooth upsampling: its default, which does more than is asked here.
BENCHMARK(BM_LibjpegTurbo)->Args({2, 0})->Args({2, 1})->Args({1, 0})->Unit(benchmark::kMillisecond);

void BM_BmpAndYCbCr(benchmark::State& state) {
  std::vector<uint8_t> file(54 + 4800 * 1200, 0x5A);
  for (size_t i = 18; i < 34; ++i) file[i] = 0;
  file[18] = 1600 & 255;
  file[19] = 1600 >> 8;
  file[22] = 1200 & 255;
  file[23] = 1200 >> 8;
  file[26] = 1;
  file[28] = 24;
  for (auto _ : state) {
    state.PauseTiming();
    brisk::MemoryFile source(file);
    state.ResumeTiming();
    const auto size = brisk::image::ReadBmpHeader(source);
    brisk::image::PictureBuffer picture;
    if (!size || !picture.Allocate(brisk::platform().system, size->width, size->height))
      state.SkipWithError("rejected");
    brisk::image::ReadBmpPixels(source, picture, brisk::TestPictureServices().log);
    picture.ConvertToYCbCr();
  }
}
BENCHMARK(BM_BmpAndYCbCr)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
