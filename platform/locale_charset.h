// The character set behind the system's "ANSI" code page, and conversion of
// text between character sets. Text files without a byte-order mark are in
// this character set; the host's text file reader and writer use these to
// turn such files into UTF-8 and back.
//
// Safe to call from several threads, as long as no thread changes the
// environment at the same time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brivant::platform {

/// The character set the "ANSI" code page stands for, spelled the way iconv
/// accepts it ("UTF-8", "ISO-8859-15"). It is the character set of the
/// user's locale (LC_ALL, LC_CTYPE, LANG), read on every call without
/// touching the process's own locale. BRIVANT_ANSI_CHARSET, when set and not
/// empty, takes precedence, so that a build producing files for Windows
/// machines can ask for "WINDOWS-1252" on a UTF-8 system.
///
/// The C/POSIX locale (also what a locale that isn't installed falls back
/// to) only promises ASCII. It counts as UTF-8, a superset, so that a build
/// run without locale settings, as in most containers, still reads and
/// writes non-ASCII text instead of failing on it.
std::string LocaleCharset();

/// True when `charset` is a spelling of UTF-8 ("UTF-8", "utf8", "UTF_8").
bool IsUtf8Charset(std::string_view charset);

/// How a conversion ended.
enum class ConversionOutcome {
  kConverted,
  kUnsupported,      // iconv knows no conversion between the two names
  kInvalidSequence,  // bytes not valid in the source set, or a character the target lacks
  kTruncated,        // the input ends in the middle of a character
};

struct [[nodiscard]] CharsetConversion {
  ConversionOutcome outcome = ConversionOutcome::kConverted;
  std::string output;     // complete only when outcome is kConverted
  size_t stopped_at = 0;  // input offset of the first byte that could not be converted
};

/// Converts `input` from one character set to another. Never substitutes or
/// drops characters: anything that can't be converted exactly stops the
/// conversion and is reported with its offset.
CharsetConversion ConvertCharset(std::string_view input, const std::string& from_charset,
                                 const std::string& to_charset);

}  // namespace brivant::platform
