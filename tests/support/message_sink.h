// A log sink that keeps the messages only, as "tag: text" lines, for host
// tests that look at what was logged rather than at the build's outline.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/log_sink.h"

namespace brivant::testing {

class MessageSink : public host::LogSink {
 public:
  std::vector<std::string> messages;

  void ActionStart(std::string_view, std::string_view, std::string_view,
                   const host::ActionPlace&) override {}
  void ActionEnd(std::string_view, std::string_view, bool, bool) override {}
  void Message(TStatusTag tag, std::string_view text) override {
    messages.push_back(std::string(StatusTagName(tag)) + ": " + std::string(text));
  }
  void GroupStart(std::string_view) override {}
  void GroupEnd(TStatusTag) override {}
  void Progress(std::string_view, int) override {}
  void ValidationError(std::string_view, std::string_view, std::string_view,
                       const host::ActionPlace&) override {}
  void BuildEnd(bool) override {}
  void Flush() override {}
};

}  // namespace brivant::testing
