#include "platform/user_process.h"

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <limits>
#include <string>

namespace brivant::platform {
namespace {

// The state letter of /proc/<pid>/stat; 'Z' for a zombie, 0 when unreadable.
char ProcessState(int64_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  if (!std::getline(stat, text)) return 0;
  size_t name_end = text.rfind(')');
  if (name_end == std::string::npos || name_end + 2 >= text.size()) return 0;
  return text[name_end + 2];
}

int SignalNumber(ProcessSignal signal) {
  switch (signal) {
    case ProcessSignal::kClose:
      return SIGTERM;
    case ProcessSignal::kQuit:
      return SIGINT;
    case ProcessSignal::kKill:
      return SIGKILL;
  }
  return SIGTERM;
}

}  // namespace

std::unique_ptr<UserProcess> UserProcess::Find(int64_t pid) {
  if (pid < 2 || pid > std::numeric_limits<int32_t>::max()) return nullptr;
  struct stat info {};
  std::string proc = "/proc/" + std::to_string(pid);
  if (::stat(proc.c_str(), &info) != 0 || info.st_uid != ::geteuid()) return nullptr;
  int pidfd = static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0));
  if (pidfd < 0) return nullptr;
  std::unique_ptr<UserProcess> process(new UserProcess(pidfd));
  // Checked after opening: the pidfd now pins this very process.
  char state = ProcessState(pid);
  if (state == 0 || state == 'Z' || !process->IsRunning()) return nullptr;
  return process;
}

UserProcess::~UserProcess() { ::close(pidfd_); }

bool UserProcess::IsRunning() const {
  struct pollfd watch {};
  watch.fd = pidfd_;
  watch.events = POLLIN;
  int ready = 0;
  while ((ready = ::poll(&watch, 1, 0)) < 0 && errno == EINTR) {
  }
  return ready == 0;
}

OsError UserProcess::Signal(ProcessSignal signal) {
  if (::syscall(SYS_pidfd_send_signal, pidfd_, SignalNumber(signal), nullptr, 0) == 0) return {};
  return OsError::FromCode(errno, "");
}

}  // namespace brivant::platform
