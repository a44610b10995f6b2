// "Run DOS Command / Batch File": runs one command text through the command
// interpreter (DOSCMD, /bin/sh unless the project says otherwise). The text
// is published as Command and kept in the Params field.
#pragma once

#include <string>

#include "actions/process/custom_run_dos_cmd_action.h"

namespace brivant {

class TRunDosCMDAction : public TCustomRunDosCMDAction {
 public:
  static constexpr std::string_view kClassName = "TRunDosCMDAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  const std::string& GetCommand() const { return GetParams(); }
  // Only a different text reaches SetParams.
  void SetCommand(const std::string& command);
};

}  // namespace brivant
