#include "host/script_engine.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "package/base_iterator.h"
#include "package/custom_bv_action.h"
#include "package/exceptions.h"
#include "package/property_table.h"
#include "tests/support/test_host.h"

namespace brivant {
namespace {
enum TTestPosition { tpStart, tpEnd, tpMiddle };
}  // namespace

template <>
struct EnumTraits<TTestPosition> {
  static const EnumInfo& Info() {
    static const EnumInfo info{"TTestPosition", {"tpStart", "tpEnd", "tpMiddle"}};
    return info;
  }
};

namespace {

using Lines = std::vector<std::string>;

// One property of each kind a script meets. Lines has a coupled setter that
// also sets Count; Count refuses negative values; Summary is read-only.
class TScriptTestAction : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TScriptTestAction"; }
  std::string GetActionName() const override { return "Script Test"; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  bool Execute() override { return true; }

  static const PropertyTable& Properties() {
    static const PropertyTable table(
        &TBVAction::Properties(),
        {
            Property("Text", &TScriptTestAction::text),
            Property("Enabled", &TScriptTestAction::enabled),
            Property("Count", &TScriptTestAction::GetCount, &TScriptTestAction::SetCount),
            Property("Lines", &TScriptTestAction::GetLines, &TScriptTestAction::SetLines),
            Property("Position", &TScriptTestAction::position),
            Property("Places", &TScriptTestAction::places),
            Property("Summary", &TScriptTestAction::GetSummary,
                     static_cast<void (TScriptTestAction::*)(std::string)>(nullptr)),
        });
    return table;
  }

  int32_t GetCount() const { return count; }
  void SetCount(int32_t value) {
    if (value < 0) throw std::invalid_argument("Count must not be negative");
    count = value;
  }
  Lines GetLines() const { return lines; }
  void SetLines(Lines value) {
    lines = std::move(value);
    count = static_cast<int32_t>(lines.size());
  }
  std::string GetSummary() const { return text + " x" + std::to_string(count); }

  // Every property's state, read directly, for comparing after a script.
  std::string State() const {
    std::string joined;
    for (const std::string& line : lines) joined += (joined.empty() ? "" : ",") + line;
    return text + "|" + (enabled ? "on" : "off") + "|" + std::to_string(count) + "|" + joined +
           "|" + std::to_string(position) + "|" + std::to_string(places.bits);
  }

  std::string text = "hello";
  bool enabled = true;
  int32_t count = 3;
  Lines lines = {"a", "b"};
  TTestPosition position = tpEnd;
  TSet<TTestPosition> places{0b101};  // tpStart, tpMiddle
};

constexpr char kNoFailure[] = "<no failure>";

class ScriptEngineTest : public ::testing::Test {
 protected:
  // Runs `code` as the script "OnTest" of `target`.
  Variant RunOn(TCustomBVAction& target, host::ScriptEngine& with, const std::string& code,
                ScriptParameters* parameters = nullptr) {
    std::vector<std::string> names;
    if (parameters != nullptr) {
      for (const auto& parameter : *parameters) names.push_back(parameter.first);
    }
    TBVActionScript script("OnTest", names);
    script.SetCode(code);
    return with.Run(target, script, parameters);
  }
  Variant Run(const std::string& code, ScriptParameters* parameters = nullptr) {
    return RunOn(action, engine, code, parameters);
  }
  // The EFailAction text a script ends with.
  std::string FailureOf(const std::string& code, host::ScriptEngine* with = nullptr,
                        std::chrono::milliseconds timeout = {}) {
    try {
      TBVActionScript script("OnTest", {});
      script.SetCode(code);
      (with != nullptr ? *with : engine).Run(action, script, nullptr, timeout);
    } catch (const EFailAction& error) {
      return error.what();
    }
    return kNoFailure;
  }

