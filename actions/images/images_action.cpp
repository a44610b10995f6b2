#include "actions/images/images_action.h"

#include <utility>

#include "actions/images/picture.h"
#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

// libvips has five kernels; each filter gets the one closest in shape.
// Hermite is a cubic without overshoot, Bell and B-spline smooth like
// Mitchell, and the two projection filters keep pixel values as they are.
constexpr PictureKernel kKernelOfFilter[] = {
    PictureKernel::kNearest,   // rfNone
    PictureKernel::kLinear,    // rfTriangle
    PictureKernel::kCubic,     // rfHermite
    PictureKernel::kMitchell,  // rfBell
    PictureKernel::kMitchell,  // rfBSpline
    PictureKernel::kLanczos3,  // rfLanczos3
    PictureKernel::kMitchell,  // rfMitchell
    PictureKernel::kNearest,   // rfNearest
    PictureKernel::kLinear,    // rfLinear
    PictureKernel::kLinear,    // rfFastLinear
    PictureKernel::kLinear,    // rfBilinear
    PictureKernel::kCubic,     // rfBicubic
    PictureKernel::kNearest,   // rfProjectBW
    PictureKernel::kNearest,   // rfProjectWB
};

struct FormatRow {
  const char* extension;  // the new extension, or nullptr to keep the name
  const char* suffix;     // of the description
  PictureFormat format;
};
constexpr FormatRow kFormats[] = {
    {nullptr, "", PictureFormat::kByExtension},  {".gif", " -> gif", PictureFormat::kGif},
    {".jpg", " -> jpg", PictureFormat::kJpeg},   {".bmp", " -> bmp", PictureFormat::kBmp},
    {".png", " -> png", PictureFormat::kPng},    {".pdf", " -> pdf", PictureFormat::kPdf},
    {".tiff", " -> tiff", PictureFormat::kTiff},
};

// An EXIF orientation undone: the log line and the steps, in the image
// library's angles (positive counter-clockwise).
struct OrientationRow {
  const char* message;
  bool mirror;
  bool flip;
  int library_angle;
};
constexpr OrientationRow kOrientations[] = {
    {"Autorotate - No rotation necessary", false, false, 0},
    {"Autorotate - No rotation necessary", false, false, 0},
    {"Autorotate - Top right side - flip horizontal", true, false, 0},
    {"Autorotate - Bottom right side - rotate 180", false, false, 180},
    {"Autorotate - Bottom left side - flip vertical", false, true, 0},
    {"Autorotate - Top left side - transpose", true, false, 90},
    {"Autorotate - Top right side - rotate 90", false, false, -90},
    {"Autorotate - Bottom right side - transverse", true, false, -90},
    {"Autorotate - Bottom left side - rotate 270", false, false, 90},
};

}  // namespace

const EnumInfo& EnumTraits<TOutputFormat>::Info() {
  static const EnumInfo info{"TOutputFormat",
                             {"ofNoChange", "ofGIF", "ofJPG", "ofBMP", "ofPNG", "ofPDF", "ofTIF"}};
  return info;
}

const EnumInfo& EnumTraits<TImageResize>::Info() {
  static const EnumInfo info{"TImageResize", {"NoResize", "PixelResize", "PercentageResize"}};
  return info;
}

const EnumInfo& EnumTraits<TResizeWhen>::Info() {
  static const EnumInfo info{"TResizeWhen",
                             {"ResizeAlways", "ResizeWhenTooBig", "ResizeWhenTooSmall"}};
  return info;
}

const EnumInfo& EnumTraits<TRotateType>::Info() {
  static const EnumInfo info{
      "TRotateType",
      {"NoRotate", "Rotate90", "Rotate180", "Rotate270", "FreeRotate", "AutoRotate"}};
  return info;
}

const EnumInfo& EnumTraits<TResampleFilter>::Info() {
  static const EnumInfo info{"TResampleFilter",
                             {"rfNone", "rfTriangle", "rfHermite", "rfBell", "rfBSpline",
                              "rfLanczos3", "rfMitchell", "rfNearest", "rfLinear", "rfFastLinear",
                              "rfBilinear", "rfBicubic", "rfProjectBW", "rfProjectWB"}};
  return info;
}

