#include "host/log_sink.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "host/json_log_sink.h"
#include "host/text_log_sink.h"

namespace brivant::host {
namespace {

// One of every event, as a small build would send them.
void SendEveryEvent(LogSink& sink) {
  sink.ValidationError("Copy", "File Spec", "The file spec has not been set");
  sink.ActionStart("TDeleteFilesAction", "Clean up", "Delete *.tmp");
  sink.Message(stInfo, "Deleting files matching filespec: /tmp/x/*.tmp");
  sink.GroupStart("Files Deleted");
  sink.Message(stInfo, "a.tmp\nb.tmp");
  sink.GroupEnd(stInfo);
  sink.Progress("Deleting", 40);
  sink.Message(stWarning, "c.tmp is read-only");
  sink.Message(stError, "Unable to delete d.tmp");
  sink.Message(stSuccess, "2 files deleted");
  sink.ActionEnd("TDeleteFilesAction", "Clean up", false, false);
  sink.BuildEnd(false);
}

std::string JsonString(std::string_view text) {
  std::string out;
  AppendJsonString(text, &out);
  return out;
}

TEST(JsonLogSink, WritesEachEventAsOneObjectWithKeysInOrder) {
  std::ostringstream out;
  JsonLogSink sink(out);
  SendEveryEvent(sink);
  EXPECT_EQ(
      out.str(),
      R"({"event":"validation-error","title":"Copy","property":"File Spec","message":"The file spec has not been set"}
{"event":"action-start","class":"TDeleteFilesAction","title":"Clean up","description":"Delete *.tmp"}
{"event":"message","tag":"stInfo","text":"Deleting files matching filespec: /tmp/x/*.tmp"}
{"event":"group-start","title":"Files Deleted"}
{"event":"message","tag":"stInfo","text":"a.tmp\nb.tmp"}
{"event":"group-end","tag":"stInfo"}
{"event":"progress","text":"Deleting","percent":40}
{"event":"message","tag":"stWarning","text":"c.tmp is read-only"}
{"event":"message","tag":"stError","text":"Unable to delete d.tmp"}
{"event":"message","tag":"stSuccess","text":"2 files deleted"}
{"event":"action-end","class":"TDeleteFilesAction","title":"Clean up","success":false}
{"event":"build-end","success":false}
)");
}

TEST(JsonLogSink, EscapesStringsSoEveryLineParses) {
  struct Case {
    std::string_view label;
    std::string_view text;
    std::string_view json;
  };
  const Case cases[] = {
      {"empty", "", R"("")"},
      {"quote and backslash", "say \"C:\\dir\"", R"("say \"C:\\dir\"")"},
      {"short escapes", "a\nb\tc\rd\be\ff", R"("a\nb\tc\rd\be\ff")"},
      {"other control characters", std::string_view("\x01\x1f\0", 3), R"("\u0001\u001f\u0000")"},
      {"DEL and slash pass", "\x7f/", "\"\x7f/\""},
      {"UTF-8 passes", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
       "\"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\""},
      {"stray byte",
       "a\xff"
       "b",
       R"("a\ufffdb")"},
      {"cut-off sequence", "a\xc3", R"("a\ufffd")"},
      {"overlong slash", "\xc0\xaf", R"("\ufffd\ufffd")"},
      {"surrogate", "\xed\xa0\x80", R"("\ufffd\ufffd\ufffd")"},
      {"beyond U+10FFFF", "\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(JsonString(c.text), c.json);
  }
}

TEST(JsonLogSink, ClampsProgressToAPercentage) {
  std::ostringstream out;
  JsonLogSink sink(out);
  sink.Progress("low", -5);
  sink.Progress("high", 250);
  EXPECT_EQ(out.str(),
            "{\"event\":\"progress\",\"text\":\"low\",\"percent\":0}\n"
            "{\"event\":\"progress\",\"text\":\"high\",\"percent\":100}\n");
}

std::string TextLog(const TerminalStyle& style, TextLogSink::Dialect dialect,
                    void (*send)(LogSink&)) {
  std::ostringstream out;
  TextLogSink sink(out, style, dialect);
  send(sink);
  return out.str();
}

TEST(TextLogSink, IndentsAndMarksLinesWithoutColour) {
  EXPECT_EQ(TextLog({}, TextLogSink::Dialect::kPlain, SendEveryEvent),
            "error: Copy: File Spec: The file spec has not been set\n"
            "== Clean up\n"
            "  Deleting files matching filespec: /tmp/x/*.tmp\n"
            "  Files Deleted\n"
            "    a.tmp\n"
            "    b.tmp\n"
            "  warning: c.tmp is read-only\n"
            "  error: Unable to delete d.tmp\n"
            "  2 files deleted\n"
            "  error: Clean up failed\n"
            "error: build failed\n");
}

TEST(TextLogSink, NestsChildActionsAndAlignsContinuationLines) {
  auto send = [](LogSink& sink) {
    sink.ActionStart("TLoop", "Loop", "");
    sink.ActionStart("TRun", "Run", "");
    sink.Message(stError, "first line\r\nsecond line\n");
    sink.ActionEnd("TRun", "Run", false, true);
    sink.ActionEnd("TLoop", "Loop", true, false);
    sink.Message(stInfo, "");
    sink.BuildEnd(true);
  };
  EXPECT_EQ(TextLog({}, TextLogSink::Dialect::kPlain, send),
            "== Loop\n"
            "  == Run\n"
            "    error: first line\n"
            "           second line\n"
            "    warning: Run failed (failure ignored)\n"
            "\n"
            "build succeeded\n");
}

TEST(TextLogSink, ColoursStatusAndHeaders) {
  auto send = [](LogSink& sink) {
    sink.ActionStart("T", "Title", "");
    sink.Message(stInfo, "plain");
    sink.Message(stSuccess, "done");
    sink.Message(stWarning, "careful\nreally");
    sink.Message(stError, "broken");
    sink.ActionEnd("T", "Title", true, false);
  };
  TerminalStyle style;
  style.color = true;
  EXPECT_EQ(TextLog(style, TextLogSink::Dialect::kPlain, send),
            "== \x1b[1mTitle\x1b[0m\n"
            "  plain\n"
            "  \x1b[32mdone\x1b[0m\n"
            "  \x1b[33mwarning: careful\x1b[0m\n"
            "           \x1b[33mreally\x1b[0m\n"
            "  \x1b[31merror: broken\x1b[0m\n");
}

TEST(TextLogSink, ShowsProgressOnlyAsALiveBarErasedBeforeTheNextLine) {
  auto send = [](LogSink& sink) {
    sink.ActionStart("T", "Copy", "");
    sink.Progress("Copying File : big.iso", 40);
    sink.Progress("Copying File : \xc3\xa9t\xc3\xa9 and a very long name", 100);
    sink.Message(stInfo, "copied");
  };
  EXPECT_EQ(TextLog({}, TextLogSink::Dialect::kPlain, send), "== Copy\n  copied\n");

  TerminalStyle live;
  live.live_progress = true;
  live.columns = 60;
  // The second bar is cut to 59 columns; the two-byte letters count as one.
  EXPECT_EQ(TextLog(live, TextLogSink::Dialect::kPlain, send),
            "== Copy\n"
            "\r  [########............]  40% Copying File : big.iso\x1b[K"
            "\r  [####################] 100% Copying File : \xc3\xa9t\xc3\xa9 and a very\x1b[K"
            "\r\x1b[K  copied\n");
}

TEST(TextLogSink, GithubDialectUsesWorkflowCommands) {
  auto send = [](LogSink& sink) {
    sink.ActionStart("T", "Build", "");
    sink.GroupStart("Files Copied");
    sink.Message(stInfo, "a.txt");
    sink.GroupStart("Inner");
    sink.Message(stWarning, "50% done\r\nstill going");
    sink.GroupEnd(stInfo);
    sink.GroupEnd(stInfo);
    sink.Message(stError, "failed: b.txt");
    sink.ActionEnd("T", "Build", false, false);
    sink.BuildEnd(false);
  };
  TerminalStyle style;
  style.color = true;  // workflow command lines carry no colour codes
  EXPECT_EQ(TextLog(style, TextLogSink::Dialect::kGithub, send),
            "== \x1b[1mBuild\x1b[0m\n"
            "::group::Files Copied\n"
            "    a.txt\n"
            "    Inner\n"
            "::warning::50%25 done%0D%0Astill going\n"
            "::endgroup::\n"
            "::error::failed: b.txt\n"
            "::error::Build failed\n"
            "::error::build failed\n");
}

TEST(LogSink, MakeLogSinkPicksTheFormat) {
  std::ostringstream json;
  MakeLogSink(LogFormat::kJson, json, {})->BuildEnd(true);
  EXPECT_EQ(json.str(), "{\"event\":\"build-end\",\"success\":true}\n");
  std::ostringstream github;
  MakeLogSink(LogFormat::kGithub, github, {})->Message(stError, "x");
  EXPECT_EQ(github.str(), "::error::x\n");
  std::ostringstream text;
  MakeLogSink(LogFormat::kText, text, {})->Message(stError, "x");
  EXPECT_EQ(text.str(), "error: x\n");
}

}  // namespace
}  // namespace brivant::host
