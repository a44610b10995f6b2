#include "package/text_file.h"

#include <cstdio>
#include <cstring>

#include "platform/file_system.h"
#include "platform/locale_charset.h"

namespace brivant {
namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LeBom = "\xFF\xFE";
constexpr std::string_view kUtf16BeBom = "\xFE\xFF";

TEncodingType Normalized(TEncodingType encoding) {
  switch (encoding) {
    case etUTF8:
    case etUTF16LE:
    case etUTF16BE:
      return encoding;
    default:
      return etAnsi;
  }
}

TextFileError ContentError(std::string message) {
  return TextFileError{std::string(), std::move(message), 0};
}

TextFileError InvalidInput(size_t offset) {
  return ContentError("text to write is not valid UTF-8 at byte offset " + std::to_string(offset));
}

TextFileError FromOsError(const platform::OsError& error) {
  return TextFileError{error.path, error.message, error.code};
}

std::string Hex(uint32_t value, int digits) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%0*X", digits, static_cast<unsigned>(value));
  return buffer;
}

// Decodes the character at *pos and moves past it. False, with *pos
// unchanged, on a sequence that is not well-formed UTF-8 (Unicode 15,
// table 3-7): overlong forms, surrogates and values past U+10FFFF included.
bool ReadUtf8(std::string_view text, size_t* pos, char32_t* code_point) {
  auto byte_at = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char lead = byte_at(*pos);
  if (lead < 0x80) {
    *code_point = lead;
    ++*pos;
    return true;
  }
  size_t length = 0;
  char32_t value = 0;
  unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    value = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    value = lead & 0x0F;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    value = lead & 0x07;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return false;
  }
  if (text.size() - *pos < length) return false;
  for (size_t i = 1; i < length; ++i) {
    unsigned char next = byte_at(*pos + i);
    if (next < low || next > high) return false;
    low = 0x80;
    high = 0xBF;
    value = (value << 6) | (next & 0x3F);
  }
  *pos += length;
  *code_point = value;
  return true;
}

// Offset of the first byte that is not part of well-formed UTF-8, or npos.
// The offset of the first byte at or after `pos` that is not ASCII. Most
// text is mostly ASCII, so eight bytes are tested at a time.
size_t SkipAscii(std::string_view text, size_t pos) {
  constexpr uint64_t kHighBits = 0x8080808080808080;
  while (text.size() - pos >= 8) {
    uint64_t chunk;
    std::memcpy(&chunk, text.data() + pos, sizeof chunk);
    if (chunk & kHighBits) break;
    pos += 8;
  }
  while (pos < text.size() && static_cast<unsigned char>(text[pos]) < 0x80) ++pos;
  return pos;
}

// Offset of the first byte that is not part of well-formed UTF-8, or npos.
size_t FindInvalidUtf8(std::string_view text) {
  char32_t ignored;
  for (size_t pos = SkipAscii(text, 0); pos < text.size(); pos = SkipAscii(text, pos)) {
    if (!ReadUtf8(text, &pos, &ignored)) return pos;
  }
  return std::string_view::npos;
}

