#include "platform/process_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

using std::chrono::milliseconds;

std::atomic<bool> g_is_subreaper{false};
// Our end of the connection to the guard process, and its pid; -1 and 0
// without one.
std::atomic<int> g_guard_fd{-1};
std::atomic<int> g_guard_pid{0};
// The guard keeps a fixed table: it may not allocate (it was forked from a
// process that may have threads) and few programs run at once.
constexpr int kGuardSlots = 256;

struct ProcessEntry {
  int pid = 0;
  int parent = 0;
  unsigned long long start = 0;  // clock ticks after boot
  bool zombie = false;
};

// Reads /proc/PID/stat. False when the process is gone or the text is not
// what the kernel writes.
bool ReadEntry(int pid, ProcessEntry* entry) {
  char path[32];
  std::snprintf(path, sizeof path, "/proc/%d/stat", pid);
  FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
  if (file.Get() < 0) return false;
  char text[1024];
  ssize_t got = ::read(file.Get(), text, sizeof text - 1);
  if (got <= 0) return false;
  text[got] = '\0';
  // The command name may hold blanks and parentheses; the fields after the
  // last ')' do not: state, parent, ... start time is the 20th of them.
  char* fields = std::strrchr(text, ')');
  if (fields == nullptr || fields[1] != ' ') return false;
  fields += 2;
  entry->pid = pid;
  entry->zombie = fields[0] == 'Z';
  char* cursor = fields + 1;
  entry->parent = static_cast<int>(std::strtol(cursor, &cursor, 10));
  for (int field = 2; field < 20; ++field) std::strtoull(cursor, &cursor, 10);
  entry->start = std::strtoull(cursor, &cursor, 10);
  return true;
}

std::vector<ProcessEntry> ListProcesses() {
  std::vector<ProcessEntry> entries;
  DIR* proc = ::opendir("/proc");
  if (proc == nullptr) return entries;
  while (const dirent* item = ::readdir(proc)) {
    char* end = nullptr;
    long pid = std::strtol(item->d_name, &end, 10);
    if (pid <= 0 || *end != '\0') continue;
    ProcessEntry entry;
    if (ReadEntry(static_cast<int>(pid), &entry)) entries.push_back(entry);
  }
  ::closedir(proc);
  return entries;
}

// Every process whose chain of parents reaches one of `roots`, roots
// excluded, parents before their children.
std::vector<int> Below(const std::vector<ProcessEntry>& entries, std::vector<int> roots,
                       const std::vector<int>& excluded) {
  std::vector<int> found;
  for (size_t next = 0; next < roots.size(); ++next) {
    for (const ProcessEntry& entry : entries) {
      if (entry.parent != roots[next]) continue;
      if (std::find(excluded.begin(), excluded.end(), entry.pid) != excluded.end()) continue;
      roots.push_back(entry.pid);
      found.push_back(entry.pid);
    }
  }
  return found;
}

// Live descendants of this process; zombies run no more and need no signal.
std::vector<int> LiveDescendants() {
  std::vector<ProcessEntry> entries = ListProcesses();
  std::vector<int> below = Below(entries, {static_cast<int>(::getpid())}, {g_guard_pid.load()});
  std::erase_if(below, [&](int pid) {
    auto entry = std::find_if(entries.begin(), entries.end(),
                              [pid](const ProcessEntry& e) { return e.pid == pid; });
    return entry == entries.end() || entry->zombie;
  });
  return below;
}

