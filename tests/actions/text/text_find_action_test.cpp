#include "actions/text/text_find_action.h"

#include <filesystem>
#include <tuple>

#include "host/script_engine.h"
#include "tests/support/action_test.h"
#include "tests/support/listed_file_set.h"

namespace brivant::testing {
namespace {

class TextFindActionTest : public ActionTest {
 protected:
  TextFindActionTest() {
    host_.script_runner = [this](TCustomBVAction& action, const TBVActionScript& script,
                                 ScriptParameters* parameters) {
      return engine_.Run(action, script, parameters);
    };
  }
  // Searches the variable IN for `search`; with a replacement, into OUT.
  bool FindInVariable(const std::string& text, const std::string& search,
                      const char* replacement = nullptr) {
    host_.Define("IN", Variant(text));
    host_.Define("OUT");
    Set(action_, "UseVariable", true);
    Set(action_, "BVVariable", std::string("IN"));
    Set(action_, "SearchString", search);
    if (replacement != nullptr) {
      Set(action_, "ReplacementMode", int64_t{trDestinationVariable});
      Set(action_, "DestinationVariable", std::string("OUT"));
      Set(action_, "ReplacementText", std::string(replacement));
    }
    return host_.Run(action_);
  }
  // Replaces `search` in the file `name` in place.
  bool ReplaceInFile(const std::string& name, const std::string& search,
                     const std::string& replacement) {
    Set(action_, "SourcePath", Path(name));
    Set(action_, "SearchString", search);
    Set(action_, "ReplacementMode", int64_t{trOriginalFile});
    Set(action_, "ReplacementText", replacement);
    return host_.Run(action_);
  }
  void Clear() {
    host_.messages.clear();
    host_.progress.clear();
    host_.events.clear();
  }
  std::string LastError() const {
    std::vector<std::string> errors = host_.Texts(stError);
    return errors.empty() ? "" : errors.back();
  }

