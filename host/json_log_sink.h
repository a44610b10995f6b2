// The build log as JSON Lines: one compact object per event, keys in a fixed
// order, nothing else on the stream. Tools read it with any JSON parser.
//
//   {"event":"action-start","class":"...","title":"...","description":"..."}
//   {"event":"message","tag":"stInfo","text":"..."}
//   {"event":"group-start","title":"..."}
//   {"event":"group-end","tag":"stInfo"}
//   {"event":"progress","text":"...","percent":40}
//   {"event":"validation-error","title":"...","property":"...","message":"..."}
//   {"event":"action-end","class":"...","title":"...","success":true}
//   {"event":"build-end","success":true}
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "host/log_sink.h"

namespace brivant::host {

// Appends `text` to *out as a JSON string literal, quotes included. Quotes and
// backslashes are escaped, control characters become \b \f \n \r \t or
// \u00XX, valid UTF-8 passes through as it stands, and each byte that is not
// part of a valid UTF-8 sequence becomes \ufffd, so the line always parses.
void AppendJsonString(std::string_view text, std::string* out);

class JsonLogSink final : public LogSink {
 public:
  explicit JsonLogSink(std::ostream& out) : out_(out) {}

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
  void Flush() override { out_.flush(); }

 private:
  void Begin(std::string_view event);
  void AddString(std::string_view key, std::string_view value);
  void AddRaw(std::string_view key, std::string_view json_value);
  void End();

  std::ostream& out_;
  // Reused for every event, so a line costs no allocation once it has grown.
  std::string line_;
};

}  // namespace brivant::host
