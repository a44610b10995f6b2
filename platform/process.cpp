#include "platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/process_tree.h"

namespace brivant::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How often a running program's terminate flag is looked at, at the latest.
constexpr milliseconds kPollInterval{50};
// What the child exits with when it cannot exec, after it has reported the
// reason. Nobody sees it but us.
constexpr int kChildSetupFailed = 127;
// Room for the few calls the child makes before exec, sanitizers included.
constexpr size_t kChildStackSize = 64 * 1024;

// Closes a descriptor on every exit path.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  ~UniqueFd() { Reset(); }
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      Reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  int Get() const { return fd_; }
  bool IsOpen() const { return fd_ >= 0; }
  void Reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

OsResult<UniqueFd> OpenForChild(const std::string& path, int flags) {
  int fd = ::open(path.c_str(), flags | O_CLOEXEC);
  if (fd < 0) return OsError::FromCode(errno, path);
  return UniqueFd(fd);
}

// What the child reports when it cannot exec.
enum class ChildStage : int { kSetup, kWorkingDirectory, kExec };
struct ChildFailure {
  ChildStage stage;
  int error;
};

constexpr uint64_t SignalBit(int signal_number) { return uint64_t{1} << (signal_number - 1); }

// The signals whose disposition the child must set back to the default: the
// ones with a handler (it would run in the child, on the parent's memory,
// before exec) and the ignored ones (that would survive exec). Looked at once,
// so that a spawn costs a few sigaction calls instead of one per signal;
// SIGINT, SIGTERM and SIGPIPE are always included, as the stop watcher
// changes them later. platform/ is the only code that installs handlers.
uint64_t SignalsToReset() {
  static const uint64_t signals = [] {
    uint64_t bits = SignalBit(SIGINT) | SignalBit(SIGTERM) | SignalBit(SIGPIPE);
    for (int signal_number = 1; signal_number < NSIG && signal_number <= 64; ++signal_number) {
      struct sigaction current;
      if (::sigaction(signal_number, nullptr, &current) == 0 && current.sa_handler != SIG_DFL)
        bits |= SignalBit(signal_number);
    }
    return bits;
  }();
  return signals;
}

// Everything the child needs, prepared before the clone. The child shares
// our memory until it execs (CLONE_VM | CLONE_VFORK: the calling thread
// sleeps meanwhile), so it must not allocate or touch anything but the plan;
// it reports a failure by writing into the plan, where we read it once the
// clone call returns.
struct ChildPlan {
  const char* program;
  char* const* argv;
  char* const* environment;
  const char* working_directory;  // nullptr: stay
  int stdio[3];                   // what becomes 0, 1 and 2; -1 keeps ours
  bool die_with_parent;
  int parent;
  uint64_t signals_to_reset;
  bool failed;
  ChildFailure failure;
};

[[noreturn]] void FailInChild(ChildPlan& plan, ChildStage stage) {
  plan.failure = ChildFailure{stage, errno};
  plan.failed = true;
  ::_exit(kChildSetupFailed);
}

// Moves a descriptor out of the 0-2 range first, so that installing one
// standard descriptor can never overwrite the source of another.
int LiftAboveStdio(int fd) { return fd < 0 ? -1 : ::fcntl(fd, F_DUPFD_CLOEXEC, 3); }

int RunChild(void* argument) {
  ChildPlan& plan = *static_cast<ChildPlan*>(argument);
  ::setpgid(0, 0);
  if (plan.die_with_parent) {
    // A SIGKILL of the host leaves nothing to end its programs; the kernel
    // does it. We may have died before the request took effect: then the
    // parent is no longer the one we were started by.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != plan.parent) ::_exit(kChildSetupFailed);
  }
  struct sigaction default_action = {};
  default_action.sa_handler = SIG_DFL;
  for (int signal_number = 1; signal_number <= 64; ++signal_number) {
    if (plan.signals_to_reset & SignalBit(signal_number))
      ::sigaction(signal_number, &default_action, nullptr);
  }

  int lifted[3];
  for (int i = 0; i < 3; ++i) {
    lifted[i] = LiftAboveStdio(plan.stdio[i]);
    if (plan.stdio[i] >= 0 && lifted[i] < 0) FailInChild(plan, ChildStage::kSetup);
  }
  for (int i = 0; i < 3; ++i) {
    if (lifted[i] >= 0 && ::dup2(lifted[i], i) < 0) FailInChild(plan, ChildStage::kSetup);
  }
  if (plan.working_directory != nullptr && ::chdir(plan.working_directory) != 0)
    FailInChild(plan, ChildStage::kWorkingDirectory);
  // The spawning thread blocked every signal; a program must start with
  // none blocked, whatever the host's mask.
  sigset_t empty_set;
  ::sigemptyset(&empty_set);
  ::sigprocmask(SIG_SETMASK, &empty_set, nullptr);
  ::execve(plan.program, plan.argv, plan.environment);
  FailInChild(plan, ChildStage::kExec);
}

