// The commands of `brivant`, one function each. main() parses the command
// line and calls them; each prints its own output and returns the process's
// exit status.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/log_sink.h"

namespace brivant {
class TCustomBVAction;
}

namespace brivant::host {
class ActionRegistry;
struct RegisteredAction;
}  // namespace brivant::host

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

/// Prints a header line naming the class, then one line per published
/// property of `class_name`, in published order: name, type, default, flags,
/// display text and help, separated by tabs. As JSON: one object with the
/// class, its category and display name, and the same fields per property.
int PrintProperties(const host::ActionRegistry& registry, const std::string& class_name,
                    bool as_json);

/// Writes the action reference, one Markdown page per category, into
/// `directory`: for each action a generated heading and property table, with
/// the hand-written text of the page kept. With `check`, writes nothing and
/// names each page that differs from what it would write (exit 1).
int WriteReference(const host::ActionRegistry& registry, const std::string& directory, bool check);

/// The reference page of a category: "Files & Directories" ->
/// "files-directories.md".
std::string ReferencePageName(std::string_view category);

/// A published property as `props` and the reference show it.
struct PropertyRow {
  std::string name;
  std::string type;
  std::string default_text;
  std::string flags;  // "stored", "not stored", ",read-only", ",hidden"
  std::string display_text;
  std::string help;
};

std::vector<PropertyRow> PropertyRowsOf(const TCustomBVAction& instance);

/// The action named `class_name`, or nullptr after printing an error that
/// suggests the nearest class.
const host::RegisteredAction* FindActionOrSuggest(const host::ActionRegistry& registry,
                                                  const std::string& class_name);

std::string PropertiesAsJson(const host::RegisteredAction& action, const TCustomBVAction& instance,
                             const std::vector<PropertyRow>& rows);

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
  host::Verbosity verbosity = host::Verbosity::kNormal;
  std::vector<std::string> defines;  // "NAME=VALUE" as typed
};

/// Loads, validates and runs the project. A project that cannot be loaded is
/// also reported in the JSON and GitHub logs, which then end with build-end.
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
