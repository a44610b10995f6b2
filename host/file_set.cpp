#include "host/file_set.h"

#include <algorithm>
#include <filesystem>

#include "platform/directory.h"
#include "platform/file_system.h"

namespace brivant::host {
namespace {

constexpr std::string_view kAnyDepth = "**";

std::vector<std::string_view> SplitSegments(std::string_view path) {
  std::vector<std::string_view> segments;
  size_t start = 0;
  while (start <= path.size()) {
    size_t slash = path.find('/', start);
    size_t end = slash == std::string_view::npos ? path.size() : slash;
    std::string_view segment = path.substr(start, end - start);
    if (!segment.empty() && segment != ".") segments.push_back(segment);
    if (slash == std::string_view::npos) break;
    start = slash + 1;
  }
  return segments;
}

// `*` and `?` within one name. Backtracks only to the last `*`, which is
// enough for a pattern without character classes.
bool MatchesName(std::string_view pattern, std::string_view name) {
  size_t p = 0, n = 0;
  size_t star = std::string_view::npos, star_name = 0;
  while (n < name.size()) {
    if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      star_name = n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++star_name;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

bool MatchesSegments(const std::vector<std::string>& pattern, size_t p,
                     const std::vector<std::string_view>& path, size_t s) {
  if (p == pattern.size()) return s == path.size();
  if (pattern[p] == kAnyDepth) {
    for (size_t skip = s; skip <= path.size(); ++skip) {
      if (MatchesSegments(pattern, p + 1, path, skip)) return true;
    }
    return false;
  }
  if (s == path.size()) return false;
  return MatchesName(pattern[p], path[s]) && MatchesSegments(pattern, p + 1, path, s + 1);
}

// Whether some path strictly below the directory `path` could match.
bool CanMatchBelow(const std::vector<std::string>& pattern, size_t p,
                   const std::vector<std::string_view>& path, size_t s) {
  if (s == path.size()) return p < pattern.size();
  if (p == pattern.size()) return false;
  if (pattern[p] == kAnyDepth) return true;
  return MatchesName(pattern[p], path[s]) && CanMatchBelow(pattern, p + 1, path, s + 1);
}

// An exclude such as "thumbs/**" rules out a whole directory, which then
// need not be read at all.
bool ExcludesEverythingBelow(const std::vector<std::string>& pattern,
                             const std::vector<std::string_view>& directory) {
  if (pattern.empty() || pattern.back() != kAnyDepth) return false;
  std::vector<std::string> prefix(pattern.begin(), pattern.end() - 1);
  return MatchesSegments(prefix, 0, directory, 0);
}

std::vector<std::string> ParsePattern(std::string_view text) {
  std::vector<std::string> pattern;
  for (std::string_view segment : SplitSegments(text)) pattern.emplace_back(segment);
  if (!text.empty() && text.back() == '/') pattern.emplace_back(kAnyDepth);
  return pattern;
}

std::string ResolveBaseDir(const std::string& base_dir, std::string* error) {
  std::string path = base_dir.empty() ? "." : base_dir;
  if (path.front() != '/') {
    platform::OsResult<std::string> current = platform::GetCurrentDirectory();
    if (!current.IsOk()) {
      *error = current.Error().Describe();
      return {};
    }
    path = current.Value() + "/" + path;
  }
  std::string normal = std::filesystem::path(path).lexically_normal().string();
  if (normal.size() > 1 && normal.back() == '/') normal.pop_back();
  return normal;
}

bool IsFile(const platform::DirectoryEntry& entry) {
  return entry.target_type == platform::EntryType::kFile;
}

}  // namespace

std::string CheckFilePattern(std::string_view pattern) {
  if (!pattern.empty() && pattern.front() == '/')
    return "pattern '" + std::string(pattern) + "' must be relative to the file set's BaseDir";
  std::vector<std::string_view> segments = SplitSegments(pattern);
  if (segments.empty()) return "pattern '" + std::string(pattern) + "' names no file";
  for (std::string_view segment : segments) {
    if (segment == "..")
      return "pattern '" + std::string(pattern) +
             "' must not leave the file set's BaseDir with '..'";
  }
  return {};
}

FileSet::FileSet(const FileSetDefinition& definition)
    : name_(definition.name), base_dir_(definition.base_dir) {
  for (const std::string& text : definition.includes) includes_.push_back(ParsePattern(text));
  for (const std::string& text : definition.excludes) excludes_.push_back(ParsePattern(text));
}

std::vector<std::string> FileSet::GetFiles() const {
  if (!evaluated_) {
    std::string ignored;
    Evaluate(&ignored);
  }
  return files_;
}

std::string FileSet::GetBaseDir() const {
  if (evaluated_) return resolved_base_dir_;
  std::string ignored;
  return ResolveBaseDir(base_dir_, &ignored);
}

bool FileSet::Refresh(std::string* error) { return Evaluate(error); }

bool FileSet::Evaluate(std::string* error) const {
  evaluated_ = true;
  files_.clear();
  std::string problem;
  resolved_base_dir_ = ResolveBaseDir(base_dir_, &problem);
  if (resolved_base_dir_.empty()) {
    *error = "file set '" + name_ + "': " + problem;
    return false;
  }
  std::vector<std::string> relative_files;
  platform::OsError walk_error = platform::WalkDirectory(
      resolved_base_dir_,
      [this, &relative_files](const std::string& relative, const platform::DirectoryEntry& entry) {
        std::vector<std::string_view> segments = SplitSegments(relative);
        if (entry.type == platform::EntryType::kDirectory) return IsWorthDescending(segments);
        if (IsFile(entry) && IsIncluded(segments)) relative_files.push_back(relative);
        return false;
      });
  if (walk_error) {
    *error = "file set '" + name_ + "': cannot read " + walk_error.Describe();
    return false;
  }
  files_.reserve(relative_files.size());
  std::string prefix = resolved_base_dir_ == "/" ? "/" : resolved_base_dir_ + "/";
  for (const std::string& relative : relative_files) files_.push_back(prefix + relative);
  std::sort(files_.begin(), files_.end());
  return true;
}

bool FileSet::IsIncluded(const std::vector<std::string_view>& segments) const {
  auto matches = [&segments](const Pattern& pattern) {
    return MatchesSegments(pattern, 0, segments, 0);
  };
  return std::any_of(includes_.begin(), includes_.end(), matches) &&
         std::none_of(excludes_.begin(), excludes_.end(), matches);
}

bool FileSet::IsWorthDescending(const std::vector<std::string_view>& segments) const {
  auto could_match = [&segments](const Pattern& pattern) {
    return CanMatchBelow(pattern, 0, segments, 0);
  };
  auto excludes_all = [&segments](const Pattern& pattern) {
    return ExcludesEverythingBelow(pattern, segments);
  };
  return std::any_of(includes_.begin(), includes_.end(), could_match) &&
         std::none_of(excludes_.begin(), excludes_.end(), excludes_all);
}

}  // namespace brivant::host
