// "Read Text File": reads a file (encoding by byte-order mark) into a
// variable and can run the "OnReadLine" script once per line.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVReadTextFileAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVReadTextFileAction";
  TBVReadTextFileAction();
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Read Text File"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ReadTextFile.html"; }
  int GetHelpTopicID() const override { return 3260; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  // Runs "OnReadLine" for each line of `text`. Throws what the script throws.
  void RunLineScript(const std::string& text);

  std::string file_name_;
  std::string bv_variable_;
  bool put_contents_in_var_ = false;
  bool escape_variables_ = true;
};

// The lines of a text: CR LF, LF and CR all end a line; a final line break
// does not start another line.
std::vector<std::string> SplitLines(const std::string& text);

}  // namespace brivant
