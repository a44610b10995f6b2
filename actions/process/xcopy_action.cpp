#include "actions/process/xcopy_action.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "package/command_line_builder.h"
#include "package/string_utils.h"
#include "platform/file_system.h"
#include "platform/system_paths.h"

namespace brivant {
namespace {

constexpr const char* kExcludeFilePrefix = "xcp";

// The description of each copy mode, by ordinal, formatted with source and
// destination.
constexpr const char* kModeTexts[] = {"Copy %s to %s", "Recursive copy %s to %s",
                                      "Test copy %s to %s", "Create dir structure of %s in %s"};

std::string FormatModeText(TBVXCopyMode mode, const std::string& source,
                           const std::string& destination) {
  int index = mode >= mdNormal && mode <= mdDirStructure ? mode : mdNormal;
  std::string text = kModeTexts[index];
  size_t first = text.find("%s");
  text.replace(first, 2, source);
  text.replace(text.find("%s", first + source.size()), 2, destination);
  return text;
}

// "m-d-yyyy": month and day without leading zeros, as the tool reads dates.
std::string ToolDate(TDateTime date) {
  CivilDateTime civil = DecodeDateTime(date);
  char text[32];
  std::snprintf(text, sizeof text, "%d-%d-%04d", civil.month, civil.day, civil.year);
  return text;
}

TDateTime Today() { return TDateTime{std::floor(Now().value)}; }

}  // namespace

const EnumInfo& EnumTraits<TBVXCopyMode>::Info() {
  static const EnumInfo info{"TBVXCopyMode",
                             {"mdNormal", "mdRecursive", "mdTest", "mdDirStructure"}};
  return info;
}

const EnumInfo& EnumTraits<TBVXCopyLogMode>::Info() {
  static const EnumInfo info{"TBVXCopyLogMode", {"logNormal", "logQuiet", "logVerbose"}};
  return info;
}

TBVXCopyAction::TBVXCopyAction() : changed_after_date_(Today()) {}

const PropertyTable& TBVXCopyAction::Properties() {
  using T = TBVXCopyAction;
  static const PropertyTable table(
      &TBVExecuteAbstractAction::Properties(),
      {
          Property("Source", &T::source_),
          Property("Destination", &T::destination_),
          Property("ExcludeFiles", &T::exclude_files_),
          Property("XCopyMode", &T::xcopy_mode_).Default("mdNormal"),
          Property("XCopyLogMode", &T::xcopy_log_mode_).Default("logNormal"),
          Property("OnlyArchiveFiles", &T::only_archive_files_).Default("False"),
          Property("TurnOffArchiveBit", &T::turn_off_archive_bit_).Default("False"),
          Property("CopyHiddenAndSys", &T::copy_hidden_and_sys_).Default("False"),
          Property("OverwriteReadOnly", &T::overwrite_read_only_).Default("False"),
          Property("CopyAttributes", &T::copy_attributes_).Default("False"),
          Property("OnlyFilesThatAlreadyExist", &T::only_files_that_already_exist_)
              .Default("False"),
          Property("CopyUsingShortNames", &T::copy_using_short_names_).Default("False"),
          Property("CopyNetworkedFiles", &T::copy_networked_files_).Default("False"),
          Property("CopyNewerFiles", &T::copy_newer_files_).Default("False"),
          Property("CopyFilesChnagedAfter", &T::copy_files_chnaged_after_).Default("False"),
          Property("Verify", &T::verify_).Default("False"),
          Property("IgnoreErrors", &T::ignore_errors_).Default("False"),
          Property("ChangedAfterDate", &T::changed_after_date_)
              .DynamicDefault("the date the action was created"),
          Property("CopyOwnershipAndACL", &T::copy_ownership_and_acl_).Default("False"),
          Property("CopyFileAuditSettings", &T::copy_file_audit_settings_).Default("False"),
          Property("CopyEncryptedIfNotSupportedInDest",
                   &T::copy_encrypted_if_not_supported_in_dest_)
              .Default("False"),
          Property("CopyEmptyDirectories", &T::copy_empty_directories_).Default("False"),
      });
  return table;
}

std::string TBVXCopyAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + FormatModeText(xcopy_mode_, source_, destination_) + " ]";
}

bool TBVXCopyAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  if (source_.empty()) {
    errors.AddError("Source", "A source must be specified", 0);
    valid = false;
  }
  if (destination_.empty()) {
    errors.AddError("Destination", "A destination must be specified", 0);
    valid = false;
  }
  return valid;
}

void TBVXCopyAction::GetPropertyAlias(TStrings& list) const {
  TBVExecuteAbstractAction::GetPropertyAlias(list);
  list.insert(
      list.end(),
      {"[XCopy]", "Source=Source", "Destination=Destination", "ExcludeFiles=Exclude Files",
       "XCopyMode=Copy Mode", "XCopyLogMode=Log Mode",
       "CopyFilesChnagedAfter=Copy Files Changed After", "ChangedAfterDate=Changed After Date"});
}

std::string TBVXCopyAction::GetExecutable() { return platform::GetSysDirectory() + "/xcopy.exe"; }

