#include "host/build_runner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/json_log_sink.h"
#include "host/text_log_sink.h"
#include "package/base_iterator.h"
#include "package/exceptions.h"
#include "platform/signals.h"

namespace brivant::host {
namespace {

// Records each event as one short line, so a test reads as a transcript.
class RecordingSink : public LogSink {
 public:
  std::vector<std::string> events;

  void ActionStart(std::string_view, std::string_view title, std::string_view,
                   const ActionPlace&) override {
    events.push_back("start " + std::string(title));
  }
  void ActionEnd(std::string_view, std::string_view title, bool success,
                 bool failure_ignored) override {
    events.push_back("end " + std::string(title) +
                     (success           ? " ok"
                      : failure_ignored ? " failed (ignored)"
                                        : " failed"));
  }
  void Message(TStatusTag tag, std::string_view text) override {
    events.push_back(std::string(StatusTagName(tag)) + ": " + std::string(text));
  }
  void GroupStart(std::string_view title) override {
    events.push_back("group " + std::string(title));
  }
  void GroupEnd(TStatusTag tag) override {
    events.push_back("group-end " + std::string(StatusTagName(tag)));
  }
  void Progress(std::string_view text, int percent) override {
    events.push_back("progress " + std::to_string(percent) + ": " + std::string(text));
  }
  void ValidationError(std::string_view title, std::string_view property, std::string_view message,
                       const ActionPlace&) override {
    events.push_back("invalid " + std::string(title) + "/" + std::string(property) + ": " +
                     std::string(message));
  }
  void BuildEnd(bool success) override { events.push_back(success ? "build ok" : "build failed"); }
  void Flush() override {}
};

// Logs its text, expanded, as one stInfo line.
class LogAction : public TBVAction {
 public:
  explicit LogAction(std::string text) : text_(std::move(text)) {}
  std::string_view ClassName() const override { return "TLogAction"; }
  std::string GetActionName() const override { return "Log"; }
  std::string GetFormattedDescription() const override { return "Log " + text_; }
  bool Execute() override {
    std::string expanded;
    if (!TryExpandExpression("Text", text_, expanded, true)) return false;
    SendMessage(expanded, stInfo);
    return true;
  }

 private:
  std::string text_;
};

// Fails, the way actions do: an error line, then false. With a trigger it
// fails only when the expanded trigger equals the expected value.
class FailingAction : public TBVAction {
 public:
  FailingAction() = default;
  FailingAction(std::string trigger, std::string failing_value)
      : trigger_(std::move(trigger)), failing_value_(std::move(failing_value)) {}
  std::string_view ClassName() const override { return "TFailingAction"; }
  std::string GetActionName() const override { return "Fail"; }
  bool Execute() override {
    if (!trigger_.empty()) {
      std::string value = ExpandExpression(trigger_, true);
      SendMessage("checking " + value, stInfo);
      if (value != failing_value_) return true;
    }
    SendMessage("it broke", stError);
    return false;
  }

 private:
  std::string trigger_;
  std::string failing_value_;
};

class ThrowingAction : public TBVAction {
 public:
  explicit ThrowingAction(int kind) : kind_(kind) {}
  std::string_view ClassName() const override { return "TThrowingAction"; }
  std::string GetActionName() const override { return "Throw"; }
  bool Execute() override {
    StartMessageGroup("Half done");
    SendMessage("inside", stInfo);
    if (kind_ == 0) throw EFailAction("thrown failure");
    if (kind_ == 1) throw EVariableException("Variable \"X\" is not defined");
    throw std::runtime_error("plain runtime error");
  }

