#include "actions/files/set_file_attributes_action.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include "actions/files/root_guard.h"
#include "package/command_line_builder.h"
#include "package/file_set_base_action.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/find_files.h"

namespace brivant {
namespace {

constexpr const char* kSucceeded = "Attributes for files successfully changed";
constexpr const char* kFilesChangedGroup = "Files changed";

using enum TAttributeSetting;

uint32_t Apply(TAttributeSetting setting, uint32_t bit, uint32_t attributes) {
  if (setting == asSet) return attributes | bit;
  if (setting == asClear) return attributes & ~bit;
  return attributes;
}

// " ReadOnly:Set", or nothing for an attribute left alone.
std::string DescribeSetting(TAttributeSetting setting, const char* word) {
  if (setting == asNone) return {};
  return std::string(" ") + word + (setting == asSet ? ":Set" : ":Clear");
}

std::vector<platform::FoundEntry> Search(const std::string& spec, uint32_t attribute_mask) {
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      platform::FindFiles(spec, attribute_mask);
  if (!found.IsOk())
    throw EFileAttributeException("could not search " + spec + ": " + found.Error().message);
  return std::move(found).Value();
}

}  // namespace

const EnumInfo& EnumTraits<TAttributeSetting>::Info() {
  static const EnumInfo info{"TAttributeSetting", {"asNone", "asSet", "asClear"}};
  return info;
}

const PropertyTable& TCustomSetFileAttributesAction::Properties() {
  using T = TCustomSetFileAttributesAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileSpec", &T::file_spec_),
          Property("FileSetName", &T::file_set_name_),
          Property("Recurse", &T::recurse_).Default("False"),
          Property("ReadOnly", &T::read_only_).Default("asNone"),
          Property("Archive", &T::archive_).Default("asNone"),
          Property("SystemFile", &T::system_file_).Default("asNone"),
          Property("Hidden", &T::hidden_).Default("asNone"),
          Property("LogAllFiles", &T::log_all_files_).Default("False"),
          Property("FailIfFileNotFound", &T::fail_if_file_not_found_).Default("True"),
          Property("UseFileSet", &T::use_file_set_).Default("False"),
      });
  return table;
}

const PropertyTable& TSetFileAttributesAction::Properties() {
  static const PropertyTable table(&TCustomSetFileAttributesAction::Properties(), {});
  return table;
}

std::string TCustomSetFileAttributesAction::GetFormattedDescription() const {
  return GetActionName() + " [" + (use_file_set_ ? file_set_name_ : file_spec_) + " -" +
         DescribeSetting(read_only_, "ReadOnly") + DescribeSetting(archive_, "Archive") +
         DescribeSetting(system_file_, "System") + DescribeSetting(hidden_, "Hidden") + "]";
}

bool TCustomSetFileAttributesAction::Validate(IBVActionValidationError& errors) {
  bool valid = true;
  if (file_spec_.empty() && !use_file_set_) {
    errors.AddError("File Spec", "The file spec has not been set", 0);
    valid = false;
  }
  if (use_file_set_ && file_set_name_.empty()) {
    errors.AddError("File Set", "The file set has not been set", 0);
    valid = false;
  }
  return valid;
}

void TCustomSetFileAttributesAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(
      list.end(),
      {"[Attributes]", "ReadOnly=Read Only", "SystemFile=System File", "Archive=Archive",
       "Hidden=Hidden File", "Recurse=Recurse Directories", "FileSpec=File Specification",
       "FailIfFileNotFound=Fail if file not found", "[Logging]", "LogAllFiles=Log All Files"});
}

void TCustomSetFileAttributesAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"ReadOnly=Determines what to do to the Read Only flag",
               "SystemFile=Determines what to do to the System File flag",
               "Archive=Determines what to do to the Archive flag",
               "Hidden=Determines what to do to the Hidden flag", "Recurse=Recurse Sub Directories",
               "LogAllFiles=Log All Files processed to the output panel.",
               "FileSpec=The file specification of the files to process. Wildcards (*, ?) may be "
               "used",
               "FailIfFileNotFound=If no files are found specified by the file spec then the "
               "action will fail"});
}

bool TCustomSetFileAttributesAction::Execute() {
  if (read_only_ == asNone && archive_ == asNone && system_file_ == asNone && hidden_ == asNone) {
    SendMessage("No attributes were specified to change.", stError);
    return false;
  }
  return use_file_set_ ? ChangeFileSet() : ChangeFileSpec();
}

