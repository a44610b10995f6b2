// Reading text files for the actions that search, replace or iterate over
// their content: the whole file as UTF-8 with its encoding, refusing what
// cannot be text (too large to hold, NUL bytes) with a message that names
// the file, before anything is searched or written.
#pragma once

#include <cstdint>
#include <string>

#include "package/text_file.h"

namespace brivant {

/// The file's text and encoding (TFileReader::LoadFromFile). Fails on a file
/// larger than `max_bytes` and on text with a NUL character, which a text
/// file does not hold and a binary file does.
TextFileResult<TLoadedText> LoadTextFile(const std::string& path, uint64_t max_bytes);

/// The first line break `text` uses (CR LF, LF or CR); LF when it has none.
std::string LineBreakOf(const std::string& text);

/// The text as the host's line list gives it back: each line ends with the
/// text's line break (LineBreakOf), the last one too, so a file keeps its
/// style when it is written again.
std::string AsLineList(const std::string& text);

}  // namespace brivant