 private:
  int kind_;
};

// Reports one problem from Validate.
class InvalidAction : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TInvalidAction"; }
  std::string GetActionName() const override { return "Invalid"; }
  bool Validate(IBVActionValidationError& errors) override {
    errors.AddError("Text", "The text has not been set", 0);
    return false;
  }
  bool Execute() override {
    SendMessage("an invalid action ran", stError);
    return true;
  }
};

// A loop over a fixed list, recording how often it was told the loop ended.
class ListLoop : public TBVBaseIterator {
 public:
  ListLoop(std::vector<std::string> items, int* after_last_calls,
           const std::string& variable = "ITEM")
      : items_(std::move(items)), after_last_calls_(after_last_calls) {
    SetBVVariable(variable);
  }
  std::string_view ClassName() const override { return "TListLoop"; }
  std::string GetActionName() const override { return "List Loop"; }
  std::string GetCurrentValue() override {
    return items_[static_cast<size_t>(GetCurrentIteration() - 1)];
  }
  bool BeforeFirstIteration() override {
    SetIterationCount(static_cast<int>(items_.size()));
    return true;
  }
  void AfterLastIteration() override { ++*after_last_calls_; }

 private:
  std::vector<std::string> items_;
  int* after_last_calls_;
};

// A container whose condition is never met.
class SkippingContainer : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TSkippingContainer"; }
  std::string GetActionName() const override { return "Skip"; }
  bool Execute() override { return true; }
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override {
    if (state == nssAfterExecute) next = naSkipChildren;
  }
};

// Says itself that its condition failed, and listens for the end of the run.
class SelfJudgingContainer : public TBVAction, public IBVRunEndListener {
 public:
  std::string_view ClassName() const override { return "TSelfJudgingContainer"; }
  std::string GetActionName() const override { return "Judge"; }
  bool Execute() override {
    SetActionStatus(asConditionNotMet);
    Host()->RegisterRunEndListener(this);
    return true;
  }
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override {
    if (state == nssAfterExecute) next = naLeaveContainer;
  }
  void ProjectRunEnded() override {
    SendMessage("run ended", stInfo);
    Host()->UnregisterRunEndListener(this);
  }
};

// Asks for a stop while it runs, as Ctrl-C would, then waits in Sleep,
// which a stop must cut short.
class StoppingAction : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TStoppingAction"; }
  std::string GetActionName() const override { return "Stop"; }
  bool Execute() override {
    dynamic_cast<BuildRunner&>(*Host()).RequestStop();
    auto start = std::chrono::steady_clock::now();
    Sleep(20000);
    slept = std::chrono::steady_clock::now() - start;
    return !terminated;
  }
  void StopSignalled() override { stop_signalled = true; }
  void TerminateAction() override { terminated = true; }

  std::atomic<bool> stop_signalled{false};
  std::atomic<bool> terminated{false};
  std::chrono::steady_clock::duration slept{};
};

ActionNode Node(std::string title, std::unique_ptr<TCustomBVAction> action,
                std::vector<ActionNode> children = {}) {
  ActionNode node;
  node.title = std::move(title);
  node.action = std::move(action);
  node.children = std::move(children);
  return node;
}

ActionNode Ignoring(ActionNode node) {
  node.ignore_failure = true;
  return node;
}

ActionNode Disabled(ActionNode node) {
  node.enabled = false;
  return node;
}

// ActionNode is move-only, so a braced list cannot build a vector of them.
template <class... Nodes>
std::vector<ActionNode> List(Nodes&&... nodes) {
  std::vector<ActionNode> list;
  (list.push_back(std::forward<Nodes>(nodes)), ...);
  return list;
}

std::unique_ptr<TCustomBVAction> Log(std::string text) {
  return std::make_unique<LogAction>(std::move(text));
}

class BuildRunnerTest : public ::testing::Test {
 protected:
  std::vector<std::string> Run(const BuildRunner::Defines& defines = {}) {
    BuildRunner runner(project_, sink_, defines);
    succeeded_ = runner.Run();
    return sink_.events;
  }
  std::unique_ptr<TCustomBVAction> Loop(std::vector<std::string> items) {
    return std::make_unique<ListLoop>(std::move(items), &after_last_calls_);
  }
  TBVActionStatus StatusOf(size_t index) const {
    return project_.actions[index].action->GetActionStatus();
  }

  Project project_;
  RecordingSink sink_;
  bool succeeded_ = false;
  int after_last_calls_ = 0;
};

