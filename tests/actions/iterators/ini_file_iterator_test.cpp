#include "actions/iterators/ini_file_iterator.h"

#include "package/exceptions.h"
#include "tests/actions/iterators/iterator_fixture.h"

namespace brivant::testing {
namespace {

class IniFileIteratorTest : public IteratorTest {
 protected:
  void SetUp() override {
    WriteBytes(Path("a.ini"), "; c\n[One]\nk=v=w\nbare\n q = \"x\" \n[Two]\n[one]\nz=1\n");
    Set(iterator_, "IniFilename", Path("a.ini"));
    for (const char* name : {"S", "N", "V"}) host_.Define(name);
  }
  // "S" or "N|V" after each pass.
  std::vector<std::string> Passes() {
    std::vector<std::string> passes;
    RunLoop(iterator_, [&] {
      passes.push_back(host_.VariableText("S") + "|" + host_.VariableText("N") + "|" +
                       host_.VariableText("V"));
    });
    return passes;
  }

  TIniFileIterator iterator_;
};

TEST_F(IniFileIteratorTest, SectionsModeSetsTheSectionsVariable) {
  Set(iterator_, "SectionsVar", std::string("S"));
  EXPECT_EQ(Passes(), (std::vector<std::string>{"One||", "Two||"}));
  EXPECT_EQ(host_.Texts(stInfo),
            (std::vector<std::string>{"Searching for items...", "Found 2 Items"}));
}

TEST_F(IniFileIteratorTest, ValuesModeSplitsAtTheFirstEquals) {
  Set(iterator_, "IteratorMode", int64_t{iiValues});
  Set(iterator_, "SectionName", std::string("ONE"));
  Set(iterator_, "NameVariable", std::string("N"));
  Set(iterator_, "ValueVariable", std::string("V"));
  EXPECT_EQ(Passes(), (std::vector<std::string>{"|k|v=w", "|q|x"}));
  Set(iterator_, "NameVariable", std::string());
  host_.Define("N", Variant("untouched"));
  EXPECT_EQ(Passes(), (std::vector<std::string>{"|untouched|v=w", "|untouched|x"}));
}

TEST_F(IniFileIteratorTest, MissingVariablesAndUnreadableFilesFailTheLoop) {
  EXPECT_THROW(host_.Run(iterator_), EIteratorException);
  Set(iterator_, "IteratorMode", int64_t{iiValues});
  EXPECT_EQ(host_.Validate(iterator_),
            (std::vector<ValidationError>{
                {"Variable", "Both Name variable and Values variable has not been set", 0}}));
  Set(iterator_, "ValueVariable", std::string("V"));
  Set(iterator_, "IniFilename", dir_.path());
  EXPECT_EQ(MessageOf<EIteratorException>([&] { host_.Run(iterator_); }),
            "Failed to populate list from Ini file.");
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{dir_.path() + ": Is a directory"});
}

}  // namespace
}  // namespace brivant::testing
