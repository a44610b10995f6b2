#include "actions/text/text_source.h"

#include <utility>

#include "actions/text/read_text_file_action.h"
#include "platform/file_operations.h"

namespace brivant {

TextFileResult<TLoadedText> LoadTextFile(const std::string& path, uint64_t max_bytes) {
  platform::OsResult<uint64_t> size = platform::GetFileSize(path);
  if (!size.IsOk()) return TextFileError{path, size.Error().message, size.Error().code};
  if (size.Value() > max_bytes) {
    return TextFileError{path,
                         "the file has " + std::to_string(size.Value()) +
                             " bytes; text files are read whole and may have at most " +
                             std::to_string(max_bytes),
                         0};
  }
  TextFileResult<TLoadedText> loaded = TFileReader::LoadFromFile(path);
  if (!loaded.IsOk()) return loaded;
  size_t nul = loaded.Value().text.find('\0');
  if (nul != std::string::npos) {
    return TextFileError{path,
                         "not a text file: NUL character at text offset " + std::to_string(nul), 0};
  }
  return loaded;
}

std::string LineBreakOf(const std::string& text) {
  size_t first_break = text.find_first_of("\r\n");
  if (first_break == std::string::npos) return "\n";
  return text.compare(first_break, 2, "\r\n") == 0 ? "\r\n" : text.substr(first_break, 1);
}

std::string AsLineList(const std::string& text) {
  std::string line_break = LineBreakOf(text);
  std::string result;
  result.reserve(text.size() + line_break.size());
  for (const std::string& line : SplitLines(text)) {
    result += line;
    result += line_break;
  }
  return result;
}

}  // namespace brivant
