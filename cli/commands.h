// The commands of `brivant`, one function each. main() parses the command
// line and calls them; each prints its own output and returns the process's
// exit status.
#pragma once

#include <optional>
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
/// "action title: property title: message".
int ValidateProjectFile(const host::ActionRegistry& registry, const std::string& path);

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

struct RegistryArguments {
  std::string operation;  // "query", "set" or "delete"
  std::string key;        // "HKLM\Software\Acme": a root name or abbreviation, then the path
  std::optional<std::string> value_name;  // absent: the key itself ("" is the default value)
  std::string type = "REG_SZ";
  std::string data;
};

/// Works on the registry store: query prints the key, its values and its
/// subkeys (or one value); set creates the key and writes the value; delete
/// removes the value, or the key with everything below it. 1 when the key
/// or value does not exist or the store fails, 2 for bad arguments.
int RegistryCommand(const RegistryArguments& arguments);

}  // namespace brivant::cli