TEST_F(BuildRunnerTest, LoopRunsItsChildrenOncePerItemWithTheLoopVariableSet) {
  project_.actions = List(Node("Loop", Loop({"a", "b"}), List(Node("Echo", Log("item %ITEM%")))),
                          Node("After", Log("done with %ITEM%")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start Loop", "start Echo", "stInfo: item a",
                                             "end Echo ok", "start Echo", "stInfo: item b",
                                             "end Echo ok", "end Loop ok", "start After",
                                             "stInfo: done with b", "end After ok", "build ok"}));
  EXPECT_TRUE(succeeded_);
  EXPECT_EQ(after_last_calls_, 1);
  EXPECT_EQ(StatusOf(0), asSucceeded);
}

TEST_F(BuildRunnerTest, NestedLoopRunsCompletelyInEachOuterIteration) {
  int inner_ends = 0;
  project_.actions = List(Node(
      "Outer",
      std::make_unique<ListLoop>(std::vector<std::string>{"1", "2"}, &after_last_calls_, "OUTER"),
      List(Node("Inner",
                std::make_unique<ListLoop>(std::vector<std::string>{"x", "y"}, &inner_ends),
                List(Node("Echo", Log("%OUTER%%ITEM%")))))));
  std::vector<std::string> lines;
  for (const std::string& event : Run()) {
    if (event.rfind("stInfo: ", 0) == 0) lines.push_back(event.substr(8));
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"1x", "1y", "2x", "2y"}));
  EXPECT_EQ(inner_ends, 2);
  EXPECT_EQ(after_last_calls_, 1);
}

TEST_F(BuildRunnerTest, FailingChildEndsTheLoopAndTheBuild) {
  project_.actions = List(Node("Loop", Loop({"a", "b", "c"}),
                               List(Node("Check", std::make_unique<FailingAction>("%ITEM%", "b")))),
                          Node("After", Log("never")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start Loop", "start Check", "stInfo: checking a",
                                             "end Check ok", "start Check", "stInfo: checking b",
                                             "stError: it broke", "end Check failed",
                                             "end Loop failed", "build failed"}));
  EXPECT_FALSE(succeeded_);
  EXPECT_EQ(after_last_calls_, 1) << "the loop must hear that it ended";
  EXPECT_EQ(StatusOf(0), asFailed);
  EXPECT_EQ(StatusOf(1), asNotRun);
}

// Inside a loop the same keeps the loop going: tests/data/log-golden pins it.
TEST_F(BuildRunnerTest, IgnoredFailureLetsTheBuildGoOn) {
  project_.actions = List(Ignoring(Node("Fail", std::make_unique<FailingAction>())),
                          Node("After", Log("still here")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start Fail", "stError: it broke",
                                             "end Fail failed (ignored)", "start After",
                                             "stInfo: still here", "end After ok", "build ok"}));
  EXPECT_TRUE(succeeded_);
  EXPECT_EQ(StatusOf(0), asFailedIgnored);
}

TEST_F(BuildRunnerTest, LoopThatIgnoresFailureFailsAloneWhenAChildFails) {
  project_.actions =
      List(Ignoring(Node("Loop", Loop({"a", "b", "c"}),
                         List(Node("Check", std::make_unique<FailingAction>("%ITEM%", "b"))))),
           Node("After", Log("after")));
  std::vector<std::string> events = Run();
  EXPECT_TRUE(succeeded_);
  EXPECT_EQ(std::vector<std::string>(events.begin() + 7, events.end()),
            (std::vector<std::string>{"end Check failed", "end Loop failed (ignored)",
                                      "start After", "stInfo: after", "end After ok", "build ok"}));
  EXPECT_EQ(after_last_calls_, 1);
}

TEST_F(BuildRunnerTest, ExceptionsLeavingAnActionAreLoggedAsItsErrorAndFailIt) {
  const char* expected[] = {"thrown failure", "Variable \"X\" is not defined",
                            "plain runtime error"};
  for (int kind = 0; kind < 3; ++kind) {
    SCOPED_TRACE(expected[kind]);
    Project project;
    project.actions = List(Node("Throw", std::make_unique<ThrowingAction>(kind)));
    RecordingSink sink;
    BuildRunner runner(project, sink);
    EXPECT_FALSE(runner.Run());
    // The group the action left open is closed before its end.
    EXPECT_EQ(sink.events,
              (std::vector<std::string>{"start Throw", "group Half done", "stInfo: inside",
                                        std::string("stError: ") + expected[kind],
                                        "group-end stInfo", "end Throw failed", "build failed"}));
  }
}

