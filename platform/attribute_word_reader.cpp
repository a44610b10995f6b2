#include "platform/attribute_word_reader.h"

#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <system_error>

#include "platform/file_attributes.h"

namespace brivant::platform {
namespace {

// Below this many words waking the helper costs more than it saves.
constexpr size_t kFewestWordsToShare = 16;

// How long the helper looks for the next list before it sleeps. Waking a
// sleeping thread on another core takes tens of microseconds on a virtual
// machine, as long as reading a hundred words, and a walk offers a list per
// directory; a walk between two directories takes far less than this.
constexpr std::chrono::microseconds kLookForWork{1000};

// The phases of the slot word; its higher bits count the lists offered, so
// that a phase of one list is never taken for the same phase of another.
enum Phase : uint64_t {
  kIdle = 0,      // nothing on offer: a caller may offer a list
  kOffering = 1,  // a caller is putting its list in place
  kOffered = 2,   // the helper may take it, or its caller withdraw it
  kTaken = 3,     // the helper is reading from it
  kFinished = 4,  // the helper is done with it; its caller sets kIdle
};
constexpr uint64_t kPhaseBits = 3;

constexpr Phase PhaseOf(uint64_t word) { return static_cast<Phase>(word & 7); }
constexpr uint64_t Word(uint64_t generation, Phase phase) {
  return generation << kPhaseBits | phase;
}

// Whether this thread may ask for unshare without risk: no seccomp filter
// stands between it and the call. A filter may refuse it with EPERM, which
// is harmless, or kill the process (the default action of some service
// managers). When that cannot be told, it does not ask.
bool MaySafelyUnshare() {
  std::ifstream status("/proc/thread-self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("Seccomp:", 0) != 0) continue;
    const size_t value = line.find_first_not_of(" \t", 8);
    return value != std::string::npos && line[value] == '0';
  }
  return false;
}

}  // namespace

struct AttributeWordReader::Batch {
  int directory_fd;
  const std::string* prefix;
  const char* const* names;
  uint32_t* bits;
  size_t count;
  std::atomic<size_t> next{0};
  uint64_t generation = 0;

  // Reads words until none is left unclaimed; each entry is read by the one
  // thread that claimed it.
  template <typename ReadOne>
  size_t Drain(ReadOne read_one) {
    size_t read = 0;
    for (size_t i = next.fetch_add(1, std::memory_order_relaxed); i < count;
         i = next.fetch_add(1, std::memory_order_relaxed)) {
      bits[i] = read_one(names[i]);
      ++read;
    }
    return read;
  }

  size_t DrainByPath() {
    std::string path = *prefix;
    return Drain([&](const char* name) {
      path.resize(prefix->size());
      path += name;
      return ReadStoredAttributeBits(path.c_str());
    });
  }
};

AttributeWordReader::~AttributeWordReader() {
  stopping_.store(true);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    wake_.notify_all();
  }
  if (helper_.joinable()) helper_.join();
}

void AttributeWordReader::Read(int directory_fd, const std::string& prefix,
                               const char* const* names, size_t count, uint32_t* bits) {
  Batch batch{directory_fd, &prefix, names, bits, count};
  // The helper may still be reading an entry it claimed, into `batch`: it
  // is withdrawn before it goes, also when reading by path throws.
  struct Withdrawal {
    AttributeWordReader* reader;
    Batch* batch;
    ~Withdrawal() {
      if (batch != nullptr) reader->Withdraw(batch);
    }
  } withdrawal{this, count >= kFewestWordsToShare && Offer(&batch) ? &batch : nullptr};
  batch.DrainByPath();
}

bool AttributeWordReader::Offer(Batch* batch) {
  if (helper_state_.load() == Helper::kNotStarted) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (helper_state_.load() == Helper::kNotStarted) {
      try {
        helper_ = std::thread(&AttributeWordReader::Serve, this);
        helper_state_.store(Helper::kRunning);
      } catch (const std::system_error&) {
        helper_state_.store(Helper::kUnavailable);  // no thread to be had: callers read alone
      }
    }
  }
  if (helper_state_.load() != Helper::kRunning) return false;
  uint64_t word = slot_.load();
  // Busy with another caller's list: this one is read by its caller alone.
  if (PhaseOf(word) != kIdle) return false;
  const uint64_t generation = (word >> kPhaseBits) + 1;
  if (!slot_.compare_exchange_strong(word, Word(generation, kOffering))) return false;
  batch->generation = generation;
  batch_ = batch;
  // Sequentially consistent with the helper's parking: either it sees the
  // offer before it sleeps, or this sees it asleep and wakes it.
  slot_.store(Word(generation, kOffered));
  if (parked_.load()) {
    std::lock_guard<std::mutex> lock(mutex_);
    wake_.notify_one();
  }
  return true;
}

void AttributeWordReader::Withdraw(Batch* batch) {
  uint64_t offered = Word(batch->generation, kOffered);
  if (slot_.compare_exchange_strong(offered, Word(batch->generation, kIdle))) return;
  // Taken: every entry is claimed by now, so the helper ends within a read.
  const uint64_t finished = Word(batch->generation, kFinished);
  while (slot_.load() != finished) std::this_thread::yield();
  slot_.store(Word(batch->generation, kIdle));
}

bool AttributeWordReader::WaitForOffer() {
  const auto give_up = std::chrono::steady_clock::now() + kLookForWork;
  while (std::chrono::steady_clock::now() < give_up) {
    if (stopping_.load()) return false;
    if (PhaseOf(slot_.load()) == kOffered) return true;
    std::this_thread::yield();  // the core goes to anyone who needs it
  }
  std::unique_lock<std::mutex> lock(mutex_);
  parked_.store(true);
  wake_.wait(lock, [&] { return stopping_.load() || PhaseOf(slot_.load()) == kOffered; });
  parked_.store(false);
  return !stopping_.load();
}

void AttributeWordReader::Serve() {
  // A working directory of its own, so that moving it from directory to
  // directory leaves the process's (the searching thread's) alone. Without
  // it (a sandbox may refuse unshare) the helper reads by path, as the
  // searching thread does, and never changes directory.
  const bool own_directory = MaySafelyUnshare() && ::unshare(CLONE_FS) == 0;
  while (WaitForOffer()) {
    uint64_t word = slot_.load();
    if (PhaseOf(word) != kOffered) continue;
    const uint64_t generation = word >> kPhaseBits;
    // Fails when the caller withdrew the list first.
    if (!slot_.compare_exchange_strong(word, Word(generation, kTaken))) continue;
    Batch* batch = batch_;
    size_t read = 0;
    if (!own_directory) {
      read = batch->DrainByPath();
    } else if (::fchdir(batch->directory_fd) == 0) {
      read = batch->Drain([](const char* name) { return ReadStoredAttributeBits(name); });
    }
    // A directory that cannot be entered cannot be read by path either: its
    // caller reads the words and gets the same "no bits".
    helper_words_.fetch_add(read, std::memory_order_relaxed);
    // The last touch of the list: its caller may end it as soon as it sees this.
    slot_.store(Word(generation, kFinished));
  }
}

}  // namespace brivant::platform
