// Text helpers with the behaviour project files and scripts expect from the
// host: its integer and float text forms, file-name parts and case-blind
// comparison. Used by actions and the host alike; all functions are pure and
// thread-safe. Case rules are ASCII only; other bytes compare as they stand.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brivant {

/// Reads a 32-bit integer: optional leading blanks, an optional '+' or '-',
/// then decimal digits, or hexadecimal digits after '$' or "0x". Trailing
/// characters, blanks included, make the text invalid. Decimal values outside
/// the Integer range are rejected; hexadecimal text is a 32-bit pattern, so
/// "$FFFFFFFF" is -1, and more than that is rejected. On failure returns false
/// and leaves *value unchanged.
bool TryStrToInt(std::string_view text, int32_t* value);

/// The host's float text form: up to 15 significant digits without trailing
/// zeros, '.' as decimal point whatever the locale. Decimal exponents below -4
/// or from 15 up use scientific form with an unpadded exponent and a sign only
/// when negative: 1.5E-5, 1E15, 1.23456789012346E17. NaN and infinities read
/// "NAN", "INF" and "-INF".
std::string FloatToStr(double value);

/// Without leading and trailing blanks and control characters (bytes up to ' ').
std::string Trim(std::string_view text);

/// `text` without leading and trailing blanks and control characters, as a
/// view into `text`.
std::string_view TrimView(std::string_view text);

/// Equal when equal after ASCII upper-casing.
bool SameText(std::string_view a, std::string_view b);

/// The text after the last '/', or all of `path` when it has none.
std::string ExtractFileName(std::string_view path);

/// The directory part of `path` with its trailing '/', or "" when it has none.
std::string ExtractFilePath(std::string_view path);

/// The file name's extension from its last '.', dot included: "a/b.tar.gz"
/// gives ".gz", "a.d/b" gives "". A leading dot counts: ".profile" is all
/// extension.
std::string ExtractFileExt(std::string_view path);

/// `path` with its extension (as ExtractFileExt finds it) replaced by
/// `extension`, which should include its dot; appended when there is none.
std::string ChangeFileExt(std::string_view path, std::string_view extension);

/// Every non-overlapping occurrence of `from`, left to right, replaced by `to`.
/// An empty `from` leaves the text unchanged.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);

/// Length of the valid UTF-8 sequence at text[pos], 0 when the byte there
/// does not start one (stray continuation byte, overlong form, surrogate,
/// beyond U+10FFFF, or cut short).
size_t Utf8SequenceLength(std::string_view text, size_t pos);

/// The offset of the first byte that is not part of valid UTF-8, or npos.
size_t FindInvalidUtf8(std::string_view text);

}  // namespace brivant
