#include "actions/checksums/file_compare_action.h"

#include <filesystem>
#include <tuple>

#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

class FileCompareActionTest : public ChecksumTest {
 protected:
  bool Compare(const std::string& a, const std::string& b) {
    Set(action_, "FileA", a);
    Set(action_, "FileB", b);
    host_.messages.clear();
    return host_.Run(action_);
  }
  static void SetTime(const std::string& path, std::filesystem::file_time_type time) {
    std::filesystem::last_write_time(path, time);
  }
  TBVFileCompareAction action_;
};

TEST_F(FileCompareActionTest, VerdictFollowsInvertedAndFail) {
  std::string a = MakeFile("a.bin", "same");
  std::string same = MakeFile("same.bin", "same");
  std::string other = MakeFile("other.bin", "diff");
  const std::tuple<bool, bool, bool, const char*, TStatusTag, bool, TBVNextAction> cases[] = {
      {false, true, true, "Files are different.", stSuccess, true, naRunChildren},
      {false, true, false, "No differences found.", stError, false, naRunChildren},
      {false, false, true, "Files are different - running child actions", stSuccess, true,
       naRunChildren},
      {false, false, false, "No differences found - not running child actions", stSuccess, true,
       naSkipChildren},
      {true, true, true, "Files are different.", stError, false, naRunChildren},
      {true, true, false, "No differences found.", stSuccess, true, naRunChildren},
      {true, false, true, "Files are different - not running child action", stSuccess, true,
       naSkipChildren},
      {true, false, false, "No differences found - running child actions", stSuccess, true,
       naRunChildren},
  };
  for (const auto& [inverted, fail, different, line, tag, result, next] : cases) {
    SCOPED_TRACE(std::string(inverted ? "inverted " : "") + (fail ? "fail " : "") +
                 (different ? "different" : "same"));
    Set(action_, "Inverted", inverted);
    Set(action_, "Fail", fail);
    EXPECT_EQ(Compare(a, different ? other : same), result);
    EXPECT_EQ(host_.messages.back(), (LoggedMessage{tag, line}));
    EXPECT_EQ(NextAfterExecute(action_), next);
  }
}

TEST_F(FileCompareActionTest, SameSizeDifferentContentIsFoundOnlyByMD5) {
  std::string a = MakeFile("a.bin", "abc");
  std::string b = MakeFile("b.bin", "abd");
  SetTime(b, std::filesystem::last_write_time(a));
  Set(action_, "CompareDate", true);
  Set(action_, "CompareSize", true);
  Set(action_, "CompareMD5", false);
  Set(action_, "Fail", true);
  EXPECT_FALSE(Compare(a, b));
  EXPECT_EQ(host_.Texts(stInfo)[3], "Files are of identical size (3 bytes)");
  Set(action_, "CompareMD5", true);
  EXPECT_TRUE(Compare(a, b));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"Files have different MD5 checksums.",
                                      "File 1 MD5: 900150983CD24FB0D6963F7D28E17F72",
                                      "File 2 MD5: 4911E516E5AA21D327512E0C8B197616"}));
}

TEST_F(FileCompareActionTest, SizeIsComparedAfterADateDifferenceAndMD5IsSkipped) {
  std::string a = MakeFile("a.bin", "abc");
  std::string b = MakeFile("b.bin", "abcd");
  // Same day, an hour apart: different, though both show the same date.
  SetTime(b, std::filesystem::last_write_time(a) + std::chrono::hours(1));
  Set(action_, "CompareDate", true);
  Set(action_, "CompareSize", true);
  Set(action_, "Fail", true);
  EXPECT_TRUE(Compare(a, b));
  std::vector<std::string> errors = host_.Texts(stError);
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].rfind("Files have different dates (", 0), 0u) << errors[0];
  EXPECT_EQ(errors[1], "Files are different sizes (3 vs 4)");
  EXPECT_EQ(Log().front(), "stInfo: Comparing file " + a);
  EXPECT_EQ(Log().at(1), "stInfo: with file " + b);
  EXPECT_EQ(Log().size(), 5u) << "no MD5 lines after a difference";
}

// Sizes are compared by their low 32 bits: 4 GiB + 1 byte "equals" 1 byte.
// The large file is sparse, so the test costs no disk space.
TEST_F(FileCompareActionTest, SizesAboveFourGiBCompareByTheirLow32Bits) {
  std::string small = MakeFile("small.bin", "x");
  std::string large = MakeFile("large.bin", "");
  std::filesystem::resize_file(large, (uint64_t{1} << 32) + 1);
  Set(action_, "CompareSize", true);
  Set(action_, "CompareMD5", false);
  Set(action_, "Fail", true);
  EXPECT_FALSE(Compare(small, large));
  EXPECT_EQ(host_.Texts(stInfo).back(), "Files are of identical size (1 bytes)");
}

TEST_F(FileCompareActionTest, BadSetupsFail) {
  std::string a = MakeFile("a.bin", "abc");
  EXPECT_FALSE(Compare(a, Path("missing.bin")));
  EXPECT_EQ(Log(),
            std::vector<std::string>{"stError: File doesn't Exist : " + Path("missing.bin")});
  Set(action_, "CompareMD5", false);
  EXPECT_FALSE(Compare(a, a));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Nothing to compare files by! Choose "
                                     "one or more of date, size or checksum."});
  Set(action_, "CompareMD5", true);
  EXPECT_FALSE(Compare(a, "/proc/self/mem"));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"Could not compute MD5 for /proc/self/mem:",
                                      "/proc/self/mem: Input/output error"}));
}

TEST_F(FileCompareActionTest, ALinkHasTheDateOfItsTarget) {
  std::string a = MakeFile("a.bin", "abc");
  SetTime(a, std::filesystem::last_write_time(a) - std::chrono::hours(48));
  std::filesystem::create_symlink(a, Path("link"));
  Set(action_, "CompareDate", true);
  Set(action_, "CompareMD5", false);
  EXPECT_TRUE(Compare(Path("link"), a));
  EXPECT_EQ(host_.messages.back(),
            (LoggedMessage{stSuccess, "No differences found - not running child actions"}));
}

TEST_F(FileCompareActionTest, LongDescriptionsDropTheDirectories) {
  std::string dir_a = "/build/" + std::string(60, 'a') + "/";
  std::string dir_b = "/reference/" + std::string(40, 'b') + "/";
  Set(action_, "FileA", dir_a + "app.bin");
  Set(action_, "FileB", dir_b + "app.bin");
  EXPECT_EQ(action_.GetFormattedDescription(), "File Compare [app.bin and " + dir_b + "app.bin]");
  Set(action_, "FileB", dir_b + std::string(40, 'c'));
  EXPECT_EQ(action_.GetFormattedDescription(),
            "File Compare [app.bin and " + std::string(40, 'c') + "]");
}

}  // namespace
}  // namespace brivant::testing