// The writers below fill a buffer sized for the worst case through a
// pointer; appending byte by byte was the larger part of converting.
char* PutUtf8(char32_t code_point, char* out) {
  if (code_point < 0x80) {
    *out++ = static_cast<char>(code_point);
  } else if (code_point < 0x800) {
    *out++ = static_cast<char>(0xC0 | (code_point >> 6));
    *out++ = static_cast<char>(0x80 | (code_point & 0x3F));
  } else if (code_point < 0x10000) {
    *out++ = static_cast<char>(0xE0 | (code_point >> 12));
    *out++ = static_cast<char>(0x80 | ((code_point >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (code_point & 0x3F));
  } else {
    *out++ = static_cast<char>(0xF0 | (code_point >> 18));
    *out++ = static_cast<char>(0x80 | ((code_point >> 12) & 0x3F));
    *out++ = static_cast<char>(0x80 | ((code_point >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (code_point & 0x3F));
  }
  return out;
}

char* PutUtf16Unit(char16_t unit, bool big_endian, char* out) {
  char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
  *out++ = big_endian ? high : low;
  *out++ = big_endian ? low : high;
  return out;
}

char16_t Utf16UnitAt(std::string_view bytes, size_t pos, bool big_endian) {
  auto first = static_cast<unsigned char>(bytes[pos]);
  auto second = static_cast<unsigned char>(bytes[pos + 1]);
  return static_cast<char16_t>(big_endian ? (first << 8) | second : (second << 8) | first);
}

std::string_view Utf16Name(bool big_endian) { return big_endian ? "UTF-16BE" : "UTF-16LE"; }

TextFileResult<std::string> EncodeUtf16(std::string_view utf8, bool big_endian) {
  // Every UTF-8 sequence of n bytes becomes at most 2n bytes of UTF-16.
  std::string out(utf8.size() * 2, '\0');
  char* end = out.data();
  size_t pos = 0;
  while (pos < utf8.size()) {
    char32_t code_point;
    if (!ReadUtf8(utf8, &pos, &code_point)) return InvalidInput(pos);
    if (code_point < 0x10000) {
      end = PutUtf16Unit(static_cast<char16_t>(code_point), big_endian, end);
      continue;
    }
    code_point -= 0x10000;
    end = PutUtf16Unit(static_cast<char16_t>(0xD800 + (code_point >> 10)), big_endian, end);
    end = PutUtf16Unit(static_cast<char16_t>(0xDC00 + (code_point & 0x3FF)), big_endian, end);
  }
  out.resize(static_cast<size_t>(end - out.data()));
  return out;
}

// `base` is the offset of `bytes` within the file, so that errors point
// at the file's own bytes.
TextFileResult<std::string> DecodeUtf16(std::string_view bytes, bool big_endian, size_t base) {
  if (bytes.size() % 2 != 0) {
    return ContentError("invalid " + std::string(Utf16Name(big_endian)) +
                        ": odd number of bytes (" + std::to_string(base + bytes.size()) + ")");
  }
  // A unit becomes at most three bytes of UTF-8, a surrogate pair four.
  std::string out(bytes.size() / 2 * 3, '\0');
  char* end = out.data();
  for (size_t pos = 0; pos < bytes.size(); pos += 2) {
    char16_t unit = Utf16UnitAt(bytes, pos, big_endian);
    if (unit < 0xD800 || unit > 0xDFFF) {
      end = PutUtf8(unit, end);
      continue;
    }
    char16_t next = pos + 2 < bytes.size() ? Utf16UnitAt(bytes, pos + 2, big_endian) : 0;
    if (unit >= 0xDC00 || next < 0xDC00 || next > 0xDFFF) {
      return ContentError("invalid " + std::string(Utf16Name(big_endian)) +
                          ": unpaired surrogate " + Hex(unit, 4) + " at byte offset " +
                          std::to_string(base + pos));
    }
    end = PutUtf8(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), end);
    pos += 2;
  }
  out.resize(static_cast<size_t>(end - out.data()));
  return out;
}

// UTF-8 on disk is the text itself: validated, the mark cut off, and the
// buffer handed back, so that a large file is not copied once more.
// `what` names the encoding in the message: "UTF-8", "ANSI text (UTF-8)".
TextFileResult<std::string> CheckedUtf8(std::string bytes, size_t skip, const std::string& what) {
  size_t bad = FindInvalidUtf8(std::string_view(bytes).substr(skip));
  if (bad != std::string_view::npos) {
    return ContentError("invalid " + what + " at byte offset " + std::to_string(skip + bad));
  }
  bytes.erase(0, skip);
  return bytes;
}

std::string AnsiText(const std::string& charset) { return "ANSI text (" + charset + ")"; }

std::string UnknownCharset(const std::string& charset) {
  return "unknown character set '" + charset + "' for ANSI text";
}

TextFileResult<std::string> EncodeAnsi(const std::string& utf8) {
  size_t bad = FindInvalidUtf8(utf8);
  if (bad != std::string_view::npos) return InvalidInput(bad);
  std::string charset = platform::LocaleCharset();
  if (platform::IsUtf8Charset(charset)) return utf8;
  platform::CharsetConversion converted = platform::ConvertCharset(utf8, "UTF-8", charset);
  switch (converted.outcome) {
    case platform::ConversionOutcome::kConverted:
      return std::move(converted.output);
    case platform::ConversionOutcome::kUnsupported:
      return ContentError(UnknownCharset(charset));
    default:
      break;
  }
  size_t pos = converted.stopped_at;
  char32_t code_point = 0;
  if (pos >= utf8.size() || !ReadUtf8(utf8, &pos, &code_point)) {
    return ContentError("text cannot be converted to " + AnsiText(charset));
  }
  return ContentError("character U+" + Hex(code_point, 4) + " at byte offset " +
                      std::to_string(converted.stopped_at) +
                      " has no equivalent in the ANSI character set " + charset);
}

TextFileResult<std::string> DecodeAnsi(std::string bytes, size_t skip) {
  std::string charset = platform::LocaleCharset();
  if (platform::IsUtf8Charset(charset)) {
    return CheckedUtf8(std::move(bytes), skip, AnsiText(charset));
  }
  platform::CharsetConversion converted =
      platform::ConvertCharset(std::string_view(bytes).substr(skip), charset, "UTF-8");
  std::string offset = std::to_string(skip + converted.stopped_at);
  switch (converted.outcome) {
    case platform::ConversionOutcome::kConverted:
      return std::move(converted.output);
    case platform::ConversionOutcome::kUnsupported:
      return ContentError(UnknownCharset(charset));
    case platform::ConversionOutcome::kTruncated:
      return ContentError("incomplete character at the end of " + AnsiText(charset) +
                          " at byte offset " + offset);
    case platform::ConversionOutcome::kInvalidSequence:
      break;
  }
  return ContentError("invalid " + AnsiText(charset) + " at byte offset " + offset);
}

// The text of `bytes` from offset `skip` on (what comes before is a
// byte-order mark); error offsets count from the start of `bytes`.
TextFileResult<std::string> DecodeFrom(std::string bytes, size_t skip, TEncodingType encoding) {
  std::string_view text = std::string_view(bytes).substr(skip);
  switch (Normalized(encoding)) {
    case etUTF8:
      return CheckedUtf8(std::move(bytes), skip, "UTF-8");
    case etUTF16LE:
      return DecodeUtf16(text, /*big_endian=*/false, skip);
    case etUTF16BE:
      return DecodeUtf16(text, /*big_endian=*/true, skip);
    default:
      return DecodeAnsi(std::move(bytes), skip);
  }
}

// Reads a file's bytes as `encoding`, skipping that encoding's mark.
TextFileResult<std::string> LoadAs(const std::string& path, std::string bytes,
                                   TEncodingType encoding) {
  std::string_view bom = ByteOrderMark(encoding);
  size_t skip = !bom.empty() && bytes.starts_with(bom) ? bom.size() : 0;
  TextFileResult<std::string> text = DecodeFrom(std::move(bytes), skip, encoding);
  if (text.IsOk()) return text;
  TextFileError error = text.Error();
  error.path = path;
  return error;
}

}  // namespace

size_t FirstInvalidUtf8(std::string_view text) { return FindInvalidUtf8(text); }

std::string TextFileError::Describe() const {
  if (path.empty()) return message;
  return path + ": " + message;
}

TEncodingType DetectEncoding(std::string_view first_bytes) {
  if (first_bytes.starts_with(kUtf8Bom)) return etUTF8;
  if (first_bytes.starts_with(kUtf16LeBom)) return etUTF16LE;
  if (first_bytes.starts_with(kUtf16BeBom)) return etUTF16BE;
  return etAnsi;
}

std::string_view ByteOrderMark(TEncodingType encoding) {
  switch (Normalized(encoding)) {
    case etUTF8:
      return kUtf8Bom;
    case etUTF16LE:
      return kUtf16LeBom;
    case etUTF16BE:
      return kUtf16BeBom;
    default:
      return {};
  }
}

TextFileResult<std::string> EncodeText(const std::string& utf8, TEncodingType encoding,
                                       bool with_bom) {
  TextFileResult<std::string> body = [&]() -> TextFileResult<std::string> {
    switch (Normalized(encoding)) {
      case etUTF8: {
        size_t bad = FindInvalidUtf8(utf8);
        if (bad != std::string_view::npos) return InvalidInput(bad);
        return utf8;
      }
      case etUTF16LE:
        return EncodeUtf16(utf8, /*big_endian=*/false);
      case etUTF16BE:
        return EncodeUtf16(utf8, /*big_endian=*/true);
      default:
        return EncodeAnsi(utf8);
    }
  }();
  if (!body.IsOk() || !with_bom || ByteOrderMark(encoding).empty()) return body;
  return std::string(ByteOrderMark(encoding)) + std::move(body).Value();
}

TextFileResult<std::string> DecodeText(std::string_view bytes, TEncodingType encoding) {
  return DecodeFrom(std::string(bytes), 0, encoding);
}

TextFileResult<TLoadedText> TFileReader::LoadFromFile(const std::string& path) {
  platform::OsResult<std::string> bytes = platform::ReadFile(path);
  if (!bytes.IsOk()) return FromOsError(bytes.Error());
  TEncodingType encoding = DetectEncoding(bytes.Value());
  TextFileResult<std::string> text = LoadAs(path, std::move(bytes).Value(), encoding);
  if (!text.IsOk()) return text.Error();
  return TLoadedText{std::move(text).Value(), encoding};
}

TextFileResult<std::string> TFileReader::LoadFromFile(const std::string& path,
                                                      TEncodingType encoding) {
  platform::OsResult<std::string> bytes = platform::ReadFile(path);
  if (!bytes.IsOk()) return FromOsError(bytes.Error());
  return LoadAs(path, std::move(bytes).Value(), encoding);
}

TextFileError TFileWriter::SaveToFile(const std::string& path, const std::string& text,
                                      TFileWriteMode mode, TEncodingType encoding) {
  TextFileResult<std::string> bytes = EncodeText(text, encoding, /*with_bom=*/true);
  if (!bytes.IsOk()) return TextFileError{path, bytes.Error().message, 0};
  platform::IfTargetExists if_exists =
      mode == fwmCreateNew ? platform::IfTargetExists::kFail : platform::IfTargetExists::kReplace;
  if (platform::OsError error = platform::WriteFileAtomically(path, bytes.Value(), if_exists)) {
    return FromOsError(error);
  }
  return {};
}

TextFileError AppendText(const std::string& path, const std::string& text,
                         TEncodingType encoding_of_file) {
  TextFileResult<std::string> bytes = EncodeText(text, encoding_of_file, /*with_bom=*/false);
  if (!bytes.IsOk()) return TextFileError{path, bytes.Error().message, 0};
  if (platform::OsError error = platform::AppendToFile(path, bytes.Value())) {
    return FromOsError(error);
  }
  return {};
}

TextFileResult<TEncodingType> DetectFileEncoding(const std::string& path) {
  platform::OsResult<std::string> start = platform::ReadFilePrefix(path, kEncodingDetectionBytes);
  if (!start.IsOk()) return FromOsError(start.Error());
  return DetectEncoding(start.Value());
}

}  // namespace brivant
