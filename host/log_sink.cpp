#include "host/log_sink.h"

#include <string>

#include "host/json_log_sink.h"
#include "host/text_log_sink.h"

namespace brivant::host {

std::unique_ptr<LogSink> MakeLogSink(LogFormat format, std::ostream& out,
                                     const TerminalStyle& style) {
  switch (format) {
    case LogFormat::kJson:
      return std::make_unique<JsonLogSink>(out);
    case LogFormat::kGithub:
      return std::make_unique<TextLogSink>(out, style, TextLogSink::Dialect::kGithub);
    case LogFormat::kText:
      break;
  }
  return std::make_unique<TextLogSink>(out, style, TextLogSink::Dialect::kPlain);
}

void LogSink::ValidationWarning(std::string_view title, std::string_view property,
                                std::string_view message, const ActionPlace& place) {
  std::string text;
  if (!place.file.empty()) text = std::string(place.file) + ":" + std::to_string(place.line) + ": ";
  text.append(title);
  text.append(": ");
  if (!property.empty()) {
    text.append(property);
    text.append(": ");
  }
  text.append(message);
  Message(stWarning, text);
}

void ClosableLogSink::ActionStart(std::string_view class_name, std::string_view title,
                                  std::string_view description, const ActionPlace& place) {
  Forward([&] { inner_.ActionStart(class_name, title, description, place); });
}

void ClosableLogSink::ActionEnd(std::string_view class_name, std::string_view title, bool success,
                                bool failure_ignored) {
  Forward([&] { inner_.ActionEnd(class_name, title, success, failure_ignored); });
}

void ClosableLogSink::Message(TStatusTag tag, std::string_view text) {
  Forward([&] { inner_.Message(tag, text); });
}

void ClosableLogSink::GroupStart(std::string_view title) {
  Forward([&] { inner_.GroupStart(title); });
}

void ClosableLogSink::GroupEnd(TStatusTag tag) {
  Forward([&] { inner_.GroupEnd(tag); });
}

void ClosableLogSink::Progress(std::string_view text, int percent) {
  Forward([&] { inner_.Progress(text, percent); });
}

void ClosableLogSink::ValidationError(std::string_view title, std::string_view property,
                                      std::string_view message, const ActionPlace& place) {
  Forward([&] { inner_.ValidationError(title, property, message, place); });
}

void ClosableLogSink::BuildEnd(bool success) {
  Forward([&] {
    inner_.BuildEnd(success);
    inner_.Flush();
    ended_ = true;
  });
}

void ClosableLogSink::Flush() {
  Forward([&] { inner_.Flush(); });
}

void ClosableLogSink::HoldFlushes(bool hold) {
  Forward([&] { inner_.HoldFlushes(hold); });
}

void ClosableLogSink::ValidationWarning(std::string_view title, std::string_view property,
                                        std::string_view message, const ActionPlace& place) {
  Forward([&] { inner_.ValidationWarning(title, property, message, place); });
}

void ClosableLogSink::ProjectError(std::string_view file, int line, std::string_view message) {
  Forward([&] { inner_.ProjectError(file, line, message); });
}

void ClosableLogSink::LoopProgress(std::string_view title, int iteration, int count) {
  Forward([&] { inner_.LoopProgress(title, iteration, count); });
}

bool ClosableLogSink::EndFromOutside(std::chrono::milliseconds wait) {
  std::unique_lock<std::timed_mutex> lock(mutex_, wait);
  if (!lock.owns_lock()) return false;
  if (!ended_) {
    inner_.BuildEnd(false);
    inner_.Flush();
    ended_ = true;
  }
  return true;
}

}  // namespace brivant::host
