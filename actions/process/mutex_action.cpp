#include "actions/process/mutex_action.h"

#include <cerrno>
#include <limits>

#include "package/exceptions.h"

namespace brivant {
namespace {

// How often a wait looks at the lock again.
constexpr uint32_t kRetryMs = 50;

}  // namespace

const EnumInfo& EnumTraits<TBVMutexMode>::Info() {
  static const EnumInfo info{"TBVMutexMode", {"mmFileLock", "mmGlobalMutex"}};
  return info;
}

const PropertyTable& TBVMutexAction::Properties() {
  using T = TBVMutexAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("Mode", &T::mode_).Default("mmFileLock"),
          Property("FileName", &T::file_name_),
          Property("MutexName", &T::mutex_name_),
          Property("CreateNewFile", &T::create_new_file_).Default("True"),
          Property("DeleteOnUnlock", &T::delete_on_unlock_).Default("False"),
          Property("CreateNewMutex", &T::create_new_mutex_).Default("True"),
          Property("TimeoutLength", &T::GetTimeoutLength, &T::SetTimeoutLength).Default("0"),
          Property("EnableTimeout", &T::GetEnableTimeout, &T::SetEnableTimeout).Default("False"),
      });
  return table;
}

std::string TBVMutexAction::GetFormattedDescription() const {
  if (mode_ == mmFileLock && !file_name_.empty()) return "Lock File [ " + file_name_ + " ]";
  if (mode_ == mmGlobalMutex && !mutex_name_.empty())
    return "Acquire Mutex [ " + mutex_name_ + " ]";
  return TCustomBVAction::GetFormattedDescription();
}

uint64_t TBVMutexAction::TimeoutMs() const { return uint64_t{timeout_length_} * 60 * 1000; }

bool TBVMutexAction::GetTimedOut() const {
  if (!enable_timeout_) return false;
  auto elapsed = std::chrono::steady_clock::now() - start_;
  return static_cast<uint64_t>(
             std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()) > TimeoutMs();
}

bool TBVMutexAction::Execute() {
  start_ = std::chrono::steady_clock::now();
  stop_event_.store(false);
  SendMessage("Mutex action running...", stInfo);
  if (IsHolding())
    throw EFailAction(
        "An internal error has occured. This action is already holding the mutex value. Please "
        "report this error to the brivant maintainers.");
  Acquire();
  return true;
}

void TBVMutexAction::GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) {
  TCustomBVAction::GetNextActionSource(state, next);
  // No children to run under the lock, or the host leaves the container.
  bool no_children = state == nssAfterExecute && next == naNextSibling;
  if (no_children || next == naSkipChildren || next == naLeaveContainer) Release();
}

void TBVMutexAction::Acquire() {
  if (mode_ == mmFileLock) {
    std::string path;
    if (!TryExpandExpression("File Path", file_name_, path, true))
      throw EFailAction("Failed to expand file path.");
    SendMessage("Using file : " + path, stInfo);
    AcquireFile(path);
  } else {
    AcquireMutex();
  }
  if (!IsHolding()) throw EFailAction("Action Timed out.");
  notifier_.RegisterForNotify(Host());
}

void TBVMutexAction::AcquireFile(const std::string& path) {
  using platform::LockFile;
  auto if_missing = create_new_file_ ? LockFile::IfMissing::kCreate : LockFile::IfMissing::kFail;
  auto on_unlock = delete_on_unlock_ ? LockFile::OnUnlock::kDelete : LockFile::OnUnlock::kKeep;
  while (!file_lock_) {
    if (GetTimedOut() || stop_event_.load()) return;
    Sleep(kRetryMs);
    auto attempt = LockFile::TryAcquire(path, if_missing, on_unlock);
    if (attempt.IsOk()) {
      file_lock_ = std::move(attempt).Value();  // null while another holds it
      continue;
    }
    if (!create_new_file_ && attempt.Error().code == ENOENT)
      throw EFailAction("File not found and \"Create New File\" not enabled.");
    // Anything but "held by another" would never clear by waiting.
    throw EFailAction("cannot open lock file " + attempt.Error().Describe());
  }
}

void TBVMutexAction::GetMutexObject() {
  std::string name;
  if (!TryExpandExpression("Mutex Name", mutex_name_, name, true))
    throw EFailAction("Failed to expand mutex name.");
  std::string object_name = "Global\\" + name;
  SendMessage("Accessing mutex " + object_name, stInfo);
  auto opened = platform::NamedMutex::Open(object_name, /*create=*/false);
  if (opened.IsOk()) {
    mutex_ = std::move(opened).Value();
    return;
  }
  if (opened.Error().code != ENOENT)
    throw EFailAction("Failed to open mutex object : " + opened.Error().message);
  if (!create_new_mutex_)
    throw EFailAction("Mutex object not found. Create new mutex option is disabled.");
  auto created = platform::NamedMutex::Open(object_name, /*create=*/true);
  if (!created.IsOk())
    throw EFailAction("Failed to create new mutex object : " + created.Error().Describe());
  mutex_ = std::move(created).Value();
}

void TBVMutexAction::AcquireMutex() {
  GetMutexObject();
  SendMessage("Acquiring mutex lock...", stInfo);
  if (enable_timeout_ && TimeoutMs() > std::numeric_limits<uint32_t>::max()) {
    mutex_.reset();
    throw EFailAction("Integer overflow");
  }
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs());
  for (;;) {
    auto owned = mutex_->TryLock();
    if (!owned.IsOk()) {
      mutex_.reset();
      throw EFailAction("Unknown wait result code " + std::to_string(owned.Error().code));
    }
    if (owned.Value()) {
      SendMessage("Mutex acquired...", stInfo);
      return;
    }
    if (stop_event_.load()) {
      mutex_.reset();
      SendMessage("Stopped.", stError);
      return;
    }
    if (enable_timeout_ && std::chrono::steady_clock::now() >= deadline) {
      mutex_.reset();
      throw EFailAction("Timed out after " + std::to_string(timeout_length_) + " minutes.");
    }
    Sleep(kRetryMs);
  }
}

void TBVMutexAction::Release() {
  if (!IsHolding()) return;
  notifier_.UnregisterForNotify();
  file_lock_.reset();
  mutex_.reset();
}

void TMutexNotifier::RegisterForNotify(IBVActionHost* host) {
  UnregisterForNotify();
  host_ = host;
  if (host_ != nullptr) host_->RegisterRunEndListener(this);
}

void TMutexNotifier::UnregisterForNotify() {
  if (host_ != nullptr) host_->UnregisterRunEndListener(this);
  host_ = nullptr;
}

// A runner serves one project, so every end it reports is this action's.
void TMutexNotifier::ProjectRunEnded() { action_.Release(); }

}  // namespace brivant
