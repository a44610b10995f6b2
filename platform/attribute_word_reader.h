// Reads the DOS attribute words (HIDDEN, SYSTEM, ARCHIVE; see
// file_attributes.h) of many entries of one directory at a time: what a
// search that filters hidden and system entries needs for every entry.
//
// Reading a word by path makes the kernel walk the whole path for every
// entry, the bulk of a listing's cost. The reader's own thread has a working
// directory of its own (unshare(CLONE_FS)), moves it into each directory and
// reads each word by the entry's bare name, a walk of one component; the
// searching thread meanwhile reads by path, both taking the next unread
// entry of the same list. The process's working directory is never touched:
// under a seccomp filter (which might refuse unshare, or kill the process
// for it) or where unshare fails, the thread reads by path too, and where
// no thread can be had, the searching thread reads every word alone.
//
// The thread starts with the first list that has words to read and ends with
// the object: make one per walk of a tree, not one per process, so that
// nothing outlives the caller (a package may be unloaded). Between lists it
// waits briefly without sleeping (see the .cpp). One list at a time shares
// the thread; a list read while it is busy is read by its caller alone.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace brivant::platform {

class AttributeWordReader {
 public:
  AttributeWordReader() = default;
  ~AttributeWordReader();
  AttributeWordReader(const AttributeWordReader&) = delete;
  AttributeWordReader& operator=(const AttributeWordReader&) = delete;

  /// Fills `bits[i]` with the stored bits of `names[i]`, an entry of the
  /// directory open as `directory_fd` whose path is `prefix` (with its
  /// trailing '/', empty for the working directory). The same answers as
  /// ReadStoredAttributeBits(prefix + name). Safe to call from several
  /// threads.
  void Read(int directory_fd, const std::string& prefix, const char* const* names, size_t count,
            uint32_t* bits);

  /// How many words the reader's own thread has read: it takes its share
  /// only when the scheduler lets it run while a list is being read.
  size_t WordsReadByHelper() const { return helper_words_.load(std::memory_order_relaxed); }

 private:
  struct Batch;

  bool Offer(Batch* batch);
  void Withdraw(Batch* batch);
  void Serve();
  // Waits for a list to read; false once the reader is being destroyed.
  bool WaitForOffer();

  // Who has the list on offer, as a generation (counting lists offered)
  // and a phase; see the .cpp. One word, so that the helper's taking a
  // list and its caller's withdrawing it cannot both succeed.
  std::atomic<uint64_t> slot_{0};
  Batch* batch_ = nullptr;  // written before the phase becomes "offered"
  std::atomic<bool> stopping_{false};
  // The helper sleeps here once no list came for a while.
  std::atomic<bool> parked_{false};
  std::mutex mutex_;
  std::condition_variable wake_;
  enum class Helper { kNotStarted, kRunning, kUnavailable };
  std::atomic<Helper> helper_state_{Helper::kNotStarted};
  std::atomic<size_t> helper_words_{0};
  std::thread helper_;
};

}  // namespace brivant::platform