// The guard outlives us by design: when our end of the connection closes
// (we exited or were killed), it SIGKILLs the process groups still listed,
// that is, those of the programs we had not yet reaped. It ignores the
// signals a terminal or a supervisor sends to our whole group, so that it
// stays to do its work. Only async-signal-safe calls here.
[[noreturn]] void RunGuard(int fd) {
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  for (int signal_number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
    ::sigaction(signal_number, &ignore, nullptr);
  // Holding our standard output open would keep a reader of it waiting.
  for (int other = 0; other < 1024; ++other) {
    if (other != fd) ::close(other);
  }
  int groups[kGuardSlots] = {};
  for (;;) {
    int32_t record = 0;
    ssize_t got = ::read(fd, &record, sizeof record);
    if (got < 0 && errno == EINTR) continue;
    if (got != static_cast<ssize_t>(sizeof record)) break;
    int wanted = record > 0 ? 0 : -record;  // a free slot, or the one to clear
    int value = record > 0 ? record : 0;
    for (int& slot : groups) {
      if (slot == wanted) {
        slot = value;
        break;
      }
    }
  }
  for (int group : groups) {
    if (group > 0) ::kill(-group, SIGKILL);
  }
  ::_exit(0);
}

OsError StartGuard() {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    return OsError::FromCode(errno, "");
  int pid = ::fork();
  if (pid < 0) {
    int error = errno;
    ::close(ends[0]);
    ::close(ends[1]);
    return OsError::FromCode(error, "");
  }
  if (pid == 0) RunGuard(ends[1]);
  ::close(ends[1]);
  g_guard_pid = pid;
  g_guard_fd = ends[0];
  return {};
}

void TellGuard(int32_t record) {
  int fd = g_guard_fd.load();
  if (fd < 0) return;
  // A guard that is gone must not take us with it (SIGPIPE).
  [[maybe_unused]] ssize_t sent = ::send(fd, &record, sizeof record, MSG_NOSIGNAL);
}

// Reaps the children of this process that have ended, whoever started
// them; done only on the way out, after signalling, as their pids then
// become free.
void ReapEndedChildren() {
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

}  // namespace

OsError BecomeChildSubreaper() {
  if (::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0) return OsError::FromCode(errno, "");
  g_is_subreaper = true;
  return StartGuard();
}

void GuardProcessGroup(int group) { TellGuard(group); }

void UnguardProcessGroup(int group) { TellGuard(-group); }

bool IsChildSubreaper() { return g_is_subreaper.load(); }

void EndAllDescendants(milliseconds grace) {
  std::vector<int> live = LiveDescendants();
  if (grace > milliseconds(0)) ReapEndedChildren();
  if (live.empty()) return;
  if (grace <= milliseconds(0)) {
    for (int pid : live) ::kill(pid, SIGKILL);
    return;
  }
  for (int pid : live) ::kill(pid, SIGTERM);
  auto give_up = std::chrono::steady_clock::now() + grace;
  while (!live.empty() && std::chrono::steady_clock::now() < give_up) {
    std::this_thread::sleep_for(milliseconds(10));
    ReapEndedChildren();
    live = LiveDescendants();
  }
  for (int pid : live) ::kill(pid, SIGKILL);
  // Killed orphans are re-parented to us as they die; give them a moment.
  for (int round = 0; round < 50 && !LiveDescendants().empty(); ++round)
    std::this_thread::sleep_for(milliseconds(10));
  ReapEndedChildren();
}

std::vector<int> FindProgramDescendants(int pid, const std::vector<int>& excluded) {
  std::vector<ProcessEntry> entries = ListProcesses();
  std::vector<int> roots = {pid};
  auto program = std::find_if(entries.begin(), entries.end(),
                              [pid](const ProcessEntry& e) { return e.pid == pid; });
  if (IsChildSubreaper() && program != entries.end()) {
    int self = static_cast<int>(::getpid());
    for (const ProcessEntry& entry : entries) {
      bool adopted = entry.parent == self && entry.pid != pid && entry.start >= program->start &&
                     std::find(excluded.begin(), excluded.end(), entry.pid) == excluded.end();
      if (adopted) roots.push_back(entry.pid);
    }
  }
  std::vector<int> found(roots.begin() + 1, roots.end());
  std::vector<int> below = Below(entries, roots, excluded);
  found.insert(found.end(), below.begin(), below.end());
  return found;
}

}  // namespace brivant::platform
