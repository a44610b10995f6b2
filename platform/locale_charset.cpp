#include "platform/locale_charset.h"

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>

namespace brivant::platform {
namespace {

constexpr const char kUtf8[] = "UTF-8";

// glibc's name for the C locale's character set, and the usual others.
bool IsAsciiCharset(std::string_view charset) {
  return charset == "ANSI_X3.4-1968" || charset == "ASCII" || charset == "US-ASCII";
}

}  // namespace

std::string LocaleCharset() {
  const char* forced = std::getenv("BRIVANT_ANSI_CHARSET");
  if (forced != nullptr && *forced != '\0') return forced;
  locale_t user_locale = ::newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
  if (user_locale == static_cast<locale_t>(nullptr)) return kUtf8;
  std::string charset = ::nl_langinfo_l(CODESET, user_locale);
  ::freelocale(user_locale);
  if (charset.empty() || IsAsciiCharset(charset)) return kUtf8;
  return charset;
}

bool IsUtf8Charset(std::string_view charset) {
  std::string letters;
  for (char c : charset) {
    if (c == '-' || c == '_') continue;
    letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return letters == "utf8";
}

CharsetConversion ConvertCharset(std::string_view input, const std::string& from_charset,
                                 const std::string& to_charset) {
  CharsetConversion result;
  iconv_t converter = ::iconv_open(to_charset.c_str(), from_charset.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    result.outcome = ConversionOutcome::kUnsupported;
    return result;
  }
  // iconv's signature predates const; it only reads the input.
  char* in = const_cast<char*>(input.data());
  size_t in_left = input.size();
  std::string& out = result.output;
  out.resize(input.size() + 16);
  size_t used = 0;
  // After the input, one call with no input writes what a stateful set
  // needs to return to its initial state.
  bool flushing = false;
  while (true) {
    char* out_at = out.data() + used;
    size_t out_left = out.size() - used;
    size_t converted = flushing ? ::iconv(converter, nullptr, nullptr, &out_at, &out_left)
                                : ::iconv(converter, &in, &in_left, &out_at, &out_left);
    int error = converted == static_cast<size_t>(-1) ? errno : 0;
    used = out.size() - out_left;
    if (error == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    if (error != 0) {
      result.outcome =
          error == EINVAL ? ConversionOutcome::kTruncated : ConversionOutcome::kInvalidSequence;
      result.stopped_at = input.size() - in_left;
      break;
    }
    if (flushing) break;
    flushing = true;
  }
  out.resize(used);
  ::iconv_close(converter);
  return result;
}

}  // namespace brivant::platform
