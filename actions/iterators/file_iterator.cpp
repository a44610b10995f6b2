#include "actions/iterators/file_iterator.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "actions/iterators/iterator_text.h"
#include "package/command_line_builder.h"
#include "package/exceptions.h"
#include "package/file_set_base_action.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/find_files.h"

namespace brivant {
namespace {

// Every attribute but DIRECTORY: hidden and system files too, never folders.
constexpr uint32_t kAnyFileMask = 0x1EF;

bool IsDotEntry(std::string_view name) { return name == "." || name == ".."; }

std::vector<platform::FoundEntry> Search(const std::string& file_spec, uint32_t attribute_mask,
                                         platform::FindDetail detail,
                                         platform::AttributeWordReader* reader) {
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      platform::FindFiles(file_spec, attribute_mask, detail, reader);
  if (!found.IsOk()) throw std::runtime_error(found.Error().Describe());
  return std::move(found).Value();
}

}  // namespace

const PropertyTable& TCustomFileIterator::Properties() {
  using T = TCustomFileIterator;
  static const PropertyTable table(
      &TBVBaseIterator::Properties(),
      {
          Property("VariableName", &T::GetVariableName, &T::SetVariableName)
              .TypeName("TVariableName"),
          Property("FileSpec", &T::file_spec_),
          Property("Recurse", &T::GetRecurse, &T::SetRecurse).Default("False"),
          Property("IncludeFilePath", &T::GetIncludeFilePath, &T::SetIncludeFilePath)
              .Default("True"),
          ReadOnlyProperty("FileCount", &T::GetFileCount),
          ReadOnlyProperty("FileIndex", &T::GetFileIndex),
          Property("FindAnyFile", &T::find_any_file_).Default("False"),
          Property("UseFileSet", &T::use_file_set_).Default("False"),
          Property("FileSetName", &T::file_set_name_),
          Property("FileSetRefreshBefore", &T::file_set_refresh_before_).Default("True"),
          Property("FileSetRefreshAfterEach", &T::file_set_refresh_after_each_).Default("False"),
          Property("StrictExtensionMatch", &T::strict_extension_match_).Default("False"),
      });
  return table;
}

const PropertyTable& TFileIterator::Properties() {
  static const PropertyTable table(&TCustomFileIterator::Properties(), {});
  return table;
}

void TCustomFileIterator::SetRecurse(bool recurse) {
  recurse_ = recurse;
  if (recurse) include_file_path_ = true;
}

void TCustomFileIterator::SetIncludeFilePath(bool include) {
  include_file_path_ = include;
  if (!include) recurse_ = false;
}

std::string TCustomFileIterator::GetFormattedDescription() const {
  if (use_file_set_) return "Iterate FileSet [ " + file_set_name_ + " ]";
  return GetActionName() + " [ " + file_spec_ + " ]";
}

bool TCustomFileIterator::Validate(IBVActionValidationError& errors) {
  if (!use_file_set_ && file_spec_.empty()) {
    errors.AddError("File Spec", "File Spec has not been set", 0);
    return false;
  }
  if (use_file_set_ && file_set_name_.empty()) {
    errors.AddError("FileSet", "FileSet name has not been set", 0);
    return false;
  }
  return true;
}

void TCustomFileIterator::GetHiddenProperties(TStrings& list) const {
  TBVBaseIterator::GetHiddenProperties(list);
  list.insert(list.end(), {"FileIndex", "FileCount"});
}

void TCustomFileIterator::GetPropertyAlias(TStrings& list) const {
  TBVBaseIterator::GetPropertyAlias(list);
  list.insert(
      list.end(),
      {"[File Iterator]", "VariableName=Variable Name", "FileSpec=File Spec", "Recurse=Recurse",
       "IncludeFilePath=Include File Path", "FindAnyFile=Find Any File", "UseFileSet=Use FileSet",
       "FileSetName=FileSet Name", "FileSetRefreshBefore=Refresh FileSet Before",
       "FileSetRefreshAfterEach=Refresh FileSet After"});
}

void TCustomFileIterator::GetPropertyHelp(TStrings& list) const {
  TBVBaseIterator::GetPropertyHelp(list);
  list.insert(list.end(),
              {"VariableName=Iterator variable to set",
               "FileSpec=File specification to use to find files (eg. c:\\temp\\*.pdf)",
               "Recurse=Recurse subdirectories",
               "IncludeFilePath=Include the file path when setting the variable",
               "FindAnyFile=Include hidden and system files in the search",
               "UseFileSet=Use a pre-defined FileSet instead of specifying a file specification",
               "FileSetName=The name of the pre-defined FileSet",
               "FileSetRefreshBefore=Refresh the FileSet contents before the first iteration",
               "FileSetRefreshAfterEach=Refresh the FileSet contents after each iteration"});
}

void TCustomFileIterator::StopSignalled() {
  TBVBaseIterator::StopSignalled();
  stop_.store(true, std::memory_order_relaxed);
}

void TCustomFileIterator::ResetBuildStatus() {
  TBVBaseIterator::ResetBuildStatus();
  Reset();
}

bool TCustomFileIterator::BeforeFirstIteration() {
  stop_.store(false, std::memory_order_relaxed);
  std::string file_spec;
  try {
    file_spec = Trim(ExpandExpression(file_spec_, true));
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error Setting File Spec : ") + e.what());
  }
  return use_file_set_ ? ListFileSet() : ListFileSpec(file_spec);
}

bool TCustomFileIterator::ListFileSet() {
  try {
    ReadFileSet(FileSetRead::kInitial);
  } catch (const EIteratorException&) {
    throw;
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error while evaluating fileset : ") + e.what());
  }
  if (IsStopping()) return false;
  StartMessageGroup(
      "FileSet " + file_set_name_ + " contents (" + std::to_string(files_.size()) + " files)", 0,
      stInfo);
  LogFileList();
  EndMessageGroup();
  SetIterationCount(static_cast<int>(files_.size()));
  return true;
}

bool TCustomFileIterator::ListFileSpec(const std::string& file_spec) {
  try {
    SendMessage("Searching for Files...", stInfo);
    files_.clear();
    std::string strict_extension;
    if (strict_extension_match_) strict_extension = ExtractFileExt(ExtractFileName(file_spec));
    // Leaving hidden and system files out needs each file's DOS attribute
    // word; one reader for the whole walk reads them cheaply.
    platform::AttributeWordReader reader;
    SearchFiles(file_spec, strict_extension, &reader);
    if (IsStopping()) return false;
    SendMessage("Found " + std::to_string(files_.size()) + " Files.", stInfo);
    LogFileList();
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error while searching for files : ") + e.what());
  }
  SetIterationCount(static_cast<int>(files_.size()));
  return true;
}

void TCustomFileIterator::LogFileList() {
  // An empty list would only be an empty line in the log.
  if (!files_.empty()) SendMessage(JoinLines(files_), stInfo);
}

void TCustomFileIterator::AddFound(const std::string& directory, const std::string& name,
                                   std::string_view strict_extension) {
  // Without the strict test a mask's extension is a prefix match on Windows
  // (".htm" also finds ".html" through the short name); the test keeps exact
  // extensions only, ignoring case.
  if (strict_extension_match_ && !SameText(ExtractFileExt(name), strict_extension)) return;
  files_.push_back(include_file_path_ ? directory + name : name);
}

void TCustomFileIterator::SearchFiles(const std::string& file_spec,
                                      std::string_view strict_extension,
                                      platform::AttributeWordReader* reader) {
  const std::string directory = ExtractFilePath(file_spec);  // with its trailing '/'
  const std::string mask = ExtractFileName(file_spec);
  const uint32_t file_mask = find_any_file_ ? kAnyFileMask : 0;
  // Only names and kinds matter here, which spares an lstat per file.
  const platform::FindDetail detail = platform::FindDetail::kNamesAndKinds;
  // One listing serves both the files and the subdirectories when the mask
  // has wildcards; a plain name is looked up directly.
  const bool one_listing = recurse_ && platform::HasWildcards(mask);
  const platform::FileMask name_mask(one_listing ? mask : std::string());
  const std::vector<platform::FoundEntry> entries =
      one_listing
          ? Search(directory + "*", file_mask | platform::kFileAttributeDirectory, detail, reader)
          : Search(file_spec, file_mask, detail, reader);
  for (const platform::FoundEntry& entry : entries) {
    if (IsStopping()) return;
    if (entry.IsDirectory() || (one_listing && !name_mask.Matches(entry.name))) continue;
    AddFound(directory, entry.name, strict_extension);
  }
  if (!recurse_) return;
  const std::vector<platform::FoundEntry> folders =
      one_listing
          ? entries
          : Search(directory + "*", file_mask | platform::kFileAttributeDirectory, detail, reader);
  for (const platform::FoundEntry& entry : folders) {
    if (IsStopping()) return;
    // A link to a folder is not followed, so a link cycle cannot trap the search.
    if (!entry.IsDirectory() || entry.IsLink() || IsDotEntry(entry.name)) continue;
    SearchFiles(directory + entry.name + "/" + mask, strict_extension, reader);
  }
}

std::string TCustomFileIterator::GetCurrentValue() {
  size_t index = static_cast<size_t>(GetCurrentIteration() - 1);
  if (GetCurrentIteration() < 1 || index >= files_.size()) return {};
  return StripQuotes(files_[index]);
}

void TCustomFileIterator::AfterEachIteration() {
  TBVBaseIterator::AfterEachIteration();
  if (!file_set_refresh_after_each_) return;
  try {
    ReadFileSet(FileSetRead::kRefresh);
  } catch (const EIteratorException&) {
    throw;
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error while evaluating fileset : ") + e.what());
  }
}

void TCustomFileIterator::AfterLastIteration() {
  TBVBaseIterator::AfterLastIteration();
  if (file_set_refresh_after_each_) {
    SendMessage("Final file list which was iterated (after all intermediate updates):", stInfo);
    LogFileList();
    SendMessage("(" + std::to_string(files_.size()) + " files.)", stInfo);
  }
  files_.clear();
}

IBVFileSet& TCustomFileIterator::FindFileSet() {
  IBVProjectObjectService* objects = GetProjectObjectService();
  auto* file_set = objects == nullptr
                       ? nullptr
                       : dynamic_cast<IBVFileSet*>(objects->FindObject(
                             TFileSetBaseAction::kFileSetObjectKind, file_set_name_));
  if (file_set == nullptr)
    throw EIteratorException("FileSet \"" + file_set_name_ + "\" not found.");
  return *file_set;
}

std::vector<std::string> TCustomFileIterator::CurrentFileSetFiles(IBVFileSet& file_set) const {
  std::vector<std::string> files = file_set.GetFiles();
  if (!include_file_path_) {
    for (std::string& file : files) file = ExtractFileName(file);
  }
  return files;
}

void TCustomFileIterator::ReadFileSet(FileSetRead mode) {
  IBVFileSet& file_set = FindFileSet();
  bool refresh =
      mode == FileSetRead::kInitial ? file_set_refresh_before_ : file_set_refresh_after_each_;
  if (refresh) {
    SendMessage("Refreshing fileset...", stInfo);
    std::string error;
    if (!file_set.Refresh(&error)) throw std::runtime_error(error);
  }
  if (mode == FileSetRead::kInitial) {
    files_ = CurrentFileSetFiles(file_set);
    return;
  }
  MergeRefreshedFiles(CurrentFileSetFiles(file_set));
}

void TCustomFileIterator::MergeRefreshedFiles(const std::vector<std::string>& current) {
  // Entries already iterated stay; only those still to come can leave.
  const size_t first_pending = std::min(files_.size(), static_cast<size_t>(GetCurrentIteration()));
  const std::unordered_set<std::string> in_set(current.begin(), current.end());
  size_t kept = first_pending;
  for (size_t i = first_pending; i < files_.size(); ++i) {
    if (in_set.count(files_[i]) == 0) continue;
    // A string moved onto itself would come out empty.
    if (kept != i) files_[kept] = std::move(files_[i]);
    ++kept;
  }
  const size_t removed = files_.size() - kept;
  files_.resize(kept);
  if (removed > 0)
    SendMessage(std::to_string(removed) + " file(s) no longer appear in the fileset.", stInfo);

  std::unordered_set<std::string> listed(files_.begin(), files_.end());
  size_t added = 0;
  for (const std::string& file : current) {
    if (!listed.insert(file).second) continue;
    files_.push_back(file);
    ++added;
  }
  if (added > 0) SendMessage(std::to_string(added) + " new file(s) found in the fileset.", stInfo);
  SetIterationCount(static_cast<int>(files_.size()));
}

}  // namespace brivant