TEST_F(BuildRunnerTest, DisabledActionsAndTheirChildrenNeitherValidateNorRun) {
  project_.actions = List(
      Disabled(Node("Off", Loop({"a"}), List(Node("Invalid", std::make_unique<InvalidAction>())))),
      Disabled(Node("Invalid too", std::make_unique<InvalidAction>())), Node("On", Log("on")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start On", "stInfo: on", "end On ok", "build ok"}));
  EXPECT_EQ(StatusOf(0), asSkippedDisabled);
  EXPECT_EQ(after_last_calls_, 0);
}

TEST_F(BuildRunnerTest, ValidationProblemsStopTheBuildBeforeAnythingRuns) {
  project_.actions =
      List(Node("First", Log("first")),
           Node("Loop", Loop({"a"}), List(Node("Bad", std::make_unique<InvalidAction>()))));
  EXPECT_EQ(Run(), (std::vector<std::string>{"invalid Bad/Text: The text has not been set",
                                             "build failed"}));
  EXPECT_FALSE(succeeded_);
  EXPECT_EQ(StatusOf(0), asNotRun);
}

TEST_F(BuildRunnerTest, ContainerKeepsTheStatusItSetAndHearsTheEndOfTheRunOnce) {
  project_.actions = List(
      Node("Judge", std::make_unique<SelfJudgingContainer>(), List(Node("Inside", Log("inside")))),
      Node("After", Log("after")));
  EXPECT_EQ(Run(),
            (std::vector<std::string>{"start Judge", "end Judge ok", "start After", "stInfo: after",
                                      "end After ok", "stInfo: run ended", "build ok"}));
  EXPECT_EQ(StatusOf(0), asConditionNotMet);
}

TEST_F(BuildRunnerTest, ContainerWhoseConditionFailsSkipsItsChildren) {
  project_.actions =
      List(Node("Skip", std::make_unique<SkippingContainer>(), List(Node("Inside", Log("inside")))),
           Node("Empty loop", Loop({}), List(Node("Inside", Log("inside")))),
           Node("After", Log("after")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start Skip", "end Skip ok", "start Empty loop",
                                             "end Empty loop ok", "start After", "stInfo: after",
                                             "end After ok", "build ok"}));
  EXPECT_EQ(StatusOf(0), asConditionNotMet);
  // A loop with nothing to do did its job; its condition did not fail.
  EXPECT_EQ(StatusOf(1), asSucceeded);
  EXPECT_EQ(after_last_calls_, 1);
}

TEST_F(BuildRunnerTest, DefinesOverrideDeclaredVariablesInTheirTypeAndCreateStrings) {
  project_.variables = {{"OutDir", Variant("out"), 1}, {"Count", Variant(int64_t{1}), 2}};
  project_.actions = List(Node("Echo", Log("%OUTDIR% %count% %NEW% %DOSCMD%")));
  BuildRunner runner(project_, sink_, {{"OUTDIR", "dist"}, {"COUNT", "5"}, {"New", "x"}});
  EXPECT_TRUE(runner.Run());
  EXPECT_EQ(sink_.events[1], "stInfo: dist 5 x /bin/sh");
  EXPECT_EQ(runner.GetVariableValue("count"), Variant(int64_t{5}));
  EXPECT_EQ(runner.GetVariableValue("NEW"), Variant("x"));
  // Names keep the spelling they were declared with; DOSCMD is the host's.
  TStrings names;
  runner.GetVariablesList(&names, /*include_system=*/false);
  EXPECT_EQ(names, (TStrings{"OutDir", "Count", "New"}));
  names.clear();
  runner.GetVariablesList(&names, /*include_system=*/true);
  EXPECT_EQ(names, (TStrings{"OutDir", "Count", "New", "DOSCMD"}));
}

// A define replaces the shell; one that does not fit the declared type fails
// the build unrun.
TEST_F(BuildRunnerTest, DefinesReplaceTheShellOrFailTheBuildUnrun) {
  project_.actions = List(Node("Echo", Log("%DOSCMD%")));
  Run({{"DOSCMD", "/bin/bash"}});
  EXPECT_EQ(sink_.events[1], "stInfo: /bin/bash");
  sink_.events.clear();
  project_.variables = {{"COUNT", Variant(int64_t{1}), 1}};
  EXPECT_EQ(Run({{"COUNT", "many"}}),
            (std::vector<std::string>{"invalid -D COUNT/: 'many' is not a valid integer value",
                                      "build failed"}));
}

TEST_F(BuildRunnerTest, ActionsSetVariablesThatLaterActionsExpand) {
  class SetAction : public TBVAction {
   public:
    std::string_view ClassName() const override { return "TSetAction"; }
    std::string GetActionName() const override { return "Set"; }
    bool Execute() override {
      SetVariable("Result", Variant(int64_t{42}));
      return true;
    }
  };
  project_.actions =
      List(Node("Set", std::make_unique<SetAction>()), Node("Echo", Log("%RESULT%")));
  EXPECT_EQ(Run()[3], "stInfo: 42");
}

TEST_F(BuildRunnerTest, StopRequestTellsTheRunningActionAndFailsTheBuild) {
  auto stopping = std::make_unique<StoppingAction>();
  StoppingAction& action = *stopping;
  // IgnoreFailure does not let a build go on that was asked to stop.
  project_.actions =
      List(Node("Loop", Loop({"a", "b"}), List(Ignoring(Node("Stop", std::move(stopping))))),
           Node("After", Log("never")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start Loop", "start Stop",
                                             "stError: build stopped on request", "end Stop failed",
                                             "end Loop failed", "build failed"}));
  EXPECT_TRUE(action.stop_signalled);
  EXPECT_TRUE(action.terminated);
  EXPECT_LT(action.slept, std::chrono::seconds(5)) << "Sleep must wake on a stop";
  EXPECT_EQ(after_last_calls_, 1);
  EXPECT_EQ(StatusOf(0), asStopped);
  EXPECT_EQ(project_.actions[0].children[0].action->GetActionStatus(), asStopped);
}

