#include "actions/checksums/hash_alg_md5.h"

#include <cstring>
#include <string_view>

#include "actions/checksums/checksum_file.h"

namespace brivant {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

// Decodes the UTF-8 sequence at the front of `text` and removes it. A byte
// that does not start a complete, shortest-form sequence of a scalar value is
// removed alone and gives U+FFFD.
char32_t TakeCodePoint(std::string_view& text) {
  auto byte = [&text](size_t i) { return static_cast<uint8_t>(text[i]); };
  uint8_t lead = byte(0);
  size_t length = lead < 0x80    ? 1
                  : lead >= 0xF8 ? 0
                  : lead >= 0xF0 ? 4
                  : lead >= 0xE0 ? 3
                  : lead >= 0xC0 ? 2
                                 : 0;
  if (length == 1) {
    text.remove_prefix(1);
    return lead;
  }
  bool valid = length > 0 && text.size() >= length;
  char32_t code = valid ? lead & (0x7F >> length) : 0;
  for (size_t i = 1; valid && i < length; ++i) {
    valid = (byte(i) & 0xC0) == 0x80;
    code = code << 6 | (byte(i) & 0x3F);
  }
  static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  valid =
      valid && code >= kSmallest[length] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
  text.remove_prefix(valid ? length : 1);
  return valid ? code : kReplacementCharacter;
}

// The low byte of each UTF-16 code unit of `utf8`.
std::string LowBytesOfUtf16(std::string_view utf8) {
  std::string bytes;
  bytes.reserve(utf8.size());
  while (!utf8.empty()) {
    char32_t code = TakeCodePoint(utf8);
    if (code < 0x10000) {
      bytes += static_cast<char>(code & 0xFF);
      continue;
    }
    code -= 0x10000;
    bytes += static_cast<char>((0xD800 | (code >> 10)) & 0xFF);
    bytes += static_cast<char>((0xDC00 | (code & 0x3FF)) & 0xFF);
  }
  return bytes;
}

}  // namespace

THashAlgMD5::THashAlgMD5() : md5Engine(std::make_unique<THashAlgMD5Engine>()) {
  SetTitle("MD5");
  SetDigestSize(128);
}

void THashAlgMD5::HashString(const std::string& theString, THashDigest& digest) {
  std::string bytes = LowBytesOfUtf16(theString);
  MD5_CTX context;
  md5Engine->MD5Init(context);
  md5Engine->MD5Update(context, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  md5Engine->MD5Final(digest.data(), context);
}

bool THashAlgMD5::HashFile(const std::string& filename, THashDigest& digest) {
  MD5_CTX context;
  md5Engine->MD5Init(context);
  ForEachBlockOf(filename, [this, &context](const uint8_t* data, size_t size) {
    md5Engine->MD5Update(context, data, size);
  });
  md5Engine->MD5Final(digest.data(), context);
  return true;
}

}  // namespace brivant
