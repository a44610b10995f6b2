#include "actions/iterators/folder_iterator.h"

#include <exception>

#include "actions/iterators/iterator_text.h"
#include "package/exceptions.h"
#include "package/string_utils.h"
#include "platform/file_attributes.h"
#include "platform/find_files.h"

namespace brivant {
namespace {

constexpr const char* kStoppingMessage = "Stopping folder search.";

bool IsDotEntry(std::string_view name) { return name == "." || name == ".."; }

}  // namespace

const PropertyTable& TFolderIterator::Properties() {
  using T = TFolderIterator;
  static const PropertyTable table(
      &TBVBaseIterator::Properties(),
      {
          Property("VariableName", &T::GetVariableName, &T::SetVariableName)
              .TypeName("TVariableName"),
          Property("StartingFolder", &T::starting_folder_),
          Property("Recurse", &T::GetRecurse, &T::SetRecurse).Default("False"),
          Property("IncludeFolderPath", &T::GetIncludeFolderPath, &T::SetIncludeFolderPath)
              .Default("True"),
          Property("IncludeHiddenSystem", &T::include_hidden_system_).Default("False"),
      });
  return table;
}

void TFolderIterator::SetRecurse(bool recurse) {
  recurse_ = recurse;
  if (recurse) include_folder_path_ = true;
}

void TFolderIterator::SetIncludeFolderPath(bool include) {
  include_folder_path_ = include;
  if (!include) recurse_ = false;
}

std::string TFolderIterator::GetFormattedDescription() const {
  return GetActionName() + " [ " + starting_folder_ + " ]";
}

bool TFolderIterator::Validate(IBVActionValidationError& errors) {
  if (!starting_folder_.empty()) return true;
  errors.AddError("Starting Folder", "A starting folder has not been set", 0);
  return false;
}

void TFolderIterator::GetPropertyAlias(TStrings& list) const {
  TBVBaseIterator::GetPropertyAlias(list);
  list.insert(list.end(), {"[Folder Iterator]", "VariableName=Iterator Variable",
                           "StartingFolder=Starting Folder", "Recurse=Recurse",
                           "IncludeFolderPath=Include Folder Path",
                           "IncludeHiddenSystem=Include Hidden and System"});
}

void TFolderIterator::GetPropertyHelp(TStrings& list) const {
  TBVBaseIterator::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"VariableName=The name of the variable to set to the folder name for each iteration",
       "StartingFolder=Enter the root folder to begin the search from.",
       "Recurse=Select recurse to recurse into subfolders.",
       "IncludeFolderPath=If this property is set then the variable will be set to the complete "
       "path to the folder.  Eg. \"c:\\temp\\myfolder\", instead of just the folder name ie "
       "\"myfolder\"",
       "IncludeHiddenSystem=Set this option to also include directories marked with the hidden "
       "and/or system attributes."});
}

void TFolderIterator::StopSignalled() {
  TBVBaseIterator::StopSignalled();
  stop_.store(true, std::memory_order_relaxed);
}

bool TFolderIterator::BeforeFirstIteration() {
  stop_.store(false, std::memory_order_relaxed);
  std::string folder;
  if (!TryExpandExpression("Starting Folder", starting_folder_, folder, true)) return false;
  folder = Trim(folder);
  if (folder.empty()) {
    SendMessage("A starting folder has not been set", stError);
    return false;
  }
  try {
    SendMessage("Searching for Folders...", stInfo);
    folders_.clear();
    if (!folder.empty() && folder.back() != '/') folder += '/';
    // Leaving hidden and system folders out needs each entry's DOS attribute
    // word; one reader for the whole walk reads them cheaply.
    platform::AttributeWordReader reader;
    AddFolders(folder, &reader);
  } catch (const EIteratorException& e) {
    throw EIteratorException(e.what());
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error while searching for folders : ") + e.what());
  }
  StartMessageGroup("Found " + std::to_string(folders_.size()) + " Folders", 0, stInfo);
  // An empty list would only be an empty line in the log.
  if (!folders_.empty()) SendMessage(JoinLines(folders_), stInfo);
  EndMessageGroup();
  SetIterationCount(static_cast<int>(folders_.size()));
  return true;
}

void TFolderIterator::AddFolders(const std::string& folder, platform::AttributeWordReader* reader) {
  const uint32_t mask =
      include_hidden_system_ ? platform::kFindAnyAttribute : platform::kFileAttributeDirectory;
  platform::OsResult<std::vector<platform::FoundEntry>> found =
      platform::FindFiles(folder + "*", mask, platform::FindDetail::kNamesAndKinds, reader);
  // A folder that cannot be read has no subfolders to offer, as with a
  // starting folder that does not exist.
  if (!found.IsOk()) return;
  for (const platform::FoundEntry& entry : found.Value()) {
    if (!entry.IsDirectory() || IsDotEntry(entry.name)) continue;
    if (stop_.load(std::memory_order_relaxed)) throw EIteratorException(kStoppingMessage);
    folders_.push_back(include_folder_path_ ? folder + entry.name : entry.name);
    // A link to a folder is listed but not entered, so a link cycle cannot
    // trap the search.
    if (recurse_ && !entry.IsLink()) AddFolders(folder + entry.name + "/", reader);
  }
}

std::string TFolderIterator::GetCurrentValue() {
  int iteration = GetCurrentIteration();
  if (iteration < 1 || static_cast<size_t>(iteration) > folders_.size()) return {};
  return folders_[static_cast<size_t>(iteration - 1)];
}

void TFolderIterator::AfterLastIteration() {
  TBVBaseIterator::AfterLastIteration();
  folders_.clear();
  stop_.store(false, std::memory_order_relaxed);
}

}  // namespace brivant
