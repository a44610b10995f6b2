// "File/Fileset Iterator": a loop whose children run once per file. The files
// come from a file specification (a directory and a mask, optionally searched
// through every subdirectory) or from a project file set. The whole list is
// built and logged before the first iteration; each iteration sets the loop
// variable to one entry. In file-set mode the set can be refreshed after each
// iteration: pending entries that left the set are dropped, new files are
// appended, entries already iterated stay as they were.
//
// StopSignalled may be called from another thread while the list is being
// built; the search then ends at the next directory entry and the loop does
// not run. TCustomFileIterator holds everything; TFileIterator is the
// registered class.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "package/base_iterator.h"
#include "package/property_table.h"

namespace brivant {

class IBVFileSet;

namespace platform {
class AttributeWordReader;
}  // namespace platform

class TCustomFileIterator : public TBVBaseIterator {
 public:
  TCustomFileIterator() = default;
  static const PropertyTable& Properties();

  // False when a stop was signalled during the search. Throws
  // EIteratorException when the list cannot be built.
  bool BeforeFirstIteration() override;
  std::string GetCurrentValue() override;
  // Throws EIteratorException when the refreshed file set cannot be read.
  void AfterEachIteration() override;
  void AfterLastIteration() override;
  void StopSignalled() override;
  void ResetBuildStatus() override;

  std::string GetActionName() const override { return "File/Fileset Iterator"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\FileIterator.html"; }
  int GetHelpTopicID() const override { return 950; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  // The loop variable, kept by the base as BVVariable.
  std::string GetVariableName() const { return GetBVVariable(); }
  void SetVariableName(const std::string& name) { SetBVVariable(name); }
  // A recursive list without paths would be ambiguous, so the two options
  // are coupled: Recurse on forces IncludeFilePath on, and IncludeFilePath
  // off forces Recurse off.
  bool GetRecurse() const { return recurse_; }
  void SetRecurse(bool recurse);
  bool GetIncludeFilePath() const { return include_file_path_; }
  void SetIncludeFilePath(bool include);
  int32_t GetFileCount() const { return static_cast<int32_t>(files_.size()); }
  // The zero-based index of the current entry; -1 before the first iteration.
  int32_t GetFileIndex() const { return GetCurrentIteration() - 1; }

 private:
  enum class FileSetRead { kInitial, kRefresh };

  bool ListFileSpec(const std::string& file_spec);
  bool ListFileSet();
  // Appends the files `file_spec` matches, then those of its subdirectories
  // when recursing. Returns early once a stop is signalled.
  void SearchFiles(const std::string& file_spec, std::string_view strict_extension,
                   platform::AttributeWordReader* reader);
  void AddFound(const std::string& directory, const std::string& name,
                std::string_view strict_extension);
  // Throws EIteratorException for a missing set; refresh failures throw
  // std::runtime_error with the host's reason.
  void ReadFileSet(FileSetRead mode);
  IBVFileSet& FindFileSet();
  std::vector<std::string> CurrentFileSetFiles(IBVFileSet& file_set) const;
  void MergeRefreshedFiles(const std::vector<std::string>& current);
  void LogFileList();
  bool IsStopping() const { return stop_.load(std::memory_order_relaxed); }

  std::string file_spec_;
  bool recurse_ = false;
  std::vector<std::string> files_;
  bool include_file_path_ = true;
  bool find_any_file_ = false;
  bool file_set_refresh_after_each_ = false;
  bool file_set_refresh_before_ = true;
  bool use_file_set_ = false;
  std::string file_set_name_;
  // Written by StopSignalled from the host's stop thread.
  std::atomic<bool> stop_{false};
  bool strict_extension_match_ = false;
};

class TFileIterator : public TCustomFileIterator {
 public:
  static constexpr std::string_view kClassName = "TFileIterator";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
};

}  // namespace brivant
