#include "actions/files/file_exists_action.h"

#include "package/string_utils.h"
#include "platform/find_files.h"

namespace brivant {
namespace {

bool IsWanted(bool is_directory, TCheckFileType type) {
  switch (type) {
    case cftFile:
      return !is_directory;
    case cftDirectory:
      return is_directory;
    case cftFileOrDirectory:
      break;
  }
  return true;
}

// The nouns of the log lines, by what the check looks for.
struct SoughtNames {
  const char* singular;
  const char* plural;
};

SoughtNames NamesOf(TCheckFileType type) {
  switch (type) {
    case cftFile:
      return {"File", "Files"};
    case cftDirectory:
      return {"Directory", "Directories"};
    case cftFileOrDirectory:
      break;
  }
  return {"File or directory", "Files or directories"};
}

}  // namespace

const EnumInfo& EnumTraits<TCheckFileType>::Info() {
  static const EnumInfo info{"TCheckFileType", {"cftFileOrDirectory", "cftFile", "cftDirectory"}};
  return info;
}

const PropertyTable& TFileExistsAction::Properties() {
  using T = TFileExistsAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileOrDirectory", &T::file_or_directory_),
          Property("CheckType", &T::check_type_).Default("cftFileOrDirectory"),
          Property("CheckNotExists", &T::check_not_exists_).Default("False"),
          Property("ResultVariable", &T::result_variable_).TypeName("TVariableName"),
      });
  return table;
}

std::string TFileExistsAction::GetFormattedDescription() const {
  // The inverted check reads as what it tests, not as its opposite.
  std::string name = check_not_exists_ ? "If File/Folder Does Not Exist" : GetActionName();
  return name + " [ " + file_or_directory_ + " ]";
}

bool TFileExistsAction::Validate(IBVActionValidationError& errors) {
  if (!file_or_directory_.empty()) return true;
  errors.AddError("File or Directory", "The file or directory has not been set", 0);
  return false;
}

void TFileExistsAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[If File/Folder Exists]", "FileOrDirectory=File or Directory",
                           "CheckType=Check For", "CheckNotExists=Check Not Exists",
                           "ResultVariable=Result Variable"});
}

void TFileExistsAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"FileOrDirectory=The file or directory to look for. Wildcards (*, ?) in the last part "
       "look for any matching entry",
       "CheckType=Whether a file, a directory or either one satisfies the check",
       "CheckNotExists=Run the child actions when the file or directory does not exist",
       "ResultVariable=Variable set to True when the file or directory exists, else False"});
}

bool TFileExistsAction::LookForMatches(const std::string& file_spec, bool* exists) {
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      platform::FindFiles(file_spec, platform::kFindAnyAttribute);
  if (!found.IsOk()) {
    SendMessage("Error searching for: " + file_spec, stError);
    SendMessage("Error reason: " + found.Error().message, stError);
    return false;
  }
  int matches = 0;
  for (const platform::FoundEntry& entry : found.Value()) {
    if (entry.name == "." || entry.name == "..") continue;
    if (IsWanted(entry.IsDirectory(), check_type_)) ++matches;
  }
  SendMessage(std::string(NamesOf(check_type_).plural) + " matching " + file_spec + ": " +
                  std::to_string(matches),
              stInfo);
  *exists = matches > 0;
  return true;
}

bool TFileExistsAction::LookFor(const std::string& path, bool* exists) {
  if (platform::HasWildcards(ExtractFileName(path))) return LookForMatches(path, exists);
  bool is_file = platform::FileExists(path);
  bool is_directory = !is_file && platform::DirectoryExists(path);
  *exists = (is_file || is_directory) && IsWanted(is_directory, check_type_);
  if (*exists) {
    SendMessage(std::string(is_file ? "File" : "Directory") + " exists: " + path, stInfo);
    return true;
  }
  std::string line = std::string(NamesOf(check_type_).singular) + " does not exist: " + path;
  // Something is there, but not what was asked for.
  if (is_file || is_directory) line += is_file ? " (it is a file)" : " (it is a directory)";
  SendMessage(line, stInfo);
  return true;
}

bool TFileExistsAction::Execute() {
  condition_met_ = false;
  std::string path;
  if (!TryExpandExpression("File or Directory", file_or_directory_, path, true)) return false;
  path = Trim(path);
  if (path.empty()) {
    SendMessage("The file or directory has not been set", stError);
    return false;
  }
  bool exists = false;
  if (!LookFor(path, &exists)) return false;
  if (!result_variable_.empty()) SetVariable(result_variable_, Variant(exists));
  condition_met_ = exists != check_not_exists_;
  SendMessage(condition_met_ ? "Condition met - running child actions"
                             : "Condition not met - skipping child actions",
              stSuccess);
  return true;
}

void TFileExistsAction::GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) {
  TBVAction::GetNextActionSource(state, next);
  if (state == nssAfterExecute && !condition_met_) next = naSkipChildren;
}

}  // namespace brivant
