#include "actions/files/disk_info_action.h"

#include <cmath>
#include <cstdint>
#include <tuple>

#include "tests/actions/files/misc_action_fixture.h"

namespace brivant::testing {
namespace {

class DiskInfoActionTest : public MiscFileActionTest {
 protected:
  bool Run(const std::string& path, TSizeUnits units, int32_t minimum = 0) {
    TDiskInfoAction action;
    Set(action, "Path", path);
    Set(action, "FreeSpaceVariable", std::string("FREE"));
    Set(action, "TotalSpaceVariable", std::string("TOTAL"));
    Set(action, "Units", int64_t{units});
    Set(action, "MinimumFreeSpace", int64_t{minimum});
    return host_.Run(action);
  }
};

TEST_F(DiskInfoActionTest, ReportsTheFileSystemsSizeInTheChosenUnits) {
  // std::filesystem::space asks the same file system independently.
  std::filesystem::space_info space = std::filesystem::space(dir_.path());
  const std::tuple<TSizeUnits, double, const char*> cases[] = {{suBytes, 1, " bytes"},
                                                               {suKB, 1024, " KB"},
                                                               {suMB, 1024.0 * 1024, " MB"},
                                                               {suGB, 1024.0 * 1024 * 1024, " GB"}};
  for (const auto& [units, bytes_per_unit, suffix] : cases) {
    SCOPED_TRACE(suffix);
    host_.messages.clear();
    ASSERT_TRUE(Run(dir_.path(), units));
    Variant total = host_.variables.Get("TOTAL").value();
    Variant free = host_.variables.Get("FREE").value();
    if (units == suBytes) {
      EXPECT_EQ(total, Variant(static_cast<int64_t>(space.capacity)));
      EXPECT_EQ(free.Type(), VariantType::kInteger);
    } else {
      EXPECT_EQ(total, Variant(std::round(space.capacity / bytes_per_unit * 100) / 100));
      EXPECT_EQ(free.Type(), VariantType::kFloat);
    }
    // Other processes write to the disk meanwhile; a few MB either way is fine.
    EXPECT_NEAR(free.ToFloat() * bytes_per_unit, static_cast<double>(space.available),
                64.0 * 1024 * 1024);
    ASSERT_EQ(host_.messages.size(), 2u);
    EXPECT_EQ(host_.messages[0], (LoggedMessage{stInfo, "Getting disk space of: " + dir_.path()}));
    EXPECT_EQ(host_.messages[1].tag, stSuccess);
    std::string summary = host_.messages[1].text;
    EXPECT_EQ(summary.rfind("Free space on " + dir_.path() + ": ", 0), 0u) << summary;
    EXPECT_EQ(summary.substr(summary.size() - std::string(suffix).size()), suffix);
    EXPECT_NE(summary.find(" of " + total.ToString() + suffix), std::string::npos) << summary;
  }
}

TEST_F(DiskInfoActionTest, TooLittleFreeSpaceFails) {
  EXPECT_FALSE(Run(dir_.path(), suGB, 2147483647));
  EXPECT_EQ(host_.Texts(stError),
            std::vector<std::string>{"Free space on " + dir_.path() +
                                     " is below the minimum of 2147483647 GB"});
  EXPECT_TRUE(host_.Texts(stSuccess).empty());
  EXPECT_TRUE(Run(dir_.path(), suBytes, 1));
}

TEST_F(DiskInfoActionTest, MissingPathIsAnError) {
  EXPECT_FALSE(Run(Path("none/such"), suMB));
  EXPECT_EQ(host_.Texts(stError),
            (std::vector<std::string>{"Error getting disk space of: " + Path("none/such"),
                                      "Error reason: No such file or directory"}));
  EXPECT_FALSE(host_.variables.IsDefined("FREE"));
}

}  // namespace
}  // namespace brivant::testing
