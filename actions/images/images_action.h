// "Image Manipulation": mirrors, flips, rotates and resizes one image or every
// image of a file set, in that order, and saves the result over the input,
// into another directory or under one file name, optionally in another
// format. Outputs are written whole or not at all.
#pragma once

#include <cstdint>
#include <string>

#include "actions/images/image_batch.h"
#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

enum TOutputFormat { ofNoChange = 0, ofGIF, ofJPG, ofBMP, ofPNG, ofPDF, ofTIF };
enum TImageResize { NoResize = 0, PixelResize, PercentageResize };
enum TResizeWhen { ResizeAlways = 0, ResizeWhenTooBig, ResizeWhenTooSmall };
enum TRotateType { NoRotate = 0, Rotate90, Rotate180, Rotate270, FreeRotate, AutoRotate };
enum TResampleFilter {
  rfNone = 0,
  rfTriangle,
  rfHermite,
  rfBell,
  rfBSpline,
  rfLanczos3,
  rfMitchell,
  rfNearest,
  rfLinear,
  rfFastLinear,
  rfBilinear,
  rfBicubic,
  rfProjectBW,
  rfProjectWB
};

template <>
struct EnumTraits<TOutputFormat> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TImageResize> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TResizeWhen> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TRotateType> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TResampleFilter> {
  static const EnumInfo& Info();
};

class Picture;

class TBVImagesAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVImagesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Image Manipulation"; }
  std::string GetActionKeywords() const override {
    return "JPG JPEG BMP TIF PNG GIF Rotate flip mirror resize";
  }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ImageManipulate.html"; }
  int GetHelpTopicID() const override { return 6750; }
  std::string GetFormattedDescription() const override;

  // Processes one image into memory, to be saved as `output_path` (its
  // extension changed to the chosen format's); safe on a worker thread.
  ImageResult FiddleImage(const std::string& file_name, const std::string& output_path) const;
  // True (logged) when an existing output must not be overwritten.
  bool DoFailIfAlreadyExists(const std::string& file_name);

 private:
  void Transform(Picture& picture, std::vector<ImageLogLine>* log) const;
  void UndoExifOrientation(Picture& picture, std::vector<ImageLogLine>* log) const;
  void Resize(Picture& picture, std::vector<ImageLogLine>* log) const;
  // The output name with the chosen format's extension, and the encoding.
  std::string Encode(const Picture& picture, std::string* output_path) const;

  TInputImage input_image_ = SingleImage;
  std::string input_filename_;
  std::string input_fileset_;
  TOutputLocation output_location_ = ToNewDir;
  std::string output_dir_;
  std::string output_filename_;
  bool output_preserve_dirs_ = true;
  TOutputFormat output_format_ = ofNoChange;
  TImageResize resize_image_ = NoResize;
  TResizeWhen resize_when_ = ResizeAlways;
  int32_t resize_pixel_width_ = 640;
  int32_t resize_pixel_height_ = 480;
  int32_t resize_percent_ = 100;
  TResampleFilter resize_algorithm_ = rfBilinear;
  bool maintain_aspect_ratio_ = true;
  TRotateType rotate_image_ = NoRotate;
  int32_t custom_rotate_ = 0;
  bool mirror_image_ = false;
  bool flip_image_ = false;
  bool detailed_output_ = false;
  bool fail_if_file_exists_in_dir_ = true;
};

}  // namespace brivant
