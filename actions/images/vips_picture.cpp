#include <cairo-pdf.h>
#include <cairo.h>
#include <vips/vips.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

#include "actions/images/imaging_module.h"
#include "package/string_utils.h"

namespace brivant::imaging {
namespace {

void StartLibrary() {
  static std::once_flag started;
  std::call_once(started, [] {
    if (vips_init("brivant") != 0) throw PictureError("libvips could not be started");
    // A batch never asks for the same operation twice; the cache would only
    // hold decoded images in memory.
    vips_cache_set_max(0);
  });
}

// The library's pending error text, which it then forgets.
std::string TakeLibraryError() {
  char* buffer = vips_error_buffer_copy();
  std::string text = buffer == nullptr ? "" : Trim(buffer);
  g_free(buffer);
  return text.empty() ? "unknown image library error" : text;
}

struct ImageUnref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
using ImageRef = std::unique_ptr<VipsImage, ImageUnref>;

// Takes what an operation wrote to `out`, or throws. By reference: the
// operation in the same call expression has filled it by the time it is read.
ImageRef Check(int status, VipsImage*& out) {
  if (status != 0) {
    if (out != nullptr) g_object_unref(out);
    throw PictureError(TakeLibraryError());
  }
  return ImageRef(out);
}

// By reference: the arguments are read only after the save has filled them.
std::string TakeBuffer(int status, void*& buffer, const size_t& length) {
  if (status != 0) throw PictureError(TakeLibraryError());
  std::string bytes(static_cast<const char*>(buffer), length);
  g_free(buffer);
  return bytes;
}

VipsKernel KernelOf(PictureKernel kernel) {
  switch (kernel) {
    case PictureKernel::kNearest:
      return VIPS_KERNEL_NEAREST;
    case PictureKernel::kLinear:
      return VIPS_KERNEL_LINEAR;
    case PictureKernel::kCubic:
      return VIPS_KERNEL_CUBIC;
    case PictureKernel::kMitchell:
      return VIPS_KERNEL_MITCHELL;
    case PictureKernel::kLanczos3:
      break;
  }
  return VIPS_KERNEL_LANCZOS3;
}

cairo_status_t AppendToString(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

class VipsPicture final : public Picture {
 public:
  explicit VipsPicture(VipsImage* image) : image_(image) {}
  VipsPicture(const VipsPicture&) = delete;
  VipsPicture& operator=(const VipsPicture&) = delete;
  ~VipsPicture() override { g_object_unref(image_); }

  int Width() const override { return vips_image_get_width(image_); }
  int Height() const override { return vips_image_get_height(image_); }
  int Orientation() const override;
  void SetOrientation(int orientation) override;
  void Mirror() override;
  void Flip() override;
  void Rotate(double clockwise_degrees, bool anti_alias) override;
  void Resize(int width, int height, PictureKernel kernel) override;
  std::string Encode(PictureFormat format, const std::string& extension) const override;

  // Takes the result of an operation that wrote `*out`, or throws.
  void Replace(int status, VipsImage*& out);

 private:
  std::string EncodePdf() const;

  VipsImage* image_;
};

std::unique_ptr<Picture> LoadVipsPicture(const std::string& path) {
  StartLibrary();
  VipsImage* image =
      vips_image_new_from_file(path.c_str(), "fail_on", VIPS_FAIL_ON_TRUNCATED, nullptr);
  if (image == nullptr) throw PictureError(TakeLibraryError());
  auto picture = std::make_unique<VipsPicture>(image);
  // Only the header has been read so far; refuse a decompression bomb before
  // its pixels are asked for.
  long long pixels = static_cast<long long>(picture->Width()) * picture->Height();
  if (pixels > Picture::kMaxPixels)
    throw PictureError("image of " + std::to_string(picture->Width()) + " x " +
                       std::to_string(picture->Height()) + " pixels is larger than the limit of " +
                       std::to_string(Picture::kMaxPixels) + " pixels");
  // Decode now, so that damage is reported as a load failure.
  VipsImage* decoded = vips_image_copy_memory(image);
  picture->Replace(decoded == nullptr ? -1 : 0, decoded);
  return picture;
}

void VipsPicture::Replace(int status, VipsImage*& out) {
  ImageRef result = Check(status, out);
  g_object_unref(image_);
  image_ = result.release();
}

int VipsPicture::Orientation() const {
  int orientation = 0;
  if (vips_image_get_typeof(image_, VIPS_META_ORIENTATION) == 0 ||
      vips_image_get_int(image_, VIPS_META_ORIENTATION, &orientation) != 0)
    return 0;
  return orientation;
}

void VipsPicture::SetOrientation(int orientation) {
  // Images are shared once made; change a copy.
  VipsImage* out = nullptr;
  Replace(vips_copy(image_, &out, nullptr), out);
  vips_image_set_int(image_, VIPS_META_ORIENTATION, orientation);
}

void VipsPicture::Mirror() {
  VipsImage* out = nullptr;
  Replace(vips_flip(image_, &out, VIPS_DIRECTION_HORIZONTAL, nullptr), out);
}

void VipsPicture::Flip() {
  VipsImage* out = nullptr;
  Replace(vips_flip(image_, &out, VIPS_DIRECTION_VERTICAL, nullptr), out);
}

void VipsPicture::Rotate(double clockwise_degrees, bool anti_alias) {
  double degrees = std::fmod(clockwise_degrees, 360.0);
  if (degrees < 0) degrees += 360.0;
  VipsImage* out = nullptr;
  if (degrees == 0) return;
  if (std::fmod(degrees, 90.0) == 0) {
    static constexpr VipsAngle kTurns[] = {VIPS_ANGLE_D0, VIPS_ANGLE_D90, VIPS_ANGLE_D180,
                                           VIPS_ANGLE_D270};
    Replace(vips_rot(image_, &out, kTurns[static_cast<int>(degrees) / 90], nullptr), out);
    return;
  }
  VipsInterpolate* interpolate = vips_interpolate_new(anti_alias ? "bilinear" : "nearest");
  int status = vips_rotate(image_, &out, degrees, "interpolate", interpolate, nullptr);
  g_object_unref(interpolate);
  Replace(status, out);
}

void VipsPicture::Resize(int width, int height, PictureKernel kernel) {
  if (width == -1 && height == -1) return;
  if (width == 0 || height == 0 || width < -1 || height < -1)
    throw PictureError("cannot resize to " + std::to_string(width) + " x " +
                       std::to_string(height) + " pixels");
  double horizontal = static_cast<double>(width) / Width();
  double vertical = static_cast<double>(height) / Height();
  if (width == -1) horizontal = vertical;
  if (height == -1) vertical = horizontal;
  VipsImage* out = nullptr;
  Replace(vips_resize(image_, &out, horizontal, "vscale", vertical, "kernel", KernelOf(kernel),
                      nullptr),
          out);
}

std::string VipsPicture::Encode(PictureFormat format, const std::string& extension) const {
  void* buffer = nullptr;
  size_t length = 0;
  switch (format) {
    case PictureFormat::kGif:
      return TakeBuffer(vips_gifsave_buffer(image_, &buffer, &length, nullptr), buffer, length);
    case PictureFormat::kJpeg:
      return TakeBuffer(vips_jpegsave_buffer(image_, &buffer, &length, nullptr), buffer, length);
    case PictureFormat::kBmp:
      return TakeBuffer(vips_magicksave_buffer(image_, &buffer, &length, "format", "bmp", nullptr),
                        buffer, length);
    case PictureFormat::kPng:
      return TakeBuffer(vips_pngsave_buffer(image_, &buffer, &length, nullptr), buffer, length);
    case PictureFormat::kPdf:
      return EncodePdf();
    case PictureFormat::kTiff:
      return TakeBuffer(vips_tiffsave_buffer(image_, &buffer, &length, nullptr), buffer, length);
    case PictureFormat::kByExtension:
      break;
  }
  return TakeBuffer(
      vips_image_write_to_buffer(image_, extension.c_str(), &buffer, &length, nullptr), buffer,
      length);
}

// One page the size of the image, one point per pixel.
std::string VipsPicture::EncodePdf() const {
  VipsImage* step = nullptr;
  ImageRef rgb = Check(vips_colourspace(image_, &step, VIPS_INTERPRETATION_sRGB, nullptr), step);
  if (vips_image_hasalpha(rgb.get())) {
    step = nullptr;
    double white[] = {255, 255, 255};
    VipsArrayDouble* background = vips_array_double_new(white, 3);
    int status = vips_flatten(rgb.get(), &step, "background", background, nullptr);
    vips_area_unref(VIPS_AREA(background));
    rgb = Check(status, step);
  }
  step = nullptr;
  rgb = Check(vips_cast_uchar(rgb.get(), &step, nullptr), step);
  size_t size = 0;
  auto* pixels = static_cast<unsigned char*>(vips_image_write_to_memory(rgb.get(), &size));
  if (pixels == nullptr) throw PictureError(TakeLibraryError());
  std::unique_ptr<unsigned char, decltype(&g_free)> owned(pixels, &g_free);

  int width = Width(), height = Height();
  cairo_surface_t* image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> image_owner(
      image, &cairo_surface_destroy);
  if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS)
    throw PictureError(cairo_status_to_string(cairo_surface_status(image)));
  cairo_surface_flush(image);
  unsigned char* rows = cairo_image_surface_get_data(image);
  int stride = cairo_image_surface_get_stride(image);
  for (int y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<uint32_t*>(rows + static_cast<size_t>(y) * stride);
    const unsigned char* source = pixels + static_cast<size_t>(y) * width * 3;
    for (int x = 0; x < width; ++x, source += 3)
      row[x] = (uint32_t{source[0]} << 16) | (uint32_t{source[1]} << 8) | source[2];
  }
  cairo_surface_mark_dirty(image);

  std::string pdf;
  cairo_surface_t* page = cairo_pdf_surface_create_for_stream(&AppendToString, &pdf, width, height);
  cairo_t* context = cairo_create(page);
  cairo_set_source_surface(context, image, 0, 0);
  cairo_paint(context);
  cairo_status_t status = cairo_status(context);
  cairo_destroy(context);
  cairo_surface_finish(page);
  if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(page);
  cairo_surface_destroy(page);
  if (status != CAIRO_STATUS_SUCCESS) throw PictureError(cairo_status_to_string(status));
  return pdf;
}

}  // namespace brivant::imaging
