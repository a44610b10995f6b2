#include "package/custom_bv_action.h"

#include <stdexcept>

#include "package/property_table.h"

namespace brivant {

IBVActionHost& TCustomBVAction::RequireHost() const {
  if (host_ == nullptr)
    throw std::logic_error("action " + std::string(ClassName()) + " used a host service without a host");
  return *host_;
}

std::string TCustomBVAction::GetActionLogTitle() const {
  return log_title_.empty() ? GetActionName() : log_title_;
}

std::string TCustomBVAction::GetStatusText() const {
  switch (status_) {
    case asNotRun:
      return "Not run";
    case asRunning:
      return "Running";
    case asSucceeded:
      return "Succeeded";
    case asFailed:
      return "Failed";
    case asFailedIgnored:
      return "Failed (ignored)";
    case asSkippedDisabled:
      return "Disabled";
    case asStopped:
      return "Stopped";
    case asConditionNotMet:
      return "Condition not met";
  }
  return {};
}

bool TCustomBVAction::IsVariableDefined(const std::string& name) {
  return RequireHost().IsVariableDefined(name);
}

std::string TCustomBVAction::ActionExpandExpression(const std::string& text) {
  return ExpandExpression(text, true);
}

bool TCustomBVAction::IsStopSignalled() {
  return host_ != nullptr && host_->IsStopSignalled();
}

void TCustomBVAction::SetVariable(const std::string& name, const Variant& value) {
  RequireHost().SetVariable(name, value);
}

void TCustomBVAction::SendMessage(const std::string& text, TStatusTag tag) {
  RequireHost().SendMessage(text, tag);
}

void TCustomBVAction::SendProgress(const std::string& text, int percent) {
  RequireHost().SendProgress(text, percent);
}

void TCustomBVAction::StartMessageGroup(const std::string& title, TMessageGroupType kind,
                                        TStatusTag tag) {
  RequireHost().StartMessageGroup(title, kind, tag);
}

void TCustomBVAction::EndMessageGroup() { RequireHost().EndMessageGroup(stInfo); }

void TCustomBVAction::EndMessageGroup(TStatusTag tag) { RequireHost().EndMessageGroup(tag); }

bool TCustomBVAction::IsInMessageGroup() { return RequireHost().IsInMessageGroup(); }

std::string TCustomBVAction::ExpandExpression(const std::string& text, bool single_line) {
  return RequireHost().ExpandExpression(text, single_line);
}

std::string TCustomBVAction::ExpandExpression(const std::string& text, int* replaced,
                                              bool fail_on_error) {
  return RequireHost().ExpandExpression(text, replaced, fail_on_error);
}

bool TCustomBVAction::TryExpandExpression(const std::string& property_title,
                                          const std::string& text, std::string& result,
                                          bool single_line) {
  return RequireHost().TryExpandExpression(property_title, text, &result, single_line);
}

Variant TCustomBVAction::GetVariableValue(const std::string& name) {
  return RequireHost().GetVariableValue(name);
}

void TCustomBVAction::GetVariablesList(TStrings& names, bool include_system) {
  RequireHost().GetVariablesList(&names, include_system);
}

void TCustomBVAction::Sleep(uint32_t milliseconds) { RequireHost().Sleep(milliseconds); }

IBVProjectObjectService* TCustomBVAction::GetProjectObjectService() {
  return RequireHost().GetProjectObjectService();
}

TBVActionScript& TCustomBVAction::AddScript(const std::string& name,
                                            std::vector<std::string> parameter_names) {
  if (TBVActionScript* existing = GetScriptByName(name)) return *existing;
  scripts_.emplace_back(name, std::move(parameter_names));
  return scripts_.back();
}

TBVActionScript* TCustomBVAction::GetScriptByName(const std::string& name) {
  for (TBVActionScript& script : scripts_) {
    if (script.Name() == name) return &script;
  }
  return nullptr;
}

Variant TCustomBVAction::ExecuteScript(TBVActionScript& script, ScriptParameters& parameters,
                                       std::chrono::milliseconds timeout) {
  InitialiseScriptParams(script);
  return RequireHost().ExecuteScript(*this, script, &parameters, timeout);
}

const PropertyTable& TBVAction::Properties() {
  static const PropertyTable table(nullptr, {});
  return table;
}

}  // namespace brivant