// Waits for a child that is known to have ended (or to be ending).
int ReapBlocking(int pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

OsError DescribeChildFailure(const ChildFailure& failure, const ProcessLaunch& launch) {
  const std::string& culprit =
      failure.stage == ChildStage::kWorkingDirectory ? launch.working_directory : launch.program;
  return OsError::FromCode(failure.error, culprit);
}

// The descriptors the child gets as standard input and output; standard
// error is a copy of the output or stays ours.
struct ChildFds {
  UniqueFd input;
  UniqueFd output;
};

// `output_read` receives the read end of the capture pipe when standard
// output is captured.
OsResult<ChildFds> OpenChildStdio(const ProcessLaunch& launch, UniqueFd* output_read) {
  ChildFds fds;
  OsResult<UniqueFd> input =
      OpenForChild(launch.input_path.empty() ? "/dev/null" : launch.input_path, O_RDONLY);
  if (!input.IsOk()) return input.Error();
  fds.input = std::move(input).Value();
  // A directory opens fine for reading but fails the program's first read;
  // refuse it here, where the error can still name it.
  struct stat input_info;
  if (::fstat(fds.input.Get(), &input_info) == 0 && S_ISDIR(input_info.st_mode))
    return OsError::FromCode(EISDIR, launch.input_path);
  if (launch.stdout_mode == StdOutMode::kDiscard) {
    OsResult<UniqueFd> null_output = OpenForChild("/dev/null", O_WRONLY);
    if (!null_output.IsOk()) return null_output.Error();
    fds.output = std::move(null_output).Value();
    return fds;
  }
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return OsError::FromCode(errno, launch.program);
  *output_read = UniqueFd(ends[0]);
  fds.output = UniqueFd(ends[1]);
  return fds;
}

// Starts the program in a new process group. Returns its pid once exec has
// succeeded; a child that failed is reaped before the error returns.
OsResult<int> Spawn(const ProcessLaunch& launch, bool die_with_parent, UniqueFd* output_read) {
  OsResult<ChildFds> stdio = OpenChildStdio(launch, output_read);
  if (!stdio.IsOk()) return stdio.Error();
  const ChildFds& fds = stdio.Value();

  std::vector<std::string> words = launch.argv.empty() ? std::vector{launch.program} : launch.argv;
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  ChildPlan plan{launch.program.c_str(),
                 argv.data(),
                 environ,
                 launch.working_directory.empty() ? nullptr : launch.working_directory.c_str(),
                 {fds.input.Get(), fds.output.Get(), launch.merge_stderr ? fds.output.Get() : -1},
                 die_with_parent,
                 static_cast<int>(::getpid()),
                 SignalsToReset(),
                 false,
                 {}};
  // The child's own stack: it runs on our memory while this thread sleeps.
  auto stack = std::make_unique_for_overwrite<std::byte[]>(kChildStackSize);
  // Until the child has set its dispositions, a signal would run our
  // handler in it.
  sigset_t all_signals;
  sigset_t previous_mask;
  ::sigfillset(&all_signals);
  ::pthread_sigmask(SIG_SETMASK, &all_signals, &previous_mask);
  int pid =
      ::clone(RunChild, stack.get() + kChildStackSize, CLONE_VM | CLONE_VFORK | SIGCHLD, &plan);
  int clone_error = errno;
  ::pthread_sigmask(SIG_SETMASK, &previous_mask, nullptr);
  if (pid < 0) return OsError::FromCode(clone_error, launch.program);
  if (plan.failed) {
    ReapBlocking(pid);
    output_read->Reset();
    return DescribeChildFailure(plan.failure, launch);
  }
  return pid;
}

// A descriptor that becomes readable when the program ends, or -1 when the
// kernel has none to offer. Called through syscall because some C libraries
// declare pidfd_open without C linkage.
int OpenPidFd(int pid) {
#ifdef SYS_pidfd_open
  return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
#else
  (void)pid;
  return -1;
#endif
}

// The groups RunProcessAndWait is waiting for, for KillRunningProcessGroups.
// A slot holds a group id from start until just before the program is
// reaped; the unreaped leader keeps the id from being reused meanwhile. Few
// builds run more than a handful of programs at once; a program that finds
// no free slot simply is not listed.
constexpr size_t kGroupSlots = 64;
std::atomic<int> g_running_groups[kGroupSlots];
static_assert(std::atomic<int>::is_always_lock_free, "signal handlers read the group slots");

// Returns the slot taken, or kGroupSlots when all are in use.
size_t ListRunningGroup(int pid) {
  for (size_t i = 0; i < kGroupSlots; ++i) {
    int expected = 0;
    if (g_running_groups[i].compare_exchange_strong(expected, pid)) return i;
  }
  return kGroupSlots;
}

void UnlistRunningGroup(size_t slot) {
  if (slot < kGroupSlots) g_running_groups[slot].store(0);
}

bool IsRunningGroup(int pid) {
  return std::any_of(std::begin(g_running_groups), std::end(g_running_groups),
                     [pid](const std::atomic<int>& group) { return group.load() == pid; });
}

// Orphans re-parented to us (as subreaper) are ours to reap when they end.
// Stops at an ended program that RunProcessAndWait is still to reap.
void ReapAdoptedOrphans() {
  if (!IsChildSubreaper()) return;
  for (;;) {
    siginfo_t info = {};
    if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == 0) return;
    if (IsRunningGroup(info.si_pid)) return;
    ::waitpid(info.si_pid, nullptr, WNOHANG);
  }
}

