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
//     error: Copy libraries failed
//   error: build failed
//
// Error and warning lines carry "error: " / "warning: " also without colour,
// so they can be found with grep; colours are red, yellow, and green for
// success lines. The lines of a multi-line message line up under the first
// line's text. Progress shows only on an interactive terminal, as a bar
// redrawn in place and erased before the next line.
//
// The GitHub dialect is the same text, except that an outermost message group
// becomes ::group::title ... ::endgroup:: and error and warning lines become
// ::error::text / ::warning::text workflow commands, which must start at the
// first column and carry line breaks as %0A.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "host/log_sink.h"

namespace brivant::host {

class TextLogSink final : public LogSink {
 public:
  enum class Dialect { kPlain, kGithub };

  TextLogSink(std::ostream& out, const TerminalStyle& style, Dialect dialect)
      : out_(out), style_(style), dialect_(dialect) {}

  void ActionStart(std::string_view class_name, std::string_view title,
                   std::string_view description) override;
  void ActionEnd(std::string_view class_name, std::string_view title, bool success,
                 bool failure_ignored) override;
  void Message(TStatusTag tag, std::string_view text) override;
  void GroupStart(std::string_view title) override;
  void GroupEnd(TStatusTag tag) override;
  void Progress(std::string_view text, int percent) override;
  void ValidationError(std::string_view title, std::string_view property,
                       std::string_view message) override;
  void BuildEnd(bool success) override;
  // Also erases a progress bar, so that output of a program the build starts
  // next does not land behind it.
  void Flush() override;

 private:
  bool IsGithub() const { return dialect_ == Dialect::kGithub; }
  void WriteStatusLines(TStatusTag tag, std::string_view text);
  void WriteWorkflowCommand(std::string_view command, std::string_view data);
  void AppendIndent();
  void AppendColored(std::string_view color, std::string_view text);
  void EraseProgress();
  void Emit();
  // Every event ends here: flushed unless flushes are held.
  void EndEvent();

  std::ostream& out_;
  TerminalStyle style_;
  Dialect dialect_;
  int level_ = 0;               // open actions plus open groups: the indentation in steps of two
  int group_depth_ = 0;         // open message groups
  int github_group_depth_ = 0;  // group_depth_ at which ::group:: was written; 0: none open
  bool progress_shown_ = false;
  // Reused for every line, so a line costs no allocation once it has grown.
  std::string line_;
};

}  // namespace brivant::host
