#include "actions/values/random_number_action.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <stdexcept>

#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using testing::TestHost;

class RandomNumberActionTest : public testing::ActionTest {
 protected:
  TBVRandomNumberAction action_;
};

TEST_F(RandomNumberActionTest, NeedsAVariableAndCoversTheInclusiveRange) {
  EXPECT_FALSE(host_.Run(action_));
  EXPECT_EQ(host_.Texts(stError), std::vector<std::string>{"Variable has not been set"});

  Set(action_, "Variable", std::string("RND"));
  Set(action_, "Range", int64_t{3});
  std::set<int64_t> seen;
  for (int run = 0; run < 400; ++run) {
    ASSERT_TRUE(host_.Run(action_));
    int64_t value = host_.variables.Get("RND")->ToInteger();
    ASSERT_GE(value, 0);
    ASSERT_LE(value, 3);
    seen.insert(value);
  }
  EXPECT_EQ(seen, (std::set<int64_t>{0, 1, 2, 3}));
}

TEST_F(RandomNumberActionTest, RealNumberLiesInTheUnitInterval) {
  Set(action_, "Variable", std::string("RND"));
  Set(action_, "RandInt", false);
  for (int run = 0; run < 50; ++run) {
    ASSERT_TRUE(host_.Run(action_));
    Variant value = *host_.variables.Get("RND");
    ASSERT_EQ(value.Type(), VariantType::kFloat);
    ASSERT_GE(value.ToFloat(), 0.0);
    ASSERT_LT(value.ToFloat(), 1.0);
  }
  EXPECT_EQ(host_.Texts(stSuccess).back().rfind("RND set to 0", 0), 0u);
}

TEST_F(RandomNumberActionTest, VariableReferenceIsNotExpanded) {
  host_.Define("X", Variant(std::string("other")));
  Set(action_, "Variable", std::string("%X%"));
  Set(action_, "Range", int64_t{0});
  ASSERT_TRUE(host_.Run(action_));
  EXPECT_EQ(host_.variables.Get("%X%"), Variant(int64_t{0}));
  EXPECT_EQ(host_.VariableText("X"), "other");
}

TEST_F(RandomNumberActionTest, LargestRangeOverflows) {
  Set(action_, "Variable", std::string("RND"));
  Set(action_, "Range", int64_t{std::numeric_limits<int32_t>::max()});
  host_.Define("RND", Variant(int64_t{5}));
  EXPECT_THROW(host_.Run(action_), std::overflow_error);
  EXPECT_EQ(host_.variables.Get("RND"), Variant(int64_t{5}));
}

}  // namespace
}  // namespace brivant
