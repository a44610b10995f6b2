#include "host/log_sink.h"

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

}  // namespace brivant::host
