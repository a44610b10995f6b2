#include "host/build_runner.h"

#include <cctype>
#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "host/expander.h"
#include "host/process_runner.h"
#include "host/validation.h"
#include "package/base_iterator.h"
#include "package/exceptions.h"
#include "package/file_set_base_action.h"
#include "platform/environment.h"
#include "platform/paths.h"
#include "platform/process_tree.h"
#include "platform/signals.h"
#include "platform/terminal.h"

namespace brivant::host {
namespace {

constexpr const char kDosCommandVariable[] = "DOSCMD";
constexpr const char kDefaultDosCommand[] = "/bin/sh";
constexpr const char kStopMessage[] = "build stopped on request";
// How long the programs still running after a stopped build have to end
// after SIGTERM, and how long a second Ctrl-C waits for an event being
// logged before it writes build-end.
constexpr std::chrono::milliseconds kStopGrace{2000};
constexpr std::chrono::milliseconds kQuitLogWait{500};

std::string Lowercase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The action as a loop, or nullptr when it is none. A loop that answers
// naSkipChildren simply had nothing to iterate; only a container's "no"
// means its condition was not met.
TBVBaseIterator* AsLoop(TCustomBVAction& action) {
  auto* iterator = dynamic_cast<TBVBaseIterator*>(&action);
  return iterator != nullptr && iterator->IsLoopAction() ? iterator : nullptr;
}

// The first action of the tree, in project order, with that title.
TCustomBVAction* FindActionByTitle(std::vector<ActionNode>& nodes, std::string_view title) {
  for (ActionNode& node : nodes) {
    if (node.title == title) return node.action.get();
    if (TCustomBVAction* found = FindActionByTitle(node.children, title)) return found;
  }
  return nullptr;
}

TBVActionStatus FinalStatus(bool success, bool condition_not_met, bool stopped, bool ignored) {
  if (success) return condition_not_met ? asConditionNotMet : asSucceeded;
  if (stopped) return asStopped;
  return ignored ? asFailedIgnored : asFailed;
}

// NO_COLOR set to anything but the empty string turns colours off.
bool IsColorOptedOut() {
  std::optional<std::string> no_color = platform::GetEnvironmentVariable("NO_COLOR");
  return no_color && !no_color->empty();
}

}  // namespace

BuildRunner::BuildRunner(Project& project, LogSink& sink, const Defines& defines)
    : project_(project),
      sink_(sink),
      default_options_store_(OptionsFilePath()),
      options_store_(&default_options_store_),
      script_engine_(*this, ScriptLimits{project.script_timeout}) {
  // Absolute now: an action may change the working directory before another
  // asks where the project file is.
  if (!project.path.empty()) project_file_ = platform::AbsoluteNormalPath(project.path);
  for (const ProjectVariable& variable : project.variables)
    variables_.Set(variable.name, variable.value);
  for (const FileSetDefinition& definition : project.file_sets) {
    file_sets_.push_back(std::make_unique<FileSet>(definition));
    AddProjectObject(TFileSetBaseAction::kFileSetObjectKind, definition.name,
                     file_sets_.back().get());
  }
  ApplyDefines(defines);
  script_engine_.SetActionFinder(
      [this](std::string_view title) { return FindActionByTitle(project_.actions, title); });
  if (!variables_.IsDefined(kDosCommandVariable)) {
    variables_.Set(kDosCommandVariable, Variant(kDefaultDosCommand));
    doscmd_is_predefined_ = true;
  }
}

void BuildRunner::ApplyDefines(const Defines& defines) {
  for (const auto& [name, text] : defines) {
    std::optional<Variant> declared = variables_.Get(name);
    if (!declared || declared->Type() == VariantType::kEmpty) {
      variables_.Set(name, Variant(text));
      continue;
    }
    // A declared variable keeps its type, so an Integer stays a number.
    try {
      variables_.Set(name, Variant::FromText(declared->Type(), text));
    } catch (const std::invalid_argument& e) {
      define_errors_.push_back({"-D " + name, e.what()});
    }
  }
}

void BuildRunner::AddProjectObject(const std::string& kind, const std::string& name,
                                   IBVProjectObject* object) {
  objects_.objects[{kind, Lowercase(name)}] = object;
}

IBVProjectObject* BuildRunner::ProjectObjects::FindObject(const std::string& kind,
                                                          const std::string& name) {
  auto it = objects.find({kind, Lowercase(name)});
  return it == objects.end() ? nullptr : it->second;
}

bool BuildRunner::Run() {
  bool success = false;
  try {
    PrepareNodes(project_.actions);
    bool valid = ReportValidation();
    success = valid && RunNodes(project_.actions) == Outcome::kContinue;
  } catch (...) {
    LogCurrentException();
    success = false;
  }
  // A stop fails the build even when it came after the last action.
  if (IsStopSignalled()) {
    ReportStopOnce();
    success = false;
  }
  // A copy: a listener may unregister itself while it is told.
  std::vector<IBVRunEndListener*> listeners = run_end_listeners_;
  for (IBVRunEndListener* listener : listeners) listener->ProjectRunEnded();
  sink_.BuildEnd(success);
  sink_.Flush();
  return success;
}

bool BuildRunner::ReportValidation() {
  for (const DefineError& error : define_errors_)
    sink_.ValidationError(error.title, "", error.message, {});
  // -D has put its variables into the store already.
  std::vector<std::string> defined_names = variables_.Names();
  bool valid = define_errors_.empty();
  for (const ValidationProblem& problem : ValidateProject(project_, defined_names)) {
    if (problem.warning) {
      sink_.ValidationWarning(problem.action_title, problem.property_title, problem.message,
                              {project_.path, problem.line});
      continue;
    }
    sink_.ValidationError(problem.action_title, problem.property_title, problem.message,
                          {project_.path, problem.line});
    valid = false;
  }
  return valid;
}

// Done once before the run, so that running a node costs no string copies.
void BuildRunner::PrepareNodes(std::vector<ActionNode>& nodes) {
  for (ActionNode& node : nodes) {
    TCustomBVAction& action = *node.action;
    action.AttachHost(this);
    action.SetActionLogTitle(node.title);
    action.ResetBuildStatus();
    if (!node.enabled) action.SetActionStatus(asSkippedDisabled);
    PrepareNodes(node.children);
  }
}

BuildRunner::Outcome BuildRunner::RunNodes(std::vector<ActionNode>& nodes) {
  for (ActionNode& node : nodes) {
    if (!node.enabled) continue;
    if (IsStopSignalled()) {
      ReportStopOnce();
      return Outcome::kStop;
    }
    if (RunNode(node) == Outcome::kStop) return Outcome::kStop;
  }
  return Outcome::kContinue;
}

BuildRunner::Outcome BuildRunner::RunNode(ActionNode& node) {
  TCustomBVAction& action = *node.action;
  std::string_view class_name = action.ClassName();
  std::string description;
  std::string description_error;
  try {
    description = action.GetFormattedDescription();
  } catch (const std::exception& e) {
    description_error = e.what();
  }
  bool ignorable = node.ignore_failure && action.GetCanIgnoreFailure();
  sink_.ActionStart(class_name, node.title, description, {project_.path, node.line, ignorable});
  action.SetActionStatus(asRunning);

  bool success = description_error.empty();
  if (!success) SendMessage(description_error, stError);
  int groups_before = open_groups_;
  if (success) success = ExecuteAction(action);
  // Groups belong to the action's own messages; its children start outside them.
  CloseGroupsOpenedSince(groups_before);
  // A container may also say so itself, by its status, while it runs.
  bool condition_not_met = action.GetActionStatus() == asConditionNotMet;
  if (success) success = RunChildren(node, &condition_not_met);

  bool stopped = IsStopSignalled();
  if (stopped) ReportStopOnce();
  bool ignored = !success && !stopped && ignorable;
  action.SetActionStatus(FinalStatus(success, condition_not_met, stopped, ignored));
  sink_.ActionEnd(class_name, node.title, success, ignored);
  return (success || ignored) && !stopped ? Outcome::kContinue : Outcome::kStop;
}

bool BuildRunner::ExecuteAction(TCustomBVAction& action) {
  running_action_.store(&action);
  // RequestStop sets the flag before it reads running_action_, so either it
  // saw this action and tells it, or the flag is seen here and the action
  // never starts. No stop can slip between the two.
  if (IsStopSignalled()) {
    running_action_.store(nullptr);
    return false;
  }
  bool result = false;
  try {
    action.BeforeActionExecute();
    result = action.Execute();
    action.AfterExecute(result);
  } catch (...) {
    LogCurrentException();
    result = false;
  }
  running_action_.store(nullptr);
  return result;
}

bool BuildRunner::RunChildren(ActionNode& node, bool* condition_not_met) {
  TCustomBVAction& action = *node.action;
  if (IsStopSignalled()) {
    // A container that acquired something in Execute must release it.
    AbortContainer(action);
    return node.children.empty();
  }
  TBVNextAction next = node.children.empty() ? naNextSibling : naRunChildren;
  if (!AskNextAction(action, nssAfterExecute, &next)) return false;
  TBVBaseIterator* loop = AsLoop(action);
  if (next == naSkipChildren && loop == nullptr) *condition_not_met = true;
  while (next == naRunChildren || next == naRepeat) {
    if (loop != nullptr)
      sink_.LoopProgress(node.title, loop->GetCurrentIteration(), loop->GetIterationCount());
    if (RunNodes(node.children) == Outcome::kStop || IsStopSignalled()) {
      AbortContainer(action);
      return false;
    }
    next = naLeaveContainer;
    if (!AskNextAction(action, nssAfterChildren, &next)) return false;
  }
  return true;
}

bool BuildRunner::AskNextAction(TCustomBVAction& action, TBVNextActionSourceState state,
                                TBVNextAction* next) {
  try {
    action.GetNextActionSource(state, *next);
    return true;
  } catch (...) {
    LogCurrentException();
  }
  AbortContainer(action);
  return false;
}

void BuildRunner::AbortContainer(TCustomBVAction& action) {
  TBVNextAction next = naLeaveContainer;
  try {
    action.GetNextActionSource(nssAborted, next);
  } catch (...) {
    LogCurrentException();
  }
}

void BuildRunner::LogCurrentException() {
  try {
    throw;
  } catch (const std::exception& e) {
    std::string_view text = e.what();
    SendMessage(text.empty() ? std::string("the action failed with an exception without a message")
                             : std::string(text),
                stError);
  } catch (...) {
    SendMessage("the action failed with an exception that is not an error", stError);
  }
}

void BuildRunner::CloseGroupsOpenedSince(int open_groups) {
  while (open_groups_ > open_groups) EndMessageGroup(stInfo);
}

void BuildRunner::ReportStopOnce() {
  if (stop_reported_) return;
  stop_reported_ = true;
  SendMessage(kStopMessage, stError);
}

void BuildRunner::RequestStop() {
  {
    // Under the lock, so that a Sleep about to wait cannot miss the wakeup.
    std::lock_guard<std::mutex> lock(stop_mutex_);
    stop_requested_.store(true);
  }
  stop_wakeup_.notify_all();
  if (TCustomBVAction* action = running_action_.load()) {
    action->StopSignalled();
    action->TerminateAction();
  }
}

void BuildRunner::Sleep(uint32_t milliseconds) {
  std::unique_lock<std::mutex> lock(stop_mutex_);
  stop_wakeup_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                        [this] { return stop_requested_.load(); });
}

