#include "actions/images/jpeg_lossless_transform_action.h"

#include "actions/images/jpeg_lossless.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

struct TransformRow {
  const char* text;
  int code;  // 0: nothing to do
};

// By TJpegTransform; jptTranspose is the vertical flip's code on purpose,
// as projects written for it expect.
constexpr TransformRow kChosen[] = {
    {"", 0},
    {"flip horizontal (mirror)", 2},
    {"flip vertical", 3},
    {"transpose", 3},
    {"transverse transpose", 5},
    {"rotate 90 deg", 6},
    {"rotate 180 deg", 7},
    {"rotate 270 deg", 8},
};

// By EXIF orientation 0-8.
constexpr TransformRow kByOrientation[] = {
    {"unknown (no orientation informaion in jpg file)", 0},
    {"top left side - no rotation necessary", 0},
    {"top right side - flip horizontal", 2},
    {"bottom right side - rotate 180\u00b0", 7},
    {"bottom left side - flip vertical", 3},
    {"top left side - transpose", 4},
    {"top right side - rotate 90\u00b0", 6},
    {"bottom right side - transverse", 5},
    {"bottom left side - rotate 270\u00b0", 8},
};

}  // namespace

const EnumInfo& EnumTraits<TJpegTransform>::Info() {
  static const EnumInfo info{"TJpegTransform",
                             {"jptExifAuto", "jptHorizFlip", "jptVertFlip", "jptTranspose",
                              "jptTransverse", "jptRotate90", "jptRotate180", "jptRotate270"}};
  return info;
}

const PropertyTable& TBVJPEGLosslessTransformAction::Properties() {
  using T = TBVJPEGLosslessTransformAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("InputImage", &T::input_image_).Default("SingleImage"),
          Property("InputFilename", &T::input_filename_),
          Property("InputFileset", &T::input_fileset_),
          Property("Transform", &T::transform_).Default("jptExifAuto"),
          Property("OutputLocation", &T::output_location_).Default("EditInputImages"),
          Property("OutputDir", &T::output_dir_),
          Property("OutputFilename", &T::output_filename_),
          Property("OutputPreserveDirs", &T::output_preserve_dirs_).Default("False"),
          Property("FailIfFileExistsInDir", &T::fail_if_file_exists_in_dir_).Default("False"),
      });
  return table;
}

std::string TBVJPEGLosslessTransformAction::GetFormattedDescription() const {
  std::string operation = transform_ == jptExifAuto ? "auto EXIF" : kChosen[transform_].text;
  return GetActionName() + " [ " + operation + " : " +
         (input_image_ == UseFileSet ? input_fileset_ : input_filename_) + " ]";
}

bool TBVJPEGLosslessTransformAction::Execute() {
  bool copies = output_location_ != EditInputImages;
  ImageBatch batch(
      *this,
      ImageBatchSettings{input_image_, input_filename_, input_fileset_, output_location_,
                         output_dir_, output_filename_, output_preserve_dirs_,
                         /*detailed_output=*/true},
      [this](const std::string& input, const std::string& output_path) {
        return TransformImage(input, output_path);
      },
      [this, copies](const std::string& output_path) {
        if (!copies || !fail_if_file_exists_in_dir_ || !platform::FileExists(output_path))
          return false;
        SendMessage("Error copying file", stError);
        return true;
      });
  return batch.Run();
}

ImageResult TBVJPEGLosslessTransformAction::TransformImage(const std::string& file_name,
                                                           const std::string& output_path) const {
  ImageResult result;
  if (!platform::FileExists(file_name)) {
    result.before.push_back({"File missing: " + file_name, stError});
    return result;
  }
  bool copies = output_location_ != EditInputImages;
  result.output_path = output_path;
  result.write_failure = copies ? "Error copying file" : "Error saving image file: " + output_path;
  platform::OsResult<std::string> input = platform::ReadFile(file_name);
  if (!input.IsOk()) {
    result.before.push_back(
        {(copies ? "Error copying file: " : "Error reading file: ") + input.Error().Describe(),
         stError});
    return result;
  }
  const std::string& bytes = input.Value();
  bool automatic = transform_ == jptExifAuto;
  TransformRow chosen = kChosen[transform_];
  try {
    if (automatic) chosen = kByOrientation[ReadJpegOrientation(bytes)];
    if (chosen.code != 0) result.output_bytes = TransformJpeg(bytes, chosen.code);
  } catch (const JpegError& error) {
    result.before.push_back({"Error transforming image file: " + file_name, stError});
    result.before.push_back({error.what(), stError});
    return result;
  }
  std::string text = automatic ? std::string("Auto EXIF transform: ") + chosen.text : chosen.text;
  result.ok = true;
  result.after.push_back({"Processed image: " + file_name + ", " + text, stSuccess});
  if (automatic && chosen.code != 0) {
    try {
      result.output_bytes = WithJpegOrientation(*result.output_bytes, 1);
    } catch (const JpegError& error) {
      result.after.push_back(
          {std::string("Error updating EXIF information: ") + error.what(), stError});
      result.ok_after = false;
    }
  }
  if (copies && !result.output_bytes) result.output_bytes = bytes;
  return result;
}

}  // namespace brivant
