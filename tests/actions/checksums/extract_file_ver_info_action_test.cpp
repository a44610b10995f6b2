#include "actions/checksums/extract_file_ver_info_action.h"

#include <tuple>

#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

// Built by tests/data/pe/make.sh: file version 1.2.3.64, product version
// 5.6.65535.8, custom string BuildTag "nightly-42".
const std::string kExe64 = std::string(BRIVANT_PE_TEST_DATA) + "/ver64.exe";

class ExtractFileVerInfoActionTest : public ChecksumTest {
 protected:
  bool Extract(const std::string& file, std::vector<std::string> lines, bool ignore = true) {
    Set(action_, "FileName", file);
    Set(action_, "VerInfoList", lines);
    Set(action_, "IgnoreIfNotFound", ignore);
    host_.messages.clear();
    return host_.Run(action_);
  }
  TBVExtractFileVerInfoAction action_;
};

TEST_F(ExtractFileVerInfoActionTest, ResolvesNamedPatternAndCustomFields) {
  const std::tuple<const char*, const char*> cases[] = {
      {"FileVersion=V", "1.2.3.64"},
      {"File Version=V", "1.2.3.64"},
      {"fileversion=V", "1.2.3.64"},
      {"Product  Version = V", "5.6.65535.8"},
      {"CompanyName=V", "Brivant Test Co."},
      {"OriginalFilename=V", "ver64.exe"},
      {"LegalCopyright=V", "Copyright \xC2\xA9 2026 Brivant tests"},
      {"Signature=V", "FEEF04BD"},
      {"BuildTag=V", "nightly-42"},
      {"companyname=V", "Brivant Test Co."},  // not an exact name: looked up as a custom string
  };
  host_.Define("V");
  for (const auto& [line, value] : cases) {
    SCOPED_TRACE(line);
    ASSERT_TRUE(Extract(kExe64, {line}));
    EXPECT_EQ(host_.VariableText("V"), value);
  }
  EXPECT_EQ(Log(),
            (std::vector<std::string>{"stInfo: Getting file version information for " + kExe64,
                                      "stInfo: companyname is Brivant Test Co.",
                                      "stSuccess: Version information successfully retrieved"}));
}

TEST_F(ExtractFileVerInfoActionTest, MissingFieldIsAWarningOnlyWhenIgnored) {
  host_.Define("V", Variant(std::string("before")));
  host_.Define("W", Variant(std::string("before")));
  ASSERT_TRUE(Extract(kExe64, {"FileVersion=V", "NoSuchField=W"}));
  EXPECT_EQ(host_.Texts(stWarning),
            std::vector<std::string>{"Version Information NoSuchField not found"});
  EXPECT_EQ(host_.VariableText("V"), "1.2.3.64");
  EXPECT_EQ(host_.VariableText("W"), "");

  host_.Define("V", Variant(std::string("before")));
  EXPECT_FALSE(Extract(kExe64, {"FileVersion=V", "NoSuchField=W"}, /*ignore=*/false));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"Version Information NoSuchField not found",
                                      "Getting file version information failed"}));
  EXPECT_EQ(host_.VariableText("V"), "before") << "nothing is set when the lookup fails";
}

TEST_F(ExtractFileVerInfoActionTest, ChecksComeBeforeTheFileIsRead) {
  EXPECT_FALSE(Extract(Path("missing.exe"), {"FileVersion=UNDECLARED"}));
  EXPECT_EQ(Log(), std::vector<std::string>{"stError: Variable : UNDECLARED - is not defined"});
  host_.Define("V");
  EXPECT_FALSE(Extract(Path("missing.exe"), {"FileVersion=V"}));
  EXPECT_EQ(Log(),
            std::vector<std::string>{"stError: File " + Path("missing.exe") + " does not exist"});
  EXPECT_FALSE(Extract(kExe64, {}));
  EXPECT_EQ(Log(), std::vector<std::string>{"stError: No version info fields configured"});
}

TEST_F(ExtractFileVerInfoActionTest, FilesWithoutVersionInformationFail) {
  host_.Define("V");
  std::string text = MakeFile("notes.txt", "not a program");
  EXPECT_FALSE(Extract(text, {"FileVersion=V"}));
  EXPECT_EQ(Log(),
            (std::vector<std::string>{"stInfo: Getting file version information for " + text,
                                      "stWarning: Could not read version information from " + text +
                                          ": not a Windows executable (no MZ signature)",
                                      "stError: Getting file version information failed"}));
  std::string bare = std::string(BRIVANT_PE_TEST_DATA) + "/noversion64.exe";
  EXPECT_FALSE(Extract(bare, {"FileVersion=V"}, /*ignore=*/false));
  EXPECT_EQ(host_.Texts(stError).front(),
            "Could not read version information from " + bare + ": no version resource");
}

TEST_F(ExtractFileVerInfoActionTest, RenamedVariablesAreFollowed) {
  Set(action_, "VerInfoList",
      std::vector<std::string>{"FileVersion=VER", "CompanyName=ver", "Comments=OTHER", "Bare"});
  action_.RenameVariableReference({"Ver=BUILD_VERSION"});
  EXPECT_EQ(std::get<std::vector<std::string>>(Get(action_, "VerInfoList")),
            (std::vector<std::string>{"FileVersion=BUILD_VERSION", "CompanyName=BUILD_VERSION",
                                      "Comments=OTHER", "Bare"}));
}

}  // namespace
}  // namespace brivant::testing
