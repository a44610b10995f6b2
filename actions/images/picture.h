// One decoded image and the operations the image action applies to it, on
// libvips. Angles are clockwise degrees, as users think of them; the action
// converts from its own convention. Every failure throws PictureError with
// the library's message; a Picture may be used by one thread at a time, and
// separate Pictures on separate threads.
#pragma once

#include <stdexcept>
#include <string>

using VipsImage = struct _VipsImage;

namespace brivant {

class PictureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The encoders an output name or a chosen format selects.
enum class PictureFormat { kGif, kJpeg, kBmp, kPng, kPdf, kTiff, kByExtension };

// The resampling kernels libvips offers.
enum class PictureKernel { kNearest, kLinear, kCubic, kMitchell, kLanczos3 };

// A format from a file extension (".jpg", case ignored); kByExtension for
// anything else, which libvips then chooses by itself.
PictureFormat FormatOfExtension(const std::string& extension);

class Picture {
 public:
  // Decodes a file of any format libvips knows, detected from its content.
  // Refuses truncated data and images of more than kMaxPixels.
  static Picture Load(const std::string& path);
  static constexpr long long kMaxPixels = 1LL << 28;

  Picture(Picture&& other) noexcept : image_(other.image_) { other.image_ = nullptr; }
  Picture& operator=(Picture&& other) noexcept;
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture();

  int Width() const;
  int Height() const;
  // The EXIF orientation 1-8; 0 when the file has none.
  int Orientation() const;
  void SetOrientation(int orientation);

  void Mirror();  // left-right
  void Flip();    // top-bottom
  // Exact turns for multiples of 90 degrees, otherwise bilinear (or nearest,
  // without anti-aliasing) on a canvas that holds the whole rotated image,
  // new corners black.
  void Rotate(double clockwise_degrees, bool anti_alias);
  void Resize(int width, int height, PictureKernel kernel);

  // The encoded file, with each encoder's default options. `extension`
  // (".webp") names the encoder for kByExtension.
  std::string Encode(PictureFormat format, const std::string& extension) const;

 private:
  explicit Picture(VipsImage* image) : image_(image) {}
  // Takes the result of an operation that wrote `*out`, or throws.
  void Replace(int status, VipsImage*& out);
  std::string EncodePdf() const;

  VipsImage* image_ = nullptr;
};

}  // namespace brivant
