// The build log as JSON Lines: one compact object per event, keys in a fixed
// order, nothing else on the stream. Tools read it with any JSON parser.
//
//   {"event":"action-start","class":"...","title":"...","description":"...",
//    "file":"build.bvproj","line":12,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
//   {"event":"message","tag":"stInfo","text":"...","depth":1,"time":"..."}
//   {"event":"group-start","title":"...","depth":1,"time":"..."}
//   {"event":"group-end","tag":"stInfo","depth":1,"time":"..."}
//   {"event":"progress","text":"...","percent":40,"depth":1,"time":"..."}
//   {"event":"validation-error","title":"...","property":"...","message":"...",...}
//   {"event":"action-end","class":"...","title":"...","success":false,
//    "file":"build.bvproj","line":12,"failure_ignored":false,"depth":0,"time":"..."}
//   {"event":"build-end","success":true,"depth":0,"time":"..."}
//
// Every event ends with "depth", the number of actions around it (an
// action's own events count it out), and "time", UTC to the millisecond.
// "file" and "line" are there when the action's place is known; a project
// that cannot be loaded is an stError message with the "file" and "line" its
// error names.
#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/log_sink.h"

namespace brivant::host {

// Appends `text` to *out as a JSON string literal, quotes included. Quotes and
// backslashes are escaped, control characters become \b \f \n \r \t or
// \u00XX, valid UTF-8 passes through as it stands, and each byte that is not
// part of a valid UTF-8 sequence becomes \ufffd, so the line always parses.
void AppendJsonString(std::string_view text, std::string* out);

// Appends `time` as a JSON string in ISO 8601, UTC, with milliseconds:
// "2026-11-23T23:11:16.123Z".
void AppendJsonTimestamp(std::chrono::system_clock::time_point time, std::string* out);

class JsonLogSink final : public LogSink {
 public:
  using Clock = std::chrono::system_clock::time_point (*)();

  // `now` stamps the events; tests pass their own.
  explicit JsonLogSink(std::ostream& out, Clock now = std::chrono::system_clock::now)
      : out_(out), now_(now) {}

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
  void Flush() override { out_.flush(); }
  void ProjectError(std::string_view file, int line, std::string_view message) override;

 private:
  void Begin(std::string_view event);
  void AddString(std::string_view key, std::string_view value);
  void AddRaw(std::string_view key, std::string_view json_value);
  void AddNumber(std::string_view key, int value);
  void AddPlace(std::string_view file, int line);
  void End();

  std::ostream& out_;
  Clock now_;
  struct OpenAction {
    std::string file;
    int line = 0;
  };
  std::vector<OpenAction> open_;
  std::chrono::sys_time<std::chrono::milliseconds> stamped_at_{};
  std::string stamp_;  // stamped_at_ as JSON
  // Reused for every event, so a line costs no allocation once it has grown.
  std::string line_;
};

}  // namespace brivant::host
