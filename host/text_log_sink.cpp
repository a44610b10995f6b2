#include "host/text_log_sink.h"

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

}  // namespace

void TextLogSink::Emit() {
  EraseProgress();
  line_.push_back('\n');
  out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
  line_.clear();
}

void TextLogSink::EndEvent() {
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
  // A workflow command ends at the line break, so breaks and the escape
  // character itself travel percent-encoded.
  for (char c : data) {
    switch (c) {
      case '%':
        line_.append("%25");
        break;
      case '\r':
        line_.append("%0D");
        break;
      case '\n':
        line_.append("%0A");
        break;
      default:
        line_.push_back(c);
    }
  }
  Emit();
}

void TextLogSink::WriteStatusLines(TStatusTag tag, std::string_view text) {
  text = WithoutFinalBreak(text);
  if (IsGithub() && tag == stError) return WriteWorkflowCommand("::error::", text);
  if (IsGithub() && tag == stWarning) return WriteWorkflowCommand("::warning::", text);
  std::string_view marker = MarkerOf(tag);
  std::string_view color = ColorOf(tag);
  size_t pos = 0;
  std::string_view first = NextLine(text, &pos);
  AppendIndent();
  if (style_.color && !color.empty()) line_.append(color);
  line_.append(marker);
  line_.append(first);
  if (style_.color && !color.empty()) line_.append(kReset);
  Emit();
  while (pos <= text.size()) {
    std::string_view line = NextLine(text, &pos);
    AppendIndent();
    line_.append(marker.size(), ' ');
    AppendColored(color, line);
    Emit();
  }
}

void TextLogSink::ActionStart(std::string_view /*class_name*/, std::string_view title,
                              std::string_view /*description*/) {
  AppendIndent();
  line_.append(kHeaderMarker);
  AppendColored(kBold, title);
  Emit();
  ++level_;
  EndEvent();
}

void TextLogSink::ActionEnd(std::string_view /*class_name*/, std::string_view title, bool success,
                            bool failure_ignored) {
  if (!success) {
    std::string text(title);
    text.append(failure_ignored ? " failed (failure ignored)" : " failed");
    WriteStatusLines(failure_ignored ? stWarning : stError, text);
  }
  level_ = std::max(level_ - 1, 0);
  EndEvent();
}

void TextLogSink::Message(TStatusTag tag, std::string_view text) {
  WriteStatusLines(tag, text);
  EndEvent();
}

void TextLogSink::GroupStart(std::string_view title) {
  ++group_depth_;
  if (IsGithub() && github_group_depth_ == 0) {
    // The runner's groups do not nest, so only the outermost one is a group
    // there; inner ones show as text.
    github_group_depth_ = group_depth_;
    WriteWorkflowCommand("::group::", title);
  } else {
    AppendIndent();
    line_.append(title);
    Emit();
  }
  ++level_;
  EndEvent();
}

void TextLogSink::GroupEnd(TStatusTag /*tag*/) {
  if (group_depth_ == 0) return;
  if (github_group_depth_ == group_depth_) {
    github_group_depth_ = 0;
    line_.assign("::endgroup::");
    Emit();
  }
  --group_depth_;
  level_ = std::max(level_ - 1, 0);
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

void TextLogSink::ValidationError(std::string_view title, std::string_view property,
                                  std::string_view message) {
  std::string text(title);
  text.append(": ");
  if (!property.empty()) {
    text.append(property);
    text.append(": ");
  }
  text.append(message);
  WriteStatusLines(stError, text);
  EndEvent();
}

void TextLogSink::BuildEnd(bool success) {
  level_ = 0;
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
