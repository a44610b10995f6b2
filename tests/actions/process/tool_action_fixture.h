// Shared set-up of the external-tool action tests: a builder that records
// each argument as the action added it, properties set from their project
// text, and a stand-in tool (a shell script) that records the words it
// receives and exits with a chosen code.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "package/command_line_builder.h"
#include "tests/support/action_test.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

// One AddArgument call: name, value, kind.
struct Arg {
  std::string name;
  std::string value;
  int kind;
  friend bool operator==(const Arg&, const Arg&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Arg& arg) {
    return out << "{\"" << arg.name << "\", \"" << arg.value << "\", " << arg.kind << "}";
  }
};

// Plain switches (kind 2, no value), named in `names` separated by blanks.
inline std::vector<Arg> Switches(const std::string& names) {
  std::vector<Arg> args;
  for (const std::string& name : SplitWindowsCommandLine(names))
    args.push_back({name, "", akSwitch});
  return args;
}

template <class T>
std::vector<T> operator+(std::vector<T> head, const std::vector<T>& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

// The real builder, remembering what it was given.
class RecordingBuilder : public TCommandLineBuilder {
 public:
  IArgument& AddArgument(const std::string& name, const std::string& value, int kind) override {
    added.push_back({name, value, kind});
    return TCommandLineBuilder::AddArgument(name, value, kind);
  }
  std::vector<Arg> added;
};

class ToolActionTest : public ActionTest {
 protected:
  // Sets a property from its project-file text.
  static void Set(TCustomBVAction& action, const std::string& property, const std::string& text) {
    SetText(action, property, text);
  }

  // Writes an executable script at `path` that writes its working directory
  // and then each argument, one per line, to argv.txt in the temporary
  // directory, copies the file named by a "/EXCLUDE:" argument to
  // excluded.txt, and exits with `exit_code`.
  void WriteStandIn(const std::string& path, int exit_code) {
    WriteBytes(path,
               "#!/bin/sh\n"
               "{ pwd; for a in \"$@\"; do printf '%s\\n' \"$a\"; done; } > '" +
                   ArgvFile() +
                   "'\n"
                   "for a in \"$@\"; do case \"$a\" in /EXCLUDE:*) cat \"${a#/EXCLUDE:}\" > '" +
                   dir_.Join("excluded.txt") +
                   "';; esac; done\n"
                   "exit " +
                   std::to_string(exit_code) + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }
  std::string ArgvFile() const { return dir_.Join("argv.txt"); }

  // The working directory and the words the stand-in received, one per line.
  std::string RecordedRun() const { return ReadBytes(ArgvFile()); }
};

}  // namespace brivant::testing
