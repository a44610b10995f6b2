#include "package/string_utils.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace brivant {
namespace {

constexpr int kFloatDigits = 15;

char ToUpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = ToUpperAscii(c);
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads unsigned digits into *result. False on an empty text, a character
// that isn't a digit of the base, or a value above `limit`.
bool ParseMagnitude(std::string_view digits, bool hexadecimal, uint64_t limit, uint64_t* result) {
  if (digits.empty()) return false;
  const uint64_t base = hexadecimal ? 16 : 10;
  uint64_t magnitude = 0;
  for (char c : digits) {
    const int digit = hexadecimal ? HexDigitValue(c) : (c >= '0' && c <= '9' ? c - '0' : -1);
    if (digit < 0 || digit >= static_cast<int>(base)) return false;
    magnitude = magnitude * base + static_cast<uint64_t>(digit);
    if (magnitude > limit) return false;
  }
  *result = magnitude;
  return true;
}

// Splits the 15-digit rounding of a finite, non-zero magnitude into its
// significant digits (trailing zeros dropped) and decimal exponent.
void SignificantDigits(double magnitude, std::string* digits, int* exponent) {
  char buffer[40];
  // "%.14e" rounds correctly to 15 significant digits: d.dddddddddddddde+XX.
  std::snprintf(buffer, sizeof buffer, "%.*e", kFloatDigits - 1, magnitude);
  const std::string_view text(buffer);
  const size_t e_pos = text.find('e');
  digits->assign(1, text[0]);
  digits->append(text.substr(2, e_pos - 2));
  while (digits->size() > 1 && digits->back() == '0') digits->pop_back();
  *exponent = std::atoi(buffer + e_pos + 1);
}

std::string ScientificForm(const std::string& digits, int exponent) {
  std::string text(1, digits[0]);
  if (digits.size() > 1) text += '.' + digits.substr(1);
  text += 'E';
  text += std::to_string(exponent);
  return text;
}

std::string FixedForm(const std::string& digits, int exponent) {
  if (exponent < 0) return "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
  const size_t integer_digits = static_cast<size_t>(exponent) + 1;
  if (digits.size() <= integer_digits)
    return digits + std::string(integer_digits - digits.size(), '0');
  return digits.substr(0, integer_digits) + '.' + digits.substr(integer_digits);
}

// Index of the '.' that starts the file name's extension, or npos.
size_t ExtensionStart(std::string_view path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) return dot;
  const size_t slash = path.rfind('/');
  if (slash != std::string_view::npos && slash > dot) return std::string_view::npos;
  return dot;
}

}  // namespace

bool TryStrToInt(std::string_view text, int32_t* value) {
  size_t pos = 0;
  while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t')) ++pos;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
    negative = text[pos] == '-';
    ++pos;
  }
  std::string_view rest = text.substr(pos);
  bool hexadecimal = false;
  if (rest.starts_with('$')) {
    hexadecimal = true;
    rest.remove_prefix(1);
  } else if (rest.size() > 2 && rest[0] == '0' && (rest[1] == 'x' || rest[1] == 'X')) {
    hexadecimal = true;
    rest.remove_prefix(2);
  }
  const uint64_t limit = hexadecimal ? 0xFFFFFFFFu : (negative ? 0x80000000u : 0x7FFFFFFFu);
  uint64_t magnitude = 0;
  if (!ParseMagnitude(rest, hexadecimal, limit, &magnitude)) return false;
  // Unsigned arithmetic makes the hexadecimal bit pattern and the negation of
  // 2147483648 wrap exactly as two's complement does.
  uint32_t bits = static_cast<uint32_t>(magnitude);
  if (negative) bits = 0u - bits;
  *value = static_cast<int32_t>(bits);
  return true;
}

std::string FloatToStr(double value) {
  if (std::isnan(value)) return "NAN";
  if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
  if (value == 0) return "0";
  std::string digits;
  int exponent = 0;
  SignificantDigits(std::fabs(value), &digits, &exponent);
  const bool scientific = exponent < -4 || exponent >= kFloatDigits;
  const std::string body =
      scientific ? ScientificForm(digits, exponent) : FixedForm(digits, exponent);
  return value < 0 ? '-' + body : body;
}

std::string_view TrimView(std::string_view text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && static_cast<unsigned char>(text[begin]) <= ' ') ++begin;
  while (end > begin && static_cast<unsigned char>(text[end - 1]) <= ' ') --end;
  return text.substr(begin, end - begin);
}

std::string Trim(std::string_view text) { return std::string(TrimView(text)); }

bool SameText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (ToUpperAscii(a[i]) != ToUpperAscii(b[i])) return false;
  }
  return true;
}

std::string ExtractFilePath(std::string_view path) {
  size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

std::string ExtractFileName(std::string_view path) {
  const size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string ExtractFileExt(std::string_view path) {
  const size_t dot = ExtensionStart(path);
  return dot == std::string_view::npos ? std::string() : std::string(path.substr(dot));
}

std::string ChangeFileExt(std::string_view path, std::string_view extension) {
  const size_t dot = ExtensionStart(path);
  std::string result(dot == std::string_view::npos ? path : path.substr(0, dot));
  result += extension;
  return result;
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty()) return std::string(text);
  std::string result;
  size_t pos = 0;
  for (size_t found = text.find(from); found != std::string_view::npos;
       found = text.find(from, pos)) {
    result.append(text.substr(pos, found - pos));
    result.append(to);
    pos = found + from.size();
  }
  result.append(text.substr(pos));
  return result;
}

size_t Utf8SequenceLength(std::string_view text, size_t pos) {
  auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char lead = byte(pos);
  size_t length;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;  // allowed range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong
    if (lead == 0xF4) high = 0x8F;  // beyond U+10FFFF
  } else {
    return 0;
  }
  if (pos + length > text.size()) return 0;
  if (byte(pos + 1) < low || byte(pos + 1) > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if (byte(pos + i) < 0x80 || byte(pos + i) > 0xBF) return 0;
  }
  return length;
}

size_t FindInvalidUtf8(std::string_view text) {
  size_t pos = 0;
  while (pos < text.size()) {
    if (static_cast<unsigned char>(text[pos]) < 0x80) {
      ++pos;
      continue;
    }
    size_t length = Utf8SequenceLength(text, pos);
    if (length == 0) return pos;
    pos += length;
  }
  return std::string_view::npos;
}

}  // namespace brivant