  host::ScriptEngine engine_{host_};
  TBVTextFindAction action_;
};

TEST_F(TextFindActionTest, BuildsThePatternFromTheOptions) {
  const std::tuple<const char*, bool, bool, bool, bool, bool, const char*, int> rows[] = {
      {"a.b", false, true, false, false, false, "a\\.b", 1},
      {"cat", false, false, true, false, false, "(?i)\\bcat\\b", 2},
      {"cat", false, true, true, true, false, "\\bcat\\b", 1},
      {"cat", false, true, false, true, false, "^cat$", 1},
      {"c*t", false, true, false, false, true, "c.*t", 2},
      {"c?t", false, true, false, false, true, "c.t", 2},
      {"[ac]+t", true, true, true, false, true, "[ac]+t", 3},
      {"^CAT", true, false, false, false, false, "^CAT", 3},
  };
  for (const auto& [search, regex, case_sensitive, whole_words, whole_lines, wildcards, pattern,
                    count] : rows) {
    SCOPED_TRACE(pattern);
    Clear();
    Set(action_, "MatchRegExpr", regex);
    Set(action_, "CaseSensitive", case_sensitive);
    Set(action_, "WholeWords", whole_words);
    Set(action_, "WholeLinesOnly", whole_lines);
    Set(action_, "MatchWildcards", wildcards);
    ASSERT_TRUE(FindInVariable("cat\r\nCat axb\r\ncats a.b", search));
    EXPECT_EQ(host_.Texts(stInfo).front(), std::string("Expression to Match is : ") + pattern);
    EXPECT_EQ(host_.Texts(stSuccess).back(), "Found " + std::to_string(count) + " matches");
  }
}

TEST_F(TextFindActionTest, ReplacementReferencesNeedSubstituteAndRegex) {
  const std::tuple<bool, bool, const char*, const char*, const char*> rows[] = {
      {false, false, "ab", "[$&]", "x[$&]y"},
      {false, true, "ab", "[$&|${0}|$1]", "x[$&|${0}|$1]y"},
      {true, false, "(a)(b)", "[$2$1]", "x[$2$1]y"},
      {true, true, "(a)(b)", "[$2$1|${1}|$&|${&}|\\$1|$7]", "x[ba|a|ab|ab|$1|$7]y"},
  };
  for (const auto& [regex, substitute, search, replacement, result] : rows) {
    SCOPED_TRACE(replacement);
    Set(action_, "MatchRegExpr", regex);
    Set(action_, "Substitute", substitute);
    ASSERT_TRUE(FindInVariable("xaby", search, replacement));
    EXPECT_EQ(host_.VariableText("OUT"), result);
  }
}

TEST_F(TextFindActionTest, MatchTypeActsOnFirstOrLastButCountsAsSaid) {
  const std::tuple<TMatchType, const char*, int> rows[] = {
      {mtAll, "X X X", 3}, {mtFirstOnly, "X a a", 1}, {mtLastOnly, "a a X", 3}};
  for (const auto& [type, result, count] : rows) {
    SCOPED_TRACE(result);
    Clear();
    Set(action_, "MatchType", int64_t{type});
    ASSERT_TRUE(FindInVariable("a a a", "a", "X"));
    EXPECT_EQ(host_.VariableText("OUT"), result);
    EXPECT_EQ(host_.Texts(stSuccess).back(), "Found " + std::to_string(count) + " matches");
  }
}

TEST_F(TextFindActionTest, FailBehavioursAndCountVariable) {
  const std::tuple<TTextFindBehaviour, int, bool, const char*> rows[] = {
      {tfFailOnLess, 3, false, "Failing due to insufficient matches."},
      {tfFailOnLess, 2, true, ""},
      {tfFailOnMore, 1, false, "Failing due to too many matches."},
      {tfFailOnMore, 2, true, ""},
  };
  for (const auto& [behaviour, limit, succeeds, error] : rows) {
    SCOPED_TRACE(error);
    Clear();
    Set(action_, "TextFindBehaviour", int64_t{behaviour});
    Set(action_, "FailMatchCount", int64_t{limit});
    Set(action_, "FailOnMoreMatchCount", int64_t{limit});
    EXPECT_EQ(FindInVariable("a a", "a"), succeeds);
    EXPECT_EQ(LastError(), error);
  }
  Set(action_, "TextFindBehaviour", int64_t{tfPutIntoVar});
  Set(action_, "PutCountIntoVar", std::string("N"));
  host_.Define("N", Variant(0));
  ASSERT_TRUE(FindInVariable("a a a", "a"));
  EXPECT_EQ(host_.VariableText("N"), "3");
}

TEST_F(TextFindActionTest, OriginalFileIsRewrittenOnlyWhenSomethingMatched) {
  WriteBytes(Path("in.txt"), "alpha beta");
  ASSERT_TRUE(ReplaceInFile("in.txt", "gamma", "x"));
  EXPECT_EQ(host_.Texts(stInfo).back(), "File not replaced as no matches found");
  ASSERT_TRUE(ReplaceInFile("in.txt", "beta", "gamma"));
  EXPECT_EQ(ReadBytes(Path("in.txt")), "alpha gamma");
  Set(action_, "ReplacementMode", int64_t{trDestinationFile});
  Set(action_, "DestinationFile", Path("out.txt"));
  ASSERT_TRUE(host_.Run(action_));  // no match: the destination is written all the same
  EXPECT_EQ(ReadBytes(Path("out.txt")), "alpha gamma");
}

TEST_F(TextFindActionTest, EncodingsAndLineBreaksAreKept) {
  const std::pair<const char*, std::string> rows[] = {
      {"utf-8", "x\r\nb\xC3\xA9"},
      {"utf-8 with mark", "\xEF\xBB\xBFx\r\nb\xC3\xA9"},
      {"utf-16 le", std::string("\xFF\xFEx\0\r\0\n\0b\0\xE9\0", 12)},
  };
  for (const auto& [name, bytes] : rows) {
    SCOPED_TRACE(name);
    WriteBytes(Path("in.txt"), bytes);
    ASSERT_TRUE(ReplaceInFile("in.txt", "x", "y"));
    std::string expected = bytes;
    expected[expected.find('x')] = 'y';
    EXPECT_EQ(ReadBytes(Path("in.txt")), expected);
  }
}

TEST_F(TextFindActionTest, FileSetCountsPerFileOrInTotal) {
  WriteBytes(Path("a.txt"), "k k\nz");
  WriteBytes(Path("b.txt"), "z\r\nk");
  ListedFileSet files({Path("a.txt"), Path("b.txt")});
  host_.AddProjectObject("FileSetObject", "Sources", &files);
  Set(action_, "UseFileSet", true);
  Set(action_, "FileSetName", std::string("Sources"));
  ASSERT_TRUE(ReplaceInFile("unused", "k", "K"));
  EXPECT_EQ(host_.Texts(stInfo)[2], "Found 2 matches.");
  EXPECT_EQ(host_.progress[1], (std::pair<std::string, int>{"Searched in 1 files", 50}));
  EXPECT_EQ(ReadBytes(Path("a.txt")), "K K\nz\n");  // every file gets a final line break
  EXPECT_EQ(ReadBytes(Path("b.txt")), "z\r\nK\r\n");
  Clear();
  host_.AddProjectObject("FileSetObject", "Sources", &files);
  Set(action_, "FileSetCountAllMatches", true);
  Set(action_, "ReplacementMode", int64_t{trNone});
  Set(action_, "SearchString", std::string("z"));
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.progress[1], (std::pair<std::string, int>{"Found 2 matches in 1 files", 50}));
  EXPECT_EQ(host_.Texts(stSuccess).back(), "Found 2 matches");
  Set(action_, "FileSetCountAllMatches", false);
  Set(action_, "TextFindBehaviour", int64_t{tfFailOnLess});
  Set(action_, "SearchString", std::string("k"));
  EXPECT_FALSE(host_.Run(action_));  // a.txt has no lower-case k any more
}

TEST_F(TextFindActionTest, ScriptsChangeTheReplacementAndSeeEachGroup) {
  action_.GetScriptByName("OnFindText")
      ->SetCode("ReplaceText = FoundText.toUpperCase() + Offset + '/' + Count;");
  action_.GetScriptByName("OnMatchGroup")
      ->SetCode("Brivant.log(MatchIndex + ':' + GroupIndex + '=' + Text);");
  Set(action_, "MatchRegExpr", true);
  ASSERT_TRUE(FindInVariable("\xC3\xA9-ab ab", "a(b)", ""));
  EXPECT_EQ(host_.VariableText("OUT"), "\xC3\xA9-AB2/1 AB5/2");
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{"Expression to Match is : a(b)", "1:0=ab", "1:1=b", "2:0=ab",
                                      "2:1=b", "Found 2 matches.",
                                      "Writing replaced data to variable OUT..."}));
}

