#include "package/text_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

// "Aé😀": one character from each UTF-8 length class but three, the last
// outside the BMP (U+1F600, UTF-16 surrogate pair D83D DE00).
const std::string kSample = "A\xC3\xA9\xF0\x9F\x98\x80";
const std::string kSampleUtf8 = "A\xC3\xA9\xF0\x9F\x98\x80";
const std::string kSampleLe = std::string("A\0\xE9\0\x3D\xD8\x00\xDE", 8);
const std::string kSampleBe = std::string("\0A\0\xE9\xD8\x3D\xDE\x00", 8);
const std::string kUtf8Bom = "\xEF\xBB\xBF";
const std::string kLeBom = "\xFF\xFE";
const std::string kBeBom = "\xFE\xFF";

// A fresh directory per test, and a known ANSI character set: the test
// environment's locale must not decide what "ANSI" means here.
class TextFileTest : public ::testing::Test {
 protected:
  std::string PathOf(const std::string& name) const { return dir_.Join(name); }
  void Put(const std::string& name, const std::string& bytes) const {
    testing::WriteBytes(PathOf(name), bytes);
  }
  std::string Get(const std::string& name) const { return testing::ReadBytes(PathOf(name)); }

  testing::ScopedEnv locale_{"LC_ALL", "C.UTF-8"};
  testing::ScopedEnv charset_{"BRIVANT_ANSI_CHARSET", std::nullopt};
  testing::ScopedTempDir dir_;
};

TEST(DetectEncoding, ReadsTheByteOrderMark) {
  const struct {
    std::string bytes;
    TEncodingType expected;
  } cases[] = {
      {kUtf8Bom + "A", etUTF8}, {std::string("\xFF\xFE\0\0", 4), etUTF16LE},
      {"\xFE\xFF", etUTF16BE},  {"", etAnsi},
      {"\xEF\xBB", etAnsi},     {"\xBB\xBF", etAnsi},
      {"plain", etAnsi},        {"\xFE", etAnsi},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.bytes));
    EXPECT_EQ(DetectEncoding(c.bytes), c.expected);
  }
}

TEST_F(TextFileTest, SaveWritesTheMarkThenTheTextInEachEncoding) {
  const struct {
    TEncodingType encoding;
    std::string expected;
  } cases[] = {
      // clang-format off
      {etUTF8, kUtf8Bom + kSampleUtf8}, {etUTF16LE, kLeBom + kSampleLe},
      {etUTF16BE, kBeBom + kSampleBe}, {etAnsi, kSampleUtf8},
      {static_cast<TEncodingType>(7), kSampleUtf8},  // unknown ordinals are ANSI
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.encoding));
    ASSERT_FALSE(
        TFileWriter::SaveToFile(PathOf("out.txt"), kSample, fwmCreateOrTruncate, c.encoding));
    EXPECT_EQ(Get("out.txt"), c.expected);
  }
}

TEST_F(TextFileTest, LoadWithAGivenEncodingIgnoresDetection) {
  Put("bare.txt", kSampleBe);
  EXPECT_EQ(TFileReader::LoadFromFile(PathOf("bare.txt"), etUTF16BE).Value(), kSample);
  Put("marked.txt", kLeBom + kSampleLe);
  EXPECT_EQ(TFileReader::LoadFromFile(PathOf("marked.txt"), etUTF16LE).Value(), kSample);
  // ANSI has no mark, so UTF-8's mark is text to it (U+FEFF).
  Put("utf8.txt", kUtf8Bom + "x");
  EXPECT_EQ(TFileReader::LoadFromFile(PathOf("utf8.txt"), etAnsi).Value(), kUtf8Bom + "x");
}

