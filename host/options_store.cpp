#include "host/options_store.h"

#include <cctype>
#include <cerrno>
#include <optional>
#include <string_view>
#include <vector>

#include "package/string_utils.h"
#include "platform/environment.h"
#include "platform/file_system.h"

namespace brivant::host {
namespace {



std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    start = end + 1;
  }
  return lines;
}

// What one line of the file is, as far as the store cares.
struct IniLine {
  enum Kind { kOther, kSection, kValue } kind = kOther;
  std::string_view name;  // section or key
  std::string_view value;
};

IniLine ClassifyLine(std::string_view line) {
  std::string_view text = TrimView(line);
  if (text.empty() || text.front() == ';' || text.front() == '#') return {};
  if (text.front() == '[') {
    size_t close = text.find(']');
    if (close == std::string_view::npos) return {};
    return {IniLine::kSection, TrimView(text.substr(1, close - 1)), {}};
  }
  size_t equals = text.find('=');
  if (equals == std::string_view::npos) return {};
  return {IniLine::kValue, TrimView(text.substr(0, equals)), TrimView(text.substr(equals + 1))};
}

// Where a key sits in the file, or would go.
struct KeyPosition {
  bool section_found = false;
  std::optional<size_t> key_line;
  size_t insert_at = 0;  // after the section's last value line
};

KeyPosition FindKey(const std::vector<std::string>& lines, const std::string& section,
                    const std::string& key) {
  KeyPosition position;
  bool in_section = false;
  for (size_t i = 0; i < lines.size(); ++i) {
    IniLine line = ClassifyLine(lines[i]);
    if (line.kind == IniLine::kSection) {
      // Only the first section of that name counts; a repeat is ignored.
      if (position.section_found && in_section) break;
      in_section = !position.section_found && SameText(line.name, section);
      if (in_section) {
        position.section_found = true;
        position.insert_at = i + 1;
      }
      continue;
    }
    if (!in_section || line.kind != IniLine::kValue) continue;
    position.insert_at = i + 1;
    if (SameText(line.name, key)) {
      position.key_line = i;
      return position;
    }
  }
  return position;
}

std::string ParentDirectory(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {};
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

std::string OptionsFilePath() {
  if (auto explicit_path = platform::GetEnvironmentVariable("BRIVANT_OPTIONS");
      explicit_path && !explicit_path->empty())
    return *explicit_path;
  if (auto config = platform::GetEnvironmentVariable("XDG_CONFIG_HOME"); config && !config->empty())
    return *config + "/brivant/options.ini";
  if (auto home = platform::GetEnvironmentVariable("HOME"); home && !home->empty())
    return *home + "/.config/brivant/options.ini";
  return {};
}

IniOptionsStore::IniOptionsStore(std::string path) : path_(std::move(path)) {}

std::string IniOptionsStore::ReadString(const std::string& options_name, const std::string& key,
                                        const std::string& default_value) {
  if (path_.empty()) return default_value;
  platform::OsResult<std::string> content = platform::ReadFile(path_);
  if (!content.IsOk()) return default_value;
  std::vector<std::string> lines = SplitLines(content.Value());
  KeyPosition position = FindKey(lines, options_name, key);
  if (!position.key_line) return default_value;
  return std::string(ClassifyLine(lines[*position.key_line]).value);
}

bool IniOptionsStore::WriteString(const std::string& options_name, const std::string& key,
                                  const std::string& value, std::string* error) {
  if (path_.empty()) {
    *error = "no options file: none of BRIVANT_OPTIONS, XDG_CONFIG_HOME and HOME is set";
    return false;
  }
  if (value.find_first_of("\r\n") != std::string::npos) {
    *error = "option " + options_name + "." + key + " cannot hold a line break";
    return false;
  }
  std::string old_content;
  platform::OsResult<std::string> content = platform::ReadFile(path_);
  if (content.IsOk()) {
    old_content = std::move(content).Value();
  } else if (content.Error().code != ENOENT) {
    *error = content.Error().Describe();
    return false;
  }
  std::vector<std::string> lines = SplitLines(old_content);
  KeyPosition position = FindKey(lines, options_name, key);
  if (position.key_line) {
    // Keep the key as the file spells it.
    lines[*position.key_line] =
        std::string(ClassifyLine(lines[*position.key_line]).name) + "=" + value;
  } else if (position.section_found) {
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(position.insert_at),
                 key + "=" + value);
  } else {
    if (!lines.empty() && !TrimView(lines.back()).empty()) lines.emplace_back();
    lines.push_back("[" + options_name + "]");
    lines.push_back(key + "=" + value);
  }
  std::string new_content;
  for (const std::string& line : lines) new_content += line + "\n";

  std::string directory = ParentDirectory(path_);
  if (!directory.empty()) {
    if (platform::OsError dir_error = platform::CreateDirectories(directory)) {
      *error = dir_error.Describe();
      return false;
    }
  }
  if (platform::OsError write_error = platform::WriteFileAtomically(path_, new_content)) {
    *error = write_error.Describe();
    return false;
  }
  return true;
}

}  // namespace brivant::host
