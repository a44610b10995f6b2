// What an action sees of its own status while the runner runs it: a
// container may read it, or set it, before its children run.
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "host/build_runner.h"
#include "tests/support/message_sink.h"

namespace brivant::host {
namespace {

class StatusProbe : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TStatusProbe"; }
  std::string GetActionName() const override { return "Probe"; }
  bool Execute() override {
    seen = GetActionStatus();
    return true;
  }
  TBVActionStatus seen = asNotRun;
};

TEST(ActionStatus, IsRunningWhileTheActionRunsAndSucceededAfterwards) {
  Project project;
  auto probe = std::make_unique<StatusProbe>();
  StatusProbe& action = *probe;
  project.actions.emplace_back().action = std::move(probe);
  testing::MessageSink sink;
  ASSERT_TRUE(BuildRunner(project, sink).Run());
  EXPECT_EQ(action.seen, asRunning);
  EXPECT_EQ(action.GetActionStatus(), asSucceeded);
}

}  // namespace
}  // namespace brivant::host
