#include "actions/files/concat_action.h"

#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_system.h"
#include "platform/find_files.h"

namespace brivant {

const PropertyTable& TConcatAction::Properties() {
  using T = TConcatAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("SourceFiles", &T::source_files_),
          Property("TargetFile", &T::target_file_),
          Property("Separator", &T::separator_),
          Property("AddLineBreaks", &T::add_line_breaks_).Default("False"),
          Property("AppendToTarget", &T::append_to_target_).Default("False"),
          Property("LogFilesAffected", &T::log_files_affected_).Default("True"),
          ReadOnlyProperty("FilesAffected", &T::GetFilesAffected)
              .Default("0"),
      });
  return table;
}

std::string TConcatAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + target_file_ + " ]";
}

static bool HasSource(const std::vector<std::string>& entries) {
  for (const std::string& entry : entries) {
    if (!TrimView(entry).empty()) return true;
  }
  return false;
}

bool TConcatAction::Validate(IBVActionValidationError& errors) {
  bool has_sources = HasSource(source_files_);
  if (!has_sources) errors.AddError("Source Files", "No source files have been set", 0);
  if (target_file_.empty()) errors.AddError("Target File", "The target file has not been set", 0);
  return has_sources && !target_file_.empty();
}

void TConcatAction::GetHiddenProperties(TStrings& list) const {
  TBVAction::GetHiddenProperties(list);
  list.push_back("FilesAffected");
}

void TConcatAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(
      list.end(),
      {"[Concatenate Files]", "SourceFiles=Source Files", "TargetFile=Target File",
       "Separator=Separator", "AddLineBreaks=End each file with a line break",
       "AppendToTarget=Append to target", "[Logging]", "LogFilesAffected=Log each file affected"});
}

void TConcatAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"SourceFiles=The files to join, one per line, in order. A line may use wildcards "
               "(*, ?) in its last part; its matches are taken in name order",
               "TargetFile=The file that receives the joined content; it is replaced",
               "Separator=Text written between two files",
               "AddLineBreaks=Add a line break after each file that does not end with one",
               "AppendToTarget=Keep the target's content and add the files after it",
               "LogFilesAffected=Logs the full name/path of each file added"});
}

bool TConcatAction::AddMatches(const std::string& file_spec, const std::string& target,
                               std::vector<std::string>* sources) {
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      platform::FindFiles(file_spec, platform::kFindAnyAttribute);
  if (!found.IsOk()) {
    SendMessage("Error searching for: " + file_spec, stError);
    SendMessage("Error reason: " + found.Error().message, stError);
    return false;
  }
  std::string directory = ExtractFilePath(file_spec);
  bool matched = false;
  for (const platform::FoundEntry& entry : found.Value()) {
    if (entry.IsDirectory()) continue;
    std::string path = directory + entry.name;
    // A second run would otherwise take in the first run's output.
    if (path == target) {
      SendMessage("Skipping the target file itself: " + path, stWarning);
      continue;
    }
    matched = true;
    sources->push_back(std::move(path));
  }
  if (!matched) SendMessage("No files match: " + file_spec, stWarning);
  return true;
}

bool TConcatAction::CollectSources(const std::string& target, std::vector<std::string>* sources) {
  for (const std::string& entry : source_files_) {
    if (TrimView(entry).empty()) continue;
    std::string path;
    if (!TryExpandExpression("Source Files", entry, path, true)) return false;
    path = Trim(path);
    if (path.empty()) continue;
    if (platform::HasWildcards(ExtractFileName(path))) {
      if (!AddMatches(path, target, sources)) return false;
      continue;
    }
    if (!platform::FileExists(path)) {
      SendMessage(platform::DirectoryExists(path) ? "Source is a directory, not a file: " + path
                                                  : "Source file not found: " + path,
                  stError);
      return false;
    }
    sources->push_back(path);
  }
  return true;
}

bool TConcatAction::AppendPart(const std::string& path, const std::string& target,
                               const std::string& separator, bool* first,
                               platform::AtomicFileWriter* writer, uint64_t* size) {
  platform::OsError error;
  if (!*first) error = writer->Write(separator);
  if (!error) {
    platform::OsResult<platform::AppendedFile> appended = writer->AppendFile(path);
    if (appended.IsOk()) {
      *size = appended.Value().size;
      if (add_line_breaks_ && *size > 0 && appended.Value().last_byte != '\n')
        error = writer->Write("\n");
    } else {
      error = appended.Error();
    }
  }
  if (error) {
    bool reading = error.path == path && path != target;
    SendMessage((reading ? "Error reading file: " : "Error writing file: ") + error.path, stError);
    SendMessage("Error reason: " + error.message, stError);
    return false;
  }
  *first = false;
  return true;
}

bool TConcatAction::JoinSources(const std::vector<std::string>& sources, const std::string& target,
                                const std::string& separator, platform::AtomicFileWriter* writer) {
  bool first = true;
  if (append_to_target_ && platform::FileExists(target)) {
    uint64_t size = 0;
    if (!AppendPart(target, "", separator, &first, writer, &size)) return false;
    // An empty old target is no part: no separator follows it.
    first = size == 0;
  }
  if (log_files_affected_) StartMessageGroup("Files Concatenated");
  for (const std::string& source : sources) {
    if (IsStopSignalled()) {
      if (log_files_affected_) EndMessageGroup(stError);
      SendMessage("Stopped on request; " + target + " was not changed", stError);
      return false;
    }
    uint64_t size = 0;
    if (!AppendPart(source, target, separator, &first, writer, &size)) {
      if (log_files_affected_) EndMessageGroup(stError);
      return false;
    }
    ++files_affected_;
    if (log_files_affected_)
      SendMessage("Added " + source + " (" + std::to_string(size) + " bytes)", stInfo);
  }
  if (log_files_affected_) EndMessageGroup(stInfo);
  return true;
}

bool TConcatAction::Execute() {
  files_affected_ = 0;
  std::string target;
  if (!TryExpandExpression("Target File", target_file_, target, true)) return false;
  target = Trim(target);
  if (target.empty()) {
    SendMessage("The target file has not been set", stError);
    return false;
  }
  SendMessage("Concatenating files into: " + target, stInfo);
  std::vector<std::string> sources;
  if (!CollectSources(target, &sources)) return false;
  if (sources.empty()) {
    SendMessage("No files to concatenate into " + target, stError);
    return false;
  }
  std::string separator;
  if (!TryExpandExpression("Separator", separator_, separator, false)) return false;

  // Written through a temporary file, so memory stays flat in the sizes and
  // a failure half-way leaves the old target as it was.
  platform::OsResult<platform::AtomicFileWriter> writer = platform::AtomicFileWriter::Begin(target);
  platform::OsError error = writer.IsOk() ? platform::OsError{} : writer.Error();
  if (!error) {
    if (!JoinSources(sources, target, separator, &writer.Value())) {
      files_affected_ = 0;
      return false;
    }
    error = writer.Value().Commit();
  }
  if (error) {
    files_affected_ = 0;
    SendMessage("Error writing file: " + target, stError);
    SendMessage("Error reason: " + error.message, stError);
    return false;
  }
  SendMessage(files_affected_ == 1
                  ? "1 file concatenated into " + target
                  : std::to_string(files_affected_) + " files concatenated into " + target,
              stSuccess);
  return true;
}

}  // namespace brivant
