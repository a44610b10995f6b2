#include "actions/values/sort_action.h"

#include <tuple>

#include "tests/support/action_test.h"

namespace brivant::testing {
namespace {

class SortActionTest : public ActionTest {
 protected:
  TBVSortAction action_;
};

TEST_F(SortActionTest, SortsInTheChosenOrder) {
  const std::tuple<TBVSortMethod, bool, bool, bool, const char*, const char*> rows[] = {
      {smText, false, false, false, "b\nA\na\nB", "A\na\nb\nB"},
      {smText, false, true, false, "b\nA\na\nB", "A\nB\na\nb"},
      {smText, true, false, true, "b\nA\na\nB", "b\nA"},
      {smNatural, false, false, false, "f10\nf9\nF1\nf010x", "F1\nf9\nf10\nf010x"},
      {smNumeric, false, false, false, "10\n-2\nx\n9.5\n", "-2\n9.5\n10\nx\n"},
      {smNumeric, true, false, true, "1\r\n1.0\r\n3", "3\r\n1"},
  };
  for (const auto& [method, descending, case_sensitive, unique, text, sorted] : rows) {
    SCOPED_TRACE(text);
    host_.Define("L", Variant(text));
    Set(action_, "BVVariable", std::string("L"));
    Set(action_, "SortMethod", int64_t{method});
    Set(action_, "Descending", descending);
    Set(action_, "CaseSensitive", case_sensitive);
    Set(action_, "RemoveDuplicates", unique);
    ASSERT_TRUE(host_.Run(action_));
    EXPECT_EQ(host_.VariableText("L"), sorted);
  }
}

TEST_F(SortActionTest, FileIsSortedIntoAnotherFileInItsEncoding) {
  WriteBytes(Path("in.txt"), std::string("\xFF\xFE"
                                         "b\0\r\0\n\0a\0\r\0\n\0",
                                         14));
  Set(action_, "UseVariable", false);
  Set(action_, "SourceFile", Path("in.txt"));
  Set(action_, "OutputMode", int64_t{soFile});
  Set(action_, "DestinationFile", Path("out.txt"));
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(ReadBytes(Path("out.txt")), std::string("\xFF\xFE"
                                                    "a\0\r\0\n\0b\0\r\0\n\0",
                                                    14));
  EXPECT_EQ(host_.Texts(stSuccess).back(), "Sorted 2 lines");
}

}  // namespace
}  // namespace brivant::testing
