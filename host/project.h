// A build project as read from a `.bvproj` file: its variables, file sets and
// action tree. Loading checks every class, property and value against the
// registered action classes and reports the first problem as
// "file:line: message"; a loaded project's actions are created and hold their
// stored properties.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/variant.h"

namespace brivant::host {

class ActionRegistry;

struct ProjectVariable {
  std::string name;
  Variant value;  // of the declared type
  int line = 0;
};

struct FileSetDefinition {
  std::string name;
  std::string base_dir;
  std::vector<std::string> includes;  // relative to base_dir; "**" matches any depth
  std::vector<std::string> excludes;
  int line = 0;
};

// A property as the file gives it, kept for the checks that name its line.
struct PropertySource {
  std::string name;  // as the class's table spells it
  std::string text;  // string properties as written, list items joined by line breaks
  int line = 0;
};

// One action of the tree with what the host keeps beside it.
struct ActionNode {
  std::unique_ptr<TCustomBVAction> action;
  std::string title;  // defaults to the action's display name
  bool enabled = true;
  bool ignore_failure = false;
  int line = 0;
  std::vector<PropertySource> properties;  // in the file's order
  std::vector<ActionNode> children;
};

// Event scripts handle one line or one match at a time; a minute is far
// beyond any honest one and still ends a runaway loop in a build.
inline constexpr std::chrono::milliseconds kDefaultScriptTimeout{60000};

struct Project {
  std::string path;
  // The <Project ScriptTimeout="seconds"> attribute: how long one script run
  // may take unless the action passes its own time-out.
  std::chrono::milliseconds script_timeout = kDefaultScriptTimeout;
  std::vector<ProjectVariable> variables;
  std::vector<FileSetDefinition> file_sets;
  std::vector<ActionNode> actions;
};

// Reads and checks a project file. On failure returns false and sets *error
// to "path:line: message" (line omitted when the file cannot be read at all).
bool LoadProject(const std::string& path, const ActionRegistry& registry, Project* project,
                 std::string* error);

}  // namespace brivant::host
