#include "pages/frames.h"

namespace brivant::pages {
namespace {
constexpr std::string_view kFrame = "TFrame";
}

const TBVDesignClass& TGetDateTimeFrame() {
  static const TBVDesignClass frame{
      "TGetDateTimeFrame",
      kFrame,
      {"BVVariable", "DateFormat", "ForceSeparators", "UseNow", "TheDate", "ManipulationType",
       "ManipulationValue", "ManipulationUnit"}};
  return frame;
}

const TBVDesignClass& TCreateFileFrame() {
  static const TBVDesignClass frame{
      "TCreateFileFrame",
      kFrame,
      {"NewFileName", "OverwriteExisting", "CreateDirectory", "Encoding", "FileContents"}};
  return frame;
}

const TBVDesignClass& TWriteToTextFileFrame() {
  static const TBVDesignClass frame{"TWriteToTextFileFrame",
                                    kFrame,
                                    {"FileName", "CreateIfNotExists", "WriteToPosition",
                                     "IgnoreNoContent", "ExpandVariables", "Encoding",
                                     "NewContent"}};
  return frame;
}

const TBVDesignClass& TReadFileFrame() {
  static const TBVDesignClass frame{
      "TReadFileFrame", kFrame, {"FileName", "BVVariable", "PutContentsInVar", "EscapeVariables"}};
  return frame;
}

const TBVDesignClass& TRandomFrame() {
  static const TBVDesignClass frame{"TRandomFrame", kFrame, {"Variable", "RandInt", "Range"}};
  return frame;
}

}  // namespace brivant::pages
