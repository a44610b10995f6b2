// "Mutex/Lock File Action": a container whose children run as a critical
// section across builds running at the same time. It holds either an
// exclusive lock file (which also works between machines sharing the file)
// or the machine-wide mutex "Global\<MutexName>" while the children run,
// and releases it when the host leaves the container, on Reset and on
// destruction. Waiting ends on a stop request or after TimeoutLength minutes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "platform/process_locks.h"

namespace brivant {

enum TBVMutexMode { mmFileLock = 0, mmGlobalMutex = 1 };

template <>
struct EnumTraits<TBVMutexMode> {
  static const EnumInfo& Info();
};

class TBVMutexAction;

// Releases its action's lock when the project run ends; registered with the
// host while the lock is held.
class TMutexNotifier : public IBVRunEndListener {
 public:
  explicit TMutexNotifier(TBVMutexAction& action) : action_(action) {}
  void RegisterForNotify(IBVActionHost* host);
  void UnregisterForNotify();
  void ProjectRunEnded() override;

 private:
  TBVMutexAction& action_;
  IBVActionHost* host_ = nullptr;
};

class TBVMutexAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVMutexAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  ~TBVMutexAction() override { Release(); }

  /// Acquires the lock; throws EFailAction when it cannot (time-out, stop,
  /// bad file or name). The lock stays held for the children.
  bool Execute() override;
  std::string GetActionName() const override { return "Mutex/Lock File Action"; }
  std::string GetActionKeywords() const override { return "critical section"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\Mutex.html"; }
  int GetHelpTopicID() const override { return 1565; }
  std::string GetFormattedDescription() const override;
  bool CanTerminate() override { return true; }
  void StopSignalled() override { stop_event_.store(true); }
  void TerminateAction() override { StopSignalled(); }
  bool GetTimedOut() const override;
  /// Releases the lock when the host leaves the container (no children,
  /// after them, or on abort).
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override;
  void Reset() { Release(); }
  void Release();
  void ResetBuildStatus() override {
    TCustomBVAction::ResetBuildStatus();
    Release();
  }

  bool GetEnableTimeout() const { return enable_timeout_; }
  void SetEnableTimeout(bool enable) { enable_timeout_ = enable; }
  uint32_t GetTimeoutLength() const { return timeout_length_; }
  void SetTimeoutLength(uint32_t minutes) { timeout_length_ = minutes; }
  bool IsHolding() const { return file_lock_ != nullptr || mutex_ != nullptr; }

 private:
  void Acquire();
  void AcquireFile(const std::string& path);
  void AcquireMutex();
  void GetMutexObject();
  uint64_t TimeoutMs() const;

  TBVMutexMode mode_ = mmFileLock;
  std::string file_name_;
  std::string mutex_name_;
  bool create_new_file_ = true;
  bool delete_on_unlock_ = false;
  bool create_new_mutex_ = true;
  uint32_t timeout_length_ = 0;
  bool enable_timeout_ = false;

  std::unique_ptr<platform::LockFile> file_lock_;
  std::unique_ptr<platform::NamedMutex> mutex_;
  std::atomic<bool> stop_event_{false};
  TMutexNotifier notifier_{*this};
  std::chrono::steady_clock::time_point start_;
};

}  // namespace brivant
