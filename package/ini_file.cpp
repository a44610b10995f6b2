#include "package/ini_file.h"

#include <cctype>
#include <cstring>
#include <unordered_set>

#include "package/string_utils.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/file_update_lock.h"

namespace brivant {
namespace {

constexpr std::string_view kDefaultLineEnd = "\r\n";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

// One line of the text, classified. Offsets index the whole text.
struct Line {
  enum Kind { kOther, kSection, kKey };
  Kind kind = kOther;
  size_t begin = 0;        // first byte of the line
  size_t end = 0;          // end of the content, before the line end
  size_t next = 0;         // first byte of the next line
  std::string_view name;   // section or key name, trimmed
  size_t value_begin = 0;  // the trimmed value, quotes included
  size_t value_end = 0;
};

Line ClassifyLine(std::string_view text, size_t begin) {
  Line line;
  line.begin = begin;
  // memchr finds the line end quickly; a lone CR ends a line too.
  const char* nl = static_cast<const char*>(memchr(text.data() + begin, '\n', text.size() - begin));
  size_t end = nl == nullptr ? text.size() : static_cast<size_t>(nl - text.data());
  const void* cr = memchr(text.data() + begin, '\r', end - begin);
  if (cr != nullptr) end = static_cast<size_t>(static_cast<const char*>(cr) - text.data());
  line.end = end;
  if (end < text.size() && text[end] == '\r') {
    line.next = end + 1 < text.size() && text[end + 1] == '\n' ? end + 2 : end + 1;
  } else {
    line.next = end < text.size() ? end + 1 : end;
  }
  std::string_view content = text.substr(begin, end - begin);
  size_t first = 0;
  while (first < content.size() && IsBlank(content[first])) ++first;
  if (first == content.size() || content[first] == ';' || content[first] == '#') return line;
  if (content[first] == '[') {
    std::string_view rest = content.substr(first + 1);
    line.kind = Line::kSection;
    line.name = TrimBlanks(rest.substr(0, rest.find(']')));
    return line;
  }
  size_t equals = content.find('=');
  if (equals == std::string_view::npos) return line;
  line.kind = Line::kKey;
  line.name = TrimBlanks(content.substr(0, equals));
  size_t value_begin = equals + 1;
  while (value_begin < content.size() && IsBlank(content[value_begin])) ++value_begin;
  size_t value_end = content.size();
  while (value_end > value_begin && IsBlank(content[value_end - 1])) --value_end;
  line.value_begin = begin + value_begin;
  line.value_end = begin + value_end;
  return line;
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

std::string_view Unquoted(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

std::string_view ValueOf(std::string_view text, const Line& line) {
  return Unquoted(text.substr(line.value_begin, line.value_end - line.value_begin));
}

// Walks the lines of one text.
class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {}
  bool Next(Line* line) {
    if (pos_ >= text_.size()) return false;
    *line = ClassifyLine(text_, pos_);
    pos_ = line->next;
    return true;
  }

 private:
  std::string_view text_;
  size_t pos_ = 0;
};

// Positions of the first section of that name: its header line and the
// start of the next header (or the end of the text).
struct SectionSpan {
  Line header;
  size_t end = 0;
};

// The start of the first section header line at or after `from`, or npos.
// Only lines whose first non-blank is '[' can be headers, so this jumps
// from one '[' to the next instead of looking at every line: the lookups
// of a large file spend their time here.
size_t NextHeader(std::string_view text, size_t from) {
  for (size_t bracket = text.find('[', from); bracket != std::string_view::npos;
       bracket = text.find('[', bracket + 1)) {
    size_t start = bracket;
    while (start > from && IsBlank(text[start - 1])) --start;
    if (start == 0 || text[start - 1] == '\n' || text[start - 1] == '\r') return start;
  }
  return std::string_view::npos;
}

std::optional<SectionSpan> FindSection(std::string_view text, std::string_view section) {
  for (size_t start = NextHeader(text, 0); start != std::string_view::npos;) {
    Line header = ClassifyLine(text, start);
    start = NextHeader(text, header.next);
    if (!SameText(header.name, section)) continue;
    return SectionSpan{header, start == std::string_view::npos ? text.size() : start};
  }
  return std::nullopt;
}

std::optional<Line> FindKey(std::string_view text, const SectionSpan& span, std::string_view key) {
  std::string_view within = text.substr(0, span.end);
  size_t pos = span.header.next;
  while (pos < span.end) {
    Line line = ClassifyLine(within, pos);
    pos = line.next;
    if (line.kind == Line::kKey && SameText(line.name, key)) return line;
  }
  return std::nullopt;
}

// The first line end of the text; `fallback` when it has none.
std::string_view LineEndOf(std::string_view text, std::string_view fallback) {
  size_t pos = text.find_first_of("\r\n");
  if (pos == std::string_view::npos) return fallback;
  if (text[pos] == '\n') return "\n";
  return pos + 1 < text.size() && text[pos + 1] == '\n' ? "\r\n" : "\r";
}

bool EndsWithLineEnd(std::string_view text) {
  return !text.empty() && (text.back() == '\n' || text.back() == '\r');
}

void CheckName(std::string_view what, std::string_view name) {
  if (TrimBlanks(name).empty()) throw std::invalid_argument(std::string(what) + " name is empty");
  if (name.find_first_of("\r\n") != std::string_view::npos)
    throw std::invalid_argument(std::string(what) + " name '" + std::string(name) +
                                "' holds a line break");
}

// The text with key=value set in section.
std::string SetValue(std::string text, std::string_view section, std::string_view key,
                     std::string_view value, std::string_view eol) {
  std::optional<SectionSpan> span = FindSection(text, section);
  if (!span) {
    if (!text.empty() && !EndsWithLineEnd(text)) text += eol;
    // A blank line sets the new section apart, unless one is there already.
    if (!text.empty() && text != eol && !text.ends_with(std::string(eol) + std::string(eol)))
      text += eol;
    text += "[" + std::string(section) + "]" + std::string(eol);
    text += std::string(key) + "=" + std::string(value) + std::string(eol);
    return text;
  }
  if (std::optional<Line> line = FindKey(text, *span, key)) {
    text.replace(line->value_begin, line->value_end - line->value_begin, value);
    return text;
  }
  // A new key goes after the section's last line that is not blank, so
  // blank lines that set the next section apart stay where they are.
  Line last = span->header;
  for (size_t pos = span->header.next; pos < span->end;) {
    Line line = ClassifyLine(std::string_view(text).substr(0, span->end), pos);
    pos = line.next;
    if (!TrimBlanks(std::string_view(text).substr(line.begin, line.end - line.begin)).empty())
      last = line;
  }
  std::string entry = std::string(key) + "=" + std::string(value);
  if (last.next == last.end) {  // the file's last line, without a line end
    text.insert(last.end, std::string(eol) + entry);
  } else {
    text.insert(last.next, entry + std::string(eol));
  }
  return text;
}

// The text without any section of that name; nullopt when there is none.
std::optional<std::string> WithoutSection(const std::string& text, std::string_view section) {
  std::string result;
  bool skipping = false, found = false;
  size_t kept_from = 0;
  Lines lines(text);
  Line line;
  while (lines.Next(&line)) {
    if (line.kind != Line::kSection) continue;
    bool match = SameText(line.name, section);
    if (match && !skipping) {
      result.append(text, kept_from, line.begin - kept_from);
      found = skipping = true;
    } else if (!match && skipping) {
      kept_from = line.begin;
      skipping = false;
    }
  }
  if (!found) return std::nullopt;
  if (!skipping) result.append(text, kept_from, std::string::npos);
  return result;
}

std::optional<TEncodingType> MarkedEncoding(std::string_view bytes) {
  TEncodingType encoding = DetectEncoding(bytes.substr(0, kEncodingDetectionBytes));
  if (encoding == etAnsi) return std::nullopt;
  return encoding;
}

}  // namespace

std::optional<bool> ParseBoolText(std::string_view text) {
  if (SameText(text, "True")) return true;
  if (SameText(text, "False")) return false;
  int32_t number = 0;
  if (TryStrToInt(text, &number)) return number != 0;
  return std::nullopt;
}

void TIniFile::Fail(const std::string& message) const {
  throw EIniFileError(path_ + ": " + message);
}

TIniFile::Content TIniFile::Load() const {
  Content content;
  const std::string too_large = "file is too large for an INI file (more than " +
                                std::to_string(kMaxIniFileBytes >> 20) + " MiB)";
  // The size first, so that a huge file is refused without reading it; the
  // read is bounded too, for a file that grows in between.
  platform::OsResult<uint64_t> size = platform::GetFileSize(path_);
  if (size.IsOk() && size.Value() > kMaxIniFileBytes) Fail(too_large);
  platform::OsResult<std::string> bytes = platform::ReadFilePrefix(path_, kMaxIniFileBytes + 1);
  if (!bytes.IsOk()) {
    if (bytes.Error().code == ENOENT) return content;
    Fail(bytes.Error().message);
  }
  content.exists = true;
  std::string_view raw = bytes.Value();
  if (raw.size() > kMaxIniFileBytes) Fail(too_large);
  std::optional<TEncodingType> marked = MarkedEncoding(raw);
  content.encoding = marked.value_or(etAnsi);
  content.has_mark = marked.has_value();
  raw.remove_prefix(ByteOrderMark(content.encoding).size());
  TextFileResult<std::string> text = DecodeText(raw, content.encoding);
  if (!text.IsOk()) Fail("not a readable INI file: " + text.Error().message);
  content.text = std::move(text).Value();
  size_t nul = content.text.find('\0');
  if (nul != std::string::npos) {
    Fail("not a text file (NUL character at offset " + std::to_string(nul) + ")");
  }
  return content;
}

const TIniFile::Content& TIniFile::Loaded() {
  if (!content_) content_ = Load();
  return *content_;
}

template <class Edit>
void TIniFile::Update(Edit edit) {
  platform::OsResult<platform::FileUpdateLock> lock = platform::FileUpdateLock::Acquire(path_);
  if (!lock.IsOk()) Fail(lock.Error().Describe());
  Content content = Load();
  line_end_ = LineEndOf(content.text, line_end_.empty() ? kDefaultLineEnd : line_end_);
  if (!edit(&content.text, content.exists)) {
    content_ = std::move(content);
    return;
  }
  TextFileResult<std::string> bytes = EncodeText(content.text, content.encoding, content.has_mark);
  if (!bytes.IsOk()) Fail("cannot write the new text: " + bytes.Error().message);
  if (platform::OsError error = platform::WriteFileAtomically(path_, bytes.Value())) {
    Fail(error.message);
  }
  content.exists = true;
  content_ = std::move(content);
}

std::string TIniFile::ReadString(std::string_view section, std::string_view key,
                                 const std::string& default_value) {
  const std::string& text = Loaded().text;
  std::optional<SectionSpan> span = FindSection(text, section);
  if (!span) return default_value;
  std::optional<Line> line = FindKey(text, *span, key);
  if (!line) return default_value;
  return std::string(ValueOf(text, *line));
}

int32_t TIniFile::ReadInteger(std::string_view section, std::string_view key,
                              int32_t default_value) {
  std::string text = ReadString(section, key, std::string());
  int32_t value = default_value;
  if (!TryStrToInt(text, &value)) return default_value;
  return value;
}

bool TIniFile::ReadBool(std::string_view section, std::string_view key, bool default_value) {
  return ReadInteger(section, key, default_value ? 1 : 0) != 0;
}

bool TIniFile::ValueExists(std::string_view section, std::string_view key) {
  const std::string& text = Loaded().text;
  std::optional<SectionSpan> span = FindSection(text, section);
  return span && FindKey(text, *span, key).has_value();
}

std::vector<std::string> TIniFile::ReadSections() {
  std::vector<std::string> names;
  std::unordered_set<std::string> seen;  // upper-cased, as SameText compares
  std::string_view text = Loaded().text;
  for (size_t start = NextHeader(text, 0); start != std::string_view::npos;) {
    Line line = ClassifyLine(text, start);
    start = NextHeader(text, line.next);
    if (seen.insert(Upper(line.name)).second) names.emplace_back(line.name);
  }
  return names;
}

std::vector<std::string> TIniFile::ReadSectionValues(std::string_view section) {
  std::vector<std::string> entries;
  const std::string& text = Loaded().text;
  std::optional<SectionSpan> span = FindSection(text, section);
  if (!span) return entries;
  std::string_view within = std::string_view(text).substr(0, span->end);
  for (size_t pos = span->header.next; pos < span->end;) {
    Line line = ClassifyLine(within, pos);
    pos = line.next;
    if (line.kind == Line::kKey)
      entries.push_back(std::string(line.name) + "=" + std::string(ValueOf(text, line)));
  }
  return entries;
}

void TIniFile::WriteString(std::string_view section, std::string_view key, std::string_view value) {
  try {
    CheckName("section", section);
    CheckName("key", key);
  } catch (const std::invalid_argument& e) {
    Fail(e.what());
  }
  if (section.find(']') != std::string_view::npos)
    Fail("section name '" + std::string(section) + "' holds ']'");
  // Such a line would read back as a section header or a comment.
  if (key.find('=') != std::string_view::npos ||
      std::string_view("[;#").find(TrimBlanks(key).front()) != std::string_view::npos)
    Fail("key name '" + std::string(key) + "' would not read back as a key");
  if (value.find_first_of("\r\n") != std::string_view::npos)
    Fail("the value of key '" + std::string(key) + "' holds a line break");
  std::string_view trimmed_section = TrimBlanks(section);
  std::string_view trimmed_key = TrimBlanks(key);
  Update([&](std::string* text, bool) {
    *text = SetValue(std::move(*text), trimmed_section, trimmed_key, value, line_end_);
    return true;
  });
}

void TIniFile::WriteInteger(std::string_view section, std::string_view key, int32_t value) {
  WriteString(section, key, std::to_string(value));
}

void TIniFile::WriteBool(std::string_view section, std::string_view key, bool value) {
  WriteString(section, key, value ? "1" : "0");
}

void TIniFile::EraseSection(std::string_view section) {
  Update([&](std::string* text, bool exists) {
    if (!exists) return false;
    std::optional<std::string> rest = WithoutSection(*text, TrimBlanks(section));
    if (!rest) return false;
    *text = std::move(*rest);
    return true;
  });
}

}  // namespace brivant
