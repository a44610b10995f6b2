#include "actions/files/touch_files_action.h"

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "actions/files/root_guard.h"
#include "package/date_time.h"
#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_identity.h"
#include "platform/file_operations.h"
#include "platform/find_files.h"
#include "platform/regional_settings.h"

namespace brivant {
namespace {

// Reads min_digits to max_digits decimal digits at *pos.
bool ReadNumber(std::string_view text, size_t* pos, size_t min_digits, size_t max_digits,
                int* value) {
  size_t start = *pos;
  int number = 0;
  while (*pos < text.size() && *pos - start < max_digits && text[*pos] >= '0' &&
         text[*pos] <= '9') {
    number = number * 10 + (text[*pos] - '0');
    ++*pos;
  }
  if (*pos - start < min_digits) return false;
  *value = number;
  return true;
}

bool ReadChar(std::string_view text, size_t* pos, char wanted) {
  if (*pos >= text.size() || text[*pos] != wanted) return false;
  ++*pos;
  return true;
}

// "yyyy-mm-dd[( |T)hh:nn[:ss]]", with one- or two-digit fields after the
// year; nullopt for anything else, including dates the calendar lacks.
std::optional<platform::LocalTime> ParseDateTime(std::string_view text) {
  text = TrimView(text);
  platform::LocalTime time;
  size_t pos = 0;
  if (!ReadNumber(text, &pos, 4, 4, &time.year) || !ReadChar(text, &pos, '-') ||
      !ReadNumber(text, &pos, 1, 2, &time.month) || !ReadChar(text, &pos, '-') ||
      !ReadNumber(text, &pos, 1, 2, &time.day))
    return std::nullopt;
  if (pos < text.size()) {
    if (!ReadChar(text, &pos, 'T')) {
      if (!ReadChar(text, &pos, ' ')) return std::nullopt;
      while (ReadChar(text, &pos, ' ')) {
      }
    }
    if (!ReadNumber(text, &pos, 1, 2, &time.hour) || !ReadChar(text, &pos, ':') ||
        !ReadNumber(text, &pos, 1, 2, &time.minute))
      return std::nullopt;
    if (ReadChar(text, &pos, ':') && !ReadNumber(text, &pos, 1, 2, &time.second))
      return std::nullopt;
  }
  if (pos != text.size()) return std::nullopt;
  try {
    (void)EncodeDateTime(time.year, time.month, time.day, time.hour, time.minute, time.second, 0);
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
  return time;
}

std::string FormatTime(const platform::LocalTime& time) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day,
                time.hour, time.minute, time.second);
  return text;
}

std::string InvalidDateTimeMessage(std::string_view text) {
  return "Invalid date/time \"" + std::string(text) + "\": expected " +
         std::string(TTouchFilesAction::kDateTimeFormat);
}

// "1 file touched", "2 files touched".
std::string FilesTouched(int32_t count) {
  return count == 1 ? "1 file touched" : std::to_string(count) + " files touched";
}

// Validation can't expand variables, so it checks only literal text.
bool HasVariableReference(std::string_view text) {
  return text.find('%') != std::string_view::npos || text.find("$(") != std::string_view::npos;
}

}  // namespace

const PropertyTable& TTouchFilesAction::Properties() {
  using T = TTouchFilesAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileSpec", &T::file_spec_),
          Property("Recurse", &T::recurse_).Default("False"),
          Property("UseCurrentDateTime", &T::use_current_date_time_).Default("True"),
          Property("DateTimeString", &T::date_time_string_),
          Property("CreateIfMissing", &T::create_if_missing_).Default("False"),
          Property("FailIfZeroFiles", &T::fail_if_zero_files_).Default("True"),
          Property("LogFilesAffected", &T::log_files_affected_).Default("True"),
          ReadOnlyProperty("FilesAffected", &T::GetFilesAffected)
              .Default("0"),
      });
  return table;
}

std::string TTouchFilesAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + file_spec_ + " ]";
}

bool TTouchFilesAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  if (file_spec_.empty()) {
    errors.AddError("File Spec", "The file spec has not been set", 0);
    valid = false;
  }
  if (use_current_date_time_) return valid;
  if (date_time_string_.empty()) {
    errors.AddError("Date/Time", "The date/time has not been set", 0);
    return false;
  }
  if (!HasVariableReference(date_time_string_) && !ParseDateTime(date_time_string_)) {
    errors.AddError("Date/Time", InvalidDateTimeMessage(date_time_string_), 0);
    return false;
  }
  return valid;
}

void TTouchFilesAction::GetHiddenProperties(TStrings& list) const {
  TBVAction::GetHiddenProperties(list);
  list.push_back("FilesAffected");
}

void TTouchFilesAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Touch Files]", "FileSpec=File Specification", "Recurse=Recurse subdirectories",
               "UseCurrentDateTime=Use current date/time", "DateTimeString=Date/Time",
               "CreateIfMissing=Create missing file", "FailIfZeroFiles=Fail if zero files affected",
               "[Logging]", "LogFilesAffected=Log each file affected"});
}

void TTouchFilesAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileSpec=The file specification of the files to touch. Wildcards (*, ?) may be used",
               "Recurse=Touch files in subdirectories also",
               "UseCurrentDateTime=Set the files' date/time to the moment the action runs",
               "DateTimeString=The date/time to set, as yyyy-mm-dd hh:nn:ss (local time)",
               "CreateIfMissing=Create an empty file when the file specification names one file "
               "that does not exist",
               "FailIfZeroFiles=Fail when no file was touched",
               "LogFilesAffected=Logs the full name/path of each file touched"});
}

void TTouchFilesAction::EndGroup(TStatusTag tag) {
  if (!group_open_) return;
  group_open_ = false;
  EndMessageGroup(tag);
}

bool TTouchFilesAction::TimeToSet(platform::LocalTime* time) {
  if (use_current_date_time_) {
    *time = platform::LocalNow();
    return true;
  }
  std::string text;
  if (!TryExpandExpression("Date/Time", date_time_string_, text, true)) return false;
  std::optional<platform::LocalTime> parsed = ParseDateTime(text);
  if (!parsed) {
    SendMessage(InvalidDateTimeMessage(text), stError);
    return false;
  }
  *time = *parsed;
  return true;
}

bool TTouchFilesAction::TouchFile(const std::string& path, const platform::LocalTime& time) {
  if (platform::OsError error = platform::SetLastWriteTime(path, time)) {
    EndGroup(stError);
    SendMessage("Error touching file: " + path, stError);
    SendMessage("Error reason: " + error.message, stError);
    return false;
  }
  ++files_affected_;
  if (log_files_affected_) SendMessage("Touched " + path, stInfo);
  return true;
}

bool TTouchFilesAction::CreateMissingFile(const std::string& path,
                                          const platform::LocalTime& time) {
  if (platform::OsError error =
          platform::WriteFileAtomically(path, "", platform::IfTargetExists::kFail)) {
    EndGroup(stError);
    SendMessage("Error creating file: " + path, stError);
    SendMessage("Error reason: " + error.message, stError);
    return false;
  }
  if (log_files_affected_) SendMessage("Created " + path, stInfo);
  return TouchFile(path, time);
}

bool TTouchFilesAction::TouchMatches(const std::string& file_spec, const platform::LocalTime& time,
                                     bool is_top_level) {
  std::string directory = ExtractFilePath(file_spec);
  std::string mask = ExtractFileName(file_spec);
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      platform::FindFiles(file_spec, platform::kFindAnyAttribute);
  if (!found.IsOk()) {
    EndGroup(stError);
    SendMessage("Error searching for: " + file_spec, stError);
    SendMessage("Error reason: " + found.Error().message, stError);
    return false;
  }
  bool matched = false;
  for (const platform::FoundEntry& entry : found.Value()) {
    if (entry.IsDirectory()) continue;
    matched = true;
    if (!TouchFile(directory + entry.name, time)) return false;
  }
  bool has_wildcards = platform::HasWildcards(mask);
  if (is_top_level && !matched && !has_wildcards && create_if_missing_)
    return CreateMissingFile(file_spec, time);
  if (is_top_level && !matched && !recurse_) {
    EndGroup(stInfo);
    SendMessage("File not found \"" + file_spec + "\"", fail_if_zero_files_ ? stError : stWarning);
  }
  if (!recurse_) return true;

  platform::OsResult<std::vector<platform::FoundEntry>> subdirectories =
      platform::FindFiles(directory + "*", platform::kFindAnyAttribute);
  if (!subdirectories.IsOk()) {
    EndGroup(stError);
    SendMessage("Error searching for: " + directory + "*", stError);
    SendMessage("Error reason: " + subdirectories.Error().message, stError);
    return false;
  }
  for (const platform::FoundEntry& entry : subdirectories.Value()) {
    // A link to a directory is not followed: it could lead out of the tree or loop.
    if (!entry.IsDirectory() || entry.IsLink() || entry.name == "." || entry.name == "..") continue;
    // Nor is another file system entered: it is not part of the tree.
    if (platform::IsMountPoint(directory + entry.name)) {
      SendMessage("Leaving mount point " + directory + entry.name +
                      ": another file system is mounted there",
                  stWarning);
      continue;
    }
    if (!TouchMatches(directory + entry.name + "/" + mask, time, false)) return false;
  }
  return true;
}

bool TTouchFilesAction::Execute() {
  files_affected_ = 0;
  group_open_ = false;
  std::string file_spec;
  if (!TryExpandExpression("File Spec", file_spec_, file_spec, true)) return false;
  file_spec = Trim(file_spec);
  if (file_spec.empty()) {
    SendMessage("The file spec has not been set", stError);
    return false;
  }
  if (RefuseRootPath(*this, "FileSpec", file_spec_, file_spec)) return false;
  platform::LocalTime time;
  if (!TimeToSet(&time)) return false;

  SendMessage("Touching files: " + file_spec + " (" + FormatTime(time) + ")", stInfo);
  if (log_files_affected_) {
    StartMessageGroup("Files Touched");
    group_open_ = true;
  }
  bool result = TouchMatches(file_spec, time, true);
  EndGroup(stInfo);
  if (!result) {
    if (files_affected_ > 0)
      SendMessage(FilesTouched(files_affected_) + " before error occurred", stError);
    return false;
  }
  if (files_affected_ == 0 && fail_if_zero_files_) {
    SendMessage("Failing because zero files touched", stError);
    return false;
  }
  SendMessage(FilesTouched(files_affected_), stSuccess);
  return true;
}

}  // namespace brivant
