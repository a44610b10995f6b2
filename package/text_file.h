// The host's text file reader and writer. Inside the program text is UTF-8;
// on disk a text file is UTF-8, UTF-16 little- or big-endian, or in the
// system's "ANSI" character set (platform::LocaleCharset), told apart by the
// byte-order mark at its start. The text actions and the text-file iterator
// all read and write through here, so they agree on encodings.
//
// Text is taken as it stands: line breaks and NUL characters are neither
// added nor removed. Bytes that are not valid in their encoding are an
// error, never guessed at or replaced, so a round trip never loses data.
// Nothing here keeps state; every function may be called from any thread.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace brivant {

/// Encoding of a text file, written to project files as its ordinal. Any
/// ordinal other than 1, 2 or 3 means ANSI, so code must treat values
/// outside the list as etAnsi.
enum TEncodingType : uint8_t {
  etAnsi = 0,
  etUTF8 = 1,
  etUTF16LE = 2,
  etUTF16BE = 3,
};

/// What SaveToFile does with an existing file.
enum TFileWriteMode : uint8_t {
  fwmCreateOrTruncate = 0,  // replace its content
  fwmCreateNew = 1,         // leave it alone and fail with "File exists"
};

/// Why text could not be read, written or converted.
struct [[nodiscard]] TextFileError {
  std::string path;     // the file; empty for in-memory conversions
  std::string message;  // the system's text ("Permission denied") or what is wrong with the bytes
  int os_code = 0;      // the errno when the system refused, 0 when the content is at fault

  explicit operator bool() const { return !message.empty(); }

  /// "path: message", or just the message when there is no path.
  std::string Describe() const;
};

/// Either a value or the TextFileError that prevented it.
template <class T>
class [[nodiscard]] TextFileResult {
 public:
  // Implicit on purpose: a function returns its value or an error alike.
  TextFileResult(T value) : value_(std::move(value)) {}
  TextFileResult(TextFileError error) : error_(std::move(error)) {
    assert(error_ && "a TextFileResult built from an error needs a message");
  }

  bool IsOk() const { return !error_; }
  const TextFileError& Error() const { return error_; }

  /// Only valid when IsOk().
  const T& Value() const& {
    assert(IsOk() && "Value() of a failed TextFileResult");
    return *value_;
  }
  T&& Value() && {
    assert(IsOk() && "Value() of a failed TextFileResult");
    return std::move(*value_);
  }

 private:
  std::optional<T> value_;  // holds a value exactly when IsOk()
  TextFileError error_;
};

/// How many bytes at the start of a file decide its encoding.
inline constexpr size_t kEncodingDetectionBytes = 4;

/// The encoding announced by a byte-order mark at the start of
/// `first_bytes`: EF BB BF UTF-8, FF FE UTF-16 LE, FE FF UTF-16 BE. Without
/// a mark (an empty file included) the text is ANSI.
TEncodingType DetectEncoding(std::string_view first_bytes);

/// The byte-order mark of an encoding; empty for ANSI, which has none.
std::string_view ByteOrderMark(TEncodingType encoding);

/// `utf8` in `encoding`, preceded by its byte-order mark when `with_bom` is
/// set and the encoding has one. Fails when `utf8` is not valid UTF-8 or
/// holds a character the ANSI character set lacks.
TextFileResult<std::string> EncodeText(const std::string& utf8, TEncodingType encoding,
                                       bool with_bom);

/// Offset of the first byte of `text` that does not belong to a valid UTF-8
/// sequence; npos when all of it is valid. A sequence cut off by the end of
/// `text` counts as invalid.
size_t FirstInvalidUtf8(std::string_view text);

/// `bytes` in `encoding` as UTF-8. A byte-order mark is not removed (it is
/// text to this function). Fails, naming the byte offset, on an odd number
/// of UTF-16 bytes, an unpaired surrogate or an invalid byte sequence.
TextFileResult<std::string> DecodeText(std::string_view bytes, TEncodingType encoding);

/// A file's text and the encoding it was read in.
struct TLoadedText {
  std::string text;
  TEncodingType encoding = etAnsi;
};

class TFileReader {
 public:
  TFileReader() = delete;

  /// The whole file as text, its encoding detected by byte-order mark and
  /// the mark removed. Error offsets count from the start of the file.
  static TextFileResult<TLoadedText> LoadFromFile(const std::string& path);

  /// The whole file read as `encoding`; that encoding's byte-order mark, if
  /// the file starts with it, is removed.
  static TextFileResult<std::string> LoadFromFile(const std::string& path, TEncodingType encoding);
};

class TFileWriter {
 public:
  TFileWriter() = delete;

  /// Writes the encoding's byte-order mark, if it has one, then `text`. The
  /// file is replaced as a whole (temporary file and rename), so on any
  /// failure an existing file keeps its old content. The error carries the
  /// system's text, e.g. "Not a directory" when a parent is a regular file.
  static TextFileError SaveToFile(const std::string& path, const std::string& text,
                                  TFileWriteMode mode, TEncodingType encoding);
};

/// Adds `text` at the end of `path` in the file's own encoding, without a
/// byte-order mark; creates the file when it is missing. Nothing is written
/// when the text can't be encoded.
TextFileError AppendText(const std::string& path, const std::string& text,
                         TEncodingType encoding_of_file);

/// The encoding of an existing file, from its first kEncodingDetectionBytes.
TextFileResult<TEncodingType> DetectFileEncoding(const std::string& path);

}  // namespace brivant