void BuildRunner::SendMessage(const std::string& text, TStatusTag tag) { sink_.Message(tag, text); }

void BuildRunner::RegisterRunEndListener(IBVRunEndListener* listener) {
  run_end_listeners_.push_back(listener);
}

void BuildRunner::UnregisterRunEndListener(IBVRunEndListener* listener) {
  std::erase(run_end_listeners_, listener);
}

void BuildRunner::SendProgress(const std::string& text, int percent) {
  sink_.Progress(text, percent);
}

void BuildRunner::StartMessageGroup(const std::string& title, TMessageGroupType /*kind*/,
                                    TStatusTag /*tag*/) {
  ++open_groups_;
  sink_.GroupStart(title);
}

void BuildRunner::EndMessageGroup(TStatusTag tag) {
  // An unbalanced end would leave the log's groups unbalanced too.
  if (open_groups_ == 0) return;
  --open_groups_;
  sink_.GroupEnd(tag);
}

std::optional<std::string> BuildRunner::Resolve(const std::string& name) const {
  if (std::optional<Variant> value = variables_.Get(name)) return value->ToString();
  return platform::GetEnvironmentVariable(name);
}

std::string BuildRunner::ExpandExpression(const std::string& text, bool /*single_line*/) {
  return ExpandReferences(
      text, [this](const std::string& name) { return Resolve(name); }, /*fail_on_unknown=*/true);
}

