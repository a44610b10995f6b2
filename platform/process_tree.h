// The processes below this one. A program of the build may start programs of
// its own that leave its process group (setsid) or its parent (a daemon's
// double fork), so ending the group does not reach them. These functions
// find them in /proc by their chain of parents and end them.
//
// What they cannot see: a process that left the tree before this one became
// a subreaper, or whose chain passes through a process that has already been
// reaped by someone other than us (it is then init's, or another
// subreaper's).
#pragma once

#include <chrono>
#include <vector>

#include "platform/file_system.h"

namespace brivant::platform {

/// Makes this process the reaper of orphaned descendants
/// (PR_SET_CHILD_SUBREAPER): a process whose parent ends is re-parented to
/// us instead of to init, so it stays a descendant that can be found and
/// ended. RunProcessAndWait then also reaps such orphans when they end.
///
/// Also starts a guard process, which SIGKILLs the process groups of the
/// programs RunProcessAndWait is running should this process end without
/// reaping them (a SIGKILL): the parent-death signal reaches only the
/// programs themselves. Call it once, early, before programs run.
[[nodiscard]] OsError BecomeChildSubreaper();

/// Lists and unlists a program's process group with the guard; nothing
/// without one. The group must be listed before its leader can end and
/// unlisted before the leader is reaped, so its id is never a stranger's.
void GuardProcessGroup(int group);
void UnguardProcessGroup(int group);

/// True once BecomeChildSubreaper succeeded.
bool IsChildSubreaper();

/// Ends every descendant of this process: SIGTERM, then SIGKILL for those
/// still running after `grace` (at once for a zero grace), and reaps the ones
/// that are, or became, our children, so it is for the way out: nothing else
/// of this process may be waiting for a child then. With a zero grace
/// nothing is waited for or reaped, for a process about to exit.
void EndAllDescendants(std::chrono::milliseconds grace);

/// The processes started on behalf of the program `pid` (a child of this
/// process, not yet reaped): its descendants, and, when this process is a
/// subreaper, the orphans re-parented to us that started after it, with
/// their descendants. `pid` itself and the pids in `excluded` (other
/// programs we run) are not listed, nor their descendants.
std::vector<int> FindProgramDescendants(int pid, const std::vector<int>& excluded);

}  // namespace brivant::platform
