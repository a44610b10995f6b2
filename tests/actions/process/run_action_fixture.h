// Shared set-up of the program-running action tests: a temporary directory,
// the recording host, property setters by name, and the command line an
// action builds, without running it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "package/command_line_builder.h"
#include "package/execute_abstract_action.h"
#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

using Lines = std::vector<std::string>;

// What the runner would start: the executable and the builder's result.
struct BuiltCommand {
  bool built = false;
  std::string executable;
  std::string text;  // the assembled text the actions log
  Lines words;       // what the program receives after its own name
};

class RunActionTest : public ActionTest {
 protected:
  BuiltCommand Build(TBVExecuteAbstractAction& action) {
    action.AttachHost(&host_);
    TCommandLineBuilder builder;
    BuiltCommand command;
    if (!action.BeforeExecute(builder)) return command;
    command.executable = action.GetExecutable();
    command.built = action.GetCommandLine(builder);
    command.text = builder.GetParametersStr();
    command.words = builder.GetArguments();
    return command;
  }

  // A shell script that prints each argument it receives in brackets.
  std::string ArgumentPrinter() {
    std::string path = Path("print args");
    WriteBytes(path, "#!/bin/sh\nfor a; do echo \"[$a]\"; done\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
};

}  // namespace brivant::testing
