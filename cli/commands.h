// The commands of `brivant`, one function each. main() parses the command
// line and calls them; each prints its own output and returns the process's
// exit status.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/log_sink.h"

namespace brivant::host {
class ActionRegistry;
}

namespace brivant::cli {

// Exit statuses, as CI systems read them.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;  // a build or a validation failed
inline constexpr int kExitUsage = 2;    // bad command line, unreadable or invalid project

/// Writes "brivant: <message>" to standard error.
void PrintError(const std::string& message);

/// Prints one line per registered action, in registration order: category,
/// class, display name and help file, separated by tabs. With a category,
/// only that one's actions (the name compares without regard to case).
int ListActions(const host::ActionRegistry& registry, const std::string& category);

/// Prints one line per published property of `class_name`, in published
/// order: name, type, default, flags, display text and help, separated by
/// tabs.
int PrintProperties(const host::ActionRegistry& registry, const std::string& class_name);

/// Loads the project and prints each validation problem as
/// "path:line: [warning: ]action title: [property: ]message". Warnings do not
/// fail the validation. `defines` are "NAME=VALUE" as typed after -D.
int ValidateProjectFile(const host::ActionRegistry& registry, const std::string& path,
                        const std::vector<std::string>& defines);

/// Prints the project's action tree, two blanks of indent per level.
int DescribeProjectFile(const host::ActionRegistry& registry, const std::string& path);

struct RunArguments {
  std::string path;
  host::LogFormat format = host::LogFormat::kText;
  bool color = true;
  std::vector<std::string> defines;  // "NAME=VALUE" as typed
};

/// Loads, validates and runs the project.
int RunProjectFile(const host::ActionRegistry& registry, const RunArguments& arguments);

}  // namespace brivant::cli
