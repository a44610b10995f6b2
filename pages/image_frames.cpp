#include "pages/image_frames.h"

namespace brivant::pages {
namespace {
constexpr std::string_view kFrame = "TFrame";
}

const TBVDesignClass& TImagesFilesFrame() {
  static const TBVDesignClass frame{
      "TImagesFilesFrame",
      kFrame,
      {"InputImage", "InputFilename", "InputFileset", "DetailedOutput"}};
  return frame;
}

const TBVDesignClass& TImagesOutputFrame() {
  static const TBVDesignClass frame{"TImagesOutputFrame",
                                    kFrame,
                                    {"OutputLocation", "OutputDir", "OutputPreserveDirs",
                                     "FailIfFileExistsInDir", "OutputFilename", "OutputFormat"}};
  return frame;
}

const TBVDesignClass& TImagesRotateFrame() {
  static const TBVDesignClass frame{
      "TImagesRotateFrame", kFrame, {"MirrorImage", "FlipImage", "RotateImage", "CustomRotate"}};
  return frame;
}

const TBVDesignClass& TImagesResizeFrame() {
  static const TBVDesignClass frame{
      "TImagesResizeFrame",
      kFrame,
      {"ResizeImage", "ResizeWhen", "ResizePixelWidth", "ResizePixelHeight", "ResizePercent",
       "MaintainAspectRatio", "ResizeAlgorithm"}};
  return frame;
}

const TBVDesignClass& TJPEGLosslessTransformFilesFrame() {
  static const TBVDesignClass frame{
      "TJPEGLosslessTransformFilesFrame",
      kFrame,
      {"InputImage", "InputFilename", "InputFileset", "OutputLocation", "OutputDir",
       "OutputPreserveDirs", "FailIfFileExistsInDir", "OutputFilename"}};
  return frame;
}

const TBVDesignClass& TJPEGLosslessTransformFrame() {
  static const TBVDesignClass frame{"TJPEGLosslessTransformFrame", kFrame, {"Transform"}};
  return frame;
}

}  // namespace brivant::pages
