#include "actions/values/sort_action.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <exception>
#include <optional>

#include "actions/text/read_text_file_action.h"
#include "actions/text/text_find_action.h"
#include "actions/text/text_source.h"
#include "package/string_utils.h"
#include "package/text_file.h"

namespace brivant {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

char Fold(char c, bool case_sensitive) {
  return case_sensitive ? c : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

int Sign(int value) { return (value > 0) - (value < 0); }

// The line as a number; nullopt when it is not one (blanks around allowed).
std::optional<double> AsNumber(const std::string& line) {
  std::string text = Trim(line);
  if (text.empty()) return std::nullopt;
  char* end = nullptr;
  double value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size()) return std::nullopt;
  return value;
}

struct SourceText {
  std::string text;
  TEncodingType encoding = etAnsi;
};

}  // namespace

int XPSortCompareStrings(std::string_view a, std::string_view b, bool case_sensitive) {
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (IsDigit(a[i]) && IsDigit(b[j])) {
      size_t start_a = i, start_b = j;
      while (start_a < a.size() && a[start_a] == '0') ++start_a;
      while (start_b < b.size() && b[start_b] == '0') ++start_b;
      size_t end_a = start_a, end_b = start_b;
      while (end_a < a.size() && IsDigit(a[end_a])) ++end_a;
      while (end_b < b.size() && IsDigit(b[end_b])) ++end_b;
      // More significant digits is the larger number; equal lengths compare
      // digit by digit.
      if (end_a - start_a != end_b - start_b) return end_a - start_a < end_b - start_b ? -1 : 1;
      int digits = a.substr(start_a, end_a - start_a).compare(b.substr(start_b, end_b - start_b));
      if (digits != 0) return Sign(digits);
      i = end_a;
      j = end_b;
      continue;
    }
    char x = Fold(a[i], case_sensitive), y = Fold(b[j], case_sensitive);
    if (x != y) return static_cast<unsigned char>(x) < static_cast<unsigned char>(y) ? -1 : 1;
    ++i;
    ++j;
  }
  if (i < a.size()) return 1;
  if (j < b.size()) return -1;
  return 0;
}

const EnumInfo& EnumTraits<TBVSortMethod>::Info() {
  static const EnumInfo info{"TBVSortMethod", {"smText", "smNatural", "smNumeric"}};
  return info;
}
const EnumInfo& EnumTraits<TBVSortOutput>::Info() {
  static const EnumInfo info{"TBVSortOutput", {"soSource", "soVariable", "soFile"}};
  return info;
}

const PropertyTable& TBVSortAction::Properties() {
  using T = TBVSortAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("UseVariable", &T::use_variable_).Default("True"),
          Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
          Property("SourceFile", &T::source_file_),
          Property("SortMethod", &T::sort_method_).Default("smText"),
          Property("Descending", &T::descending_).Default("False"),
          Property("CaseSensitive", &T::case_sensitive_).Default("False"),
          Property("RemoveDuplicates", &T::remove_duplicates_).Default("False"),
          Property("OutputMode", &T::output_mode_).Default("soSource"),
          Property("DestinationVariable", &T::destination_variable_).TypeName("TVariableName"),
          Property("DestinationFile", &T::destination_file_),
      });
  return table;
}

std::string TBVSortAction::GetFormattedDescription() const {
  return "Sort Text List [ " + (use_variable_ ? bv_variable_ : ExtractFileName(source_file_)) +
         " ]";
}

bool TBVSortAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  auto require = [&](bool missing, const char* title, const char* message) {
    if (!missing) return;
    errors.AddError(title, message, 0);
    valid = false;
  };
  require(use_variable_ && bv_variable_.empty(), "Variable", "A variable has not been set");
  require(!use_variable_ && source_file_.empty(), "Source File", "A source file has not been set");
  require(output_mode_ == soVariable && destination_variable_.empty(), "Destination Variable",
          "A destination variable has not been set");
  require(output_mode_ == soFile && destination_file_.empty(), "Destination File",
          "A destination file has not been set");
  return valid;
}

void TBVSortAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(
      list.end(),
      {"[Sort Text List]", "UseVariable=Sort a Variable", "BVVariable=Variable",
       "SourceFile=Source File", "SortMethod=Sort Method", "Descending=Descending",
       "CaseSensitive=Case Sensitive", "RemoveDuplicates=Remove Duplicates", "OutputMode=Write To",
       "DestinationVariable=Destination Variable", "DestinationFile=Destination File"});
}

void TBVSortAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"UseVariable=Sort the lines of a variable instead of a text file",
               "BVVariable=The variable whose lines are sorted",
               "SourceFile=The text file whose lines are sorted",
               "SortMethod=Text, natural (numbers inside the text by value) or numeric order",
               "Descending=Sort from the largest to the smallest",
               "CaseSensitive=Upper and lower case letters differ",
               "RemoveDuplicates=Keep only the first of lines that compare equal",
               "OutputMode=Write the sorted lines back to the source, to a variable or to a file",
               "DestinationVariable=The variable that receives the sorted lines",
               "DestinationFile=The file that receives the sorted lines"});
}

int TBVSortAction::Compare(const std::string& a, const std::string& b) const {
  if (sort_method_ == smNatural) return XPSortCompareStrings(a, b, case_sensitive_);
  if (sort_method_ == smNumeric) {
    // Lines that are not numbers come after all numbers, in text order.
    std::optional<double> x = AsNumber(a), y = AsNumber(b);
    if (x && y) return *x < *y ? -1 : (*y < *x ? 1 : 0);
    if (x || y) return x ? -1 : 1;
  }
  size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    char x = Fold(a[i], case_sensitive_), y = Fold(b[i], case_sensitive_);
    if (x != y) return static_cast<unsigned char>(x) < static_cast<unsigned char>(y) ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

void TBVSortAction::SortLines(std::vector<std::string>* lines) const {
  std::stable_sort(lines->begin(), lines->end(),
                   [this](const std::string& a, const std::string& b) {
                     int order = Compare(a, b);
                     return descending_ ? order > 0 : order < 0;
                   });
  if (!remove_duplicates_) return;
  auto last = std::unique(
      lines->begin(), lines->end(),
      [this](const std::string& a, const std::string& b) { return Compare(a, b) == 0; });
  lines->erase(last, lines->end());
}

bool TBVSortAction::Execute() {
  SourceText source;
  std::string source_path;
  if (use_variable_) {
    source.text = GetVariableValue(bv_variable_).ToString();
  } else {
    if (!TryExpandExpression("Source File", source_file_, source_path, true)) return false;
    TextFileResult<TLoadedText> loaded =
        LoadTextFile(source_path, TBVTextFindAction::kMaxFileBytes);
    if (!loaded.IsOk()) {
      SendMessage("Cannot read " + loaded.Error().Describe(), stError);
      return false;
    }
    source.encoding = loaded.Value().encoding;
    source.text = std::move(loaded).Value().text;
  }
  std::vector<std::string> lines = SplitLines(source.text);
  size_t count = lines.size();
  SendMessage("Sorting " + std::to_string(count) + " lines...", stInfo);
  SortLines(&lines);
  std::string line_break = LineBreakOf(source.text);
  bool final_break = source.text.ends_with('\n') || source.text.ends_with('\r');
  std::string sorted;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) sorted += line_break;
    sorted += lines[i];
  }
  if (final_break && !lines.empty()) sorted += line_break;

  bool to_variable = output_mode_ == soVariable || (output_mode_ == soSource && use_variable_);
  if (to_variable) {
    const std::string& name = output_mode_ == soVariable ? destination_variable_ : bv_variable_;
    SetVariable(name, Variant(sorted));
  } else {
    std::string path = source_path;
    if (output_mode_ == soFile &&
        !TryExpandExpression("Destination File", destination_file_, path, true))
      return false;
    TextFileError error =
        TFileWriter::SaveToFile(path, sorted, fwmCreateOrTruncate, source.encoding);
    if (error) {
      SendMessage("Cannot write " + error.Describe(), stError);
      return false;
    }
  }
  std::string removed =
      remove_duplicates_ ? ", " + std::to_string(count - lines.size()) + " duplicates removed" : "";
  SendMessage("Sorted " + std::to_string(count) + " lines" + removed, stSuccess);
  return true;
}

}  // namespace brivant
