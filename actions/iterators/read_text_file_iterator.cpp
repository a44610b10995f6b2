#include "actions/iterators/read_text_file_iterator.h"

#include "actions/text/read_text_file_action.h"
#include "actions/text/text_find_action.h"
#include "actions/text/text_source.h"
#include "package/exceptions.h"
#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {

const PropertyTable& TReadTextFileIterator::Properties() {
  using T = TReadTextFileIterator;
  static const PropertyTable table(
      &TBVBaseIterator::Properties(),
      {
          Property("VariableName", &T::GetVariableName, &T::SetVariableName)
              .TypeName("TVariableName"),
          Property("TextFileName", &T::text_file_name_),
          ReadOnlyProperty("LineCount", &T::GetLineCount),
          ReadOnlyProperty("LineIndex", &T::GetLineIndex),
      });
  return table;
}

std::string TReadTextFileIterator::GetFormattedDescription() const {
  return GetActionName() + " [ " + ExtractFileName(text_file_name_) + " ]";
}

bool TReadTextFileIterator::Validate(IBVActionValidationError& errors) {
  if (!text_file_name_.empty()) return true;
  errors.AddError("Filename", "A filename has not been set", 0);
  return false;
}

void TReadTextFileIterator::GetHiddenProperties(TStrings& list) const {
  TBVBaseIterator::GetHiddenProperties(list);
  list.insert(list.end(), {"LineIndex", "LineCount", "VariableName"});
}

bool TReadTextFileIterator::BeforeFirstIteration() {
  SendMessage("Reading file...", stInfo);
  lines_.clear();
  std::string path;
  if (!TryExpandExpression("Filename", text_file_name_, path, true)) return false;
  if (!platform::FileExists(path)) {
    SendMessage("File doesn't exist", stError);
    return false;
  }
  TextFileResult<TLoadedText> loaded = LoadTextFile(path, TBVTextFindAction::kMaxFileBytes);
  if (!loaded.IsOk())
    throw EIteratorException("Error while reading file : " + loaded.Error().Describe());
  lines_ = SplitLines(loaded.Value().text);
  SendMessage("File contains " + std::to_string(lines_.size()) + " lines", stInfo);
  SetIterationCount(static_cast<int>(lines_.size()));
  return true;
}

std::string TReadTextFileIterator::GetCurrentValue() {
  int iteration = GetCurrentIteration();
  if (iteration < 1 || static_cast<size_t>(iteration) > lines_.size()) return {};
  return lines_[static_cast<size_t>(iteration - 1)];
}

void TReadTextFileIterator::AfterLastIteration() {
  TBVBaseIterator::AfterLastIteration();
  lines_.clear();
}

}  // namespace brivant