TEST(StopSignalWatcherDeathTest, SecondSigintEndsTheProcessWithStatus130) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        {
          // The watcher ends the process at the latest when it goes.
          auto watcher = platform::StopSignalWatcher::Start([] {});
          std::raise(SIGINT);
          std::raise(SIGINT);
        }
        std::exit(0);
      },
      ::testing::ExitedWithCode(130), "");
}

ActionNode At(int line, ActionNode node) {
  node.line = line;
  return node;
}

std::chrono::system_clock::time_point Epoch() { return {}; }

TEST_F(BuildRunnerTest, JsonLogOfAFailedBuildNestsChildrenInsideTheirLoop) {
  project_.path = "p.bvproj";
  project_.actions =
      List(At(3, Node("Loop", Loop({"a\"b"}),
                      List(At(4, Node("Echo", Log("%ITEM%"))),
                           At(5, Node("Fail", std::make_unique<FailingAction>()))))));
  std::ostringstream out;
  JsonLogSink sink(out, Epoch);
  BuildRunner runner(project_, sink);
  EXPECT_FALSE(runner.Run());
  std::string log = out.str();
  for (size_t at = 0; (at = log.find(R"(,"time":"1970-01-01T00:00:00.000Z")", at)) != log.npos;)
    log.erase(at, 34);
  EXPECT_EQ(
      log,
      R"({"event":"action-start","class":"TListLoop","title":"Loop","description":"List Loop","file":"p.bvproj","line":3,"depth":0}
{"event":"action-start","class":"TLogAction","title":"Echo","description":"Log %ITEM%","file":"p.bvproj","line":4,"depth":1}
{"event":"message","tag":"stInfo","text":"a\"b","depth":2}
{"event":"action-end","class":"TLogAction","title":"Echo","success":true,"file":"p.bvproj","line":4,"failure_ignored":false,"depth":1}
{"event":"action-start","class":"TFailingAction","title":"Fail","description":"Fail","file":"p.bvproj","line":5,"depth":1}
{"event":"message","tag":"stError","text":"it broke","depth":2}
{"event":"action-end","class":"TFailingAction","title":"Fail","success":false,"file":"p.bvproj","line":5,"failure_ignored":false,"depth":1}
{"event":"action-end","class":"TListLoop","title":"Loop","success":false,"file":"p.bvproj","line":3,"failure_ignored":false,"depth":0}
{"event":"build-end","success":false,"depth":0}
)");
}