// Owns a started program until it is reaped. If the owner leaves early (a
// callback threw), the whole group is killed and the program reaped, so
// nothing outlives the call.
class ChildProcess {
 public:
  explicit ChildProcess(int pid)
      : pid_(pid), pid_fd_(OpenPidFd(pid)), group_slot_(ListRunningGroup(pid)) {
    GuardProcessGroup(pid);
  }
  ~ChildProcess() {
    if (reaped_) return;
    SignalAll(SIGKILL);
    UnlistRunningGroup(group_slot_);
    UnguardProcessGroup(pid_);
    ReapBlocking(pid_);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  int Pid() const { return pid_; }
  // -1 when the kernel offers no pidfd; the caller then polls by the clock.
  int PidFd() const { return pid_fd_.Get(); }

  // True once the program has ended; it stays unreaped, so its pid (and
  // with it the group id) cannot be reused while we may still signal it.
  bool HasEnded() const {
    siginfo_t info = {};
    while (::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
      if (errno != EINTR) return true;  // someone else reaped it
    }
    return info.si_pid != 0;
  }

  // The program's group, and what it started outside the group (setsid,
  // daemons) as far as /proc shows it; other running programs are left alone.
  void SignalAll(int signal_number) const {
    ::kill(-pid_, signal_number);
    std::vector<int> others;
    for (const std::atomic<int>& group : g_running_groups) {
      int pid = group.load();
      if (pid > 0 && pid != pid_) others.push_back(pid);
    }
    for (int pid : FindProgramDescendants(pid_, others)) ::kill(pid, signal_number);
  }

  // The wait status, or -1 when something else in this process reaped it.
  int Reap() {
    reaped_ = true;
    UnlistRunningGroup(group_slot_);
    UnguardProcessGroup(pid_);
    return ReapBlocking(pid_);
  }

 private:
  int pid_;
  UniqueFd pid_fd_;
  size_t group_slot_;
  bool reaped_ = false;
};

// Splits captured bytes into lines for the caller.
class LineSplitter {
 public:
  explicit LineSplitter(const std::function<void(const std::string&)>& on_line)
      : on_line_(on_line) {}

  void Feed(std::string_view bytes) {
    // Only the new bytes can hold a line break not yet seen.
    size_t search_from = pending_.size();
    pending_.append(bytes);
    size_t line_start = 0;
    for (size_t line_end; (line_end = pending_.find('\n', search_from)) != std::string::npos;) {
      Emit(pending_.substr(line_start, line_end - line_start));
      line_start = search_from = line_end + 1;
    }
    pending_.erase(0, line_start);
  }

  void Finish() {
    if (pending_.empty()) return;
    Emit(std::exchange(pending_, std::string()));
  }

 private:
  void Emit(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (on_line_) on_line_(line);
  }

