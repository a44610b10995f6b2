// One decoded image and the operations the image action applies to it, on
// libvips. Angles are clockwise degrees, as users think of them; the action
// converts from its own convention. Every failure throws PictureError with
// the library's message; a Picture may be used by one thread at a time, and
// separate Pictures on separate threads.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

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

// A decoded image. The image libraries live in a module of their own,
// loaded on the first Load, so that a build without images never pays for
// loading them.
class Picture {
 public:
  // Decodes a file of any format libvips knows, detected from its content.
  // Refuses truncated data and images of more than kMaxPixels.
  static std::unique_ptr<Picture> Load(const std::string& path);
  static constexpr long long kMaxPixels = 1LL << 28;

  virtual ~Picture() = default;

  virtual int Width() const = 0;
  virtual int Height() const = 0;
  // The EXIF orientation 1-8; 0 when the file has none.
  virtual int Orientation() const = 0;
  virtual void SetOrientation(int orientation) = 0;

  virtual void Mirror() = 0;  // left-right
  virtual void Flip() = 0;    // top-bottom
  // Exact turns for multiples of 90 degrees, otherwise bilinear (or nearest,
  // without anti-aliasing) on a canvas that holds the whole rotated image,
  // new corners black.
  virtual void Rotate(double clockwise_degrees, bool anti_alias) = 0;
  virtual void Resize(int width, int height, PictureKernel kernel) = 0;

  // The encoded file, with each encoder's default options. `extension`
  // (".webp") names the encoder for kByExtension.
  virtual std::string Encode(PictureFormat format, const std::string& extension) const = 0;
};

}  // namespace brivant
