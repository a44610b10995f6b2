#include "actions/files/get_file_size_action.h"

#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class GetFileSizeActionTest : public MiscFileActionTest {
 protected:
  bool GetSize(const std::string& name, TSizeUnits units) {
    TBVGetFileSizeAction action;
    Set(action, "FileName", Path(name));
    Set(action, "BVVariable", std::string("SIZE"));
    Set(action, "Units", int64_t{units});
    return host_.Run(action);
  }
};

TEST_F(GetFileSizeActionTest, SizeInEachUnit) {
  MakeFile("empty", "");
  MakeFile("small", std::string(500, 'x'));
  MakeFile("kilo", std::string(1536, 'x'));
  MakeFile("mega", std::string(1572864, 'x'));
  const std::tuple<const char*, TSizeUnits, const char*, const char*> cases[] = {
      {"empty", suBytes, "0", "0 bytes"},
      {"kilo", suBytes, "1536", "1536 bytes"},
      {"kilo", suKB, "1.5", "1.5 KB"},
      // 500 / 1024 = 0.488..., rounded to two decimals rather than down to 0.
      {"small", suKB, "0.49", "0.49 KB"},
      {"kilo", suMB, "0", "0 MB"},
      {"mega", suMB, "1.5", "1.5 MB"},
      {"mega", suGB, "0", "0 GB"},
  };
  for (const auto& [name, units, value, logged] : cases) {
    SCOPED_TRACE(std::string(name) + " " + logged);
    host_.messages.clear();
    ASSERT_TRUE(GetSize(name, units));
    EXPECT_EQ(host_.VariableText("SIZE"), value);
    EXPECT_EQ(host_.messages,
              (std::vector<LoggedMessage>{{stSuccess, "Size of " + Path(name) + " is " + logged}}));
  }
}

TEST_F(GetFileSizeActionTest, MissingFileOrDirectoryFails) {
  MakeDirectory("folder");
  EXPECT_FALSE(GetSize("missing.bin", suBytes));
  EXPECT_FALSE(GetSize("folder", suBytes));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"File not found: " + Path("missing.bin"),
                                      "Not a file: " + Path("folder") + " is a directory"}));
  EXPECT_FALSE(host_.variables.IsDefined("SIZE"));
}

}  // namespace
}  // namespace brivant::testing
