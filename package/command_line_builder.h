// ICommandLineBuilder collects the arguments of an external program, one
// AddArgument call per argument. Its assembled text is the Windows command
// line the actions log; the words a program receives are the ones a Windows
// program would parse from that text (blanks separate, double quotes group,
// backslashes before a quote escape it), plus any words added raw.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brivant {

// Quoting kinds of AddArgument.
enum TArgumentKind : int {
  akVerbatim = 0,  // switch followed by a value that needs no quoting, as it stands
  akSwitch = 2,    // plain switch or bare path, as it stands
  akPath = 4,      // path, alone or after a switch: quoted when it holds a blank
};

class IArgument {
 public:
  virtual ~IArgument() = default;
  virtual const std::string& GetName() const = 0;
  virtual const std::string& GetValue() const = 0;
  virtual int GetKind() const = 0;
  // The argument as it appears in the assembled text.
  virtual std::string GetText() const = 0;
};

class ICommandLineBuilder {
 public:
  virtual ~ICommandLineBuilder() = default;
  // Builder options; 0 is the default every action asks for.
  virtual void SetOptions(int options) = 0;
  // Appends name immediately followed by value, quoted as `kind` says.
  virtual IArgument& AddArgument(const std::string& name, const std::string& value, int kind) = 0;
  // Appends a whole preformatted parameter string, as it stands.
  virtual void AddParameters(const std::string& text) = 0;
  // POSIX only: appends exactly one word to the program's argv, whatever
  // blanks or quotes it holds (a shell's command text after "-c"). Shown in
  // the assembled text as it stands.
  virtual void AddRawWord(const std::string& word) = 0;
  // The assembled text: the arguments joined by one blank.
  virtual std::string GetParametersStr() const = 0;
  // The words the program receives after its own name.
  virtual std::vector<std::string> GetArguments() const = 0;
};

// Encloses text in double quotes when `force` is set or it holds a blank;
// text that already starts and ends with a quote is left as it is.
std::string DoubleQuoteString(const std::string& text, bool force);

// Removes one pair of enclosing double quotes, if present.
std::string StripQuotes(const std::string& text);

// The words a Windows program's start-up code parses from a command line.
std::vector<std::string> SplitWindowsCommandLine(std::string_view text);

// The builder the host hands to TBVExecuteAbstractAction.
class TCommandLineBuilder : public ICommandLineBuilder {
 public:
  TCommandLineBuilder();
  ~TCommandLineBuilder() override;
  void SetOptions(int options) override { options_ = options; }
  IArgument& AddArgument(const std::string& name, const std::string& value, int kind) override;
  void AddParameters(const std::string& text) override;
  void AddRawWord(const std::string& word) override;
  std::string GetParametersStr() const override;
  std::vector<std::string> GetArguments() const override;

 private:
  class Argument;
  struct Part {
    std::string text;
    bool raw_word = false;
  };
  int options_ = 0;
  std::vector<std::unique_ptr<Argument>> arguments_;
  std::vector<Part> parts_;
};

}  // namespace brivant
