#include "platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace brivant::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How often a running program's terminate flag is looked at, at the latest.
constexpr milliseconds kPollInterval{50};
// What the forked child exits with when it cannot exec, after it has
// reported the reason through the error pipe. Nobody sees it but us.
constexpr int kChildSetupFailed = 127;

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

// What the forked child reports through the error pipe before giving up.
enum class ChildStage : int { kSetup, kWorkingDirectory, kExec };
struct ChildFailure {
  ChildStage stage;
  int error;
};

// Everything the child needs, prepared before fork: after fork only
// async-signal-safe calls are allowed, so nothing here may allocate.
struct ChildPlan {
  const char* program;
  char* const* argv;
  const char* working_directory;  // nullptr: stay
  int stdio[3];                   // what becomes 0, 1 and 2; -1 keeps ours
  int report_fd;
};

[[noreturn]] void FailInChild(int report_fd, ChildStage stage) {
  ChildFailure failure{stage, errno};
  ssize_t ignored = ::write(report_fd, &failure, sizeof failure);
  (void)ignored;
  ::_exit(kChildSetupFailed);
}

// Moves a descriptor out of the 0-2 range first, so that installing one
// standard descriptor can never overwrite the source of another.
int LiftAboveStdio(int fd) { return fd < 0 ? -1 : ::fcntl(fd, F_DUPFD_CLOEXEC, 3); }

[[noreturn]] void RunChild(const ChildPlan& plan) {
  ::setpgid(0, 0);
  // Ignored signals and the signal mask survive exec; a program must not
  // start with SIGPIPE ignored or SIGTERM blocked because the host has them so.
  struct sigaction default_action = {};
  default_action.sa_handler = SIG_DFL;
  for (int signal_number = 1; signal_number < NSIG; ++signal_number)
    ::sigaction(signal_number, &default_action, nullptr);
  sigset_t empty_set;
  ::sigemptyset(&empty_set);
  ::sigprocmask(SIG_SETMASK, &empty_set, nullptr);

  int lifted[3];
  for (int i = 0; i < 3; ++i) {
    lifted[i] = LiftAboveStdio(plan.stdio[i]);
    if (plan.stdio[i] >= 0 && lifted[i] < 0) FailInChild(plan.report_fd, ChildStage::kSetup);
  }
  for (int i = 0; i < 3; ++i) {
    if (lifted[i] >= 0 && ::dup2(lifted[i], i) < 0) FailInChild(plan.report_fd, ChildStage::kSetup);
  }
  if (plan.working_directory != nullptr && ::chdir(plan.working_directory) != 0)
    FailInChild(plan.report_fd, ChildStage::kWorkingDirectory);
  ::execv(plan.program, plan.argv);
  FailInChild(plan.report_fd, ChildStage::kExec);
}

// Waits for a child that is known to have ended (or to be ending).
int ReapBlocking(int pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

// Reads the error pipe until the child has exec'd (end of file, because the
// write end is close-on-exec) or reported why it could not.
std::optional<ChildFailure> ReadChildFailure(int report_fd) {
  ChildFailure failure{};
  ssize_t got;
  do {
    got = ::read(report_fd, &failure, sizeof failure);
  } while (got < 0 && errno == EINTR);
  if (got != static_cast<ssize_t>(sizeof failure)) return std::nullopt;
  return failure;
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

// Forks and execs the program in a new process group. Returns its pid once
// exec has succeeded; a child that failed is reaped before the error returns.
OsResult<int> Spawn(const ProcessLaunch& launch, UniqueFd* output_read) {
  OsResult<ChildFds> stdio = OpenChildStdio(launch, output_read);
  if (!stdio.IsOk()) return stdio.Error();
  const ChildFds& fds = stdio.Value();

  std::vector<std::string> words = launch.argv.empty() ? std::vector{launch.program} : launch.argv;
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  int report[2];
  if (::pipe2(report, O_CLOEXEC) != 0) return OsError::FromCode(errno, launch.program);
  UniqueFd report_read(report[0]);
  UniqueFd report_write(report[1]);

  ChildPlan plan{launch.program.c_str(),
                 argv.data(),
                 launch.working_directory.empty() ? nullptr : launch.working_directory.c_str(),
                 {fds.input.Get(), fds.output.Get(), launch.merge_stderr ? fds.output.Get() : -1},
                 report_write.Get()};

  int pid = ::fork();
  if (pid < 0) return OsError::FromCode(errno, launch.program);
  if (pid == 0) RunChild(plan);
  // Set the group from both sides, so that it exists before either side
  // relies on it. The child may already have exec'd (EACCES); that is fine.
  ::setpgid(pid, pid);
  report_write.Reset();
  if (std::optional<ChildFailure> failure = ReadChildFailure(report_read.Get())) {
    ReapBlocking(pid);
    output_read->Reset();
    return DescribeChildFailure(*failure, launch);
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

// Owns a started program until it is reaped. If the owner leaves early (a
// callback threw), the whole group is killed and the program reaped, so
// nothing outlives the call.
class ChildProcess {
 public:
  explicit ChildProcess(int pid)
      : pid_(pid), pid_fd_(OpenPidFd(pid)), group_slot_(ListRunningGroup(pid)) {}
  ~ChildProcess() {
    if (reaped_) return;
    SignalGroup(SIGKILL);
    UnlistRunningGroup(group_slot_);
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

  void SignalGroup(int signal_number) const { ::kill(-pid_, signal_number); }

  // The wait status, or -1 when something else in this process reaped it.
  int Reap() {
    reaped_ = true;
    UnlistRunningGroup(group_slot_);
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
  OutputReader(UniqueFd fd, const std::function<void(const std::string&)>& on_line)
      : fd_(std::move(fd)), lines_(on_line) {
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
  }

 private:
  UniqueFd fd_;
  LineSplitter lines_;
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
      child.SignalGroup(SIGKILL);  // whatever of the group ignored SIGTERM
      return ended_by;
    }
    if (ended) return std::nullopt;
    if (!ended_by) {
      ended_by = StopReason(watch, deadline);
      if (ended_by) {
        child.SignalGroup(SIGTERM);
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
  OsResult<int> pid = Spawn(launch, &output_read);
  if (!pid.IsOk()) return pid.Error();
  ChildProcess child(pid.Value());
  OutputReader output(std::move(output_read), watch.on_line);
  if (watch.on_started) watch.on_started(child.Pid());

  std::optional<ProcessEnd> ended_by = Supervise(child, output, watch);
  int status = child.Reap();
  output.DrainAndFinish();
  return ExitFromStatus(child.Pid(), status, ended_by);
}

OsResult<int> StartProcessDetached(const ProcessLaunch& launch) {
  ProcessLaunch quiet = launch;
  quiet.stdout_mode = StdOutMode::kDiscard;
  quiet.merge_stderr = true;
  UniqueFd no_output;
  OsResult<int> pid = Spawn(quiet, &no_output);
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
