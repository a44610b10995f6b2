#include "actions/process/run_dos_cmd_action.h"

namespace brivant {

const PropertyTable& TRunDosCMDAction::Properties() {
  using T = TRunDosCMDAction;
  static const PropertyTable table(
      &ProgramProperties(), {Property("Command", &T::GetCommand, &T::SetCommand)}, {"ProgramName"});
  return table;
}

void TRunDosCMDAction::SetCommand(const std::string& command) {
  if (command != GetParams()) SetParams(command);
}

}  // namespace brivant
