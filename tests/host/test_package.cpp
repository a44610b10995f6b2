// A small action package for the tests of the package loader and of the
// `brivant` command line: a module that exports BVRegister like the real
// package, with two classes whose properties cover every kind the command
// line prints (enumeration, set, string list, read-only, not stored, hidden)
// and whose texts the tests can predict exactly.
#include <string>
#include <vector>

#include "package/base_iterator.h"
#include "package/bv_register.h"
#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

enum TTestTone { ttCalm, ttLoud };
enum TTestChannel { tcLog, tcVariable };

template <>
struct EnumTraits<TTestTone> {
  static const EnumInfo& Info() {
    static const EnumInfo info{"TTestTone", {"ttCalm", "ttLoud"}};
    return info;
  }
};
template <>
struct EnumTraits<TTestChannel> {
  static const EnumInfo& Info() {
    static const EnumInfo info{"TTestChannel", {"tcLog", "tcVariable"}};
    return info;
  }
};

namespace {

// Logs its Text; Validate insists on a Text.
class TTestEchoAction : public TBVAction {
 public:
  static constexpr const char* kClassName = "TTestEchoAction";

  TTestEchoAction() {
    channels_.Include(tcLog);
    AddScript("OnEcho", {"Text"});
  }

  static const PropertyTable& Properties() {
    static const PropertyTable table(
        &TBVAction::Properties(),
        {
            Property("Text", &TTestEchoAction::text_),
            Property("Repeat", &TTestEchoAction::repeat_),
            Property("Tone", &TTestEchoAction::tone_),
            Property("Channels", &TTestEchoAction::channels_),
            Property("Lines", &TTestEchoAction::lines_),
            Property("Message", &TTestEchoAction::GetText, &TTestEchoAction::SetMessage)
                .NotStored(),
            Property("LinesWritten", &TTestEchoAction::GetLinesWritten,
                     static_cast<void (TTestEchoAction::*)(int32_t)>(nullptr)),
        });
    return table;
  }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  std::string_view ClassName() const override { return kClassName; }

  std::string GetActionName() const override { return "Echo Text"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\EchoText.html"; }
  std::string GetFormattedDescription() const override {
    return GetActionName() + " [ " + text_ + " ]";
  }

  void GetPropertyAlias(TStrings& list) const override {
    list.insert(list.end(), {"[Echo]", "Text=Text To Echo", "Repeat=Repeat Count", "Tone=Tone",
                             "Lines=Extra Lines"});
  }
  void GetPropertyHelp(TStrings& list) const override {
    list.insert(list.end(), {"Text=The text written to the log", "Repeat=How many times",
                             "Repeat=How many times the text is written"});
  }
  void GetHiddenProperties(TStrings& list) const override { list.push_back("LinesWritten"); }

  bool Validate(IBVActionValidationError& errors) override {
    if (!text_.empty()) return true;
    errors.AddError("Text To Echo", "The text has not been set", 0);
    return false;
  }

  // The other properties are there for `props` to print; no test runs them.
  bool Execute() override {
    SendMessage(ExpandExpression(text_, false), stInfo);
    return true;
  }

  const std::string& GetText() const { return text_; }
  int32_t GetLinesWritten() const { return lines_written_; }
  // The not-stored predecessor of Text: projects written before the rename
  // still load.
  void SetMessage(const std::string& message) { text_ = message; }

 private:
  std::string text_ = "hello";
  int32_t repeat_ = 1;
  TTestTone tone_ = ttCalm;
  TSet<TTestChannel> channels_;
  std::vector<std::string> lines_;
  int32_t lines_written_ = 0;
};

// Runs its children Count times with the iteration number in its variable.
class TTestRepeatAction : public TBVBaseIterator {
 public:
  static constexpr const char* kClassName = "TTestRepeatAction";

  static const PropertyTable& Properties() {
    static const PropertyTable table(&TBVBaseIterator::Properties(),
                                     {Property("Count", &TTestRepeatAction::count_)});
    return table;
  }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  std::string_view ClassName() const override { return kClassName; }
  std::string GetActionName() const override { return "Repeat"; }
  std::string GetFormattedDescription() const override {
    return "Repeat [ " + std::to_string(count_) + " times ]";
  }

  bool BeforeFirstIteration() override {
    SetIterationCount(count_);
    return true;
  }
  std::string GetCurrentValue() override { return std::to_string(GetCurrentIteration()); }

 private:
  int32_t count_ = 2;
};

}  // namespace
}  // namespace brivant

extern "C" BRIVANT_EXPORT void BVRegister(brivant::IBVServices* services) {
  using namespace brivant;
  services->ActionService().RegisterAction("Testing", ActionClassOf<TTestEchoAction>(), "ECHO");
  services->ActionService().RegisterAction("Loops", ActionClassOf<TTestRepeatAction>(), "REPEAT");
}
