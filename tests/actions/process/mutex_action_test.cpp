// The mutex container against real lock files and mutex files in a
// temporary directory. Contention between processes is exercised by
// bench/mutex_concurrency.sh with real `brivant run` processes.
#include "actions/process/mutex_action.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "package/exceptions.h"
#include "tests/support/action_test.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {

using testing::TestHost;

class MutexActionTest : public testing::ActionTest {
 protected:
  void Configure(TBVMutexAction& action, TBVMutexMode mode, const std::string& name) {
    Set(action, "Mode", int64_t{mode});
    Set(action, mode == mmFileLock ? "FileName" : "MutexName", name);
  }
  // Runs the action; the EFailAction message, or "" when it acquired.
  std::string Acquire(TBVMutexAction& action) {
    try {
      EXPECT_TRUE(host_.Run(action));
      return "";
    } catch (const EFailAction& e) {
      return e.what();
    }
  }

  testing::ScopedEnv runtime_dir_{"XDG_RUNTIME_DIR", dir_.path()};
};

TEST_F(MutexActionTest, LockIsHeldForTheChildrenAndReleasedWhenTheHostLeaves) {
  for (TBVMutexMode mode : {mmFileLock, mmGlobalMutex}) {
    SCOPED_TRACE(mode);
    TBVMutexAction first, second;
    for (TBVMutexAction* action : {&first, &second}) {
      Configure(*action, mode, dir_.Join("build.lock"));
      Set(*action, "EnableTimeout", true);  // TimeoutLength 0: give up at once
    }
    ASSERT_EQ(Acquire(first), "");
    TBVNextAction next = naRunChildren;
    first.GetNextActionSource(nssAfterExecute, next);
    EXPECT_TRUE(first.IsHolding());
    EXPECT_EQ(Acquire(second),
              mode == mmFileLock ? "Action Timed out." : "Timed out after 0 minutes.");
    EXPECT_FALSE(second.IsHolding());
    next = naLeaveContainer;
    first.GetNextActionSource(nssAfterChildren, next);
    EXPECT_FALSE(first.IsHolding());
    EXPECT_EQ(Acquire(second), "");
    // Without children the lock is released at once.
    next = naNextSibling;
    second.GetNextActionSource(nssAfterExecute, next);
    EXPECT_FALSE(second.IsHolding());
  }
}

TEST_F(MutexActionTest, FailuresNameTheirCause) {
  struct Row {
    TBVMutexMode mode;
    std::string name;
    const char* false_option;  // set to False, or nullptr
    std::string error;
  };
  const std::string missing_dir = dir_.Join("no/such/dir/x.lock");
  const std::vector<Row> rows = {
      {mmFileLock, dir_.Join("absent.lock"), "CreateNewFile",
       "File not found and \"Create New File\" not enabled."},
      {mmFileLock, missing_dir, nullptr,
       "cannot open lock file " + missing_dir + ": No such file or directory"},
      {mmFileLock, dir_.path(), nullptr,
       "cannot open lock file " + dir_.path() + ": Is a directory"},
      {mmGlobalMutex, "nobody/has/it", "CreateNewMutex",
       "Mutex object not found. Create new mutex option is disabled."},
      {mmFileLock, "%UNDEFINED%", nullptr, "Failed to expand file path."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.error);
    TBVMutexAction action;
    Configure(action, row.mode, row.name);
    if (row.false_option != nullptr) Set(action, row.false_option, false);
    EXPECT_EQ(Acquire(action), row.error);
    EXPECT_FALSE(action.IsHolding());
  }
  EXPECT_FALSE(std::filesystem::exists(dir_.Join("absent.lock")));
}

TEST_F(MutexActionTest, GlobalNameIsOpenedWhileAnotherProcessHasItOpen) {
  TBVMutexAction holder, opener;
  Configure(holder, mmGlobalMutex, "build");
  Configure(opener, mmGlobalMutex, "build");
  Set(opener, "CreateNewMutex", false);
  Set(opener, "EnableTimeout", true);
  ASSERT_EQ(Acquire(holder), "");
  EXPECT_NE(
      std::find(host_.events.begin(), host_.events.end(), "stInfo: Accessing mutex Global\\build"),
      host_.events.end());
  EXPECT_TRUE(std::filesystem::exists(dir_.Join("Global%5Cbuild.lock")));
  EXPECT_EQ(Acquire(opener), "Timed out after 0 minutes.");
}

TEST_F(MutexActionTest, StopEndsTheWaitAndLeavesNothingHeld) {
  for (TBVMutexMode mode : {mmFileLock, mmGlobalMutex}) {
    SCOPED_TRACE(mode);
    host_.messages.clear();
    TBVMutexAction holder, waiter;
    Configure(holder, mode, dir_.Join("stop.lock"));
    Configure(waiter, mode, dir_.Join("stop.lock"));
    ASSERT_EQ(Acquire(holder), "");
    std::thread stopper([&waiter] {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      waiter.TerminateAction();
    });
    EXPECT_EQ(Acquire(waiter), "Action Timed out.");
    stopper.join();
    EXPECT_FALSE(waiter.IsHolding());
    if (mode == mmGlobalMutex) {
      EXPECT_EQ(host_.Texts(stError).back(), "Stopped.");
    }
  }
}

TEST_F(MutexActionTest, DeleteOnUnlockRemovesTheFileOnRelease) {
  TBVMutexAction action;
  Configure(action, mmFileLock, dir_.Join("gone.lock"));
  Set(action, "DeleteOnUnlock", true);
  ASSERT_EQ(Acquire(action), "");
  EXPECT_TRUE(std::filesystem::exists(dir_.Join("gone.lock")));
  action.Reset();
  EXPECT_FALSE(std::filesystem::exists(dir_.Join("gone.lock")));
  EXPECT_EQ(action.GetFormattedDescription(), "Lock File [ " + dir_.Join("gone.lock") + " ]");
}

}  // namespace
}  // namespace brivant
