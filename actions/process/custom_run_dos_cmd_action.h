// The DOS-command variant of the program action: the command interpreter
// named by the DOSCMD variable runs one command text. On Linux the
// interpreter is a POSIX shell, so the text goes after "-c" as one word and
// the shell parses it.
#pragma once

#include <string>

#include "actions/process/custom_run_program_action.h"

namespace brivant {

class TCustomRunDosCMDAction : public TCustomRunProgramAction {
 public:
  std::string GetActionName() const override { return "Run DOS Command / Batch File"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\RunDosCommand.html"; }
  int GetHelpTopicID() const override { return 512; }
  bool GetShowCommandLine() const override { return false; }

  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  std::string GetExecutable() override;
  bool GetCommandLine(ICommandLineBuilder& builder) override;
  // The program's parameters, enclosed in double quotes when they name an
  // existing .bat file (as given, or inside the unexpanded StartInDir) and
  // hold no quote mark or apostrophe.
  std::string GetCommandLineParams() override;

 protected:
  void AddParameters(ICommandLineBuilder& builder, const std::string& params) override;
  const std::string& DescribedProperty() const override { return GetParams(); }
};

}  // namespace brivant
