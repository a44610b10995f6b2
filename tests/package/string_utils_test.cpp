#include "package/string_utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>

namespace brivant {
namespace {

TEST(TryStrToInt, ReadsDecimalAndHexadecimal) {
  struct Case {
    const char* text;
    std::optional<int32_t> expected;  // nullopt: rejected
  };
  const Case cases[] = {
      // clang-format off
      {"0", 0}, {"42", 42}, {"+42", 42}, {"-42", -42}, {"  17", 17}, {"\t-3", -3}, {"007", 7},
      {"2147483647", 2147483647},
      {"-2147483648", std::numeric_limits<int32_t>::min()},
      {"$FF", 255}, {"$ff", 255}, {"0x1A", 26}, {"0X1a", 26}, {"-$10", -16},
      {"$7FFFFFFF", 2147483647}, {"$FFFFFFFF", -1},
      {"$80000000", std::numeric_limits<int32_t>::min()},
      {"2147483648", std::nullopt}, {"-2147483649", std::nullopt},
      {"99999999999999999999", std::nullopt}, {"$100000000", std::nullopt}, {"abc", std::nullopt},
      {"", std::nullopt}, {"   ", std::nullopt}, {"-", std::nullopt}, {"$", std::nullopt},
      {"0x", std::nullopt}, {"12 ", std::nullopt}, {"1 2", std::nullopt}, {"12abc", std::nullopt},
      {"$FG", std::nullopt}, {"--1", std::nullopt}, {"1.0", std::nullopt},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    int32_t value = 12345;
    EXPECT_EQ(TryStrToInt(c.text, &value), c.expected.has_value());
    EXPECT_EQ(value, c.expected.value_or(12345));  // untouched on failure
  }
}

TEST(FloatToStr, FifteenDigitsFixedOrScientific) {
  struct Case {
    double value;
    const char* expected;
  };
  const Case cases[] = {
      // clang-format off
      {0.0, "0"}, {-0.0, "0"}, {1.0, "1"}, {-2.5, "-2.5"}, {100.0, "100"}, {0.1 + 0.2, "0.3"},
      {1.0 / 3, "0.333333333333333"}, {2.0 / 3, "0.666666666666667"}, {123456.789, "123456.789"},
      {0.0001, "0.0001"}, {0.00001, "1E-5"}, {0.000015, "1.5E-5"}, {-2.5e-10, "-2.5E-10"},
      {999999999999999.0, "999999999999999"}, {1e15, "1E15"},
      {123456789012345678.0, "1.23456789012346E17"},
      {9999999999999999.0, "1E16"},  // rounds up to a new digit
      {1.7976931348623157e308, "1.79769313486232E308"}, {5e-324, "4.94065645841247E-324"},
      {std::numeric_limits<double>::infinity(), "INF"},
      {-std::numeric_limits<double>::infinity(), "-INF"},
      {std::nan(""), "NAN"},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(FloatToStr(c.value), c.expected);
  }
}

TEST(StringUtils, TrimAndSameText) {
  EXPECT_EQ(Trim("  a b \t\r\n"), "a b");
  EXPECT_EQ(Trim(" \x01\x1f"), "");
  EXPECT_EQ(Trim(""), "");
  EXPECT_EQ(Trim("x"), "x");
  EXPECT_EQ(Trim(" Grüße "), "Grüße");  // bytes above 0x7f are text, not blanks

  EXPECT_TRUE(SameText("FileSpec", "filespec"));
  EXPECT_TRUE(SameText("", ""));
  EXPECT_FALSE(SameText("FileSpec", "FileSpe"));
  EXPECT_FALSE(SameText("a", "b"));
  EXPECT_FALSE(SameText("[", "{"));  // 0x5b and 0x7b differ by the case bit only
  EXPECT_FALSE(SameText("Ä", "ä"));
}

TEST(StringUtils, FileNameParts) {
  struct Case {
    const char* path;
    const char* name;
    const char* extension;
    const char* with_bak;  // ChangeFileExt(path, ".bak")
  };
  const Case cases[] = {
      {"/src/app/main.cpp", "main.cpp", ".cpp", "/src/app/main.bak"},
      {"archive.tar.gz", "archive.tar.gz", ".gz", "archive.tar.bak"},
      {"dir.d/Makefile", "Makefile", "", "dir.d/Makefile.bak"},
      {"notes.", "notes.", ".", "notes.bak"},
      {"/home/u/.profile", ".profile", ".profile", "/home/u/.bak"},
      {"/tmp/dir/", "", "", "/tmp/dir/.bak"},
      {"", "", "", ".bak"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(ExtractFileName(c.path), c.name);
    EXPECT_EQ(ExtractFileExt(c.path), c.extension);
    EXPECT_EQ(ChangeFileExt(c.path, ".bak"), c.with_bak);
  }
  EXPECT_EQ(ChangeFileExt("a/b.txt", ""), "a/b");
  EXPECT_EQ(ExtractFilePath("/src/app/main.cpp"), "/src/app/");
  EXPECT_EQ(ExtractFilePath("main.cpp"), "");
  EXPECT_EQ(ExtractFilePath("/tmp/dir/"), "/tmp/dir/");
}

TEST(StringUtils, ReplaceAll) {
  EXPECT_EQ(ReplaceAll("a-b-c", "-", "+"), "a+b+c");
  EXPECT_EQ(ReplaceAll("aaaa", "aa", "a"), "aa");  // no rescanning of output
  EXPECT_EQ(ReplaceAll("abc", "x", "y"), "abc");
  EXPECT_EQ(ReplaceAll("abc", "", "y"), "abc");
  EXPECT_EQ(ReplaceAll("abcabc", "abc", ""), "");
  EXPECT_EQ(ReplaceAll("%a%", "%", "%%"), "%%a%%");
}

}  // namespace
}  // namespace brivant
