// Where the build log goes. The runner reports every event of a build to one
// LogSink, which writes it in one of the formats users pick with --log: text
// for people at a terminal, GitHub's workflow commands, or one JSON object per
// line for tools.
//
// Events arrive in build order from the build thread only: action starts and
// ends nest (a container's end follows its children's), message groups nest
// inside an action, and BuildEnd comes last. Sinks write and flush each event
// as it happens, so a reader at the other end of a pipe sees it at once and a
// killed build loses nothing it logged; Flush also clears a progress bar.
#pragma once

#include <chrono>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string_view>

#include "package/status_tag.h"

namespace brivant::host {

enum class LogFormat { kText, kJson, kGithub };

// How much the text formats show (-q, -v); the JSON format always has everything.
enum class Verbosity {
  kQuiet,  // error lines, the headers above them, and the closing summary
  kNormal,
  kVerbose,  // also each action's place, description and time
};

// How the text formats decorate their output; the JSON format ignores it.
struct TerminalStyle {
  bool color = false;          // ANSI colours for status and headers
  bool live_progress = false;  // progress as a bar redrawn in place; off: no progress at all
  int columns = 80;            // the width the progress bar must fit into
  Verbosity verbosity = Verbosity::kNormal;
};

// Where an action comes from in the project, and whether a failure of it
// would stop the build.
struct ActionPlace {
  std::string_view file;  // the project file as the user named it; empty: none
  int line = 0;           // of its <Action> element; 0: unknown
  // IgnoreFailure holds for it, so its errors will not fail the build.
  bool ignores_failure = false;
};

class LogSink {
 public:
  virtual ~LogSink() = default;

  virtual void ActionStart(std::string_view class_name, std::string_view title,
                           std::string_view description, const ActionPlace& place) = 0;
  // `success` is the action's own result. `failure_ignored` says that it
  // failed and IgnoreFailure lets the build go on.
  virtual void ActionEnd(std::string_view class_name, std::string_view title, bool success,
                         bool failure_ignored) = 0;
  // `text` may hold line breaks; it stays one message.
  virtual void Message(TStatusTag tag, std::string_view text) = 0;
  virtual void GroupStart(std::string_view title) = 0;
  virtual void GroupEnd(TStatusTag tag) = 0;
  // percent is 0..100; values outside are clamped.
  virtual void Progress(std::string_view text, int percent) = 0;
  // `place` is where the problem is: the action's or its property's line.
  virtual void ValidationError(std::string_view title, std::string_view property,
                               std::string_view message, const ActionPlace& place) = 0;
  virtual void BuildEnd(bool success) = 0;
  virtual void Flush() = 0;

  // A problem the checks before the run found that does not stop the build.
  // By default an stWarning message "file:line: title: property: message",
  // as `brivant validate` prints it without its marker.
  virtual void ValidationWarning(std::string_view title, std::string_view property,
                                 std::string_view message, const ActionPlace& place);
  // A project that could not be loaded; `message` is the loader's whole
  // "file:line: ..." text and `line` 0 when it names none. Only BuildEnd
  // follows.
  virtual void ProjectError(std::string_view /*file*/, int /*line*/, std::string_view message) {
    Message(stError, message);
  }
  // A loop of the running action starts pass `iteration` (1-based) of
  // `count` (0: unknown). Only a live terminal shows it.
  virtual void LoopProgress(std::string_view /*title*/, int /*iteration*/, int /*count*/) {}

  // While held, events are written but not flushed; releasing flushes. The
  // runner holds them while it logs the lines of one read of a program's
  // output, so that a burst of lines costs one write and nothing waits in
  // the buffer while the runner waits.
  virtual void HoldFlushes(bool hold) {
    flushes_held_ = hold;
    if (!hold) Flush();
  }

 protected:
  bool FlushesHeld() const { return flushes_held_; }

 private:
  bool flushes_held_ = false;
};

// Forwards every event to another sink under a lock, so that a second thread
// can end the log: when a second Ctrl-C ends the process while the build
// thread may be in the middle of an event, the log still ends with build-end.
// Events after build-end are dropped.
class ClosableLogSink final : public LogSink {
 public:
  // `inner` must outlive this sink.
  explicit ClosableLogSink(LogSink& inner) : inner_(inner) {}

  void ActionStart(std::string_view class_name, std::string_view title,
                   std::string_view description, const ActionPlace& place) override;
  void ActionEnd(std::string_view class_name, std::string_view title, bool success,
                 bool failure_ignored) override;
  void Message(TStatusTag tag, std::string_view text) override;
  void GroupStart(std::string_view title) override;
  void GroupEnd(TStatusTag tag) override;
  void Progress(std::string_view text, int percent) override;
  void ValidationError(std::string_view title, std::string_view property, std::string_view message,
                       const ActionPlace& place) override;
  void BuildEnd(bool success) override;
  void Flush() override;
  void HoldFlushes(bool hold) override;
  void ValidationWarning(std::string_view title, std::string_view property,
                         std::string_view message, const ActionPlace& place) override;
  void ProjectError(std::string_view file, int line, std::string_view message) override;
  void LoopProgress(std::string_view title, int iteration, int count) override;

  // For any thread: ends the log with a failed build-end unless it has
  // ended. Waits at most `wait` for an event being written (a reader that
  // stopped reading can block it for good); false when the log stays open.
  bool EndFromOutside(std::chrono::milliseconds wait);

 private:
  template <class Event>
  void Forward(Event&& event) {
    std::lock_guard<std::timed_mutex> lock(mutex_);
    if (!ended_) event();
  }

  LogSink& inner_;
  std::timed_mutex mutex_;
  bool ended_ = false;
};

// A sink of `format` writing to `out`, which must outlive it.
std::unique_ptr<LogSink> MakeLogSink(LogFormat format, std::ostream& out,
                                     const TerminalStyle& style);

}  // namespace brivant::host
