// A project file set: the files under a base directory that match at least
// one include pattern and no exclude pattern. Actions find it through the
// project-object service (kind "FileSetObject") and read its file list.
//
// Patterns are relative to the base directory and use '/' between
// directories: `*` matches any run of characters within one name, `?` one
// character, and a `**` segment any number of directories, none included
// ("**/*.jpg" matches "a.jpg" and "x/y/a.jpg"). A pattern ending in '/'
// stands for everything below that directory. Matching is case-sensitive, as
// Linux file names are, and names starting with '.' are matched like others.
// Only files count (a symbolic link to a file included); the walk does not
// follow links to directories.
//
// Not thread-safe: the build thread owns it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/project.h"
#include "package/action_host.h"

namespace brivant::host {

/// Why an include or exclude pattern cannot be used (an absolute path, a ".."
/// segment, nothing but separators), or "" when it is fine.
std::string CheckFilePattern(std::string_view pattern);

class FileSet : public IBVFileSet {
 public:
  explicit FileSet(const FileSetDefinition& definition);

  const std::string& Name() const { return name_; }

  /// Sorted full paths as of the last evaluation. A set that was never
  /// evaluated evaluates itself first; call Refresh beforehand to learn why
  /// an evaluation failed, since a failed one leaves the list empty.
  std::vector<std::string> GetFiles() const override;
  /// The base directory as an absolute path: the one the last evaluation
  /// used, or before any evaluation the definition's resolved against the
  /// current directory now.
  std::string GetBaseDir() const override;
  /// Walks the base directory again. On failure (the base directory or a
  /// directory below it cannot be read) the list becomes empty, *error names
  /// the set, the directory and the OS reason, and the result is false.
  bool Refresh(std::string* error) override;

 private:
  using Pattern = std::vector<std::string>;  // one entry per path segment

  bool Evaluate(std::string* error) const;
  bool IsIncluded(const std::vector<std::string_view>& segments) const;
  bool IsWorthDescending(const std::vector<std::string_view>& segments) const;

  std::string name_;
  std::string base_dir_;  // as the project wrote it
  std::vector<Pattern> includes_;
  std::vector<Pattern> excludes_;

  // The last evaluation; GetFiles fills it on first use, hence mutable.
  mutable bool evaluated_ = false;
  mutable std::string resolved_base_dir_;
  mutable std::vector<std::string> files_;
};

}  // namespace brivant::host
