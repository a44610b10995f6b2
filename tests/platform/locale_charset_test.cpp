#include "platform/locale_charset.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "tests/support/scoped_env.h"

namespace brivant::platform {
namespace {

// Clears the locale variables for one test and restores them afterwards.
class LocaleCharsetTest : public ::testing::Test {
 protected:
  testing::ScopedEnv lc_all_{"LC_ALL", std::nullopt};
  testing::ScopedEnv lc_ctype_{"LC_CTYPE", std::nullopt};
  testing::ScopedEnv lang_{"LANG", std::nullopt};
  testing::ScopedEnv charset_{"BRIVANT_ANSI_CHARSET", std::nullopt};
};

TEST_F(LocaleCharsetTest, LocalesWithoutACharacterSetOfTheirOwnCountAsUtf8) {
  for (const char* locale : {"C", "POSIX", "C.UTF-8", "xx_NOT.INSTALLED"}) {
    SCOPED_TRACE(locale);
    setenv("LC_ALL", locale, 1);
    EXPECT_EQ(LocaleCharset(), "UTF-8");
  }
}

TEST_F(LocaleCharsetTest, ExplicitAnsiCharsetWins) {
  setenv("LC_ALL", "C.UTF-8", 1);
  setenv("BRIVANT_ANSI_CHARSET", "WINDOWS-1252", 1);
  EXPECT_EQ(LocaleCharset(), "WINDOWS-1252");
  setenv("BRIVANT_ANSI_CHARSET", "", 1);
  EXPECT_EQ(LocaleCharset(), "UTF-8");
}

TEST(IsUtf8Charset, AcceptsTheUsualSpellingsOnly) {
  for (const char* name : {"UTF-8", "utf8", "UTF_8", "Utf-8"})
    EXPECT_TRUE(IsUtf8Charset(name)) << name;
  for (const char* name : {"UTF-16", "ISO-8859-1", "", "UTF-8X"})
    EXPECT_FALSE(IsUtf8Charset(name)) << name;
}

// Expected bytes are from the published code charts: ISO 8859-1 E9 is U+00E9,
// Windows-1252 80 is U+20AC, JIS X 0208 0x467C is U+65E5 (ISO-2022-JP
// switches to it with ESC $ B and back to ASCII with ESC ( B).
TEST(ConvertCharset, ConvertsExactlyIncludingTheFinalShiftBack) {
  const struct {
    std::string input;
    const char* from;
    const char* to;
    std::string expected;
  } cases[] = {
      {"caf\xE9", "ISO-8859-1", "UTF-8", "caf\xC3\xA9"},
      {"\xE2\x82\xAC 5", "UTF-8", "WINDOWS-1252", "\x80 5"},
      {"\xE6\x97\xA5", "UTF-8", "ISO-2022-JP", "\x1B$BF|\x1B(B"},
      {"", "UTF-8", "ISO-8859-1", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.from + std::string(" -> ") + c.to);
    CharsetConversion converted = ConvertCharset(c.input, c.from, c.to);
    EXPECT_EQ(converted.outcome, ConversionOutcome::kConverted);
    EXPECT_EQ(converted.output, c.expected);
  }
}

TEST(ConvertCharset, ReportsWhereAndWhyItStopped) {
  const struct {
    std::string input;
    const char* from;
    const char* to;
    ConversionOutcome outcome;
    size_t stopped_at;
  } cases[] = {
      {"ab\xE2\x82\xAC", "UTF-8", "ISO-8859-1", ConversionOutcome::kInvalidSequence, 2},
      {"a\x81z", "WINDOWS-1252", "UTF-8", ConversionOutcome::kInvalidSequence, 1},
      {"abc\xE2\x82", "UTF-8", "UTF-16LE", ConversionOutcome::kTruncated, 3},
      {"abc", "NO-SUCH-CHARSET", "UTF-8", ConversionOutcome::kUnsupported, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.from + std::string(" -> ") + c.to);
    CharsetConversion converted = ConvertCharset(c.input, c.from, c.to);
    EXPECT_EQ(converted.outcome, c.outcome);
    EXPECT_EQ(converted.stopped_at, c.stopped_at);
  }
}

}  // namespace
}  // namespace brivant::platform