const PropertyTable& TBVImagesAction::Properties() {
  using T = TBVImagesAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("InputImage", &T::input_image_).Default("SingleImage"),
          Property("InputFilename", &T::input_filename_),
          Property("InputFileset", &T::input_fileset_),
          Property("OutputLocation", &T::output_location_).Default("ToNewDir"),
          Property("OutputDir", &T::output_dir_),
          Property("OutputFilename", &T::output_filename_),
          Property("OutputPreserveDirs", &T::output_preserve_dirs_).Default("True"),
          Property("OutputFormat", &T::output_format_).Default("ofNoChange"),
          Property("ResizeImage", &T::resize_image_).Default("NoResize"),
          Property("ResizeWhen", &T::resize_when_).Default("ResizeAlways"),
          Property("ResizePixelWidth", &T::resize_pixel_width_).Default("640"),
          Property("ResizePixelHeight", &T::resize_pixel_height_).Default("480"),
          Property("ResizePercent", &T::resize_percent_).Default("100"),
          Property("ResizeAlgorithm", &T::resize_algorithm_).Default("rfBilinear"),
          Property("MaintainAspectRatio", &T::maintain_aspect_ratio_).Default("True"),
          Property("RotateImage", &T::rotate_image_).Default("NoRotate"),
          Property("CustomRotate", &T::custom_rotate_).Default("0"),
          Property("MirrorImage", &T::mirror_image_).Default("False"),
          Property("FlipImage", &T::flip_image_).Default("False"),
          Property("DetailedOutput", &T::detailed_output_).Default("False"),
          Property("FailIfFileExistsInDir", &T::fail_if_file_exists_in_dir_).Default("True"),
      });
  return table;
}

std::string TBVImagesAction::GetFormattedDescription() const {
  std::vector<std::string> operations;
  if (mirror_image_) operations.push_back("mirror");
  if (flip_image_) operations.push_back("flip");
  switch (rotate_image_) {
    case Rotate90:
      operations.push_back("rotate 90 deg");
      break;
    case Rotate180:
      operations.push_back("rotate 180 deg");
      break;
    case Rotate270:
      operations.push_back("rotate 270 deg");
      break;
    case FreeRotate:
      operations.push_back("rotate " + std::to_string(custom_rotate_) + " deg");
      break;
    case AutoRotate:
      operations.push_back("auto rotate");
      break;
    case NoRotate:
      break;
  }
  if (resize_image_ == PixelResize)
    operations.push_back("resize to " + std::to_string(resize_pixel_width_) + "x" +
                         std::to_string(resize_pixel_height_));
  if (resize_image_ == PercentageResize)
    operations.push_back("resize to " + std::to_string(resize_percent_) + "%");
  std::string text = GetActionName() + " [ ";
  for (size_t i = 0; i < operations.size(); ++i) text += (i == 0 ? "" : ", ") + operations[i];
  if (!operations.empty()) text += " :";
  text += " " + (input_image_ == UseFileSet ? input_fileset_ : input_filename_);
  return text + kFormats[output_format_].suffix + " ]";
}

bool TBVImagesAction::Execute() {
  ImageBatch batch(
      *this,
      ImageBatchSettings{input_image_, input_filename_, input_fileset_, output_location_,
                         output_dir_, output_filename_, output_preserve_dirs_, detailed_output_},
      [this](const std::string& input, const std::string& output_path) {
        return FiddleImage(input, output_path);
      },
      [this](const std::string& output_path) { return DoFailIfAlreadyExists(output_path); });
  return batch.Run();
}

bool TBVImagesAction::DoFailIfAlreadyExists(const std::string& file_name) {
  if (!fail_if_file_exists_in_dir_ || output_location_ != ToNewDir ||
      !platform::FileExists(file_name))
    return false;
  SendMessage("File already exists: " + file_name, stError);
  return true;
}

ImageResult TBVImagesAction::FiddleImage(const std::string& file_name,
                                         const std::string& output_path) const {
  ImageResult result;
  std::vector<ImageLogLine>& log = result.before;
  if (!platform::FileExists(file_name)) {
    log.push_back({"File missing: " + file_name, stError});
    return result;
  }
  log.push_back({"Processing image: " + file_name, stInfo});
  std::unique_ptr<Picture> picture;
  try {
    picture = Picture::Load(file_name);
    Transform(*picture, &log);
  } catch (const PictureError& error) {
    log.push_back({"Error processing image file: " + file_name, stError});
    log.push_back({error.what(), stError});
    return result;
  }
  result.output_path = output_path;
  try {
    result.output_bytes = Encode(*picture, &result.output_path);
  } catch (const PictureError& error) {
    log.push_back({"Error saving image file: " + result.output_path, stError});
    log.push_back({error.what(), stError});
    return result;
  }
  result.ok = true;
  result.write_failure = "Error saving image file: " + result.output_path;
  if (detailed_output_) result.after.push_back({"Saved to " + result.output_path, stSuccess});
  return result;
}

