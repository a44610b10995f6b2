// Another running process of this user, as the close-process action sees
// it: found by its id, asked to end by a signal, watched until it has. A
// process is held through a pidfd, so a signal can never reach a process
// that took over the id after the first one ended.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/file_system.h"

namespace brivant::platform {

enum class ProcessSignal {
  kClose,  // SIGTERM: please close
  kQuit,   // SIGINT: quit
  kKill,   // SIGKILL: terminate without asking
};

class UserProcess {
 public:
  /// The live process `pid` if it runs under this user's effective id; null
  /// for a missing process, a zombie, another user's process, and every id
  /// outside 2..2^31-1: 0 and negative numbers would address process groups
  /// and 1 is the system's init, never a build's program.
  [[nodiscard]] static std::unique_ptr<UserProcess> Find(int64_t pid);
  ~UserProcess();
  UserProcess(const UserProcess&) = delete;
  UserProcess& operator=(const UserProcess&) = delete;

  /// False once the process has ended (a zombie has ended).
  bool IsRunning() const;
  /// Sends the signal to this one process; ESRCH when it has already ended.
  [[nodiscard]] OsError Signal(ProcessSignal signal);

 private:
  explicit UserProcess(int pidfd) : pidfd_(pidfd) {}

  int pidfd_;
};

}  // namespace brivant::platform
