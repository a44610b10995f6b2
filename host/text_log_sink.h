// The build log for people: one line per message, each action's title as a
// header line, everything an action logs indented below its header (two more
// blanks per open message group and per nesting level of actions), and the
// status of a line as colour and marker:
//
//   == Copy libraries
//     Copying libfoo.so
//     Files Copied
//       libfoo.so
//     warning: libbar.so skipped
//     error: Unable to copy libbaz.so: Permission denied
//     build.bvproj:12: error: Copy libraries failed
//   summary: 1 action run, 1 failed, 0 failures ignored
//   slowest:
//         0.004 s  Copy libraries (build.bvproj:12)
//   error: build failed
//
// Error and warning lines carry "error: " / "warning: " also without colour,
// so they can be found with grep; colours are red, yellow, and green for
// success lines. The lines of a multi-line message line up under the first
// line's text. Progress shows only on an interactive terminal, as a line
// redrawn in place and erased before the next line: an action's as a bar, the
// passes of the loops around it as a line that comes back after each event.
// Quiet shows only error lines, with the headers above them written when the
// first error needs them; verbose adds each action's place, description and
// time.
//
// The GitHub dialect is the same text, except that a top-level action is a
// ::group::title ... ::endgroup:: and error and warning lines become
// ::error file=...,line=...,title=...::text workflow commands (annotations
// at the action's <Action> element), which must start at the first column
// and carry line breaks as %0A. Inside an action whose failure is ignored,
// errors are warnings there: they do not fail the build.
#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/build_summary.h"
#include "host/log_sink.h"

namespace brivant::host {

class TextLogSink final : public LogSink {
 public:
  enum class Dialect { kPlain, kGithub };
  using Clock = std::chrono::steady_clock::time_point (*)();

  // `now` measures the actions' times; tests pass their own.
  TextLogSink(std::ostream& out, const TerminalStyle& style, Dialect dialect,
              Clock now = std::chrono::steady_clock::now)
      : out_(out), style_(style), dialect_(dialect), now_(now) {}

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
  // Also erases a progress bar, so that output of a program the build starts
  // next does not land behind it.
  void Flush() override;
  void ValidationWarning(std::string_view title, std::string_view property,
                         std::string_view message, const ActionPlace& place) override;
  void ProjectError(std::string_view file, int line, std::string_view message) override;
  void LoopProgress(std::string_view title, int iteration, int count) override;

 private:
  struct OpenAction {
    std::string title;
    std::string file;
    int line = 0;
    bool ignores_failure = false;  // its own IgnoreFailure or an enclosing one's
    std::chrono::steady_clock::time_point start;
  };
  // A header line (an action's title, a group's) and whether it is out yet.
  struct Header {
    std::string text;
    int level = 0;
    bool is_action = false;       // else a message group
    bool workflow_group = false;  // written as ::group::, closed by ::endgroup::
    bool written = false;
  };
  struct Loop {
    size_t depth = 0;  // open actions when it reported, its own included
    std::string text;
  };

  bool IsGithub() const { return dialect_ == Dialect::kGithub; }
  bool IsQuiet() const { return style_.verbosity == Verbosity::kQuiet; }
  bool IsVerbose() const { return style_.verbosity == Verbosity::kVerbose; }
  void WriteProblem(TStatusTag tag, std::string_view title, std::string_view property,
                    std::string_view message, const ActionPlace& place);
  void WriteStatusLines(TStatusTag tag, std::string_view text, std::string_view place = {});
  void WriteAnnotation(TStatusTag tag, std::string_view text, std::string_view file, int line,
                       std::string_view title);
  void WriteWorkflowCommand(std::string_view command, std::string_view data);
  void PushHeader(std::string text, bool is_action, bool workflow_group);
  void WriteHeaders();
  void PopHeader();
  void RedrawLoops();
  void AppendIndent();
  void AppendColored(std::string_view color, std::string_view text);
  void EraseProgress();
  void Emit();
  // Every event ends here: flushed unless flushes are held.
  void EndEvent();

  std::ostream& out_;
  TerminalStyle style_;
  Dialect dialect_;
  Clock now_;
  int level_ = 0;        // open actions plus open groups: the indentation in steps of two
  int group_depth_ = 0;  // open message groups
  std::vector<OpenAction> actions_;
  std::vector<Header> headers_;
  std::vector<Loop> loops_;
  std::chrono::steady_clock::time_point loops_drawn_{};
  BuildSummary summary_;
  bool progress_shown_ = false;
  // Reused for every line, so a line costs no allocation once it has grown.
  std::string line_;
};

}  // namespace brivant::host
