#include "host/text_log_sink.h"

#include <fmt/format.h>

#include <algorithm>

namespace brivant::host {
namespace {

constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kRed = "\x1b[31m";
constexpr std::string_view kGreen = "\x1b[32m";
constexpr std::string_view kYellow = "\x1b[33m";
constexpr std::string_view kReset = "\x1b[0m";
constexpr std::string_view kEraseLine = "\r\x1b[K";
constexpr std::string_view kHeaderMarker = "== ";
constexpr int kProgressCells = 20;
// A terminal redraw costs far more than a loop pass; ten a second look live.
constexpr std::chrono::milliseconds kLoopRedrawInterval{100};

std::string_view MarkerOf(TStatusTag tag) {
  switch (tag) {
    case stError:
      return "error: ";
    case stWarning:
      return "warning: ";
    case stInfo:
    case stSuccess:
      break;
  }
  return {};
}

std::string_view ColorOf(TStatusTag tag) {
  switch (tag) {
    case stError:
      return kRed;
    case stWarning:
      return kYellow;
    case stSuccess:
      return kGreen;
    case stInfo:
      break;
  }
  return {};
}

// The next line of `text` from *pos on, without its line break (or the CR of
// a CR LF), advancing *pos past the break.
std::string_view NextLine(std::string_view text, size_t* pos) {
  size_t end = text.find('\n', *pos);
  if (end == std::string_view::npos) end = text.size();
  std::string_view line = text.substr(*pos, end - *pos);
  *pos = end + 1;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

// Drops one trailing line break, which would otherwise show as an empty line.
std::string_view WithoutFinalBreak(std::string_view text) {
  if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  return text;
}

// The longest prefix of `text` that shows in at most `cells` columns, counting
// one column per UTF-8 character and never cutting one in two.
std::string_view FitColumns(std::string_view text, int cells) {
  int used = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    bool starts_character = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
    if (starts_character && used++ == cells) return text.substr(0, i);
  }
  return text;
}

// Appends `text` as data of a workflow command: the command ends at the line
// break and its properties at ',' and '::', so those travel percent-encoded,
// and so does the escape character itself.
void AppendWorkflowEscaped(std::string_view text, bool property, std::string* out) {
  for (char c : text) {
    switch (c) {
      case '%':
        out->append("%25");
        continue;
      case '\r':
        out->append("%0D");
        continue;
      case '\n':
        out->append("%0A");
        continue;
      case ':':
        if (property) {
          out->append("%3A");
          continue;
        }
        break;
      case ',':
        if (property) {
          out->append("%2C");
          continue;
        }
        break;
    }
    out->push_back(c);
  }
}

std::string PlaceText(std::string_view file, int line) {
  if (file.empty() || line <= 0) return {};
  return fmt::format("{}:{}", file, line);
}

std::string Seconds(std::chrono::steady_clock::duration time) {
  return fmt::format("{:.3f} s", std::chrono::duration<double>(time).count());
}

}  // namespace

void TextLogSink::Emit() {
  EraseProgress();
  line_.push_back('\n');
  out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
  line_.clear();
}

void TextLogSink::EndEvent() {
  if (style_.live_progress && !loops_.empty()) RedrawLoops();
  if (!FlushesHeld()) out_.flush();
}

void TextLogSink::EraseProgress() {
  if (!progress_shown_) return;
  progress_shown_ = false;
  out_.write(kEraseLine.data(), static_cast<std::streamsize>(kEraseLine.size()));
}

void TextLogSink::AppendIndent() { line_.append(static_cast<size_t>(2 * level_), ' '); }

void TextLogSink::AppendColored(std::string_view color, std::string_view text) {
  bool colored = style_.color && !color.empty();
  if (colored) line_.append(color);
  line_.append(text);
  if (colored) line_.append(kReset);
}

void TextLogSink::WriteWorkflowCommand(std::string_view command, std::string_view data) {
  line_.assign(command);
  AppendWorkflowEscaped(data, /*property=*/false, &line_);
  Emit();
}

void TextLogSink::WriteAnnotation(TStatusTag tag, std::string_view text, std::string_view file,
                                  int line, std::string_view title) {
  bool ignored = !actions_.empty() && actions_.back().ignores_failure;
  line_.assign(tag == stWarning || ignored ? "::warning" : "::error");
  char separator = ' ';
  auto add_property = [&](std::string_view name, std::string_view value) {
    if (value.empty()) return;
    line_.push_back(separator);
    separator = ',';
    line_.append(name);
    line_.push_back('=');
    AppendWorkflowEscaped(value, /*property=*/true, &line_);
  };
  add_property("file", file);
  if (!file.empty() && line > 0) add_property("line", std::to_string(line));
  add_property("title", title);
  line_.append("::");
  AppendWorkflowEscaped(text, /*property=*/false, &line_);
  Emit();
}

void TextLogSink::WriteStatusLines(TStatusTag tag, std::string_view text, std::string_view place) {
  text = WithoutFinalBreak(text);
  if (IsQuiet()) WriteHeaders();
  if (IsGithub() && (tag == stError || tag == stWarning)) {
    if (actions_.empty()) return WriteAnnotation(tag, text, {}, 0, {});
    const OpenAction& action = actions_.back();
    return WriteAnnotation(tag, text, action.file, action.line, action.title);
  }
  std::string_view marker = MarkerOf(tag);
  std::string_view color = ColorOf(tag);
  size_t pos = 0;
  std::string_view first = NextLine(text, &pos);
  AppendIndent();
  if (style_.color && !color.empty()) line_.append(color);
  size_t prefix_start = line_.size();
  if (!place.empty()) {
    line_.append(place);
    line_.append(": ");
  }
  line_.append(marker);
  size_t prefix_size = line_.size() - prefix_start;
  line_.append(first);
  if (style_.color && !color.empty()) line_.append(kReset);
  Emit();
  while (pos <= text.size()) {
    std::string_view line = NextLine(text, &pos);
    AppendIndent();
    line_.append(prefix_size, ' ');
    AppendColored(color, line);
    Emit();
  }
}

void TextLogSink::PushHeader(std::string text, bool is_action, bool workflow_group) {
  headers_.push_back({std::move(text), level_, is_action, workflow_group});
  if (!IsQuiet()) WriteHeaders();
  ++level_;
}

// Quiet holds headers back until an error line needs them above it.
void TextLogSink::WriteHeaders() {
  for (Header& header : headers_) {
    if (header.written) continue;
    header.written = true;
    if (header.workflow_group) {
      WriteWorkflowCommand("::group::", header.text);
      continue;
    }
    line_.assign(static_cast<size_t>(2 * header.level), ' ');
    line_.append(header.text);
    Emit();
  }
}

void TextLogSink::PopHeader() {
  if (headers_.empty()) return;
  if (headers_.back().workflow_group && headers_.back().written) {
    line_.assign("::endgroup::");
    Emit();
  }
  level_ = headers_.back().level;
  headers_.pop_back();
}

void TextLogSink::ActionStart(std::string_view /*class_name*/, std::string_view title,
                              std::string_view description, const ActionPlace& place) {
  bool enclosing_ignores = !actions_.empty() && actions_.back().ignores_failure;
  actions_.push_back({std::string(title), std::string(place.file), place.line,
                      place.ignores_failure || enclosing_ignores, now_()});
  std::string where = PlaceText(place.file, place.line);
  summary_.ActionStarted(title, where, actions_.back().start);
  if (IsGithub() && actions_.size() == 1) {
    PushHeader(std::string(title), /*is_action=*/true, /*workflow_group=*/true);
  } else {
    std::string header(kHeaderMarker);
    bool bold = style_.color;
    if (bold) header.append(kBold);
    header.append(title);
    if (bold) header.append(kReset);
    PushHeader(std::move(header), /*is_action=*/true, /*workflow_group=*/false);
  }
  if (IsVerbose()) {
    if (!where.empty()) where.append(": ");
    where.append(description);
    if (!where.empty()) WriteStatusLines(stInfo, where);
  }
  EndEvent();
}

void TextLogSink::ActionEnd(std::string_view /*class_name*/, std::string_view title, bool success,
                            bool failure_ignored) {
  if (actions_.empty()) return;
  std::chrono::steady_clock::time_point now = now_();
  summary_.ActionEnded(success, failure_ignored, now);
  const OpenAction& action = actions_.back();
  if (!success && !(IsQuiet() && failure_ignored)) {
    std::string text(title);
    text.append(failure_ignored ? " failed (failure ignored)" : " failed");
    WriteStatusLines(failure_ignored ? stWarning : stError, text,
                     PlaceText(action.file, action.line));
  }
  if (IsVerbose()) WriteStatusLines(stInfo, "time: " + Seconds(now - action.start));
  // Groups the action left open end with it.
  while (!headers_.empty()) {
    bool was_action = headers_.back().is_action;
    if (!was_action) --group_depth_;
    PopHeader();
    if (was_action) break;
  }
  actions_.pop_back();
  std::erase_if(loops_, [this](const Loop& loop) { return loop.depth > actions_.size(); });
  EndEvent();
}

void TextLogSink::Message(TStatusTag tag, std::string_view text) {
  if (tag == stError) summary_.ErrorLogged();
  if (IsQuiet() && tag != stError) return;
  WriteStatusLines(tag, text);
  EndEvent();
}

void TextLogSink::GroupStart(std::string_view title) {
  ++group_depth_;
  PushHeader(std::string(title), /*is_action=*/false, /*workflow_group=*/false);
  EndEvent();
}

void TextLogSink::GroupEnd(TStatusTag /*tag*/) {
  if (group_depth_ == 0) return;
  --group_depth_;
  PopHeader();
  EndEvent();
}

void TextLogSink::Progress(std::string_view text, int percent) {
  if (!style_.live_progress) return;
  percent = std::clamp(percent, 0, 100);
  int filled = percent * kProgressCells / 100;
  line_.assign("\r");
  AppendIndent();
  line_.push_back('[');
  line_.append(static_cast<size_t>(filled), '#');
  line_.append(static_cast<size_t>(kProgressCells - filled), '.');
  line_.append("] ");
  std::string number = std::to_string(percent);
  line_.append(3 - number.size(), ' ');
  line_.append(number);
  line_.append("% ");
  // The bar must stay on one terminal line, or the next redraw would leave
  // the wrapped part behind.
  int columns = style_.columns > 0 ? style_.columns : 80;
  int room = columns - 1 - static_cast<int>(line_.size() - 1);
  line_.append(FitColumns(text.substr(0, text.find('\n')), std::max(room, 0)));
  line_.append("\x1b[K");
  out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
  out_.flush();
  line_.clear();
  progress_shown_ = true;
}

void TextLogSink::LoopProgress(std::string_view title, int iteration, int count) {
  if (!style_.live_progress) return;
  size_t depth = actions_.size();
  std::erase_if(loops_, [depth](const Loop& loop) { return loop.depth >= depth; });
  std::string text = count > 0 ? fmt::format("{}: {} of {}", title, iteration, count)
                               : fmt::format("{}: {}", title, iteration);
  loops_.push_back({depth, std::move(text)});
  EndEvent();
}

// The loops from the outermost in, on the line a progress bar uses: at once
// when a line of the log erased it, else at most every kLoopRedrawInterval,
// as a quiet loop may pass thousands of times a second.
void TextLogSink::RedrawLoops() {
  std::chrono::steady_clock::time_point now = now_();
  if (progress_shown_ && now - loops_drawn_ < kLoopRedrawInterval) return;
  loops_drawn_ = now;
  std::string text;
  for (const Loop& loop : loops_) {
    if (!text.empty()) text.append("  >  ");
    text.append(loop.text);
  }
  int columns = style_.columns > 0 ? style_.columns : 80;
  line_.assign("\r");
  line_.append(FitColumns(text, columns - 1));
  line_.append("\x1b[K");
  out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
  line_.clear();
  progress_shown_ = true;
}

void TextLogSink::ValidationError(std::string_view title, std::string_view property,
                                  std::string_view message, const ActionPlace& place) {
  WriteProblem(stError, title, property, message, place);
}

void TextLogSink::ValidationWarning(std::string_view title, std::string_view property,
                                    std::string_view message, const ActionPlace& place) {
  if (!IsQuiet()) WriteProblem(stWarning, title, property, message, place);
}

// As `brivant validate` prints it: "file:line: error: title: property: message".
void TextLogSink::WriteProblem(TStatusTag tag, std::string_view title, std::string_view property,
                               std::string_view message, const ActionPlace& place) {
  std::string text(title);
  text.append(": ");
  if (!property.empty()) {
    text.append(property);
    text.append(": ");
  }
  text.append(message);
  if (IsGithub()) {
    WriteAnnotation(tag, text, place.file, place.line, title);
  } else {
    WriteStatusLines(tag, text, PlaceText(place.file, place.line));
  }
  EndEvent();
}

void TextLogSink::ProjectError(std::string_view file, int line, std::string_view message) {
  if (IsGithub()) {
    WriteAnnotation(stError, message, file, line, {});
  } else {
    WriteStatusLines(stError, message);
  }
  EndEvent();
}

void TextLogSink::BuildEnd(bool success) {
  // The summary must not end up folded inside a group.
  while (!headers_.empty()) PopHeader();
  actions_.clear();
  loops_.clear();
  level_ = 0;
  group_depth_ = 0;
  if (!summary_.IsEmpty()) {
    for (const std::string& line : summary_.Lines()) {
      line_.assign(line);
      Emit();
    }
  }
  if (success) {
    WriteStatusLines(stSuccess, "build succeeded");
  } else {
    WriteStatusLines(stError, "build failed");
  }
  EndEvent();
}

void TextLogSink::Flush() {
  EraseProgress();
  out_.flush();
}

}  // namespace brivant::host