std::string BuildRunner::ExpandExpression(const std::string& text, int* replaced,
                                          bool fail_on_error) {
  return ExpandReferences(
      text, [this](const std::string& name) { return Resolve(name); }, fail_on_error, replaced);
}

bool BuildRunner::TryExpandExpression(const std::string& property_title, const std::string& text,
                                      std::string* result, bool single_line) {
  try {
    *result = ExpandExpression(text, single_line);
    return true;
  } catch (const EVariableException& e) {
    SendMessage(ExpansionFailureMessage(property_title, e.what()), stError);
    return false;
  }
}

Variant BuildRunner::GetVariableValue(const std::string& name) {
  std::optional<Variant> value = variables_.Get(name);
  if (!value) throw EVariableException(UndefinedVariableMessage(name));
  return *value;
}

void BuildRunner::SetVariable(const std::string& name, const Variant& value) {
  variables_.Set(name, value);
}

bool BuildRunner::IsVariableDefined(const std::string& name) { return variables_.IsDefined(name); }

void BuildRunner::GetVariablesList(TStrings* names, bool include_system) {
  for (std::string& name : variables_.Names()) {
    if (!include_system && doscmd_is_predefined_ && name == kDosCommandVariable) continue;
    names->push_back(std::move(name));
  }
}

Variant BuildRunner::ExecuteScript(TCustomBVAction& action, const TBVActionScript& script,
                                   ScriptParameters* parameters,
                                   std::chrono::milliseconds timeout) {
  return script_engine_.Run(action, script, parameters, timeout);
}