  testing::TestHost host;
  TScriptTestAction action;
  host::ScriptEngine engine{host};
};

TEST_F(ScriptEngineTest, ParametersAreGlobalsAndComeBackChangedUnlessTheScriptFails) {
  ScriptParameters parameters = {{"FoundText", Variant("needle")}, {"ReplaceText", Variant("")}};
  Run("ReplaceText = FoundText.toUpperCase() + '!';", &parameters);
  EXPECT_EQ(parameters[0], (std::pair<std::string, Variant>("FoundText", Variant("needle"))));
  EXPECT_EQ(parameters[1], (std::pair<std::string, Variant>("ReplaceText", Variant("NEEDLE!"))));
  EXPECT_THROW(Run("ReplaceText = 'changed';\nthrow new Error('late');", &parameters), EFailAction);
  EXPECT_EQ(parameters[1].second, Variant("NEEDLE!"));
}

TEST_F(ScriptEngineTest, ParameterTypesFollowTheValue) {
  struct Row {
    Variant in;
    const char* code;
    Variant out;
  };
  const Row rows[] = {
      {Variant(41), "Value = Value + 1;", Variant(42)},
      {Variant(5), "Value = Value / 2;", Variant(2.5)},
      {Variant(5), "Value = 1e20;", Variant(1e20)},  // beyond 64 bits
      {Variant(2.0), "", Variant(2.0)},              // a Float stays a Float
      {Variant(1.5), "Value = Value * 2;", Variant(3.0)},
      {Variant("7"), "Value = Value + 1;", Variant("71")},
      {Variant("\xC3\xA4rger"), "Value = Value.toUpperCase();", Variant("\xC3\x84RGER")},  // ärger
      {Variant("\xF0\x9F\x98\x80"), "Value = Value + '!';",
       Variant("\xF0\x9F\x98\x80!")},  // U+1F600
      {Variant(true), "Value = !Value;", Variant(false)},
      {Variant(), "", Variant()},
      {Variant(), "Value = -3;", Variant(-3)},
      {Variant("x"), "Value = null;", Variant()},
      {Variant("x"), "Value = [1, 'b'];", Variant("1,b")},
      {Variant("x"), "Value = { toString: function () { return 'mine'; } };", Variant("mine")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.code) + " on " + row.in.ToString());
    ScriptParameters parameters = {{"Value", row.in}};
    Run(row.code, &parameters);
    EXPECT_EQ(parameters[0].second, row.out);
  }
}

TEST_F(ScriptEngineTest, ResultIsTheLastExpressionStatementOverTheActionObject) {
  const std::pair<const char*, Variant> rows[] = {
      {"1 + 2", Variant(3)},
      {"'a' + 'b'", Variant("ab")},
      {"0.5", Variant(0.5)},
      {"1 < 2", Variant(true)},
      {"var x = 1;", Variant()},
      {"undefined", Variant()},
      {"var n = 1; n++; if (n > 1) { 'big'; } else { 'small'; }", Variant("big")},
      {"({})", Variant("[object Object]")},
      {"[Action.Text, Action.Enabled, typeof Action.Enabled, Action.Count, typeof Action.Count,"
       " Array.isArray(Action.Lines), Action.Lines.join('+'), Action.Position, Action.Places,"
       " Action.Summary, Action.ClassName, Action.Name].join(';')",
       Variant("hello;true;boolean;3;number;true;a+b;tpEnd;tpStart,tpMiddle;hello x3;"
               "TScriptTestAction;Script Test")},
      // The action object takes no new properties, and scripts share no globals.
      {"Action.Txet = 'typo'; Action.Name = 'other'; typeof Action.Txet + ' ' + Action.Name",
       Variant("undefined Script Test")},
      {"leaked = 1;", Variant(1)},
      {"typeof leaked", Variant("undefined")},
      {"Brivant.log('copied ' + 3 + ' files');", Variant()},
  };
  for (const auto& [code, expected] : rows) {
    SCOPED_TRACE(code);
    EXPECT_EQ(Run(code), expected);
  }
  EXPECT_EQ(action.State(), "hello|on|3|a,b|1|5");
  EXPECT_EQ(host.messages, (std::vector<testing::LoggedMessage>{{stInfo, "copied 3 files"}}));
}

TEST_F(ScriptEngineTest, ActionPropertiesAreWrittenThroughTheirSetters) {
  // State(): Text|Enabled|Count|Lines|Position ordinal|Places bits.
  const std::pair<const char*, const char*> rows[] = {
      {"Action.Text = 'new';", "new|on|3|a,b|1|5"},
      {"Action.Text = 42;", "42|on|3|a,b|1|5"},
      {"Action.Text = null;", "|on|3|a,b|1|5"},
      {"Action.Enabled = false;", "hello|off|3|a,b|1|5"},
      {"Action.Enabled = 'False';", "hello|off|3|a,b|1|5"},
      {"Action.Count = 12;", "hello|on|12|a,b|1|5"},
      {"Action.Position = 'tpMiddle';", "hello|on|3|a,b|2|5"},
      {"Action.Position = 'TPSTART';", "hello|on|3|a,b|0|5"},
      {"Action.Position = 2;", "hello|on|3|a,b|2|5"},
      {"Action.Places = 'tpEnd';", "hello|on|3|a,b|1|2"},
      {"Action.Places = ['tpEnd', 'tpMiddle'];", "hello|on|3|a,b|1|6"},
      {"Action.Places = '';", "hello|on|3|a,b|1|0"},
      // Lines sets Count too.
      {"Action.Lines = ['x', 2, null];", "hello|on|3|x,2,|1|5"},
      {"Action.Lines = 'one\\ntwo\\nthree\\nfour';", "hello|on|4|one,two,three,four|1|5"},
      {"Action.Lines = [];", "hello|on|0||1|5"},
  };
  for (const auto& [code, expected] : rows) {
    SCOPED_TRACE(code);
    TScriptTestAction fresh;
    RunOn(fresh, engine, code);
    EXPECT_EQ(fresh.State(), expected);
  }
}

// An action that publishes a property called Name.
class TNamedAction : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TNamedAction"; }
  std::string GetActionName() const override { return "Named"; }
  const PropertyTable& GetPropertyTable() const override {
    static const PropertyTable table(&TBVAction::Properties(),
                                     {Property("Name", &TNamedAction::name)});
    return table;
  }
  bool Execute() override { return true; }
  std::string name = "first";
};

