#include "platform/regional_settings.h"

#include <gtest/gtest.h>
#include <time.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/scoped_env.h"

#if defined(__SANITIZE_ADDRESS__)
#define BRIVANT_TEST_LEAK_CHECKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BRIVANT_TEST_LEAK_CHECKS 1
#endif
#endif
#ifdef BRIVANT_TEST_LEAK_CHECKS
#include <sanitizer/lsan_interface.h>
#endif

namespace brivant::platform {
namespace {

using testing::ScopedEnv;

TEST(PatternFromLocaleFormat, TranslatesLocaleDatabaseFormats) {
  struct Case {
    const char* format;
    char separator;
    char specifier;
    const char* expected;
  };
  // Formats as glibc's locale sources write D_FMT and T_FMT.
  const Case cases[] = {
      // clang-format off
      {"%m/%d/%Y", '/', '/', "mm/dd/yyyy"},  // en_US
      {"%d.%m.%Y", '.', '/', "dd/mm/yyyy"},  // de_DE
      {"%Y-%m-%d", '-', '/', "yyyy/mm/dd"},  // sv_SE
      {"%-d.%-m.%Y", '.', '/', "d/m/yyyy"},  // unpadded fields
      {"%e %b %Y", 0, '/', "d mmm yyyy"},
      {"%Y年%m月%d日", 0, '/', "yyyy年mm月dd日"},    // ja_JP
      {"%d de %B", 0, '/', "dd \"de\" mmmm"},        // letters are quoted
      {"%d/%m/%Y", '.', '/', "dd\"/\"mm\"/\"yyyy"},  // a '/' that isn't the separator
      {"%D", '/', '/', "mm/dd/yy"},
      {"%Ey|%Od", 0, '/', "yy|dd"},  // E and O modifiers
      {"%H:%M:%S", ':', ':', "hh:nn:ss"}, {"%T", ':', ':', "hh:nn:ss"},
      {"%r", ':', ':', "hh:nn:ss ampm"}, {"%I.%M.%S %p", '.', ':', "hh:nn:ss ampm"},
      {"%k.%M", '.', ':', "h:nn"}, {"%Hh%M", 0, ':', "hh\"h\"nn"}, {"%%%d\"", 0, '/', "%dd'\"'"},
      {"%j", '/', '/', ""},  // day of year has no pattern field
      {"%d.%", '.', '/', ""},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(PatternFromLocaleFormat(c.format, c.separator, c.specifier), c.expected);
  }
}

TEST(RegionalSettings, CLocaleAndMissingLocalesGiveNoPreferences) {
  for (const char* name : {"C", "POSIX", "C.UTF-8", "xx_NOWHERE.UTF-8"}) {
    SCOPED_TRACE(name);
    ScopedEnv locale("LC_ALL", name);
    const RegionalSettings settings = GetRegionalSettings();
    EXPECT_EQ(settings.short_date_format, "");
    EXPECT_EQ(settings.date_separator, "");
    EXPECT_EQ(settings.am_string, "");
    EXPECT_EQ(settings.long_month_names[0], "");
  }
}

// Compiles de_DE.UTF-8 into a temporary directory with localedef, so the test
// sees a real locale whether or not the machine has it installed.
TEST(RegionalSettings, ReadsAnInstalledLocale) {
  char dir_template[] = "/tmp/regional_settings_test.XXXXXX";
  const char* dir = mkdtemp(dir_template);
  ASSERT_NE(dir, nullptr);
  const std::string command =
      std::string("localedef -i de_DE -f UTF-8 ") + dir + "/de_DE.UTF-8 >/dev/null 2>&1";
  const bool built = std::system(command.c_str()) == 0;
  std::optional<RegionalSettings> settings;
  if (built) {
    ScopedEnv path("LOCPATH", dir);
    ScopedEnv locale("LC_ALL", "de_DE.UTF-8");
#ifdef BRIVANT_TEST_LEAK_CHECKS
    // glibc's newlocale never frees the search list it builds from LOCPATH;
    // only this test sets LOCPATH.
    __lsan::ScopedDisabler glibc_leaks_locale_path;
#endif
    settings = GetRegionalSettings();
  }
  std::filesystem::remove_all(dir);
  if (!built) GTEST_SKIP() << "localedef or the de_DE locale source is not available";

  EXPECT_EQ(settings->date_separator, ".");
  EXPECT_EQ(settings->short_date_format, "dd/mm/yyyy");
  EXPECT_EQ(settings->time_separator, ":");
  EXPECT_EQ(settings->long_time_format, "hh:nn:ss");
  EXPECT_EQ(settings->short_time_format, "hh:nn");
  EXPECT_EQ(settings->am_string, "");  // German has no am/pm names
  EXPECT_EQ(settings->long_month_names[2], "März");
  EXPECT_EQ(settings->short_month_names[9], "Okt");
  EXPECT_EQ(settings->long_day_names[0], "Sonntag");
  EXPECT_EQ(settings->short_day_names[4], "Do");
}

// Seconds since 1970 that `local` names, read as UTC.
int64_t SecondsAsUtc(const LocalTime& local) {
  using namespace std::chrono;
  const sys_days day = year{local.year} / local.month / local.day;
  return duration_cast<seconds>(day.time_since_epoch()).count() + local.hour * 3600 +
         local.minute * 60 + local.second;
}

int64_t SecondsNow() {
  using namespace std::chrono;
  return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

TEST(LocalNow, FollowsTheTimeZone) {
  // POSIX TZ strings need no zone database: "<+05>-5" is five hours east.
  struct Case {
    const char* zone;
    int64_t offset_seconds;
  };
  for (const Case& c : {Case{"UTC0", 0}, Case{"<+05>-5", 5 * 3600}, Case{"<-0330>3:30", -12600}}) {
    SCOPED_TRACE(c.zone);
    ScopedEnv zone("TZ", c.zone);
    const LocalTime local = LocalNow();
    EXPECT_NEAR(static_cast<double>(SecondsAsUtc(local) - c.offset_seconds),
                static_cast<double>(SecondsNow()), 2.0);
    EXPECT_GE(local.millisecond, 0);
    EXPECT_LE(local.millisecond, 999);
  }
  tzset();  // back to the process's own zone for later tests
}

}  // namespace
}  // namespace brivant::platform