TEST_F(TextFileTest, BadBytesAreReportedWithFileAndOffset) {
  const struct {
    std::string bytes;
    const char* message;
  } cases[] = {
      {kLeBom + "A", "invalid UTF-16LE: odd number of bytes (3)"},
      {kLeBom + "\x3D\xD8", "invalid UTF-16LE: unpaired surrogate D83D at byte offset 2"},
      {kLeBom + std::string("A\0\x3D\xD8"
                            "B\0",
                            6),
       "invalid UTF-16LE: unpaired surrogate D83D at byte offset 4"},
      {kBeBom + std::string("\xDE\0\0A", 4),
       "invalid UTF-16BE: unpaired surrogate DE00 at byte offset 2"},
      {kLeBom + std::string("\0\xDC\0\xDC", 4),
       "invalid UTF-16LE: unpaired surrogate DC00 at byte offset 2"},
      {kUtf8Bom + "ab\xFF", "invalid UTF-8 at byte offset 5"},
      {kUtf8Bom + "\xC0\x80", "invalid UTF-8 at byte offset 3"},            // overlong NUL
      {kUtf8Bom + "\xE0\x80\x80", "invalid UTF-8 at byte offset 3"},        // overlong, 3 bytes
      {kUtf8Bom + "\xED\xA0\x80", "invalid UTF-8 at byte offset 3"},        // encoded surrogate
      {"a\xF4\x90\x80\x80", "invalid ANSI text (UTF-8) at byte offset 1"},  // past U+10FFFF
      {"abc\xE2\x82", "invalid ANSI text (UTF-8) at byte offset 3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    Put("bad.txt", c.bytes);
    TextFileResult<TLoadedText> loaded = TFileReader::LoadFromFile(PathOf("bad.txt"));
    ASSERT_FALSE(loaded.IsOk());
    EXPECT_EQ(loaded.Error().Describe(), PathOf("bad.txt") + ": " + c.message);
    EXPECT_EQ(loaded.Error().os_code, 0);
  }
}

TEST_F(TextFileTest, AnsiUsesTheConfiguredCharacterSet) {
  setenv("BRIVANT_ANSI_CHARSET", "WINDOWS-1252", 1);
  ASSERT_FALSE(TFileWriter::SaveToFile(PathOf("cp.txt"), "caf\xC3\xA9 \xE2\x82\xAC",
                                       fwmCreateOrTruncate, etAnsi));
  EXPECT_EQ(Get("cp.txt"), "caf\xE9 \x80");
  EXPECT_EQ(TFileReader::LoadFromFile(PathOf("cp.txt")).Value().text, "caf\xC3\xA9 \xE2\x82\xAC");

  Put("undefined.txt", "ok\x81");
  EXPECT_EQ(TFileReader::LoadFromFile(PathOf("undefined.txt")).Error().message,
            "invalid ANSI text (WINDOWS-1252) at byte offset 2");

  setenv("BRIVANT_ANSI_CHARSET", "ISO-8859-1", 1);
  TextFileError error =
      TFileWriter::SaveToFile(PathOf("cp.txt"), "x\xE2\x82\xAC", fwmCreateOrTruncate, etAnsi);
  EXPECT_EQ(error.Describe(),
            PathOf("cp.txt") +
                ": character U+20AC at byte offset 1 has no equivalent in the ANSI character "
                "set ISO-8859-1");
  EXPECT_EQ(Get("cp.txt"), "caf\xE9 \x80");
}

TEST_F(TextFileTest, TextThatIsNotUtf8IsNotWritten) {
  for (TEncodingType encoding : {etAnsi, etUTF8, etUTF16LE, etUTF16BE}) {
    SCOPED_TRACE(static_cast<int>(encoding));
    Put("keep.txt", "old");
    TextFileError error =
        TFileWriter::SaveToFile(PathOf("keep.txt"), "ok\xC3", fwmCreateOrTruncate, encoding);
    EXPECT_EQ(error.Describe(),
              PathOf("keep.txt") + ": text to write is not valid UTF-8 at byte offset 2");
    EXPECT_EQ(Get("keep.txt"), "old");
  }
}

TEST_F(TextFileTest, OsFailuresCarryTheSystemText) {
  Put("file", "old");
  const struct {
    TextFileError error;
    int os_code;
    std::string expected;
  } cases[] = {
      {TFileWriter::SaveToFile(PathOf("file/new.txt"), "x", fwmCreateOrTruncate, etUTF8), ENOTDIR,
       PathOf("file/new.txt") + ": Not a directory"},
      {TFileWriter::SaveToFile(PathOf("file"), "new", fwmCreateNew, etUTF8), EEXIST,
       PathOf("file") + ": File exists"},
      {TFileReader::LoadFromFile(PathOf("missing")).Error(), ENOENT,
       PathOf("missing") + ": No such file or directory"},
      {AppendText(PathOf("no/dir.txt"), "x", etAnsi), ENOENT,
       PathOf("no/dir.txt") + ": No such file or directory"},
      {DetectFileEncoding(PathOf("file/x")).Error(), ENOTDIR,
       PathOf("file/x") + ": Not a directory"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    EXPECT_EQ(c.error.Describe(), c.expected);
    EXPECT_EQ(c.error.os_code, c.os_code);
  }
  EXPECT_EQ(Get("file"), "old");
}

TEST_F(TextFileTest, AppendKeepsTheFileEncodingWithoutAnotherMark) {
  const struct {
    std::string existing;
    TEncodingType encoding;
    std::string expected;
  } cases[] = {
      {kLeBom + std::string("x\0", 2), etUTF16LE,
       kLeBom + std::string("x\0\r\0\n\0", 6) + kSampleLe},
      {kBeBom + std::string("\0x", 2), etUTF16BE,
       kBeBom + std::string("\0x\0\r\0\n", 6) + kSampleBe},
      {kUtf8Bom + "x", etUTF8, kUtf8Bom + "x\r\n" + kSampleUtf8},
      {"x", etAnsi, "x\r\n" + kSampleUtf8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.encoding));
    Put("log.txt", c.existing);
    TextFileResult<TEncodingType> detected = DetectFileEncoding(PathOf("log.txt"));
    ASSERT_TRUE(detected.IsOk());
    EXPECT_EQ(detected.Value(), c.encoding);
    ASSERT_FALSE(AppendText(PathOf("log.txt"), "\r\n" + kSample, detected.Value()));
    EXPECT_EQ(Get("log.txt"), c.expected);
  }
}

// With the exact bytes Save writes (above), this also shows Load detecting
// each mark and dropping it.
TEST_F(TextFileTest, EveryEncodingRoundTripsThroughAFile) {
  const std::string texts[] = {"", kSample, std::string("line 1\r\nline\t2\n\0end", 18),
                               "\xF4\x8F\xBF\xBF\xEF\xBF\xBD"};  // U+10FFFF, U+FFFD
  for (TEncodingType encoding : {etAnsi, etUTF8, etUTF16LE, etUTF16BE}) {
    for (const std::string& text : texts) {
      SCOPED_TRACE(static_cast<int>(encoding));
      ASSERT_FALSE(TFileWriter::SaveToFile(PathOf("rt.txt"), text, fwmCreateOrTruncate, encoding));
      TextFileResult<TLoadedText> loaded = TFileReader::LoadFromFile(PathOf("rt.txt"));
      ASSERT_TRUE(loaded.IsOk()) << loaded.Error().Describe();
      EXPECT_EQ(loaded.Value().text, text);
      EXPECT_EQ(loaded.Value().encoding, encoding);
    }
  }
}

}  // namespace
}  // namespace brivant
