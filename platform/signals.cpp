#include "platform/signals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cassert>
#include <cerrno>
#include <system_error>

#include "platform/process.h"

namespace brivant::platform {
namespace {

constexpr char kStopByte = 's';
constexpr char kSecondSignalByte = 'k';
constexpr char kQuitByte = 'q';
// How long the quit callback may take before the process ends without it.
constexpr unsigned kQuitSeconds = 2;
constexpr int kWatchedSignals[] = {SIGINT, SIGTERM};

// Shared with the handler, which may only touch lock-free atomics and call
// async-signal-safe functions.
std::atomic<int> g_write_fd{-1};
std::atomic<int> g_signal_count{0};
std::atomic<int> g_exit_status{0};
struct sigaction g_previous[2];
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs a lock-free int");

[[noreturn]] void QuitNow() {
  KillRunningProcessGroups();
  ::_exit(g_exit_status.load());
}

void OnAlarm(int /*signal_number*/) { QuitNow(); }

void OnStopSignal(int signal_number) {
  int count = g_signal_count.fetch_add(1);
  if (count >= 2) QuitNow();
  int saved_errno = errno;
  int fd = g_write_fd.load();
  if (count == 1) {
    g_exit_status = 128 + signal_number;
    // The programs of the build run in groups of their own, out of reach of
    // the terminal's signal; ending them is ours to do before we go. The
    // watcher thread does the rest, unless it is stuck: then the alarm ends us.
    KillRunningProcessGroups();
    struct sigaction alarm_action {};
    alarm_action.sa_handler = OnAlarm;
    ::sigaction(SIGALRM, &alarm_action, nullptr);
    ::alarm(kQuitSeconds);
    if (fd < 0) QuitNow();
  }
  // At most two bytes are ever written, so the pipe has room.
  if (fd >= 0) {
    [[maybe_unused]] ssize_t written = ::write(fd, count == 0 ? &kStopByte : &kSecondSignalByte, 1);
  }
  errno = saved_errno;
}

void RestoreHandlers(size_t installed) {
  for (size_t i = 0; i < installed; ++i) ::sigaction(kWatchedSignals[i], &g_previous[i], nullptr);
}

}  // namespace

OsResult<std::unique_ptr<StopSignalWatcher>> StopSignalWatcher::Start(
    std::function<void()> on_stop, std::function<void()> on_quit) {
  assert(g_write_fd.load() < 0 && "only one StopSignalWatcher may exist at a time");
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) return OsError::FromCode(errno, "");
  // Only the handler's end must never block; the watcher waits on its end.
  ::fcntl(fds[0], F_SETFL, 0);
  g_signal_count = 0;
  g_write_fd = fds[1];

  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  // Interrupted system calls of the build resume instead of failing with EINTR.
  action.sa_flags = SA_RESTART;
  size_t installed = 0;
  for (int signal_number : kWatchedSignals) {
    if (::sigaction(signal_number, &action, &g_previous[installed]) != 0) {
      OsError error = OsError::FromCode(errno, "");
      RestoreHandlers(installed);
      g_write_fd = -1;
      ::close(fds[0]);
      ::close(fds[1]);
      return error;
    }
    ++installed;
  }
  std::unique_ptr<StopSignalWatcher> watcher(
      new StopSignalWatcher(std::move(on_stop), std::move(on_quit), fds[0], fds[1]));
  try {
    watcher->thread_ = std::thread(&StopSignalWatcher::Watch, watcher.get());
  } catch (const std::system_error& e) {
    // The destructor restores the handlers and closes the pipe.
    return OsError::FromCode(e.code().value(), "");
  }
  return watcher;
}

StopSignalWatcher::StopSignalWatcher(std::function<void()> on_stop, std::function<void()> on_quit,
                                     int read_fd, int write_fd)
    : on_stop_(std::move(on_stop)),
      on_quit_(std::move(on_quit)),
      read_fd_(read_fd),
      write_fd_(write_fd) {}

StopSignalWatcher::~StopSignalWatcher() {
  RestoreHandlers(std::size(kWatchedSignals));
  g_write_fd = -1;
  if (thread_.joinable()) {
    // The pipe holds at most the two signal bytes, so there is room.
    while (::write(write_fd_, &kQuitByte, 1) < 0 && errno == EINTR) {
    }
    thread_.join();
  }
  ::close(read_fd_);
  ::close(write_fd_);
}

void StopSignalWatcher::Watch() {
  bool stop_reported = false;
  for (;;) {
    char byte = 0;
    ssize_t count = ::read(read_fd_, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0 || byte == kQuitByte) return;
    if (byte == kSecondSignalByte) {
      if (on_quit_) on_quit_();
      QuitNow();
    }
    if (!stop_reported) {
      stop_reported = true;
      on_stop_();
    }
  }
}

}  // namespace brivant::platform
