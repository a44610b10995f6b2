// Runs a check as an ordinary user, so that permission checks bite when the
// tests run as root (as CI does) too. Root hands the test's directory to
// "nobody" and runs the check in a child that has dropped to that user;
// anyone else runs it in place.
#pragma once

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

namespace brivant::testing {

// Runs `check`, whose EXPECT and ASSERT failures count for the calling test.
// Returns false when this root process cannot become an ordinary user; the
// caller then skips.
inline bool RunUnprivileged(const std::string& directory, const std::function<void()>& check) {
  if (::geteuid() != 0) {
    check();
    return true;
  }
  const passwd* nobody = ::getpwnam("nobody");
  const uid_t uid = nobody != nullptr ? nobody->pw_uid : 65534;
  const gid_t gid = nobody != nullptr ? nobody->pw_gid : 65534;
  namespace fs = std::filesystem;
  if (::lchown(directory.c_str(), uid, gid) != 0) return false;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    if (::lchown(entry.path().c_str(), uid, gid) != 0) return false;
  }
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) {
    // 77: the drop itself failed, which is no failure of the check.
    if (::setgroups(0, nullptr) != 0 || ::setresgid(gid, gid, gid) != 0 ||
        ::setresuid(uid, uid, uid) != 0)
      ::_exit(77);
    check();
    // The child's failures were printed as they happened; the exit status
    // carries them to the parent.
    std::fflush(stdout);
    ::_exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
    ADD_FAILURE() << "the unprivileged check did not end normally";
    return true;
  }
  if (WEXITSTATUS(status) == 77) return false;
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the unprivileged check failed (see above)";
  return true;
}

}  // namespace brivant::testing