std::string TBVXCopyAction::GetStartingDir() {
  std::string source;
  if (!TryExpandExpression("Source", source_, source, false)) return {};
  // A source quoted for its blanks still names its directory.
  return ExtractFilePath(StripQuotes(source));
}

bool TBVXCopyAction::GetCommandLine(ICommandLineBuilder& builder) {
  builder.SetOptions(0);
  std::string source;
  if (!TryExpandExpression("Source", source_, source, true)) return false;
  builder.AddArgument("", source, akSwitch);
  std::string destination;
  if (!TryExpandExpression("Destination", destination_, destination, true)) return false;
  // A trailing separator makes the tool treat the destination as a directory.
  if (destination.empty() || destination.back() != '/') destination += '/';
  builder.AddArgument("", destination, akSwitch);
  builder.AddArgument("/Y", "", akSwitch);
  builder.AddArgument("/I", "", akSwitch);

  exclude_file_name_.clear();
  if (!AddExcludedFiles(builder)) return false;

  if (xcopy_log_mode_ == logQuiet) builder.AddArgument("/Q", "", akSwitch);
  if (xcopy_log_mode_ == logVerbose) builder.AddArgument("/F", "", akSwitch);
  if (xcopy_mode_ == mdRecursive) builder.AddArgument("/S", "", akSwitch);
  if (xcopy_mode_ == mdTest) builder.AddArgument("/L", "", akSwitch);
  if (xcopy_mode_ == mdDirStructure) builder.AddArgument("/T", "", akSwitch);
  if (copy_empty_directories_ && (xcopy_mode_ == mdRecursive || xcopy_mode_ == mdDirStructure))
    builder.AddArgument("/E", "", akSwitch);
  if (only_archive_files_) builder.AddArgument(turn_off_archive_bit_ ? "/M" : "/A", "", akSwitch);

  const std::pair<bool, const char*> switches[] = {
      {copy_hidden_and_sys_, "/H"},  {overwrite_read_only_, "/R"},
      {copy_attributes_, "/K"},      {only_files_that_already_exist_, "/U"},
      {copy_networked_files_, "/Z"}, {verify_, "/V"},
      {ignore_errors_, "/C"},        {copy_newer_files_, "/D"},
  };
  for (const auto& [on, name] : switches) {
    if (on) builder.AddArgument(name, "", akSwitch);
  }
  if (copy_files_chnaged_after_)
    builder.AddArgument("/D:", ToolDate(changed_after_date_), akVerbatim);
  const std::pair<bool, const char*> late_switches[] = {
      {copy_using_short_names_, "/N"},
      {copy_file_audit_settings_, "/X"},
      {copy_encrypted_if_not_supported_in_dest_, "/G"},
      {copy_ownership_and_acl_, "/O"},
  };
  for (const auto& [on, name] : late_switches) {
    if (on) builder.AddArgument(name, "", akSwitch);
  }
  SendMessage("Calling xcopy using command line: " + builder.GetParametersStr(), stInfo);
  return true;
}

bool TBVXCopyAction::AddExcludedFiles(ICommandLineBuilder& builder) {
  std::vector<std::string> entries;
  for (size_t i = 0; i < exclude_files_.size(); ++i) {
    std::string entry;
    if (!TryExpandExpression("Excluded file " + std::to_string(i), exclude_files_[i], entry, false))
      return false;
    if (!entry.empty()) entries.push_back(std::move(entry));
  }
  if (entries.empty()) return true;

  std::string content;
  for (const std::string& entry : entries) content += entry + "\n";
  if (content.find_first_of("*?") != std::string::npos) {
    SendMessage(
        "Warning: Excluded file list contains wildcard characters. XCopy exclude list does not "
        "support wildcards, substring matching only.",
        stWarning);
  }
  // The "/EXCLUDE:" value is not quoted; Linux has no short names to fall
  // back on, so a temporary directory with a blank would split the value.
  platform::OsResult<std::string> file = platform::CreateTemporaryFile(kExcludeFilePrefix, content);
  if (!file.IsOk()) {
    SendMessage("Could not create temporary file for exclude list. " + file.Error().Describe(),
                stError);
    return false;
  }
  exclude_file_name_ = std::move(file).Value();
  builder.AddArgument("/EXCLUDE:", exclude_file_name_, akVerbatim);
  return true;
}

void TBVXCopyAction::DeleteExcludeFile() {
  // A failed delete is not worth failing the copy for.
  if (!exclude_file_name_.empty() && platform::FileExists(exclude_file_name_))
    (void)platform::DeleteFile(exclude_file_name_);
  exclude_file_name_.clear();
}

bool TBVXCopyAction::InterpretResult(int exit_code) {
  bool success = TBVExecuteAbstractAction::InterpretResult(exit_code);
  DeleteExcludeFile();
  return success;
}

void TBVXCopyAction::OnExeNotFound(const std::string& executable) {
  TBVExecuteAbstractAction::OnExeNotFound(executable);
  DeleteExcludeFile();
}

}  // namespace brivant
