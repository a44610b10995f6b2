#include "actions/images/picture.h"

#include <mutex>
#include <string_view>

#include "actions/images/imaging_module.h"
#include "actions/images/jpeg_lossless.h"
#include "package/string_utils.h"
#include "platform/module.h"

namespace brivant {
namespace {

// The module beside the code that asks for it (the package); else one the
// loader already knows by name: linked into a test program, or on the
// library path.
const imaging::EntryPoints* LoadEntryPoints(std::string* error) {
  std::string beside;
  if (std::optional<std::string> self =
          platform::GetModulePathOf(reinterpret_cast<const void*>(&LoadEntryPoints))) {
    size_t slash = self->rfind('/');
    if (slash != std::string::npos)
      beside = self->substr(0, slash + 1) + imaging::kModuleDirectory + "/" + imaging::kModuleName;
  }
  std::optional<platform::LoadedModule> module;
  if (!beside.empty() && platform::FileExists(beside)) {
    module = platform::LoadModule(beside, error);
  } else {
    module = platform::LoadLibraryByName(imaging::kModuleName, error);
  }
  if (!module) return nullptr;
  using Entry = const imaging::EntryPoints* (*)();
  auto entry = reinterpret_cast<Entry>(module->FindSymbol(imaging::kEntryPointsSymbol));
  if (entry == nullptr) {
    *error = std::string(imaging::kModuleName) + ": no " + imaging::kEntryPointsSymbol;
    return nullptr;
  }
  return entry();
}

// Loaded once, on the first image of the run, by whichever thread asks first.
const imaging::EntryPoints& Imaging() {
  static std::once_flag once;
  static const imaging::EntryPoints* entry_points = nullptr;
  static std::string error;
  std::call_once(once, [] { entry_points = LoadEntryPoints(&error); });
  if (entry_points == nullptr) throw PictureError("the image libraries cannot be loaded: " + error);
  return *entry_points;
}

// The JPEG operations report a missing module as their own kind of failure.
const imaging::EntryPoints& JpegImaging() {
  try {
    return Imaging();
  } catch (const PictureError& error) {
    throw JpegError(error.what());
  }
}

}  // namespace

PictureFormat FormatOfExtension(const std::string& extension) {
  struct Row {
    std::string_view extension;
    PictureFormat format;
  };
  static constexpr Row kRows[] = {
      {".gif", PictureFormat::kGif},   {".jpg", PictureFormat::kJpeg},
      {".jpeg", PictureFormat::kJpeg}, {".jpe", PictureFormat::kJpeg},
      {".bmp", PictureFormat::kBmp},   {".png", PictureFormat::kPng},
      {".pdf", PictureFormat::kPdf},   {".tif", PictureFormat::kTiff},
      {".tiff", PictureFormat::kTiff},
  };
  for (const Row& row : kRows)
    if (SameText(row.extension, extension)) return row.format;
  return PictureFormat::kByExtension;
}

std::unique_ptr<Picture> Picture::Load(const std::string& path) {
  return Imaging().load_picture(path);
}

std::string TransformJpeg(std::string_view jpeg, int code) {
  return JpegImaging().transform_jpeg(jpeg, code);
}

int ReadJpegOrientation(std::string_view jpeg) { return JpegImaging().read_jpeg_orientation(jpeg); }

std::string WithJpegOrientation(std::string_view jpeg, int orientation) {
  return JpegImaging().with_jpeg_orientation(jpeg, orientation);
}

}  // namespace brivant
