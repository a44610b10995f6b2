// The module that holds the image libraries (libvips, libjpeg-turbo, exiv2,
// cairo). Loading them costs tens of milliseconds and a hundred shared
// objects, more than a small build takes as a whole, so the package does not
// link them: picture.cpp loads this module on the first image and reaches it
// through the one table below. Both sides are built together, so C++ types
// and exceptions cross freely.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "actions/images/picture.h"

namespace brivant::imaging {

// The file name of the module, installed in kModuleDirectory beside the
// package (not among the packages: the host would load it as one).
inline constexpr char kModuleName[] = "libbvimaging.so";
inline constexpr char kModuleDirectory[] = "imaging";
inline constexpr char kEntryPointsSymbol[] = "BrivantImagingEntryPoints";

struct EntryPoints {
  std::unique_ptr<Picture> (*load_picture)(const std::string& path);
  std::string (*transform_jpeg)(std::string_view jpeg, int code);
  int (*read_jpeg_orientation)(std::string_view jpeg);
  std::string (*with_jpeg_orientation)(std::string_view jpeg, int orientation);
};

// Inside the module; jpeg_lossless.h documents the three JPEG operations.
std::unique_ptr<Picture> LoadVipsPicture(const std::string& path);
std::string TransformJpeg(std::string_view jpeg, int code);
int ReadJpegOrientation(std::string_view jpeg);
std::string WithJpegOrientation(std::string_view jpeg, int orientation);

}  // namespace brivant::imaging

extern "C" const brivant::imaging::EntryPoints* BrivantImagingEntryPoints();
