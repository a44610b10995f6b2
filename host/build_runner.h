// The reference host's build: validates a loaded project, then runs its
// action tree, and is the IBVActionHost every action talks to while it runs.
//
// Running a node: action-start, Execute (an exception that leaves the action
// is logged as its error and fails it), then, for as long as the action's
// GetNextActionSource asks for it, its children, and action-end after them,
// so a container's events enclose its children's. A failure that is not
// ignored stops the build and travels up: each enclosing container is told
// with nssAborted (a loop ends, a mutex is released) and fails too, unless
// its own IgnoreFailure lets the build go on from there. Message groups an
// action leaves open are closed when its Execute returns, before its children
// run. A stop request fails the build; the action that notices it first logs
// "build stopped on request" as an error.
//
// RunProject is what `brivant run` calls; BuildRunner is the part tests and
// benchmarks drive directly, with their own sink.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/action_registry.h"
#include "host/file_set.h"
#include "host/log_sink.h"
#include "host/options_store.h"
#include "host/project.h"
#include "host/script_engine.h"
#include "host/variable_store.h"
#include "package/action_host.h"

namespace brivant::host {

struct RunOptions {
  LogFormat format = LogFormat::kText;
  bool color = true;  // --no-color clears it; NO_COLOR and a non-terminal stdout also do
  Verbosity verbosity = Verbosity::kNormal;                  // -q, -v
  std::vector<std::pair<std::string, std::string>> defines;  // -D NAME=VALUE in order
  // What the loaded packages registered, offered to scripts.
  std::vector<RegisteredScriptMethod> script_methods;
};

// Validates, then runs the project; writes the log to stdout. Returns 0 when
// the build succeeded, 1 when it failed or was stopped. Makes this process a
// child subreaper; a stopped build ends every descendant it can see before
// it returns. A second Ctrl-C during the run ends every descendant, closes
// the log with build-end and ends the process with status 130.
int RunProject(Project& project, const RunOptions& options);

class BuildRunner final : public IBVActionHost {
 public:
  using Defines = std::vector<std::pair<std::string, std::string>>;

  // `project` and `sink` must outlive the runner. The variables are the
  // project's with their declared values; each define then overrides one
  // (converted to its declared type; a value that does not convert becomes
  // a validation error titled "-D NAME") or creates a String variable. DOSCMD
  // is "/bin/sh" unless the project or a define sets it. The project's file
  // sets are offered as "FileSetObject"s, evaluated when first used, and the
  // options store is the INI file at OptionsFilePath(). Scripts run in a
  // ScriptEngine of this runner.
  BuildRunner(Project& project, LogSink& sink, const Defines& defines = {});
  BuildRunner(const BuildRunner&) = delete;
  BuildRunner& operator=(const BuildRunner&) = delete;

  // Makes `object` findable through the project-object service under `kind`
  // and `name` (names compare case-insensitively). Not owned; must outlive
  // the run.
  void AddProjectObject(const std::string& kind, const std::string& name, IBVProjectObject* object);
  // The script methods the packages registered, callable on action objects
  // in scripts.
  void SetScriptMethods(std::vector<RegisteredScriptMethod> methods) {
    script_engine_.SetScriptMethods(std::move(methods));
  }
  // Replaces the options store actions read and write; not owned.
  void SetOptionsStore(IBVOptionsStore* store) { options_store_ = store; }

  // Validates every enabled action and, when all are valid, runs the tree.
  // Always ends the log with build-end. True when the build succeeded.
  // Call once.
  bool Run();

  // Asks the build to stop: the running action is told (StopSignalled,
  // TerminateAction), Sleep wakes, and no further action starts. Safe from
  // any thread, repeatedly.
  void RequestStop();

  // IBVActionHost.
  void SendMessage(const std::string& text, TStatusTag tag) override;
  void SendProgress(const std::string& text, int percent) override;
  void StartMessageGroup(const std::string& title, TMessageGroupType kind, TStatusTag tag) override;
  void EndMessageGroup(TStatusTag tag) override;
  bool IsInMessageGroup() override { return open_groups_ > 0; }
  std::string ExpandExpression(const std::string& text, bool single_line) override;
  std::string ExpandExpression(const std::string& text, int* replaced, bool fail_on_error) override;
  bool TryExpandExpression(const std::string& property_title, const std::string& text,
                           std::string* result, bool single_line) override;
  Variant GetVariableValue(const std::string& name) override;
  void SetVariable(const std::string& name, const Variant& value) override;
  bool IsVariableDefined(const std::string& name) override;
  void GetVariablesList(TStrings* names, bool include_system) override;
  bool IsStopSignalled() override { return stop_requested_.load(); }
  void Sleep(uint32_t milliseconds) override;
  IBVProjectObjectService* GetProjectObjectService() override { return &objects_; }
  IBVOptionsStore* GetOptionsStore() override { return options_store_; }
  std::string GetProjectFileName() override { return project_file_; }
  Variant ExecuteScript(TCustomBVAction& action, const TBVActionScript& script,
                        ScriptParameters* parameters, std::chrono::milliseconds timeout) override;
  ProcessOutcome RunProcess(const ProcessRequest& request, const ProcessEvents& events) override;
  void RegisterRunEndListener(IBVRunEndListener* listener) override;
  void UnregisterRunEndListener(IBVRunEndListener* listener) override;

 private:
  class ProjectObjects : public IBVProjectObjectService {
   public:
    IBVProjectObject* FindObject(const std::string& kind, const std::string& name) override;
    std::map<std::pair<std::string, std::string>, IBVProjectObject*> objects;
  };

  // How a node's run left the build.
  enum class Outcome { kContinue, kStop };

  struct DefineError {
    std::string title;
    std::string message;
  };

  void ApplyDefines(const Defines& defines);
  bool ReportValidation();
  void PrepareNodes(std::vector<ActionNode>& nodes);
  Outcome RunNodes(std::vector<ActionNode>& nodes);
  Outcome RunNode(ActionNode& node);
  bool ExecuteAction(TCustomBVAction& action);
  bool RunChildren(ActionNode& node, bool* condition_not_met);
  bool AskNextAction(TCustomBVAction& action, TBVNextActionSourceState state, TBVNextAction* next);
  void AbortContainer(TCustomBVAction& action);
  // Logs the exception being handled as an error line of the running action.
  void LogCurrentException();
  void CloseGroupsOpenedSince(int open_groups);
  void ReportStopOnce();
  std::optional<std::string> Resolve(const std::string& name) const;

  Project& project_;
  std::string project_file_;  // absolute; empty without a file
  LogSink& sink_;
  VariableStore variables_;
  std::vector<DefineError> define_errors_;  // reported with the validation
  bool doscmd_is_predefined_ = false;
  std::vector<std::unique_ptr<FileSet>> file_sets_;
  ProjectObjects objects_;
  IniOptionsStore default_options_store_;
  IBVOptionsStore* options_store_;
  ScriptEngine script_engine_;
  int open_groups_ = 0;

  std::vector<IBVRunEndListener*> run_end_listeners_;
  std::atomic<bool> stop_requested_{false};
  bool stop_reported_ = false;
  // The action inside Execute, for a stop request from another thread.
  std::atomic<TCustomBVAction*> running_action_{nullptr};
  std::mutex stop_mutex_;
  std::condition_variable stop_wakeup_;
};

}  // namespace brivant::host
