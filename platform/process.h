// Running external programs. The host runs the programs of the process
// actions through these functions, which do the whole job: start the program
// in a process group of its own, feed its standard input from a file, collect
// its output line by line, honour a time-out and a stop request by ending the
// whole group, and reap every process they start, so no zombie is left.
//
// Where output goes. Captured standard output arrives through a pipe and is
// delivered as lines. Standard error either follows standard output (merged
// into the captured lines, or discarded with it) or is inherited from this
// process, so a program's complaints still reach the user's terminal without
// mixing into a machine-readable log on our standard output. Output that is
// not captured goes to /dev/null for the same reason.
//
// The new process group keeps a terminal's Ctrl-C away from the program: the
// host decides what a stop means and ends the group itself. A program that
// is waited for gets SIGKILL from the kernel when the thread that started it
// dies (the parent-death signal), so even a SIGKILL of the host does not
// leave it running; what it started itself is not reached that way.
//
// Programs start through clone(CLONE_VM | CLONE_VFORK): no copy of the
// host's memory, and only the few signal dispositions the host changed are
// set back in the child.
//
// The functions share no state and may be called from several threads at
// once; callbacks run on the calling thread.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "platform/file_system.h"

namespace brivant::platform {

enum class StdOutMode {
  kCapture,  // through a pipe, delivered as lines
  kDiscard,  // to /dev/null
};

/// One program to start.
struct ProcessLaunch {
  /// The file to execute. A relative path would be taken relative to
  /// `working_directory`, so pass the absolute path FindExecutable returns.
  std::string program;
  /// The whole argv, its first word included. Empty: just `program`.
  std::vector<std::string> argv;
  /// Empty: this process's current directory.
  std::string working_directory;
  /// Opened by this process (a relative path is relative to our current
  /// directory) and given to the program as standard input. Empty: /dev/null.
  std::string input_path;
  StdOutMode stdout_mode = StdOutMode::kCapture;
  /// True: standard error goes wherever standard output goes (merged into
  /// the captured lines, or to /dev/null). False: it stays ours.
  bool merge_stderr = true;
};

/// What the caller wants to hear and how long it is willing to wait.
struct ProcessWatch {
  /// Called once, right after the program started, with its process id
  /// (which is also the id of its process group).
  std::function<void(int pid)> on_started;
  /// Called for each captured line, as it arrives: split on '\n', without
  /// the line break and without a '\r' before it. A last line without a
  /// line break is delivered too; an empty line is delivered as "".
  std::function<void(const std::string& line)> on_line;
  /// Called after the lines of one read have been delivered, before the
  /// next wait: a caller that buffers what on_line produces flushes it here.
  std::function<void()> on_lines_delivered;
  /// Zero: no time-out.
  std::chrono::milliseconds timeout{0};
  /// Polled at least every 50 ms; true ends the process group.
  const std::atomic<bool>* terminate = nullptr;
  /// How long the group has to end after SIGTERM before it gets SIGKILL.
  std::chrono::milliseconds kill_grace{2000};
};

enum class ProcessEnd {
  kExited,     // exit_code is the program's exit status
  kSignalled,  // died of a signal; exit_code is 128 + the signal, as shells report it
  kTimedOut,   // the time-out ended the group
  kTerminated  // the terminate flag ended the group
};

struct ProcessExit {
  ProcessEnd end = ProcessEnd::kExited;
  /// For kTimedOut and kTerminated: how the program itself ended after the
  /// signals (normally 128 + SIGTERM or 128 + SIGKILL). -1 when something
  /// else in this process reaped the program first and its status is lost.
  int exit_code = 0;
  int pid = 0;
};

/// Starts the program and waits for it, delivering its output lines.
///
/// On time-out or terminate, the whole process group gets SIGTERM, and
/// SIGKILL once the program has ended or `kill_grace` has passed, so members
/// that ignore SIGTERM are ended too; the program is then reaped. The
/// processes the program started outside its group get the same signals
/// (FindProgramDescendants). When the
/// program ends by itself, the rest of its group is left alone (it may be a
/// server the program started on purpose), and output that a remaining
/// member writes to the inherited pipe afterwards is not read.
///
/// An error means the program was not started; its path names what was at
/// fault: the program (ENOENT, EACCES, ENOEXEC...), the working directory or
/// the input file. If a callback throws, the group is killed and reaped
/// before the exception leaves.
[[nodiscard]] OsResult<ProcessExit> RunProcessAndWait(const ProcessLaunch& launch,
                                                      const ProcessWatch& watch);

/// Starts the program and returns its process id at once. Standard output
/// and standard error go to /dev/null, whatever the modes in `launch` say. A
/// background thread reaps the program when it ends, so it never stays a
/// zombie; the program has no parent-death signal and is not ended when
/// this process exits normally. Errors as for RunProcessAndWait.
[[nodiscard]] OsResult<int> StartProcessDetached(const ProcessLaunch& launch);

/// Sends SIGKILL to the process group of every program that
/// RunProcessAndWait is waiting for at this moment. Async-signal-safe, for a
/// signal handler that is about to end this process: the groups live apart
/// from ours, so nothing else would end them.
void KillRunningProcessGroups();

/// The absolute path of the executable file `name` names. A name holding a
/// '/' is taken as a path (relative to the current directory); any other
/// name is looked up in the directories of PATH, in order, as a shell does
/// (an empty PATH entry means the current directory; PATH unset means the
/// system's default search path). Fails with ENOENT when nothing is found
/// and with EACCES when the only matches are not executable; the error's
/// path is `name`.
[[nodiscard]] OsResult<std::string> FindExecutable(const std::string& name);

}  // namespace brivant::platform
