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
  sink.ValidationError("Copy", "File Spec", "The file spec has not been set", {"p.bvproj", 3});
  sink.ActionStart("TDeleteFilesAction", "Clean up", "Delete *.tmp", {"p.bvproj", 7});
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

// 2026-11-23 23:11:16.123 UTC, at every reading.
std::chrono::system_clock::time_point FixedWallClock() {
  return std::chrono::system_clock::time_point(std::chrono::milliseconds(1795475476123));
}

// Each reading one second after the last, from one second on: every action
// takes a whole number of seconds.
int g_steady_seconds = 0;
std::chrono::steady_clock::time_point TickingClock() {
  return std::chrono::steady_clock::time_point(std::chrono::seconds(++g_steady_seconds));
}

std::string JsonString(std::string_view text) {
  std::string out;
  AppendJsonString(text, &out);
  return out;
}

TEST(JsonLogSink, WritesEachEventAsOneObjectWithKeysInOrder) {
  std::ostringstream out;
  JsonLogSink sink(out, FixedWallClock);
  SendEveryEvent(sink);
  sink.ProjectError("q.bvproj", 3, "q.bvproj:3: unknown class");
  sink.Progress("low", -5);  // percentages are clamped
  sink.Progress("high", 250);
  EXPECT_EQ(
      out.str(),
      R"({"event":"validation-error","title":"Copy","property":"File Spec","message":"The file spec has not been set","file":"p.bvproj","line":3,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
{"event":"action-start","class":"TDeleteFilesAction","title":"Clean up","description":"Delete *.tmp","file":"p.bvproj","line":7,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
{"event":"message","tag":"stInfo","text":"Deleting files matching filespec: /tmp/x/*.tmp","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"group-start","title":"Files Deleted","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"message","tag":"stInfo","text":"a.tmp\nb.tmp","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"group-end","tag":"stInfo","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"progress","text":"Deleting","percent":40,"depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"message","tag":"stWarning","text":"c.tmp is read-only","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"message","tag":"stError","text":"Unable to delete d.tmp","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"message","tag":"stSuccess","text":"2 files deleted","depth":1,"time":"2026-11-23T23:11:16.123Z"}
{"event":"action-end","class":"TDeleteFilesAction","title":"Clean up","success":false,"file":"p.bvproj","line":7,"failure_ignored":false,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
{"event":"build-end","success":false,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
{"event":"message","tag":"stError","text":"q.bvproj:3: unknown class","file":"q.bvproj","line":3,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
{"event":"progress","text":"low","percent":0,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
{"event":"progress","text":"high","percent":100,"depth":0,"time":"2026-11-23T23:11:16.123Z"}
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

TEST(TextLogSink, WritesEachDialectAndStyle) {
  TerminalStyle plain, colour, live, quiet;
  colour.color = true;
  live.live_progress = true;
  live.columns = 60;
  quiet.verbosity = Verbosity::kQuiet;
  auto nested = [](LogSink& sink) {
    sink.ActionStart("TLoop", "Loop", "", {});
    sink.ActionStart("TRun", "Run", "", {});
    sink.Message(stError, "first line\r\nsecond line\n");
    sink.ActionEnd("TRun", "Run", false, true);
    sink.ActionEnd("TLoop", "Loop", true, false);
    sink.Message(stInfo, "");
    sink.BuildEnd(true);
  };
  auto tagged = [](LogSink& sink) {
    sink.ActionStart("T", "Title", "", {});
    sink.Message(stInfo, "plain");
    sink.Message(stSuccess, "done");
    sink.Message(stWarning, "careful\nreally");
    sink.Message(stError, "broken");
    sink.ActionEnd("T", "Title", true, false);
  };
  auto progress = [](LogSink& sink) {
    sink.ActionStart("T", "Copy", "", {});
    sink.Progress("Copying File : big.iso", 40);
    sink.Progress("Copying File : \xc3\xa9t\xc3\xa9 and a very long name", 100);
    sink.Message(stInfo, "copied");
  };
  // The whole GitHub log of a real run is pinned in tests/data/log-golden.
  auto tolerant = [](LogSink& sink) {
    sink.ActionStart("T", "Tolerant", "", {"a:b,c.bvproj", 9, true});
    sink.ActionStart("T", "Child", "", {"a:b,c.bvproj", 10});
    sink.Message(stError, "50% done\r\nstill going");
    sink.ActionEnd("T", "Child", false, false);
    sink.ActionEnd("T", "Tolerant", false, true);
  };
  // Quiet and verbose logs of real runs are pinned in tests/data/log-golden.
  auto logged_errors = [](LogSink& sink) {
    sink.ActionStart("T", "Copy", "", {"p.bvproj", 3});
    sink.Message(stError, "cannot copy c");
    sink.ActionEnd("T", "Copy", true, false);
    sink.ActionStart("T", "Check", "", {"p.bvproj", 8});
    sink.ActionStart("T", "Inner", "", {});
    sink.ActionEnd("T", "Inner", true, false);
    sink.ActionEnd("T", "Check", true, false);
    sink.BuildEnd(true);
  };
  using Dialect = TextLogSink::Dialect;
  struct Row {
    const char* label;
    TerminalStyle style;
    Dialect dialect;
    void (*send)(LogSink&);
    std::string log;
  };
  const Row rows[] = {
      {"every event without colour", plain, Dialect::kPlain, SendEveryEvent,
       "p.bvproj:3: error: Copy: File Spec: The file spec has not been set\n"
       "== Clean up\n"
       "  Deleting files matching filespec: /tmp/x/*.tmp\n"
       "  Files Deleted\n"
       "    a.tmp\n"
       "    b.tmp\n"
       "  warning: c.tmp is read-only\n"
       "  error: Unable to delete d.tmp\n"
       "  2 files deleted\n"
       "  p.bvproj:7: error: Clean up failed\n"
       "summary: 1 action run, 1 failed, 0 failures ignored\n"
       "slowest:\n"
       "    1.000 s  Clean up (p.bvproj:7)\n"
       "error: build failed\n"},
      {"children nest, continuation lines align", plain, Dialect::kPlain, nested,
       "== Loop\n"
       "  == Run\n"
       "    error: first line\n"
       "           second line\n"
       "    warning: Run failed (failure ignored)\n"
       "\n"
       "summary: 2 actions run, 0 failed, 1 failure ignored\n"
       "slowest:\n"
       "    2.000 s  Loop\n"
       "    1.000 s  Run\n"
       "build succeeded\n"},
      {"colours of status and headers", colour, Dialect::kPlain, tagged,
       "== \x1b[1mTitle\x1b[0m\n"
       "  plain\n"
       "  \x1b[32mdone\x1b[0m\n"
       "  \x1b[33mwarning: careful\x1b[0m\n"
       "           \x1b[33mreally\x1b[0m\n"
       "  \x1b[31merror: broken\x1b[0m\n"},
      {"no progress off a live terminal", plain, Dialect::kPlain, progress, "== Copy\n  copied\n"},
      // The second bar is cut to 59 columns; the two-byte letters count as one.
      {"a live bar erased before the next line", live, Dialect::kPlain, progress,
       "== Copy\n"
       "\r  [########............]  40% Copying File : big.iso\x1b[K"
       "\r  [####################] 100% Copying File : \xc3\xa9t\xc3\xa9 and a very\x1b[K"
       "\r\x1b[K  copied\n"},
      {"GitHub annotations escape their data and warn where failure is ignored", plain,
       Dialect::kGithub, tolerant,
       "::group::Tolerant\n"
       "  == Child\n"
       "::warning file=a%3Ab%2Cc.bvproj,line=10,title=Child::50%25 done%0D%0Astill going\n"
       "::warning file=a%3Ab%2Cc.bvproj,line=10,title=Child::Child failed\n"
       "::warning file=a%3Ab%2Cc.bvproj,line=9,title=Tolerant::Tolerant failed (failure "
       "ignored)\n"
       "::endgroup::\n"},
      {"the summary names what logged errors but succeeded", quiet, Dialect::kPlain, logged_errors,
       "== Copy\n"
       "  error: cannot copy c\n"
       "summary: 3 actions run, 0 failed, 0 failures ignored\n"
       "succeeded but logged errors:\n"
       "  Copy (p.bvproj:3)\n"
       "slowest:\n"
       "    2.000 s  Check (p.bvproj:8)\n"
       "    1.000 s  Copy (p.bvproj:3)\n"
       "    1.000 s  Inner\n"
       "build succeeded\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.label);
    std::ostringstream out;
    g_steady_seconds = 0;
    TextLogSink sink(out, row.style, row.dialect, TickingClock);
    row.send(sink);
    EXPECT_EQ(out.str(), row.log);
  }
}

}  // namespace
}  // namespace brivant::host
