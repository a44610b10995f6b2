// Fuzz target for the EXIF orientation reader and the lossless JPEG path: any
// bytes must give a result or a JpegError, never a crash or a read outside
// the data. The first byte picks the transform. Built with -DBRIVANT_FUZZ=ON
// under clang (libFuzzer); seed it with a few JPEGs:
//   build/tests/fuzz/jpeg_lossless_fuzzer -max_total_time=60 SEEDS_DIR
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "actions/images/imaging_module.h"
#include "actions/images/jpeg_lossless.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  int code = brivant::kFirstJpegTransform +
             data[0] % (brivant::kLastJpegTransform - brivant::kFirstJpegTransform + 1);
  std::string_view jpeg(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    (void)brivant::imaging::ReadJpegOrientation(jpeg);
  } catch (const brivant::JpegError&) {
  }
  try {
    std::string transformed = brivant::imaging::TransformJpeg(jpeg, code);
    (void)brivant::imaging::WithJpegOrientation(transformed, 1);
  } catch (const brivant::JpegError&) {
  }
  return 0;
}