  const std::function<void(const std::string&)>& on_line_;
  std::string pending_;
};

// The read end of the capture pipe, non-blocking so that draining never
// waits on a writer that is still alive.
class OutputReader {
 public:
  OutputReader(UniqueFd fd, const ProcessWatch& watch)
      : fd_(std::move(fd)), lines_(watch.on_line), on_lines_delivered_(watch.on_lines_delivered) {
    if (!fd_.IsOpen()) return;
    ::fcntl(fd_.Get(), F_SETFL, ::fcntl(fd_.Get(), F_GETFL) | O_NONBLOCK);
    int capacity = ::fcntl(fd_.Get(), F_GETPIPE_SZ);
    if (capacity > 0) pipe_capacity_ = static_cast<size_t>(capacity);
  }

  int Fd() const { return fd_.Get(); }
  bool IsOpen() const { return fd_.IsOpen(); }

  // Reads what one read call returns: the number of bytes, 0 when there
  // was nothing to read or the pipe is closed.
  size_t ReadSome() {
    if (!fd_.IsOpen()) return 0;
    char buffer[64 * 1024];
    ssize_t got;
    do {
      got = ::read(fd_.Get(), buffer, sizeof buffer);
    } while (got < 0 && errno == EINTR);
    if (got > 0) {
      lines_.Feed(std::string_view(buffer, static_cast<size_t>(got)));
      if (on_lines_delivered_) on_lines_delivered_();
      return static_cast<size_t>(got);
    }
    if (got < 0 && errno == EAGAIN) return 0;
    fd_.Reset();  // end of file, or an error that ends reading all the same
    return 0;
  }

  // Reads what the program wrote before it ended, then delivers a last
  // unfinished line. That is at most one pipe's worth, since a full pipe
  // blocks the writer; the bound keeps a background member of the group
  // that goes on writing from keeping us here.
  void DrainAndFinish() {
    size_t drained = 0;
    while (drained < pipe_capacity_) {
      size_t got = ReadSome();
      if (got == 0) break;
      drained += got;
    }
    fd_.Reset();
    lines_.Finish();
    if (on_lines_delivered_) on_lines_delivered_();
  }

 private:
  UniqueFd fd_;
  LineSplitter lines_;
  const std::function<void()>& on_lines_delivered_;
  size_t pipe_capacity_ = 1024 * 1024;  // the usual upper limit, when the kernel cannot say
};

// Blocks until there is output, the program ends, or `wait` has passed.
void WaitForActivity(const ChildProcess& child, const OutputReader& output, milliseconds wait) {
  pollfd fds[2];
  nfds_t count = 0;
  if (output.IsOpen()) fds[count++] = pollfd{output.Fd(), POLLIN, 0};
  if (child.PidFd() >= 0) fds[count++] = pollfd{child.PidFd(), POLLIN, 0};
  ::poll(fds, count, static_cast<int>(std::max(wait, milliseconds(0)).count()));
}

milliseconds Until(steady_clock::time_point when) {
  return std::chrono::ceil<milliseconds>(when - steady_clock::now());
}

ProcessExit ExitFromStatus(int pid, int status, std::optional<ProcessEnd> ended_by) {
  ProcessExit result;
  result.pid = pid;
  if (status == -1) {
    result.exit_code = -1;
  } else if (WIFSIGNALED(status)) {
    result.end = ProcessEnd::kSignalled;
    result.exit_code = 128 + WTERMSIG(status);
  } else {
    result.exit_code = WEXITSTATUS(status);
  }
  if (ended_by) result.end = *ended_by;
  return result;
}

// The decision of one pass of the wait loop, made from the flag and clocks.
std::optional<ProcessEnd> StopReason(const ProcessWatch& watch,
                                     std::optional<steady_clock::time_point> deadline) {
  if (watch.terminate != nullptr && watch.terminate->load()) return ProcessEnd::kTerminated;
  if (deadline && steady_clock::now() >= *deadline) return ProcessEnd::kTimedOut;
  return std::nullopt;
}

// Runs the wait loop until the program has ended or been ended. Returns what
// ended it when it was us.
std::optional<ProcessEnd> Supervise(ChildProcess& child, OutputReader& output,
                                    const ProcessWatch& watch) {
  std::optional<steady_clock::time_point> deadline;
  if (watch.timeout > milliseconds(0)) deadline = steady_clock::now() + watch.timeout;
  std::optional<ProcessEnd> ended_by;
  steady_clock::time_point kill_at;
  // Without a pidfd or an open pipe nothing wakes the poll when the program
  // ends, so the wait grows from 1 ms to keep short programs quick.
  milliseconds idle_wait{1};
  while (true) {
    bool ended = child.HasEnded();
    if (ended_by && (ended || steady_clock::now() >= kill_at)) {
      child.SignalAll(SIGKILL);  // whatever ignored SIGTERM
      return ended_by;
    }
    if (ended) return std::nullopt;
    if (!ended_by) {
      ended_by = StopReason(watch, deadline);
      if (ended_by) {
        child.SignalAll(SIGTERM);
        kill_at = steady_clock::now() + watch.kill_grace;
        continue;
      }
    }
    milliseconds wait = kPollInterval;
    if (ended_by) wait = std::min(wait, Until(kill_at));
    if (!ended_by && deadline) wait = std::min(wait, Until(*deadline));
    if (child.PidFd() < 0 && !output.IsOpen()) {
      wait = std::min(wait, idle_wait);
      idle_wait = std::min(idle_wait * 2, kPollInterval);
    }
    WaitForActivity(child, output, wait);
    output.ReadSome();
  }
}

}  // namespace

