// TIniFile against what the Windows profile functions do (the facts come
// from conformance tests of those functions) and against whole files: an
// edit must leave every byte it does not concern as it was.
#include "package/ini_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "tests/support/test_host.h"

namespace brivant::testing {
namespace {

// ASCII text as UTF-16 LE with its mark.
std::string Utf16(std::string_view ascii) {
  std::string bytes = "\xFF\xFE";
  for (char c : ascii) bytes += std::string{c, '\0'};
  return bytes;
}

class IniFileTest : public ::testing::Test {
 protected:
  std::string Path() const { return dir_.Join("t.ini"); }
  ScopedTempDir dir_;
};

TEST_F(IniFileTest, ReadsAsTheProfileFunctionsDo) {
  struct Case {
    const char* name;
    std::string file;
    const char* section;
    const char* key;
    const char* expected;  // "default" when the key counts as missing
  } cases[] = {
      // clang-format off
      {"names ignore case", "[Main]\r\nName=v\r\n", "mAIN", "NAME", "v"},
      {"blanks around names and value", "[ Main ]\r\n  k  =  a b  \r\n", "Main", "k", "a b"},
      {"double quotes stripped", "[s]\r\nk=\" a \"\r\n", "s", "k", " a "},
      {"single quotes stripped", "[s]\r\nk='x'\r\n", "s", "k", "x"},
      {"unmatched quotes kept", "[s]\r\nk=\"x'\r\n", "s", "k", "\"x'"},
      {"first key wins", "[s]\r\nk=1\r\nK=2\r\n", "s", "k", "1"},
      {"first section wins", "[s]\r\na=1\r\n[S]\r\nk=2\r\n", "s", "k", "default"},
      {"line without = is no key", "[s]\r\nk\r\n", "s", "k", "default"},
      {"empty value is a value", "[s]\r\nk=\r\n", "s", "k", ""},
      {"value after the first =", "[s]\r\nk=a=b\r\n", "s", "k", "a=b"},
      {"; comment", "[s]\r\n;k=1\r\n", "s", ";k", "default"},
      {"# comment", "[s]\r\n#k=1\r\n", "s", "#k", "default"},
      {"key before any section", "k=1\r\n[s]\r\n", "s", "k", "default"},
      {"key of another section", "[a]\r\nk=1\r\n[s]\r\n", "s", "k", "default"},
      {"LF line ends", "[s]\nk=1\n", "s", "k", "1"},
      {"CR line ends", "[s]\rk=1\r", "s", "k", "1"},
      {"no final line end", "[s]\r\nk=1", "s", "k", "1"},
      {"UTF-8 with mark", "\xEF\xBB\xBF[s]\r\nk=\xC3\xA9\r\n", "s", "k", "\xC3\xA9"},
      {"UTF-16 LE with mark", Utf16("[s]\r\nk=1\r\n"), "s", "k", "1"},
      {"UTF-16 BE with mark", std::string("\xFE\xFF\0[\0s\0]\0\n\0k\0=\0" "2", 16), "s", "k", "2"},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    WriteBytes(Path(), c.file);
    TIniFile ini(Path());
    EXPECT_EQ(ini.ReadString(c.section, c.key, "default"), c.expected);
  }
  EXPECT_EQ(TIniFile(dir_.Join("missing.ini")).ReadString("s", "k", "d"), "d");
}

TEST_F(IniFileTest, ReadIntegerAcceptsHexadecimalAndFallsBackToTheDefault) {
  struct Case {
    const char* value;
    int32_t expected;
  } cases[] = {{"12", 12}, {"0x10", 16}, {"0X1f", 31}, {"+1", 1},         {"-5", -5},
               {"abc", 7}, {"", 7},      {"1 2", 7},   {"4294967296", 7}, {"yes", 7}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    WriteBytes(Path(), std::string("[s]\r\nk=") + c.value + "\r\n");
    EXPECT_EQ(TIniFile(Path()).ReadInteger("s", "k", 7), c.expected);
  }
}

TEST_F(IniFileTest, WritingChangesOnlyTheLinesConcerned) {
  struct Case {
    const char* name;
    std::string before;
    const char* section;
    const char* key;
    std::string after;
  } cases[] = {
      {"replace keeps spacing", "; c\r\n[a]\r\nk = old  \r\n\r\n[b]\r\nk=2\r\n", "A", "K",
       "; c\r\n[a]\r\nk = new  \r\n\r\n[b]\r\nk=2\r\n"},
      {"replace the first duplicate", "[a]\nk=1\nk=2\n", "a", "k", "[a]\nk=new\nk=2\n"},
      {"replace quoted", "[a]\nk=\"x\"\n", "a", "k", "[a]\nk=new\n"},
      {"add before blank lines", "[a]\r\nx=1\r\n\r\n[b]\r\n", "a", "k",
       "[a]\r\nx=1\r\nk=new\r\n\r\n[b]\r\n"},
      {"add without final line end", "[a]\nx=1", "a", "k", "[a]\nx=1\nk=new"},
      {"new section after a blank line", "[a]\nx=1\n", "b", "k", "[a]\nx=1\n\n[b]\nk=new\n"},
      {"new section, no final line end", "[a]\rx=1", "b", "k", "[a]\rx=1\r\r[b]\rk=new\r"},
      {"UTF-8 mark kept", "\xEF\xBB\xBF[a]\r\nk=1\r\n", "a", "k", "\xEF\xBB\xBF[a]\r\nk=new\r\n"},
      {"UTF-16 kept", Utf16("[a]\r\nk=1\r\n[b]\r\n"), "b", "k",
       Utf16("[a]\r\nk=1\r\n[b]\r\nk=new\r\n")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    WriteBytes(Path(), c.before);
    TIniFile(Path()).WriteString(c.section, c.key, "new");
    EXPECT_EQ(ReadBytes(Path()), c.after);
  }
}

TEST_F(IniFileTest, NewFileIsAnsiWithCrLf) {
  TIniFile ini(Path());
  ini.WriteInteger("s", "n", -3);
  ini.WriteBool("s", "b", true);
  EXPECT_EQ(ReadBytes(Path()), "[s]\r\nn=-3\r\nb=1\r\n");
  EXPECT_EQ(ini.ReadInteger("s", "n", 0), -3) << "reads see the object's own writes";
}

TEST_F(IniFileTest, EraseSectionRemovesItsLinesOnly) {
  const std::string file = "; top\r\n[a]\r\nk=1\r\n\r\n[b]\r\nk=2\r\n\r\n[c]\r\nk=3";
  struct Case {
    const char* section;
    std::string after;
  } cases[] = {
      {"A", "; top\r\n[b]\r\nk=2\r\n\r\n[c]\r\nk=3"},
      {"b", "; top\r\n[a]\r\nk=1\r\n\r\n[c]\r\nk=3"},
      {"c", "; top\r\n[a]\r\nk=1\r\n\r\n[b]\r\nk=2\r\n\r\n"},
      {"missing", file},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.section);
    WriteBytes(Path(), file);
    TIniFile(Path()).EraseSection(c.section);
    EXPECT_EQ(ReadBytes(Path()), c.after);
  }
  WriteBytes(Path(), "[a]\nk=1\n[b]\n[A]\nk=2\n");
  TIniFile(Path()).EraseSection("a");
  EXPECT_EQ(ReadBytes(Path()), "[b]\n") << "every section of that name goes";
}

TEST_F(IniFileTest, BadFilesGiveAnErrorNamingTheFileAndStayUnchanged) {
  struct Case {
    const char* name;
    std::string content;
    const char* reason;
  } cases[] = {
      {"invalid UTF-8", "[s]\r\nk=\xFF\xFE\xFD\r\n", "not a readable INI file"},
      {"binary", std::string("[s]\0\x01\x02k=1", 10), "not a text file"},
      {"odd UTF-16", "\xFF\xFE[\0s", "not a readable INI file"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    WriteBytes(Path(), c.content);
    try {
      TIniFile(Path()).WriteString("s", "k", "v");
      ADD_FAILURE() << "no error";
    } catch (const EIniFileError& e) {
      EXPECT_EQ(std::string(e.what()).rfind(Path() + ": " + c.reason, 0), 0u) << e.what();
    }
    EXPECT_EQ(ReadBytes(Path()), c.content);
  }
  // Too large: refused before anything is read into memory.
  std::filesystem::resize_file(Path(), kMaxIniFileBytes + 1);
  EXPECT_THROW(TIniFile(Path()).ReadSections(), EIniFileError);
  EXPECT_EQ(std::filesystem::file_size(Path()), kMaxIniFileBytes + 1);
  EXPECT_THROW(TIniFile(dir_.path()).ReadString("s", "k", ""), EIniFileError);
  for (const char* key : {"a=b", ";k", " [k", "#k"})
    EXPECT_THROW(TIniFile(Path()).WriteString("s", key, "v"), EIniFileError) << key;
  EXPECT_THROW(TIniFile(Path()).WriteString("s", "k", "two\nlines"), EIniFileError);
}

TEST_F(IniFileTest, SectionsAndSectionValuesInFileOrder) {
  WriteBytes(Path(), "[b]\nk=v=w\nbare\n x = 'q' \n[a]\n[B]\ny=1\n");
  TIniFile ini(Path());
  EXPECT_EQ(ini.ReadSections(), (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(ini.ReadSectionValues("B"), (std::vector<std::string>{"k=v=w", "x=q"}));
}

// Threads of one process exclude each other as processes do: the lock
// belongs to the open directory, not to the process.
TEST_F(IniFileTest, ConcurrentWritersLoseNoUpdate) {
  WriteBytes(Path(), "; shared\n");
  std::vector<std::thread> writers;
  for (int w = 0; w < 4; ++w) {
    writers.emplace_back([this, w] {
      for (int i = 0; i < 50; ++i)
        TIniFile(Path()).WriteString("s", "k" + std::to_string(w * 100 + i), "1");
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(TIniFile(Path()).ReadSectionValues("s").size(), 200u);
}

}  // namespace
}  // namespace brivant::testing