// A second per reading, so that the redraws are never too close together.
int g_seconds = 0;
std::chrono::steady_clock::time_point Ticking() {
  return std::chrono::steady_clock::time_point(std::chrono::seconds(++g_seconds));
}

TEST_F(BuildRunnerTest, LoopPassesShowAsProgressOnALiveTerminalOnly) {
  project_.actions = List(Node("Outer", Loop({"a", "b"}),
                               List(Node("Inner", Loop({"c"}), List(Node("Echo", Log("x")))))));
  for (bool live : {false, true}) {
    std::ostringstream out;
    TerminalStyle style;
    style.live_progress = live;
    TextLogSink sink(out, style, TextLogSink::Dialect::kPlain, Ticking);
    BuildRunner runner(project_, sink);
    EXPECT_TRUE(runner.Run());
    EXPECT_EQ(out.str().find("\rOuter: 2 of 2  >  Inner: 1 of 1\x1b[K\r\x1b[K    == Echo\n") !=
                  std::string::npos,
              live)
        << out.str();
  }
}

TEST_F(BuildRunnerTest, FileSetsOfTheProjectAreFoundByNameInAnyCase) {
  project_.file_sets = {FileSetDefinition{"Photos", "/nonexistent", {"*.jpg"}, {}, 3}};
  BuildRunner runner(project_, sink_);
  IBVProjectObjectService* objects = runner.GetProjectObjectService();
  auto* file_set = dynamic_cast<IBVFileSet*>(objects->FindObject("FileSetObject", "PHOTOS"));
  ASSERT_NE(file_set, nullptr);
  EXPECT_EQ(file_set->GetBaseDir(), "/nonexistent");
  EXPECT_EQ(objects->FindObject("FileSetObject", "Videos"), nullptr);
  EXPECT_EQ(objects->FindObject("OtherKind", "Photos"), nullptr);
}

// Runs its OnReadLine script over one line and logs what the script made of it.
class ScriptedAction : public TBVAction {
 public:
  explicit ScriptedAction(std::string code) { AddScript("OnReadLine", {"Line"}).SetCode(code); }
  std::string_view ClassName() const override { return "TScriptedAction"; }
  std::string GetActionName() const override { return "Scripted"; }
  bool Execute() override {
    ScriptParameters parameters = {{"Line", Variant("hello")}};
    ExecuteScript(*GetScriptByName("OnReadLine"), parameters);
    SendMessage(parameters[0].second.ToString(), stInfo);
    return true;
  }
};

TEST_F(BuildRunnerTest, ScriptsRunWithTheBuildsVariables) {
  project_.variables = {{"SUFFIX", Variant("!"), 1}};
  project_.actions =
      List(Node("Upper", std::make_unique<ScriptedAction>(
                             "Line = Line.toUpperCase() + Brivant.getVariable('SUFFIX');")),
           Node("Broken", std::make_unique<ScriptedAction>("throw new Error('bad line');")));
  EXPECT_EQ(Run(), (std::vector<std::string>{"start Upper", "stInfo: HELLO!", "end Upper ok",
                                             "start Broken",
                                             "stError: script OnReadLine: Error: bad line (line 1)",
                                             "end Broken failed", "build failed"}));
}

}  // namespace
}  // namespace brivant::host