OsResult<ProcessExit> RunProcessAndWait(const ProcessLaunch& launch, const ProcessWatch& watch) {
  UniqueFd output_read;
  OsResult<int> pid = Spawn(launch, /*die_with_parent=*/true, &output_read);
  if (!pid.IsOk()) return pid.Error();
  ChildProcess child(pid.Value());
  OutputReader output(std::move(output_read), watch);
  if (watch.on_started) watch.on_started(child.Pid());

  std::optional<ProcessEnd> ended_by = Supervise(child, output, watch);
  int status = child.Reap();
  ReapAdoptedOrphans();
  output.DrainAndFinish();
  return ExitFromStatus(child.Pid(), status, ended_by);
}

OsResult<int> StartProcessDetached(const ProcessLaunch& launch) {
  ProcessLaunch quiet = launch;
  quiet.stdout_mode = StdOutMode::kDiscard;
  quiet.merge_stderr = true;
  UniqueFd no_output;
  OsResult<int> pid = Spawn(quiet, /*die_with_parent=*/false, &no_output);
  if (!pid.IsOk()) return pid;
  int started = pid.Value();
  try {
    std::thread([started] { ReapBlocking(started); }).detach();
  } catch (const std::system_error&) {
    // Without a reaper the program would become a zombie; end it instead
    // and report that it could not be run.
    ::kill(-started, SIGKILL);
    ReapBlocking(started);
    return OsError::FromCode(EAGAIN, launch.program);
  }
  return started;
}

void KillRunningProcessGroups() {
  for (std::atomic<int>& group : g_running_groups) {
    int pid = group.load();
    if (pid > 0) ::kill(-pid, SIGKILL);
  }
}

namespace {

// 0 when `path` is an executable regular file, else the errno exec would
// give (EACCES for a directory or a file without execute permission).
int CheckExecutable(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return errno;
  if (!S_ISREG(info.st_mode)) return EACCES;
  if (::access(path.c_str(), X_OK) != 0) return errno;
  return 0;
}

OsResult<std::string> MakeAbsolute(const std::string& path) {
  if (path.front() == '/') return path;
  OsResult<std::string> current = GetCurrentDirectory();
  if (!current.IsOk()) return current;
  return current.Value() + "/" + path;
}

std::string SearchPath() {
  if (const char* path = std::getenv("PATH")) return path;
  size_t size = ::confstr(_CS_PATH, nullptr, 0);
  std::string path(size, '\0');
  if (size > 0) ::confstr(_CS_PATH, path.data(), size);
  path.resize(size > 0 ? size - 1 : 0);
  return path;
}

}  // namespace

OsResult<std::string> FindExecutable(const std::string& name) {
  if (name.empty()) return OsError::FromCode(ENOENT, name);
  if (name.find('/') != std::string::npos) {
    if (int error = CheckExecutable(name)) return OsError::FromCode(error, name);
    return MakeAbsolute(name);
  }
  std::string search_path = SearchPath();
  bool found_unusable = false;
  size_t start = 0;
  while (true) {
    size_t end = search_path.find(':', start);
    std::string directory = search_path.substr(start, end - start);
    std::string candidate = (directory.empty() ? "." : directory) + "/" + name;
    int error = CheckExecutable(candidate);
    if (error == 0) return MakeAbsolute(candidate);
    if (error == EACCES) found_unusable = true;
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return OsError::FromCode(found_unusable ? EACCES : ENOENT, name);
}

}  // namespace brivant::platform
