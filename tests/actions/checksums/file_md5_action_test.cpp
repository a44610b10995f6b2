#include "actions/checksums/file_md5_action.h"

#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

constexpr const char* kMD5OfAbc = "900150983CD24FB0D6963F7D28E17F72";  // RFC 1321

class FileMD5ActionTest : public ChecksumTest {
 protected:
  void SetUp() override { abc_ = MakeFile("abc.txt", "abc"); }
  bool Run(const std::string& file) {
    Set(action_, "FileName", file);
    return host_.Run(action_);
  }
  TBVFileMD5Action action_;
  std::string abc_;
};

TEST_F(FileMD5ActionTest, LogsAndStoresTheHash) {
  host_.Define("HASH");
  Set(action_, "BVVariable", std::string("HASH"));
  ASSERT_TRUE(Run(abc_));
  EXPECT_EQ(Log(), (std::vector<std::string>{"stInfo: MD5 for " + abc_ + " is " + kMD5OfAbc,
                                             "stSuccess: Success"}));
  EXPECT_EQ(host_.VariableText("HASH"), kMD5OfAbc);
}

TEST_F(FileMD5ActionTest, ComparisonsIgnoreCase) {
  Set(action_, "FailIfDiffToMD5", true);
  Set(action_, "CompareToMD5", std::string("900150983cd24fb0d6963f7d28e17f72"));
  EXPECT_TRUE(Run(abc_));
  EXPECT_EQ(host_.Texts(stSuccess)[0], "MD5 matches 900150983cd24fb0d6963f7d28e17f72");

  host_.messages.clear();
  Set(action_, "CompareToMD5", std::string("00000000000000000000000000000000"));
  EXPECT_FALSE(Run(abc_));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"MD5 don't match",
                                      "Compare to MD5: 00000000000000000000000000000000"}));
}

TEST_F(FileMD5ActionTest, ComparesWithASecondFile) {
  Set(action_, "FailIfDiffToFile", true);
  Set(action_, "CompareToFile", MakeFile("empty.txt", ""));
  EXPECT_FALSE(Run(abc_));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"MD5 don't match",
                                      "File 2 MD5: D41D8CD98F00B204E9800998ECF8427E"}));
  host_.messages.clear();
  Set(action_, "CompareToFile", MakeFile("abc2.txt", "abc"));
  EXPECT_TRUE(Run(abc_));
  EXPECT_EQ(host_.Texts(stSuccess)[0], "MD5 matches file: " + Path("abc2.txt"));
}

TEST_F(FileMD5ActionTest, FailuresAreLoggedNotThrown) {
  EXPECT_FALSE(Run(Path("missing.bin")));
  EXPECT_EQ(Log(), std::vector<std::string>{"stError: File not found: " + Path("missing.bin")});
  // Anything the engine or the host throws ends in the same two lines.
  host_.messages.clear();
  EXPECT_FALSE(Run("/proc/self/mem"));
  EXPECT_EQ(host_.Texts(stError), (std::vector<std::string>{"Couldn't compute MD5:",
                                                            "/proc/self/mem: Input/output error"}));
}

}  // namespace
}  // namespace brivant::testing
