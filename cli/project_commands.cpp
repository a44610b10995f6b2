// `brivant validate`, `brivant describe` and `brivant run`: the commands that
// read a project file.
#include <charconv>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string_view>

#include "cli/commands.h"
#include "host/action_registry.h"
#include "host/build_runner.h"
#include "host/log_sink.h"
#include "host/project.h"
#include "host/validation.h"

namespace brivant::cli {
namespace {

// "NAME=VALUE" as typed after -D; a malformed one is a usage error.
bool ParseDefines(const std::vector<std::string>& typed, host::BuildRunner::Defines* defines) {
  for (const std::string& define : typed) {
    size_t equals = define.find('=');
    if (equals == std::string::npos || equals == 0) {
      PrintError("-D expects NAME=VALUE, got '" + define + "'");
      return false;
    }
    defines->emplace_back(define.substr(0, equals), define.substr(equals + 1));
  }
  return true;
}

// A project that cannot be loaded is a usage error, as the message already
// names the file and line.
bool Load(const host::ActionRegistry& registry, const std::string& path, host::Project* project) {
  std::string error;
  if (host::LoadProject(path, registry, project, &error)) return true;
  PrintError(error);
  return false;
}

// The tree shows one line per action, so a description that spans lines is
// joined.
std::string OneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

std::string DescriptionOf(const TCustomBVAction& action) {
  // A description is computed from stored properties and must not need a
  // running build; an action that disagrees still gets its name shown.
  try {
    return OneLine(action.GetFormattedDescription());
  } catch (const std::exception&) {
    return action.GetActionName();
  }
}

// The line of a loader error "path:line: message"; 0 when it names none.
int ErrorLine(std::string_view error, std::string_view path) {
  if (error.substr(0, path.size()) != path || error.substr(path.size(), 1) != ":") return 0;
  int line = 0;
  std::string_view rest = error.substr(path.size() + 1);
  const char* rest_end = rest.data() + rest.size();
  auto [end, failure] = std::from_chars(rest.data(), rest_end, line);
  return failure == std::errc() && end != rest_end && *end == ':' ? line : 0;
}

// Tools and CI reading the log must learn why the build never started; text
// readers have standard error.
void LogLoadError(const RunArguments& arguments, const std::string& error) {
  if (arguments.format == host::LogFormat::kText) return;
  std::unique_ptr<host::LogSink> sink = host::MakeLogSink(arguments.format, std::cout, {});
  sink->ProjectError(arguments.path, ErrorLine(error, arguments.path), error);
  sink->BuildEnd(false);
  sink->Flush();
}

void DescribeNodes(const std::vector<host::ActionNode>& nodes, int depth) {
  for (const host::ActionNode& node : nodes) {
    std::string line(static_cast<size_t>(depth) * 2, ' ');
    if (!node.enabled) line += "(disabled) ";
    if (node.title != node.action->GetActionName()) line += node.title + ": ";
    line += DescriptionOf(*node.action);
    std::cout << line << '\n';
    DescribeNodes(node.children, depth + 1);
  }
}

void AttachHost(const std::vector<host::ActionNode>& nodes, IBVActionHost* action_host) {
  for (const host::ActionNode& node : nodes) {
    node.action->AttachHost(action_host);
    AttachHost(node.children, action_host);
  }
}

}  // namespace

int ValidateProjectFile(const host::ActionRegistry& registry, const std::string& path,
                        const std::vector<std::string>& defines) {
  host::BuildRunner::Defines parsed;
  if (!ParseDefines(defines, &parsed)) return kExitUsage;
  host::Project project;
  if (!Load(registry, path, &project)) return kExitUsage;
  // Some checks read host services (the Robocopy actions look up the tool in
  // the options store), so the actions get the host a run would give them.
  std::ostringstream discarded_log;
  std::unique_ptr<host::LogSink> sink =
      host::MakeLogSink(host::LogFormat::kText, discarded_log, {});
  host::BuildRunner runner(project, *sink, parsed);
  AttachHost(project.actions, &runner);
  std::vector<std::string> defined_names;
  for (const auto& [name, value] : parsed) defined_names.push_back(name);
  bool failed = false;
  std::vector<host::ValidationProblem> problems = host::ValidateProject(project, defined_names);
  for (const host::ValidationProblem& problem : problems) {
    std::cout << host::DescribeProblem(project, problem) << '\n';
    failed = failed || !problem.warning;
  }
  if (failed) return kExitFailure;
  if (problems.empty()) std::cout << "no problems\n";
  return kExitSuccess;
}

int DescribeProjectFile(const host::ActionRegistry& registry, const std::string& path) {
  host::Project project;
  if (!Load(registry, path, &project)) return kExitUsage;
  DescribeNodes(project.actions, 0);
  return kExitSuccess;
}

int RunProjectFile(const host::ActionRegistry& registry, const RunArguments& arguments) {
  host::RunOptions options;
  options.format = arguments.format;
  options.color = arguments.color;
  options.verbosity = arguments.verbosity;
  options.script_methods = registry.ScriptMethods();
  if (!ParseDefines(arguments.defines, &options.defines)) return kExitUsage;
  host::Project project;
  std::string error;
  if (!host::LoadProject(arguments.path, registry, &project, &error)) {
    PrintError(error);
    LogLoadError(arguments, error);
    return kExitUsage;
  }
  return host::RunProject(project, options);
}

}  // namespace brivant::cli