void TBVImagesAction::Transform(Picture& picture, std::vector<ImageLogLine>* log) const {
  if (mirror_image_) {
    picture.Mirror();
    if (detailed_output_) log->push_back({"Mirrored image", stSuccess});
  }
  if (flip_image_) {
    picture.Flip();
    if (detailed_output_) log->push_back({"Flipped image", stSuccess});
  }
  int library_angle = 0;
  std::string shown;
  switch (rotate_image_) {
    case Rotate90:
      library_angle = -90, shown = "90";
      break;
    case Rotate180:
      library_angle = 180, shown = "180";
      break;
    case Rotate270:
      library_angle = 90, shown = "270";
      break;
    case FreeRotate:
      library_angle = 360 - custom_rotate_;
      if (library_angle > 360) library_angle = 360 - library_angle;
      shown = std::to_string(custom_rotate_);
      break;
    case AutoRotate:
      UndoExifOrientation(picture, log);
      break;
    case NoRotate:
      break;
  }
  if (!shown.empty()) {
    picture.Rotate(-library_angle, /*anti_alias=*/true);
    if (detailed_output_) log->push_back({"Rotate image " + shown + " degrees", stSuccess});
  }
  if (resize_image_ != NoResize) Resize(picture, log);
}

void TBVImagesAction::UndoExifOrientation(Picture& picture, std::vector<ImageLogLine>* log) const {
  int orientation = picture.Orientation();
  if (orientation >= 0 && orientation <= 8) {
    const OrientationRow& row = kOrientations[orientation];
    if (row.mirror) picture.Mirror();
    if (row.flip) picture.Flip();
    if (row.library_angle != 0) picture.Rotate(-row.library_angle, /*anti_alias=*/false);
    if (detailed_output_) log->push_back({row.message, stSuccess});
  }
  // Viewers must not turn the saved image a second time.
  picture.SetOrientation(1);
}

void TBVImagesAction::Resize(Picture& picture, std::vector<ImageLogLine>* log) const {
  int width = picture.Width(), height = picture.Height();
  int new_width, new_height;
  if (resize_image_ == PixelResize) {
    if (resize_when_ == ResizeWhenTooBig && width <= resize_pixel_width_ &&
        height <= resize_pixel_height_) {
      log->push_back({"Image not resized because it's already small enough", stInfo});
      return;
    }
    if (resize_when_ == ResizeWhenTooSmall && width >= resize_pixel_width_ &&
        height >= resize_pixel_height_) {
      log->push_back({"Image not resized because it's already big enough", stInfo});
      return;
    }
    new_width = resize_pixel_width_;
    new_height = resize_pixel_height_;
  } else {
    new_width = static_cast<int>(int64_t{width} * resize_percent_ / 100);
    new_height = static_cast<int>(int64_t{height} * resize_percent_ / 100);
  }
  if (maintain_aspect_ratio_ && new_width != -1 && new_height != -1) {
    new_height = -1;
    if (detailed_output_)
      log->push_back(
          {"Maintain aspect ratio, new height will be calculated automatically", stInfo});
  }
  if (detailed_output_)
    log->push_back({"Resize image: New Width: " + std::to_string(new_width) +
                        ", New Height: " + std::to_string(new_height),
                    stSuccess});
  picture.Resize(new_width, new_height, kKernelOfFilter[resize_algorithm_]);
}

std::string TBVImagesAction::Encode(const Picture& picture, std::string* output_path) const {
  const FormatRow& row = kFormats[output_format_];
  if (row.extension != nullptr) *output_path = ChangeFileExt(*output_path, row.extension);
  std::string extension = ExtractFileExt(*output_path);
  PictureFormat format = row.extension != nullptr ? row.format : FormatOfExtension(extension);
  return picture.Encode(format, extension);
}

}  // namespace brivant
