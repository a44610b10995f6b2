#include "actions/text/read_text_file_action.h"

#include <tuple>

#include "package/exceptions.h"
#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class ReadTextFileActionTest : public ActionTest {
 protected:
  bool Read(const std::string& file, bool escape = true) {
    Set(action_, "FileName", Path(file));
    Set(action_, "BVVariable", std::string("TEXT"));
    Set(action_, "PutContentsInVar", true);
    Set(action_, "EscapeVariables", escape);
    return host_.Run(action_);
  }
  TBVReadTextFileAction action_;
};

TEST_F(ReadTextFileActionTest, ReadsEveryEncodingByItsMark) {
  const std::tuple<const char*, std::string> cases[] = {
      {"ansi", "h\xC3\xA9"},
      {"utf8", "\xEF\xBB\xBFh\xC3\xA9"},
      {"utf16le", std::string("\xFF\xFEh\0\xE9\0", 6)},
      {"utf16be", std::string("\xFE\xFF\0h\0\xE9", 6)},
  };
  for (const auto& [name, bytes] : cases) {
    SCOPED_TRACE(name);
    WriteBytes(Path("in.txt"), bytes);
    ASSERT_TRUE(Read("in.txt"));
    EXPECT_EQ(host_.VariableText("TEXT"), "h\xC3\xA9");
  }
  EXPECT_EQ(host_.Texts(stSuccess).back(), "Successfully read file " + Path("in.txt"));
}

TEST_F(ReadTextFileActionTest, EscapesReferenceMarkersAndDropsNuls) {
  WriteBytes(Path("in.txt"), std::string("50%\0 $(X)", 9));
  ASSERT_TRUE(Read("in.txt"));
  EXPECT_EQ(host_.VariableText("TEXT"), "50%% $$(X)");
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{"Reading file...", "Escaping variables..."}));
  ASSERT_TRUE(Read("in.txt", /*escape=*/false));
  EXPECT_EQ(host_.VariableText("TEXT"), "50% $(X)");
}

TEST_F(ReadTextFileActionTest, MissingAndUndecodableFilesFail) {
  EXPECT_FALSE(Read("missing.txt"));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"ERROR - File does not exists: " + Path("missing.txt")});
  WriteBytes(Path("odd.txt"), std::string("\xFF\xFE"
                                          "a",
                                          3));
  EXPECT_FALSE(Read("odd.txt"));
  EXPECT_EQ(host_.Texts(stError).at(1), "Failed to read from text file:");
  EXPECT_EQ(host_.Texts(stError).size(), 3u);
  EXPECT_EQ(host_.VariableText("TEXT"), "<undefined>");
}

TEST_F(ReadTextFileActionTest, LineScriptRunsOncePerLine) {
  WriteBytes(Path("in.txt"), "one\r\ntwo\nthree\r\n");
  std::vector<std::string> lines;
  host_.script_runner = [&lines](TCustomBVAction&, const TBVActionScript& script,
                                 ScriptParameters* parameters) {
    EXPECT_EQ(script.Name(), "OnReadLine");
    lines.push_back(parameters->at(0).second.ToString());
    return Variant();
  };
  action_.GetScriptByName("OnReadLine")->SetCode("log(LineText);");
  ASSERT_TRUE(Read("in.txt"));
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "three"}));
}

TEST_F(ReadTextFileActionTest, FailingScriptFailsTheAction) {
  WriteBytes(Path("in.txt"), "line");
  host_.script_runner = [](TCustomBVAction&, const TBVActionScript&, ScriptParameters*) -> Variant {
    throw EFailAction("ReferenceError: x is not defined");
  };
  action_.GetScriptByName("OnReadLine")->SetCode("x");
  EXPECT_FALSE(Read("in.txt"));
  EXPECT_EQ(host_.Texts(stError), (std::vector<std::string>{"Failed to read from text file:",
                                                            "ReferenceError: x is not defined"}));
}

}  // namespace
}  // namespace brivant::testing
