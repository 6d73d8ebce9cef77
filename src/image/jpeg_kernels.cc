#include "image/jpeg_kernels.h"

#include "image/jpeg_avx2.h"
#include "image/jpeg_colour.h"
#include "image/jpeg_idct.h"

namespace brisk::image {

const JpegKernels& PortableJpegKernels() {
  static constexpr JpegKernels kPortable{InverseDct, ConvertRow, ConvertRowDoubled};
  return kPortable;
}

const JpegKernels& FastestJpegKernels() {
  static constexpr JpegKernels kAvx2{InverseDctAvx2, ConvertRowAvx2, ConvertRowDoubledAvx2};
  return __builtin_cpu_supports("avx2") ? kAvx2 : PortableJpegKernels();
}

}  // namespace brisk::image
