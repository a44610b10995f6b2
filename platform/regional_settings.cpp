#include "platform/regional_settings.h"

#include <langinfo.h>
#include <locale.h>
#include <time.h>

#include <cstdlib>
#include <cstring>

namespace brivant::platform {
namespace {

// Owns a locale object from newlocale.
class LocaleHandle {
 public:
  explicit LocaleHandle(locale_t locale) : locale_(locale) {}
  ~LocaleHandle() {
    if (locale_ != locale_t{}) freelocale(locale_);
  }
  LocaleHandle(const LocaleHandle&) = delete;
  LocaleHandle& operator=(const LocaleHandle&) = delete;

  bool IsValid() const { return locale_ != locale_t{}; }
  std::string Item(nl_item item) const {
    const char* text = nl_langinfo_l(item, locale_);
    return text == nullptr ? std::string() : std::string(text);
  }

 private:
  locale_t locale_;
};

bool IsAsciiAlnum(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Printable ASCII that is neither a letter, a digit nor a blank.
bool IsAsciiPunctuation(char c) { return c > ' ' && c < 0x7f && !IsAsciiAlnum(c); }

// Characters the pattern language reads as something other than themselves.
bool NeedsQuoting(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '/' || c == ':' || c == '\'' ||
         c == '"';
}

// Index just past the conversion that starts with the '%' at `start`: flags,
// field width and an E or O modifier come before the conversion character.
size_t SkipConversionPrefix(std::string_view format, size_t start, bool* unpadded) {
  size_t pos = start + 1;
  *unpadded = false;
  while (pos < format.size() && std::strchr("-_0^#", format[pos]) != nullptr) {
    if (format[pos] == '-') *unpadded = true;
    ++pos;
  }
  while (pos < format.size() && format[pos] >= '0' && format[pos] <= '9') ++pos;
  if (pos < format.size() && (format[pos] == 'E' || format[pos] == 'O')) ++pos;
  return pos;
}

// What one strftime conversion character becomes. Compound conversions are
// given as the strftime text they stand for and translated in turn.
struct Conversion {
  char conversion;
  std::string_view pattern;
  std::string_view unpadded_pattern;  // with the '-' flag: "%-d"
  std::string_view expansion;         // non-empty for %D, %F, %R, %T, %r
};

// %I and %l need no 12-hour form of their own: the "ampm" that %p becomes
// puts the whole pattern on the 12-hour clock.
constexpr Conversion kConversions[] = {
    {'d', "dd", "d", ""},      {'e', "d", "d", ""},          {'m', "mm", "m", ""},
    {'y', "yy", "yy", ""},     {'Y', "yyyy", "yyyy", ""},    {'b', "mmm", "mmm", ""},
    {'h', "mmm", "mmm", ""},   {'B', "mmmm", "mmmm", ""},    {'a', "ddd", "ddd", ""},
    {'A', "dddd", "dddd", ""}, {'H', "hh", "h", ""},         {'I', "hh", "h", ""},
    {'k', "h", "h", ""},       {'l', "h", "h", ""},          {'M', "nn", "n", ""},
    {'S', "ss", "s", ""},      {'p', "ampm", "ampm", ""},    {'P', "ampm", "ampm", ""},
    {'n', "\n", "\n", ""},     {'t', "\t", "\t", ""},        {'%', "%", "%", ""},
    {'D', "", "", "%m/%d/%y"}, {'F', "", "", "%Y-%m-%d"},    {'R', "", "", "%H:%M"},
    {'T', "", "", "%H:%M:%S"}, {'r', "", "", "%I:%M:%S %p"},
};

// nullptr when the conversion has no equivalent.
const Conversion* LookUpConversion(char conversion) {
  for (const Conversion& entry : kConversions) {
    if (entry.conversion == conversion) return &entry;
  }
  return nullptr;
}

// The first punctuation character outside conversions, or 0 when there is none
// (a format such as "%Y年%m月%d日" has no single separator). Compound
// conversions count with what they stand for: "%T" has ':'.
char FindSeparator(std::string_view format) {
  for (size_t pos = 0; pos < format.size(); ++pos) {
    if (format[pos] != '%') {
      if (IsAsciiPunctuation(format[pos])) return format[pos];
      continue;
    }
    bool unpadded = false;
    pos = SkipConversionPrefix(format, pos, &unpadded);
    if (pos >= format.size()) return 0;
    const Conversion* conversion = LookUpConversion(format[pos]);
    if (!conversion || conversion->expansion.empty()) continue;
    if (const char separator = FindSeparator(conversion->expansion)) return separator;
  }
  return 0;
}

class PatternBuilder {
 public:
  PatternBuilder(char separator, char separator_specifier)
      : separator_(separator), separator_specifier_(separator_specifier) {}

  // False when the format holds a conversion without a pattern equivalent.
  bool Translate(std::string_view format) {
    for (size_t pos = 0; pos < format.size(); ++pos) {
      if (format[pos] != '%') {
        AppendLiteral(format[pos]);
        continue;
      }
      bool unpadded = false;
      pos = SkipConversionPrefix(format, pos, &unpadded);
      if (pos >= format.size()) return false;
      const Conversion* conversion = LookUpConversion(format[pos]);
      if (!conversion) return false;
      if (!conversion->expansion.empty()) {
        if (!Translate(conversion->expansion)) return false;
        continue;
      }
      FlushQuoted();
      pattern_ += unpadded ? conversion->unpadded_pattern : conversion->pattern;
    }
    return true;
  }

  std::string Finish() {
    FlushQuoted();
    return std::move(pattern_);
  }

 private:
  void AppendLiteral(char c) {
    if (c == separator_) {
      FlushQuoted();
      pattern_ += separator_specifier_;
    } else if (c == '"') {
      // The only character that can't go inside the double-quoted runs.
      FlushQuoted();
      pattern_ += "'\"'";
    } else if (NeedsQuoting(c)) {
      quoted_ += c;
    } else {
      FlushQuoted();
      pattern_ += c;
    }
  }

  void FlushQuoted() {
    if (quoted_.empty()) return;
    pattern_ += '"' + quoted_ + '"';
    quoted_.clear();
  }

  char separator_;
  char separator_specifier_;
  std::string pattern_;
  std::string quoted_;
};

// The name newlocale("") resolves the time category from.
std::string_view TimeLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return "C";
}

bool IsCLocaleName(std::string_view name) {
  return name == "C" || name == "POSIX" || name.starts_with("C.");
}

bool IsAscii(std::string_view text) {
  for (char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

// Fills `names` from consecutive langinfo items, or leaves it all empty when
// any name is missing or can't be used as UTF-8. The month and day name items
// are consecutive (ABMON_1..ABMON_12, DAY_1..DAY_7) in glibc and the BSDs.
template <size_t N>
void ReadNames(const LocaleHandle& locale, nl_item first, bool utf8,
               std::array<std::string, N>* names) {
  std::array<std::string, N> read;
  for (size_t i = 0; i < N; ++i) {
    read[i] = locale.Item(static_cast<nl_item>(first + i));
    if (read[i].empty() || (!utf8 && !IsAscii(read[i]))) return;
  }
  *names = std::move(read);
}

std::string ReadText(const LocaleHandle& locale, nl_item item, bool utf8) {
  std::string text = locale.Item(item);
  return (!utf8 && !IsAscii(text)) ? std::string() : text;
}

// The long time pattern without its seconds: "hh:nn:ss ampm" gives "hh:nn ampm".
std::string WithoutSeconds(std::string pattern) {
  size_t seconds = pattern.find(":ss");
  if (seconds != std::string::npos) pattern.erase(seconds, 3);
  return pattern;
}

void ReadLocale(const LocaleHandle& locale, RegionalSettings* settings) {
  const bool utf8 = locale.Item(CODESET) == "UTF-8";

  const std::string date_format = locale.Item(D_FMT);
  const char date_separator = FindSeparator(date_format);
  if (date_separator != 0) settings->date_separator = std::string(1, date_separator);
  settings->short_date_format = PatternFromLocaleFormat(date_format, date_separator, '/');

  const std::string time_format = locale.Item(T_FMT);
  const char time_separator = FindSeparator(time_format);
  if (time_separator != 0) settings->time_separator = std::string(1, time_separator);
  settings->long_time_format = PatternFromLocaleFormat(time_format, time_separator, ':');
  if (!settings->long_time_format.empty()) {
    settings->short_time_format = WithoutSeconds(settings->long_time_format);
  }

  settings->am_string = ReadText(locale, AM_STR, utf8);
  settings->pm_string = ReadText(locale, PM_STR, utf8);
  ReadNames(locale, ABMON_1, utf8, &settings->short_month_names);
  ReadNames(locale, MON_1, utf8, &settings->long_month_names);
  ReadNames(locale, ABDAY_1, utf8, &settings->short_day_names);
  ReadNames(locale, DAY_1, utf8, &settings->long_day_names);
}

}  // namespace

std::string PatternFromLocaleFormat(std::string_view locale_format, char separator,
                                    char separator_specifier) {
  PatternBuilder builder(separator, separator_specifier);
  if (!builder.Translate(locale_format)) return std::string();
  return builder.Finish();
}

RegionalSettings GetRegionalSettings() {
  RegionalSettings settings;
  if (IsCLocaleName(TimeLocaleName())) return settings;
  // LC_ALL_MASK fails when any category names a missing locale; the time
  // category alone is still worth having then.
  LocaleHandle locale(newlocale(LC_ALL_MASK, "", locale_t{}));
  if (!locale.IsValid()) {
    LocaleHandle time_locale(newlocale(LC_TIME_MASK, "", locale_t{}));
    if (time_locale.IsValid()) ReadLocale(time_locale, &settings);
    return settings;
  }
  ReadLocale(locale, &settings);
  return settings;
}

LocalTime LocalNow() {
  // localtime_r may keep the zone it first saw; a build that changes TZ
  // expects the new zone from then on.
  tzset();
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm fields{};
  if (localtime_r(&now.tv_sec, &fields) == nullptr) gmtime_r(&now.tv_sec, &fields);
  LocalTime local;
  local.year = fields.tm_year + 1900;
  local.month = fields.tm_mon + 1;
  local.day = fields.tm_mday;
  local.hour = fields.tm_hour;
  local.minute = fields.tm_min;
  local.second = fields.tm_sec > 59 ? 59 : fields.tm_sec;
  local.millisecond = static_cast<int>(now.tv_nsec / 1000000);
  return local;
}

}  // namespace brivant::platform
