#include "actions/images/jpeg_lossless.h"

#include <turbojpeg.h>

#include <exiv2/exiv2.hpp>
#include <memory>
#include <mutex>

#include "actions/images/imaging_module.h"
#include "package/string_utils.h"

namespace brivant::imaging {
namespace {

constexpr const char* kOrientationKey = "Exif.Image.Orientation";

struct TransformerDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};

// exiv2 reports damage it steps over (a directory that points back at one
// already read, an offset beyond the block) only through its log; each
// thread collects the errors of its own reads here.
thread_local std::string metadata_damage;

void CollectDamage(int level, const char* message) {
  if (level >= Exiv2::LogMsg::error && metadata_damage.empty()) metadata_damage = message;
}

void StartExiv2() {
  static std::once_flag started;
  std::call_once(started, [] {
    // The XMP parser must be set up before threads use it.
    Exiv2::XmpParser::initialize();
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::error);
    Exiv2::LogMsg::setHandler(&CollectDamage);
  });
}

Exiv2::Image::AutoPtr OpenMetadata(std::string_view jpeg) {
  StartExiv2();
  metadata_damage.clear();
  try {
    Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(
        reinterpret_cast<const Exiv2::byte*>(jpeg.data()), static_cast<long>(jpeg.size()));
    image->readMetadata();
    if (!metadata_damage.empty()) throw JpegError("damaged EXIF block: " + Trim(metadata_damage));
    return image;
  } catch (const JpegError&) {
    throw;
  } catch (const std::exception& error) {
    throw JpegError("cannot read the EXIF block: " + std::string(error.what()));
  }
}

}  // namespace

std::string TransformJpeg(std::string_view jpeg, int code) {
  static constexpr TJXOP kOperations[] = {TJXOP_HFLIP,      TJXOP_VFLIP, TJXOP_TRANSPOSE,
                                          TJXOP_TRANSVERSE, TJXOP_ROT90, TJXOP_ROT180,
                                          TJXOP_ROT270};
  if (code < kFirstJpegTransform || code > kLastJpegTransform)
    throw JpegError("unknown transform code " + std::to_string(code));
  std::unique_ptr<void, TransformerDeleter> handle(tjInitTransform());
  if (!handle) throw JpegError(tjGetErrorStr2(nullptr));
  auto* source = reinterpret_cast<const unsigned char*>(jpeg.data());
  auto size = static_cast<unsigned long>(jpeg.size());
  int width = 0, height = 0, subsampling = 0, colorspace = 0;
  if (tjDecompressHeader3(handle.get(), source, size, &width, &height, &subsampling, &colorspace) !=
      0)
    throw JpegError(tjGetErrorStr2(handle.get()));
  if (static_cast<long long>(width) * height > Picture::kMaxPixels)
    throw JpegError("image of " + std::to_string(width) + " x " + std::to_string(height) +
                    " pixels is larger than the limit of " + std::to_string(Picture::kMaxPixels) +
                    " pixels");
  tjtransform transform{};
  transform.op = kOperations[code - kFirstJpegTransform];
  transform.options = TJXOPT_TRIM;
  unsigned char* output = nullptr;
  unsigned long output_size = 0;
  // A warning means damaged data; a transform of it would lose the rest.
  if (tjTransform(handle.get(), source, size, 1, &output, &output_size, &transform,
                  TJFLAG_STOPONWARNING) != 0) {
    tjFree(output);
    throw JpegError(tjGetErrorStr2(handle.get()));
  }
  std::string result(reinterpret_cast<const char*>(output), output_size);
  tjFree(output);
  return result;
}

int ReadJpegOrientation(std::string_view jpeg) {
  Exiv2::Image::AutoPtr image = OpenMetadata(jpeg);
  Exiv2::ExifData& exif = image->exifData();
  auto found = exif.findKey(Exiv2::ExifKey(kOrientationKey));
  if (found == exif.end() || found->count() == 0) return 0;
  long orientation = found->toLong();
  return orientation >= 0 && orientation <= 8 ? static_cast<int>(orientation) : 0;
}

std::string WithJpegOrientation(std::string_view jpeg, int orientation) {
  Exiv2::Image::AutoPtr image = OpenMetadata(jpeg);
  try {
    image->exifData()[kOrientationKey] = static_cast<uint16_t>(orientation);
    image->writeMetadata();
    Exiv2::BasicIo& io = image->io();
    if (io.open() != 0) throw JpegError("cannot read back the rewritten file");
    Exiv2::DataBuf bytes = io.read(static_cast<long>(io.size()));
    io.close();
    return std::string(reinterpret_cast<const char*>(bytes.pData_), bytes.size_);
  } catch (const std::exception& error) {
    throw JpegError("cannot write the EXIF block: " + std::string(error.what()));
  }
}

}  // namespace brivant::imaging
