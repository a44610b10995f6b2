#include "pages/text_frames.h"

namespace brivant::pages {
namespace {
constexpr std::string_view kFrame = "TFrame";
}

const TBVDesignClass& TReadTextFileIteratorFrame() {
  static const TBVDesignClass frame{
      "TReadTextFileIteratorFrame", kFrame, {"VariableName", "TextFileName"}};
  return frame;
}

const TBVDesignClass& TListIteratorFrame() {
  static const TBVDesignClass frame{
      "TListIteratorFrame", kFrame, {"BVVariable", "ListOfItems", "SkipBlankLines"}};
  return frame;
}

const TBVDesignClass& TListIteratorSeparatorFrame() {
  static const TBVDesignClass frame{
      "TListIteratorSeparatorFrame", kFrame, {"ListSeparator", "SeparatorChar"}};
  return frame;
}

const TBVDesignClass& TfrmTextReplace() {
  static const TBVDesignClass frame{
      "TfrmTextReplace",
      kFrame,
      {"Filename", "NewFileName", "DoReplaceVariables", "DoReplaceText", "SearchText",
       "ReplaceText", "MatchRegularExpression", "CaseSensitive", "WholeWordsOnly", "DoRepeat",
       "FailOnFewReplacements", "FailMinimumCount"}};
  return frame;
}

const TBVDesignClass& TTextFindFrame() {
  static const TBVDesignClass frame{
      "TTextFindFrame",
      kFrame,
      {"UseVariable", "BVVariable", "SourcePath", "UseFileSet", "FileSetName", "SearchString",
       "MatchRegExpr", "CaseSensitive", "WholeWords", "WholeLinesOnly", "MatchWildcards",
       "MatchType"}};
  return frame;
}

const TBVDesignClass& TTextFindReplaceFrame() {
  static const TBVDesignClass frame{
      "TTextFindReplaceFrame",
      kFrame,
      {"ReplacementMode", "ReplacementText", "Substitute", "ExpandVarsWhenReplacing",
       "DestinationFile", "DestinationVariable"}};
  return frame;
}

const TBVDesignClass& TTextFindBehaviourFrame() {
  static const TBVDesignClass frame{"TTextFindBehaviourFrame",
                                    kFrame,
                                    {"TextFindBehaviour", "FailMatchCount", "FailOnMoreMatchCount",
                                     "PutCountIntoVar", "FileSetCountAllMatches"}};
  return frame;
}

const TBVDesignClass& TSortFrame() {
  static const TBVDesignClass frame{
      "TSortFrame",
      kFrame,
      {"UseVariable", "BVVariable", "SourceFile", "SortMethod", "Descending", "CaseSensitive",
       "RemoveDuplicates", "OutputMode", "DestinationVariable", "DestinationFile"}};
  return frame;
}

}  // namespace brivant::pages