TEST_F(TextFindActionTest, BadInputFailsAndWritesNothing) {
  WriteBytes(Path("binary.bin"), std::string("ab\0cd", 5));
  WriteBytes(Path("latin1.txt"), "caf\xE9 ab");
  WriteBytes(Path("long.txt"), std::string(5000, 'a') + "b");
  WriteBytes(Path("huge.txt"), "");
  std::filesystem::resize_file(Path("huge.txt"), TBVTextFindAction::kMaxFileBytes + 1);
  const std::tuple<const char*, const char*, bool, const char*> rows[] = {
      {"long.txt", "(a", true, "missing closing parenthesis at offset 2"},
      {"long.txt", "(a+)+$", true, "A syntax error occured parsing the Regular Expression : "},
      {"binary.bin", "ab", false, "not a text file: NUL character at text offset 2"},
      {"latin1.txt", "ab", false, "at byte offset 3"},
      {"huge.txt", "ab", false, "text files are read whole and may have at most 268435456"},
  };
  for (const auto& [file, search, regex, error] : rows) {
    SCOPED_TRACE(file);
    bool small = std::string(file) != "huge.txt";
    std::string before = small ? ReadBytes(Path(file)) : "";
    Set(action_, "MatchRegExpr", regex);
    Set(action_, "DestinationFile", Path("out.txt"));
    Set(action_, "SourcePath", Path(file));
    Set(action_, "SearchString", std::string(search));
    Set(action_, "ReplacementMode", int64_t{trDestinationFile});
    EXPECT_FALSE(host_.Run(action_));
    EXPECT_NE(LastError().find(error), std::string::npos) << LastError();
    if (small) {
      EXPECT_EQ(ReadBytes(Path(file)), before);
    }
    EXPECT_FALSE(std::filesystem::exists(Path("out.txt")));
  }
}

// Counting reads a file in blocks of half a MiB; matches, characters and
// lookbehinds that straddle a block end count as in a whole read.
TEST_F(TextFindActionTest, CountingAcrossBlockEndsMatchesTheWholeText) {
  const std::string lead(512 * 1024 - 1, '-');
  const std::tuple<std::string, const char*, TMatchType, const char*> rows[] = {
      {lead + "XY--XY", "XY", mtAll, "Found 2 matches."},
      {lead + "\xC3\xA9X\n\xC3\xA9X", "(?<=\xC3\xA9)X$", mtAll, "Found 2 matches."},
      {lead + "a\r\nb" + lead + "a\nb", "a\\r?\\nb", mtFirstOnly, "Found 1 match."},
      {"\xEF\xBB\xBF" + lead + "-\xC3\xA9", "^-+\xC3\xA9$", mtAll, "Found 1 match."},
      {lead + "a\xC3", "a", mtAll, "invalid UTF-8 at byte offset 524288"},
      {lead + std::string("a\0", 2), "a", mtAll, "NUL character at byte offset 524288"},
  };
  for (const auto& [bytes, pattern, type, message] : rows) {
    SCOPED_TRACE(message);
    Clear();
    WriteBytes(Path("big.txt"), bytes);
    Set(action_, "SourcePath", Path("big.txt"));
    Set(action_, "SearchString", std::string(pattern));
    Set(action_, "MatchRegExpr", true);
    Set(action_, "MatchType", int64_t{type});
    host_.Run(action_);
    std::vector<std::string> lines = host_.Texts(stInfo);
    lines.push_back(LastError());
    EXPECT_NE(std::find_if(lines.begin(), lines.end(),
                           [&](const std::string& line) { return line.ends_with(message); }),
              lines.end());
  }
}

}  // namespace
}  // namespace brivant::testing
