// The File Contents and List iterators, driven as the build runner drives
// a loop.
#include <tuple>

#include "actions/iterators/list_iterator.h"
#include "actions/iterators/read_text_file_iterator.h"
#include "tests/actions/iterators/iterator_fixture.h"

namespace brivant::testing {
namespace {

using Items = std::vector<std::string>;

class TextIteratorsTest : public IteratorTest {};

TEST_F(TextIteratorsTest, FileContentsIteratorGivesEachLine) {
  const std::pair<std::string, Items> rows[] = {
      {"a\r\nb\r\n", {"a", "b"}},
      {"a\nb", {"a", "b"}},
      {"a\r\n\r\nc\r", {"a", "", "c"}},
      {"\xEF\xBB\xBF\xC3\xA9", {"\xC3\xA9"}},
      {"", {}},
  };
  for (const auto& [bytes, lines] : rows) {
    SCOPED_TRACE(bytes);
    TReadTextFileIterator iterator;
    WriteBytes(Path("in.txt"), bytes);
    Set(iterator, "TextFileName", Path("in.txt"));
    bool executed = false;
    EXPECT_EQ(RunLoop(iterator, {}, &executed), lines);
    EXPECT_TRUE(executed);
    EXPECT_EQ(host_.Texts(stInfo).back(),
              "File contains " + std::to_string(lines.size()) + " lines");
  }
  TReadTextFileIterator missing;
  Set(missing, "TextFileName", Path("missing.txt"));
  EXPECT_FALSE(host_.Run(missing));
  EXPECT_EQ(host_.Texts(stError).back(), "File doesn't exist");
}

TEST_F(TextIteratorsTest, ListIteratorSplitsAtItsSeparator) {
  const std::tuple<Items, TBVListSeparator, const char*, bool, Items> rows[] = {
      {{"a,b,,c"}, lsCharacter, ",", true, {"a", "b", "c"}},
      {{"a,b,,c"}, lsCharacter, ",", false, {"a", "b", "", "c"}},
      {{"a::b::::::c::"}, lsCharacter, "::", true, {"a", "b", "c"}},
      {{"one\ttwo", "lines\tthree"}, lsTab, "", true, {"one", "two\r\nlines", "three"}},
      {{"a", "", "", "", "b", ""}, lsCRLF, "", true, {"a", "b"}},
      {{"a", "", "b"}, lsCRLF, "", false, {"a", "", "b"}},
      {{"%X%;y"}, lsCharacter, ";", true, {"x1", "y"}},
      {{}, lsCRLF, "", true, {}},
  };
  host_.Define("X", Variant("x1"));
  for (const auto& [list, separator, separator_char, skip_blank, items] : rows) {
    SCOPED_TRACE(items.size());
    TBVListIterator iterator;
    Set(iterator, "ListOfItems", list);
    Set(iterator, "ListSeparator", int64_t{separator});
    Set(iterator, "SeparatorChar", std::string(separator_char));
    Set(iterator, "SkipBlankLines", skip_blank);
    EXPECT_EQ(RunLoop(iterator), items);
    EXPECT_EQ(host_.Texts(stInfo).back(), "Found " + std::to_string(items.size()) + " Items");
  }
}

}  // namespace
}  // namespace brivant::testing
