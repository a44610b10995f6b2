#include "actions/checksums/file_crc_action.h"

#include <tuple>

#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

class FileCRCActionTest : public ChecksumTest {
 protected:
  void SetUp() override {
    check_ = MakeFile("check.txt", "123456789");  // CRC-32 $CBF43926 = 3421780262
    other_ = MakeFile("other.txt", "abc");        // $352441C2
  }
  bool Run(const std::string& file) {
    Set(action_, "FileName", file);
    return host_.Run(action_);
  }
  TBVFileCRCAction action_;
  std::string check_, other_;
};

TEST_F(FileCRCActionTest, LogsAndStoresTheValueInEitherForm) {
  host_.Define("CRC");
  Set(action_, "BVVariable", std::string("CRC"));
  ASSERT_TRUE(Run(check_));
  EXPECT_EQ(Log(), (std::vector<std::string>{"stInfo: CRC32 for " + check_ + " is $CBF43926",
                                             "stSuccess: Success"}));
  EXPECT_EQ(host_.VariableText("CRC"), "$CBF43926");
  Set(action_, "UseDecimal", true);
  ASSERT_TRUE(Run(check_));
  EXPECT_EQ(host_.VariableText("CRC"), "3421780262");
}

TEST_F(FileCRCActionTest, ComparisonValueMustBeInTheActionsExactForm) {
  const std::tuple<const char*, bool, bool> cases[] = {
      {"$CBF43926", false, true}, {"$cbf43926", false, false}, {"CBF43926", false, false},
      {"3421780262", true, true}, {"$CBF43926", true, false},
  };
  for (const auto& [compare_to, use_decimal, matches] : cases) {
    SCOPED_TRACE(compare_to);
    host_.messages.clear();
    Set(action_, "FailIfDiffToCRC", true);
    Set(action_, "CompareToCRC", std::string(compare_to));
    Set(action_, "UseDecimal", use_decimal);
    EXPECT_EQ(Run(check_), matches);
    if (matches) {
      EXPECT_EQ(host_.Texts(stSuccess),
                (std::vector<std::string>{std::string("CRC matches: ") + compare_to, "Success"}));
    } else {
      EXPECT_EQ(host_.Texts(stError),
                (std::vector<std::string>{"CRC don't match",
                                          std::string("Compare to CRC: ") + compare_to}));
    }
  }
}

TEST_F(FileCRCActionTest, ComparesWithASecondFile) {
  Set(action_, "FailIfDiffToFile", true);
  Set(action_, "CompareToFile", other_);
  EXPECT_FALSE(Run(check_));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"CRC don't match", "File 2 CRC: $352441C2"}));
  host_.messages.clear();
  MakeFile("copy.txt", "123456789");
  Set(action_, "CompareToFile", Path("copy.txt"));
  EXPECT_TRUE(Run(check_));
  EXPECT_EQ(host_.Texts(stSuccess)[0], "CRC matches file: " + Path("copy.txt"));
}

TEST_F(FileCRCActionTest, MissingAndUnreadableFilesFailWithTheirNames) {
  EXPECT_FALSE(Run(Path("missing.bin")));
  EXPECT_EQ(Log(), std::vector<std::string>{"stError: File not found: " + Path("missing.bin")});
  host_.messages.clear();
  Set(action_, "FailIfDiffToFile", true);
  Set(action_, "CompareToFile", Path("gone.bin"));
  EXPECT_FALSE(Run(check_));
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{"File not found: " + Path("gone.bin")});

  // /proc/self/mem is a regular file that fails every read at offset 0, for
  // root too.
  host_.messages.clear();
  EXPECT_FALSE(Run("/proc/self/mem"));
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{"Error getting crc32 : /proc/self/mem: "
                                                           "Input/output error"});
}

}  // namespace
}  // namespace brivant::testing
