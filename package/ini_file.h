// TIniFile: a Windows-style INI file, read and edited with the semantics of
// the Windows profile functions. The INI actions, the INI-file iterator and
// the variables save and load actions all go through it, so they agree on
// what a file means.
//
// Reading: section and key names match without regard to case; blanks around
// names and values are ignored; a value in matching double or single quotes
// is read without them; of two equal sections or keys the first wins; a line
// without '=' is no key; lines starting with ';' or '#' are comments. A file
// may be UTF-16 LE or BE with its mark, UTF-8 with its mark, or without a
// mark in the "ANSI" character set (platform::LocaleCharset).
//
// Writing edits in place: only the lines a change concerns are touched; every
// other byte (comments, blank lines, order, line ends, the encoding and its
// mark, a missing final line end) stays as it was. Each change holds the
// file's update lock (platform::FileUpdateLock) from reading to renaming the
// rewritten file over the old one, so concurrent builds lose no update and a
// kill leaves the old or the new file. A new file is ANSI with CR LF.
//
// Every failure (unreadable or invalid file, refused write) throws
// EIniFileError whose text starts with the path. A missing file is not a
// failure: reads give their defaults.
//
// One object is used by one thread. It reads the file on first use and keeps
// the text until its own next write.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "package/text_file.h"

namespace brivant {

class EIniFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Larger files are refused rather than read into memory.
inline constexpr size_t kMaxIniFileBytes = 64u << 20;

class TIniFile {
 public:
  explicit TIniFile(std::string path) : path_(std::move(path)) {}

  const std::string& FileName() const { return path_; }

  /// The value of `key` in `section`, or `default_value` when the file,
  /// section or key is missing.
  std::string ReadString(std::string_view section, std::string_view key,
                         const std::string& default_value);
  /// The value as a 32-bit integer ("0x" or "0X" starts hexadecimal); the
  /// default for a missing key or text that is not an integer.
  int32_t ReadInteger(std::string_view section, std::string_view key, int32_t default_value);
  /// ReadInteger with 0 or 1 for the default, non-zero meaning true.
  bool ReadBool(std::string_view section, std::string_view key, bool default_value);
  bool ValueExists(std::string_view section, std::string_view key);
  /// Section names in file order, each name once (as first written).
  std::vector<std::string> ReadSections();
  /// The keys of `section` as "name=value" lines in file order (values as
  /// ReadString gives them); empty when the section is missing.
  std::vector<std::string> ReadSectionValues(std::string_view section);

  /// Writes or replaces `key=value` in `section`, creating the section and
  /// the file as needed (not the directory).
  void WriteString(std::string_view section, std::string_view key, std::string_view value);
  void WriteInteger(std::string_view section, std::string_view key, int32_t value);
  /// Writes "1" or "0".
  void WriteBool(std::string_view section, std::string_view key, bool value);
  /// Removes every section of that name with its lines. A missing section or
  /// file is left as it is.
  void EraseSection(std::string_view section);

 private:
  struct Content {
    std::string text;  // UTF-8, without the mark
    TEncodingType encoding = etAnsi;
    bool has_mark = false;
    bool exists = false;
  };
  const Content& Loaded();
  Content Load() const;
  // Runs `edit` on a fresh read of the file under its update lock and
  // writes the result when `edit` returns true.
  template <class Edit>
  void Update(Edit edit);
  [[noreturn]] void Fail(const std::string& message) const;

  std::string path_;
  std::optional<Content> content_;
  // The line end of the file as last seen with one, so that a file emptied
  // by erasing its only section keeps its kind of line end.
  std::string line_end_;
};

/// The runtime's Boolean parser: "True"/"False" in any case, or integer text
/// (0 is False). nullopt for anything else.
std::optional<bool> ParseBoolText(std::string_view text);

}  // namespace brivant