bool TCustomSetFileAttributesAction::ChangeFileSpec() {
  std::string spec;
  try {
    spec = StripQuotes(ExpandExpression(file_spec_, true));
  } catch (const std::exception& e) {
    SendMessage(std::string("Error processing File Spec: ") + e.what(), stError);
    return false;
  }
  if (spec.empty()) {
    SendMessage("No file spec was specified.", stError);
    return false;
  }
  if (RefuseRootPath(*this, "FileSpec", file_spec_, spec)) return false;
  SendMessage("File spec: " + spec, stInfo);
  files_found_ = false;
  if (!RunWalk([&] { DoRecursiveAction(spec, recurse_); })) return false;
  if (!files_found_) {
    // Logged as an error even when the run goes on to succeed.
    SendMessage("No files were found matching the file spec.", stError);
    if (fail_if_file_not_found_) return false;
  }
  SendMessage(kSucceeded, stSuccess);
  return true;
}

bool TCustomSetFileAttributesAction::ChangeFileSet() {
  IBVProjectObjectService* objects = GetProjectObjectService();
  auto* file_set = objects == nullptr
                       ? nullptr
                       : dynamic_cast<IBVFileSet*>(objects->FindObject(
                             TFileSetBaseAction::kFileSetObjectKind, file_set_name_));
  // Not caught here: a missing file set is the host's to report.
  if (file_set == nullptr)
    throw EFileAttributeException("FileSet \"" + file_set_name_ + "\" not found.");
  SendMessage("Using FileSet: " + file_set_name_, stInfo);
  const std::vector<std::string> files = file_set->GetFiles();
  bool changed = RunWalk([&] {
    for (const std::string& path : files) {
      // A file gone since the set was evaluated is passed over in silence.
      std::vector<platform::FoundEntry> found = Search(path, platform::kFindAnyAttribute);
      if (!found.empty()) ProcessFile(path, found.front().attributes);
    }
  });
  if (!changed) return false;
  SendMessage(kSucceeded, stSuccess);
  return true;
}

template <class Walk>
bool TCustomSetFileAttributesAction::RunWalk(const Walk& walk) {
  if (log_all_files_) StartMessageGroup(kFilesChangedGroup, 0, stInfo);
  try {
    walk();
  } catch (const EFileAttributeException& e) {
    if (log_all_files_) EndMessageGroup(stInfo);
    SendMessage(e.what(), stError);
    return false;
  } catch (...) {
    if (log_all_files_) EndMessageGroup(stInfo);
    throw;
  }
  if (log_all_files_) EndMessageGroup(stInfo);
  return true;
}

void TCustomSetFileAttributesAction::DoRecursiveAction(const std::string& spec, bool recurse) {
  const std::string directory = ExtractFilePath(spec);  // with its trailing '/'
  const std::string mask = ExtractFileName(spec);
  const std::vector<platform::FoundEntry> entries = Search(spec, platform::kFindAnyAttribute);
  // Without wildcards only the first entry counts, as a single-file lookup.
  const size_t considered =
      platform::HasWildcards(spec) ? entries.size() : std::min<size_t>(entries.size(), 1);
  for (size_t i = 0; i < considered; ++i) {
    if (entries[i].IsDirectory()) continue;
    ProcessFile(directory + entries[i].name, entries[i].attributes);
  }
  if (!recurse) return;
  // The directory mask leaves hidden directories out, as the search always has.
  for (const platform::FoundEntry& entry :
       Search(directory + "*", platform::kFileAttributeDirectory)) {
    if (!entry.IsDirectory() || entry.IsLink() || entry.name == "." || entry.name == "..") continue;
    DoRecursiveAction(directory + entry.name + "/" + mask, true);
  }
}

uint32_t TCustomSetFileAttributesAction::ChangedAttributes(uint32_t attributes) const {
  attributes = Apply(read_only_, platform::kFileAttributeReadOnly, attributes);
  attributes = Apply(archive_, platform::kFileAttributeArchive, attributes);
  attributes = Apply(system_file_, platform::kFileAttributeSystem, attributes);
  return Apply(hidden_, platform::kFileAttributeHidden, attributes);
}

void TCustomSetFileAttributesAction::ProcessFile(const std::string& path, uint32_t attributes) {
  files_found_ = true;
  if (platform::OsError error = platform::SetFileAttributes(path, ChangedAttributes(attributes)))
    throw EFileAttributeException("Error Processing File " + path + ": " + error.message);
  if (log_all_files_) SendMessage("Processed File : " + path, stInfo);
}

}  // namespace brivant