TEST_F(ScriptEngineTest, PublishedNamePropertyHidesTheDisplayName) {
  TNamedAction named;
  EXPECT_EQ(RunOn(named, engine, "Action.Name = Action.Name + ' and second'; Action.ClassName"),
            Variant("TNamedAction"));
  EXPECT_EQ(named.name, "first and second");
}

// A loop of five passes with its position published read-only.
class TCountingIterator : public TBVBaseIterator {
 public:
  static const PropertyTable& Properties() {
    static const PropertyTable table(
        &TBVBaseIterator::Properties(),
        {ReadOnlyProperty("Position", &TCountingIterator::GetCurrentIteration)});
    return table;
  }
  std::string_view ClassName() const override { return "TCountingIterator"; }
  std::string GetActionName() const override { return "Counting"; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  bool BeforeFirstIteration() override {
    SetIterationCount(5);
    return true;
  }
  std::string GetCurrentValue() override { return std::to_string(GetCurrentIteration()); }
};

TEST_F(ScriptEngineTest, RegisteredMethodsAndOtherActionsAreReachable) {
  TCountingIterator loop;
  loop.AttachHost(&host);
  ASSERT_TRUE(loop.Execute());
  TBVNextAction next = naRunChildren;
  loop.GetNextActionSource(nssAfterExecute, next);
  loop.GetNextActionSource(nssAfterChildren, next);
  ASSERT_EQ(loop.GetCurrentIteration(), 2);

  engine.SetActionFinder([&loop](std::string_view title) -> TCustomBVAction* {
    return title == "Each item" ? &loop : nullptr;
  });
  // Registered for another class only: the loop offers no Reset yet.
  engine.SetScriptMethods({{"TOtherIterator", "Reset"}});
  EXPECT_EQ(Run("var l = Brivant.getAction('Each item'); l.Position + ' ' + typeof l.Reset"),
            Variant("2 undefined"));
  engine.SetScriptMethods({{"TCountingIterator", "Reset"}, {"TCountingIterator", "Unknown"}});
  EXPECT_EQ(Run("var l = Brivant.getAction('Each item'); l.Reset(); "
                "l.Position + ' ' + typeof l.Unknown + ' ' + l.ClassName"),
            Variant("0 undefined TCountingIterator"));
  EXPECT_EQ(loop.GetIterationCount(), 0) << "Reset ends the loop after this pass";
  EXPECT_EQ(FailureOf("Brivant.getAction('Nothing').Position"),
            "script OnTest: Error: no action titled 'Nothing' (line 1)");
  EXPECT_EQ(FailureOf("Brivant.getAction('Each item').Position = 4"),
            "script OnTest: TypeError: property Position is read-only (line 1)");
}

// Failures name the script, the line and the reason; refused values change
// nothing.
TEST_F(ScriptEngineTest, FailuresNameTheScriptTheLineAndTheReason) {
  const std::pair<const char*, const char*> rows[] = {
      {"Action.Summary = 'x';", "script OnTest: TypeError: property Summary is read-only (line 1)"},
      {"\nAction.Count = 2.5;",
       "script OnTest: TypeError: invalid value '2.5' for Count: expected a whole number from "
       "-2147483648 to 2147483647 (line 2)"},
      {"Action.Position = 'tpNowhere';",
       "script OnTest: TypeError: unknown value 'tpNowhere' of TTestPosition for Position: "
       "expected one of tpStart, tpEnd, tpMiddle (line 1)"},
      {"Action.Enabled = 'maybe';",
       "script OnTest: TypeError: invalid value 'maybe' for Enabled: expected True or False "
       "(line 1)"},
      // The setter's own exception.
      {"Action.Count = -1;", "script OnTest: Error: Count must not be negative (line 1)"},
      {"var v = 1;\nv = Brivant.getVariable('Missing');",
       "script OnTest: Error: Variable \"Missing\" is not defined (line 2)"},
      {"var x = 1;\n\nx = (;",
       "script OnTest: SyntaxError: empty expression not allowed (line 3, end of input)"},
      {"var a = 1;\nnoSuchFunction();",
       "script OnTest: ReferenceError: identifier 'noSuchFunction' undefined (line 2)"},
      {"function inner() {\n  return null.length;\n}\ninner();",
       "script OnTest: TypeError: cannot read property 'length' of null (line 2)"},
      {"\n\nthrow new RangeError('too far');", "script OnTest: RangeError: too far (line 3)"},
      {"var n = 0;\nthrow 'no input';", "script OnTest: no input (line 2)"},
  };
  for (const auto& [code, expected] : rows) {
    SCOPED_TRACE(code);
    EXPECT_EQ(FailureOf(code), expected);
  }
  EXPECT_EQ(action.State(), "hello|on|3|a,b|1|5");
}

TEST_F(ScriptEngineTest, VariablesAreReadAndWrittenThroughTheHost) {
  host.Define("Version", Variant("1.2"));
  host.Define("Built", Variant(""));
  Run("Brivant.setVariable('Built', Brivant.getVariable('Version') + '.3');\n"
      "Brivant.setVariable('Files', 4);\n"
      "Brivant.setVariable('Ratio', 0.25);");
  EXPECT_EQ(host.variables.Get("Built"), Variant("1.2.3"));
  EXPECT_EQ(host.variables.Get("Files"), Variant(4));
  EXPECT_EQ(host.variables.Get("Ratio"), Variant(0.25));
}

// A script that runs too long or past a stop request ends where it was.
TEST_F(ScriptEngineTest, RunawayScriptStopsAtTheTimeLimitOrOnRequest) {
  if (!host::ScriptEngine::CanInterruptScripts())
    GTEST_SKIP() << "this Duktape build cannot interrupt a running script";
  host::ScriptEngine limited(host, {.time = std::chrono::milliseconds(200)});
  // Each loop sits on line 2, as the line is where the script was stopped.
  const char* rows[] = {
      "function spin() {\n  for (;;) {}\n}\nspin();",
      // The interruption cannot be caught.
      "var caught = 0;\nfor (;;) { try { for (;;) {} } catch (e) { caught++; } }",
  };
  for (const char* code : rows) {
    SCOPED_TRACE(code);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FailureOf(code, &limited),
              "script OnTest: ran longer than the time limit of 200 ms (line 2)");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  }
  // A built-in's long loop stops when it next allocates, too early to note
  // a line.
  EXPECT_EQ(FailureOf("\nnew Array(4000000000).join('');", &limited),
            "script OnTest: ran longer than the time limit of 200 ms");
  // The time-out of the call replaces the engine's limit.
  EXPECT_EQ(FailureOf("for (;;) {}", &limited, std::chrono::milliseconds(300)),
            "script OnTest: ran longer than the time limit of 300 ms (line 1)");
  std::thread stopper([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    host.stop_signalled = true;
  });
  EXPECT_EQ(FailureOf("function spin() {\n  for (;;) {}\n}\nspin();"),
            "script OnTest: stopped on request (line 2)");
  stopper.join();
}

TEST_F(ScriptEngineTest, GreedyScriptStopsAtTheMemoryLimit) {
  host::ScriptEngine limited(host, {.heap_bytes = size_t{16} << 20});
  const char* rows[] = {
      "var text = 'x';\nfor (;;) text += text;",
      // Copying a sparse array of four billion elements into a property.
      "\nAction.Lines = new Array(4000000000);",
  };
  for (const char* code : rows) {
    SCOPED_TRACE(code);
    EXPECT_EQ(FailureOf(code, &limited),
              "script OnTest: needed more than the memory limit of 16 MB (line 2)");
  }
}

}  // namespace
}  // namespace brivant