ProcessOutcome BuildRunner::RunProcess(const ProcessRequest& request, const ProcessEvents& events) {
  // The program may write to our stdout; what we logged must come first.
  sink_.Flush();
  // The lines of one read are logged with one write, flushed before the
  // runner waits again.
  class FlushHold {
   public:
    explicit FlushHold(LogSink& sink) : sink_(sink) {}
    ~FlushHold() { Release(); }
    void Hold() {
      if (!held_) sink_.HoldFlushes(true);
      held_ = true;
    }
    void Release() {
      if (held_) sink_.HoldFlushes(false);
      held_ = false;
    }

   private:
    LogSink& sink_;
    bool held_ = false;
  } hold(sink_);
  ProcessEvents held_events = events;
  held_events.output_line = [&](const std::string& line) {
    hold.Hold();
    if (events.output_line) events.output_line(line);
  };
  return host::RunProcess(request, held_events, [&hold] { hold.Release(); });
}

int RunProject(Project& project, const RunOptions& options) {
  bool terminal = platform::IsStandardOutputTerminal();
  TerminalStyle style;
  style.color = options.color && terminal && !IsColorOptedOut();
  style.live_progress = terminal;
  style.columns = platform::StandardOutputColumns();
  style.verbosity = options.verbosity;
  std::unique_ptr<LogSink> format_sink = MakeLogSink(options.format, std::cout, style);
  ClosableLogSink sink(*format_sink);
  BuildRunner runner(project, sink, options.defines);
  runner.SetScriptMethods(options.script_methods);

  // Orphans of the build's programs then stay ours to find and end.
  if (platform::OsError error = platform::BecomeChildSubreaper()) {
    std::cerr << "warning: programs that leave their parent may outlive a stopped build: "
              << error.Describe() << '\n';
  }
  // Declared after the runner, so it is gone before the runner is.
  auto watcher = platform::StopSignalWatcher::Start(
      [&runner] { runner.RequestStop(); },
      [&sink] {
        platform::EndAllDescendants(std::chrono::milliseconds(0));
        sink.EndFromOutside(kQuitLogWait);
      });
  if (!watcher.IsOk()) {
    // stdout carries only the log; the build can still run, just not stop cleanly.
    std::cerr << "warning: Ctrl-C will end the build abruptly: " << watcher.Error().Describe()
              << '\n';
  }
  bool success = runner.Run();
  // A stopped build leaves nothing of its own running, also not what was
  // started without waiting.
  if (runner.IsStopSignalled()) platform::EndAllDescendants(kStopGrace);
  return success ? 0 : 1;
}

}  // namespace brivant::host
