// Turns Ctrl-C into a stop request. While a StopSignalWatcher lives, SIGINT
// and SIGTERM no longer kill the process: the first one calls the watcher's
// stop callback, which asks the build to stop; a second one, for a user
// whose build does not stop quickly enough, kills the process groups of the
// programs the build is waiting for, calls the quit callback (which may end
// the rest and close the log) and ends the process with status 128 + signal
// number (130 for Ctrl-C). The process also ends with that status when the
// quit callback has not returned within two seconds, or at a third signal.
//
// The callbacks run on the watcher's own thread, never in a signal handler,
// so they may take locks and call into the running action. Only one watcher
// may exist at a time; the process's signal dispositions are global.
#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "platform/file_system.h"

namespace brivant::platform {

class StopSignalWatcher {
 public:
  /// Installs the handlers and starts the thread. Fails with the OS error
  /// when the pipe, the handlers or the thread cannot be set up; nothing is
  /// left installed then.
  [[nodiscard]] static OsResult<std::unique_ptr<StopSignalWatcher>> Start(
      std::function<void()> on_stop, std::function<void()> on_quit = {});

  /// Restores the dispositions found at Start and joins the thread. A stop
  /// callback that is running is waited for.
  ~StopSignalWatcher();

  StopSignalWatcher(const StopSignalWatcher&) = delete;
  StopSignalWatcher& operator=(const StopSignalWatcher&) = delete;

 private:
  StopSignalWatcher(std::function<void()> on_stop, std::function<void()> on_quit, int read_fd,
                    int write_fd);
  void Watch();

  std::function<void()> on_stop_;
  std::function<void()> on_quit_;
  int read_fd_;
  int write_fd_;
  std::thread thread_;
};

}  // namespace brivant::platform
