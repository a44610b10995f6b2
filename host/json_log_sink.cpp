#include "host/json_log_sink.h"

#include <algorithm>
#include <charconv>

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

void JsonLogSink::End() {
  line_.append("}\n");
  out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
  if (!FlushesHeld()) out_.flush();
}

void JsonLogSink::ActionStart(std::string_view class_name, std::string_view title,
                              std::string_view description) {
  Begin("action-start");
  AddString("class", class_name);
  AddString("title", title);
  AddString("description", description);
  End();
}

void JsonLogSink::ActionEnd(std::string_view class_name, std::string_view title, bool success,
                            bool /*failure_ignored*/) {
  Begin("action-end");
  AddString("class", class_name);
  AddString("title", title);
  AddRaw("success", success ? "true" : "false");
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
  char digits[4];
  auto result = std::to_chars(digits, digits + sizeof digits, std::clamp(percent, 0, 100));
  AddRaw("percent", std::string_view(digits, static_cast<size_t>(result.ptr - digits)));
  End();
}

void JsonLogSink::ValidationError(std::string_view title, std::string_view property,
                                  std::string_view message) {
  Begin("validation-error");
  AddString("title", title);
  AddString("property", property);
  AddString("message", message);
  End();
}

void JsonLogSink::BuildEnd(bool success) {
  Begin("build-end");
  AddRaw("success", success ? "true" : "false");
  End();
}

}  // namespace brivant::host
