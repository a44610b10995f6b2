#include "host/json_log_sink.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "package/string_utils.h"

namespace brivant::host {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// The two-character escape JSON has for `c`, or "" when there is none.
std::string_view ShortEscape(unsigned char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\b':
      return "\\b";
    case '\f':
      return "\\f";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
  }
  return {};
}

bool NeedsNoEscape(unsigned char c) { return c >= 0x20 && c < 0x80 && c != '"' && c != '\\'; }

}  // namespace

void AppendJsonString(std::string_view text, std::string* out) {
  out->push_back('"');
  size_t i = 0;
  while (i < text.size()) {
    // Copy plain ASCII in runs; most log text is nothing else.
    size_t run = i;
    while (run < text.size() && NeedsNoEscape(static_cast<unsigned char>(text[run]))) ++run;
    out->append(text.data() + i, run - i);
    i = run;
    if (i == text.size()) break;
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      size_t length = Utf8SequenceLength(text, i);
      if (length == 0) {
        out->append("\\ufffd");
        ++i;
      } else {
        out->append(text.data() + i, length);
        i += length;
      }
      continue;
    }
    ++i;
    if (std::string_view escape = ShortEscape(c); !escape.empty()) {
      out->append(escape);
      continue;
    }
    const char unicode_escape[] = {'\\', 'u', '0', '0', kHexDigits[c >> 4], kHexDigits[c & 0xF]};
    out->append(unicode_escape, sizeof unicode_escape);
  }
  out->push_back('"');
}

void AppendJsonTimestamp(std::chrono::system_clock::time_point time, std::string* out) {
  using namespace std::chrono;
  auto milliseconds_since_epoch = floor<milliseconds>(time);
  auto day = floor<days>(milliseconds_since_epoch);
  year_month_day date(day);
  hh_mm_ss clock(milliseconds_since_epoch - day);
  fmt::format_to(std::back_inserter(*out), "\"{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z\"",
                 static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                 static_cast<unsigned>(date.day()), clock.hours().count(), clock.minutes().count(),
                 clock.seconds().count(), clock.subseconds().count());
}

void JsonLogSink::Begin(std::string_view event) {
  line_.assign("{\"event\":\"");
  line_.append(event);
  line_.push_back('"');
}

void JsonLogSink::AddString(std::string_view key, std::string_view value) {
  line_.append(",\"");
  line_.append(key);
  line_.append("\":");
  AppendJsonString(value, &line_);
}

void JsonLogSink::AddRaw(std::string_view key, std::string_view json_value) {
  line_.append(",\"");
  line_.append(key);
  line_.append("\":");
  line_.append(json_value);
}

void JsonLogSink::AddNumber(std::string_view key, int value) {
  char digits[16];
  auto result = std::to_chars(digits, digits + sizeof digits, value);
  AddRaw(key, std::string_view(digits, static_cast<size_t>(result.ptr - digits)));
}

void JsonLogSink::AddPlace(std::string_view file, int line) {
  if (!file.empty()) AddString("file", file);
  if (line > 0) AddNumber("line", line);
}

void JsonLogSink::End() {
  AddNumber("depth", static_cast<int>(open_.size()));
  line_.append(",\"time\":");
  // Events come far faster than once a millisecond in a busy loop, and
  // formatting a date costs more than the rest of an event.
  auto now = std::chrono::floor<std::chrono::milliseconds>(now_());
  if (now != stamped_at_ || stamp_.empty()) {
    stamped_at_ = now;
    stamp_.clear();
    AppendJsonTimestamp(now, &stamp_);
  }
  line_.append(stamp_);
  line_.append("}\n");
  out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
  if (!FlushesHeld()) out_.flush();
}

void JsonLogSink::ActionStart(std::string_view class_name, std::string_view title,
                              std::string_view description, const ActionPlace& place) {
  Begin("action-start");
  AddString("class", class_name);
  AddString("title", title);
  AddString("description", description);
  AddPlace(place.file, place.line);
  End();
  open_.push_back({std::string(place.file), place.line});
}

void JsonLogSink::ActionEnd(std::string_view class_name, std::string_view title, bool success,
                            bool failure_ignored) {
  OpenAction action;
  if (!open_.empty()) {
    action = std::move(open_.back());
    open_.pop_back();
  }
  Begin("action-end");
  AddString("class", class_name);
  AddString("title", title);
  AddRaw("success", success ? "true" : "false");
  AddPlace(action.file, action.line);
  AddRaw("failure_ignored", failure_ignored ? "true" : "false");
  End();
}

void JsonLogSink::Message(TStatusTag tag, std::string_view text) {
  Begin("message");
  AddString("tag", StatusTagName(tag));
  AddString("text", text);
  End();
}

void JsonLogSink::GroupStart(std::string_view title) {
  Begin("group-start");
  AddString("title", title);
  End();
}

void JsonLogSink::GroupEnd(TStatusTag tag) {
  Begin("group-end");
  AddString("tag", StatusTagName(tag));
  End();
}

void JsonLogSink::Progress(std::string_view text, int percent) {
  Begin("progress");
  AddString("text", text);
  AddNumber("percent", std::clamp(percent, 0, 100));
  End();
}

void JsonLogSink::ValidationError(std::string_view title, std::string_view property,
                                  std::string_view message, const ActionPlace& place) {
  Begin("validation-error");
  AddString("title", title);
  AddString("property", property);
  AddString("message", message);
  AddPlace(place.file, place.line);
  End();
}

void JsonLogSink::ProjectError(std::string_view file, int line, std::string_view message) {
  Begin("message");
  AddString("tag", StatusTagName(stError));
  AddString("text", message);
  AddPlace(file, line);
  End();
}

void JsonLogSink::BuildEnd(bool success) {
  open_.clear();
  Begin("build-end");
  AddRaw("success", success ? "true" : "false");
  End();
}

}  // namespace brivant::host
