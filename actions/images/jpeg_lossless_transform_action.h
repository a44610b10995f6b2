// "JPEG Lossless Transform": flips, transposes or rotates JPEG files without
// decoding them, by a chosen transform or as the file's EXIF orientation
// asks (then resetting the orientation to 1), for one file or a file set, in
// place or into copies. Files are rewritten whole or not at all.
#pragma once

#include <string>

#include "actions/images/image_batch.h"
#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

enum TJpegTransform {
  jptExifAuto = 0,
  jptHorizFlip,
  jptVertFlip,
  jptTranspose,
  jptTransverse,
  jptRotate90,
  jptRotate180,
  jptRotate270
};

template <>
struct EnumTraits<TJpegTransform> {
  static const EnumInfo& Info();
};

class TBVJPEGLosslessTransformAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVJPEGLosslessTransformAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "JPEG Lossless Transform"; }
  std::string GetActionKeywords() const override { return "JPG Rotate EXIF"; }
  std::string GetQuickHelpFilename() const override {
    return "Plugins\\JPEGLosslessTransform.html";
  }
  int GetHelpTopicID() const override { return 6760; }
  std::string GetFormattedDescription() const override;

  // Transforms one file into memory, to be written as `output_path`; safe on
  // a worker thread.
  ImageResult TransformImage(const std::string& file_name, const std::string& output_path) const;

 private:
  TInputImage input_image_ = SingleImage;
  std::string input_filename_;
  std::string input_fileset_;
  TJpegTransform transform_ = jptExifAuto;
  TOutputLocation output_location_ = EditInputImages;
  std::string output_dir_;
  std::string output_filename_;
  bool output_preserve_dirs_ = false;
  bool fail_if_file_exists_in_dir_ = false;
};

}  // namespace brivant
