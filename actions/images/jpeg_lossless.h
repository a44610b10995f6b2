// Lossless JPEG operations on files held in memory: block-exact flips and
// rotations of the compressed data (libjpeg-turbo), and the EXIF orientation
// read and rewritten (exiv2). Nothing here touches the file system. Every
// failure throws JpegError with the library's message. Safe to call from
// several threads at once.
//
// Partial blocks at the right or bottom edge cannot be moved without
// re-encoding; they are trimmed away, so a transformed image can lose up to
// 15 pixel columns or rows, and every pixel that stays is exact.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace brivant {

class JpegError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The transform codes of the image library: 2 horizontal flip, 3 vertical
// flip, 4 transpose, 5 transverse, 6 rotate 90, 7 rotate 180, 8 rotate 270
// (clockwise), the same numbers as the EXIF orientation each one undoes.
constexpr int kFirstJpegTransform = 2;
constexpr int kLastJpegTransform = 8;

// The transformed JPEG, every marker copied. Refuses what is not a complete
// JPEG, and images of more pixels than the image action accepts.
std::string TransformJpeg(std::string_view jpeg, int code);

// The EXIF orientation, 0 when the file has no EXIF block or no such tag.
// Throws for an EXIF block that cannot be read.
int ReadJpegOrientation(std::string_view jpeg);

// The same JPEG with its EXIF orientation set; an EXIF block is created when
// the file has none.
std::string WithJpegOrientation(std::string_view jpeg, int orientation);

}  // namespace brivant
