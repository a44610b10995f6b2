// TCustomBVAction: the base of every action. It declares the host's virtual
// operations in the host's slot order (the ones an action does not override
// have default bodies) and offers the services an action calls on itself,
// which forward to the IBVActionHost the host attached before running it.
//
// Life of a run: the host creates the action (its constructor sets property
// defaults), applies the stored properties through the property table, calls
// Validate, attaches itself with AttachHost and calls Execute on the build
// thread. Only TerminateAction, CanTerminate, StopSignalled and
// IsStopSignalled may be called from another thread while Execute runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "package/action_host.h"
#include "package/action_script.h"
#include "package/action_types.h"
#include "package/status_tag.h"
#include "package/variant.h"
#include "package/xml_object.h"

namespace brivant {

class IBVActionContext;
class IBVAction;

class TCustomBVAction : public TOXXMLObject {
 public:
  // The host's virtual constructor `Create`: derived constructors call this
  // one, then set their own property defaults.
  TCustomBVAction() = default;

  // Slots 2 to 67, in order.
  virtual void BeforeActionExecute() {}
  virtual void AfterExecute(bool /*success*/) {}
  virtual void SetActionTypeID(const std::string& /*id*/) {}
  virtual void BeforeDeletion() {}
  // True when the action succeeded. Failures are logged with stError first.
  virtual bool Execute() = 0;
  virtual std::string GetActionLogTitle() const;
  virtual void SetActionLogTitle(const std::string& title) { log_title_ = title; }
  virtual void SetActionStatus(TBVActionStatus status) { status_ = status; }
  virtual TCustomBVAction* GetObjectImplmentation() { return this; }
  virtual bool GetCanHaveScripts() const { return !scripts_.empty(); }
  virtual bool GetCanIgnoreFailure() const { return true; }
  virtual bool GetIsFlowControlAction() const { return false; }
  virtual bool GetIsErrorFatal() const { return false; }
  virtual std::string GetStatusText() const;
  virtual void ResetBuildStatus() { status_ = asNotRun; }
  virtual void Clear() {}
  virtual int GetImageIndex() const { return -1; }
  // Asked after Execute and after each pass over the children of an action
  // that has children. `next` arrives holding the host's default decision.
  virtual void GetNextActionSource(TBVNextActionSourceState /*state*/, TBVNextAction& /*next*/) {}
  virtual IBVAction* GetNextAction(IBVActionContext* /*context*/, IBVAction* /*current*/) {
    return nullptr;
  }
  virtual std::string InternalGetActionName() const { return GetActionName(); }
  virtual bool ShowInCodeComplete(void* /*info*/) { return true; }
  virtual bool ShowInCodeCompleteEx(const std::string& /*name*/, const std::string& /*kind*/) {
    return true;
  }
  // The one-line text shown for the action in the project tree.
  virtual std::string GetFormattedDescription() const { return GetActionName(); }
  virtual void GetNonSearchProperties(TStrings& /*list*/) const {}
  // Reports each problem with one AddError; true when there was none. Never
  // expands variables and never throws.
  virtual bool Validate(IBVActionValidationError& /*errors*/) { return true; }
  virtual void GetHiddenProperties(TStrings& /*list*/) const {}
  virtual void GetPropertyHelp(TStrings& /*list*/) const {}
  virtual void GetPropertyAlias(TStrings& /*list*/) const {}
  virtual void GetReadOnlyProperties(TStrings& /*list*/) const {}
  virtual std::string GetDefaultPropertyName() const { return {}; }
  virtual void InitialiseScriptParams(TBVActionScript& /*script*/) {}
  virtual bool GetIsPausingAfterRun() const { return false; }
  virtual void SkipPause() {}
  virtual void StartAction(IBVActionContext* /*context*/) {}
  virtual void EndAction(bool /*success*/) {}
  virtual std::string GetObjectLockID() const { return {}; }
  virtual std::string EncryptString(const std::string& text, const std::string& /*key*/) {
    return text;
  }
  virtual std::string DecryptString(const std::string& text, const std::string& /*key*/) {
    return text;
  }
  // The host tells the action that a stop was requested (any thread).
  virtual void StopSignalled() {}
  virtual bool IsVariableDefined(const std::string& name);
  // Asks a running action to stop as soon as it can (any thread).
  virtual void TerminateAction() {}
  virtual bool CanTerminate() { return false; }
  virtual std::string GetQuickHelpFilename() const { return {}; }
  virtual int GetHelpTopicID() const { return 0; }
  virtual std::string GetActionPackage() const { return "bvstdactions"; }
  virtual bool GetTimedOut() const { return false; }
  virtual std::string GetErrors() const { return {}; }
  virtual std::string GetErrorActionDescription() const { return GetFormattedDescription(); }
  virtual std::string GetActionType() const { return std::string(ClassName()); }
  virtual bool CanRunUnderAsync() const { return false; }
  virtual std::string GetOriginalActionID() const { return original_id_; }
  virtual void SetOriginalActionID(const std::string& id) { original_id_ = id; }
  virtual bool ResolveVariable(const std::string& /*name*/, bool /*local_only*/,
                               Variant& /*value*/) {
    return false;
  }
  virtual void CollectLocalVariables(TStrings& /*list*/, bool /*values*/, bool /*recurse*/) {}
  virtual bool GetLocalVariableValue(const std::string& /*name*/, Variant& /*value*/) {
    return false;
  }
  virtual void SetLocalVariableValue(const std::string& /*name*/, const Variant& /*value*/) {}
  virtual void ResetLocalVariables() {}
  virtual void Updated() {}
  virtual std::string ActionExpandExpression(const std::string& text);
  virtual std::string GetCopyRight() const { return {}; }
  virtual bool IsComment() const { return false; }
  // The display name of the action type ("Copy File(s)").
  virtual std::string GetActionName() const = 0;
  // Space-separated search words for the action palette.
  virtual std::string GetActionKeywords() const { return {}; }
  virtual bool IsStopSignalled();
  virtual void SetVariable(const std::string& name, const Variant& value);
  virtual bool CanImpersonateUser() const { return false; }
  // Designer operation outside the slot list above: the project renamed
  // variables, one "OldName=NewName" line each (names compare ignoring case);
  // an action that names variables in a list rewrites those entries.
  virtual void RenameVariableReference(const TStrings& /*renames*/) {}

  // The host that runs the action; must outlive the run. Services called
  // without a host throw std::logic_error.
  void AttachHost(IBVActionHost* host) { host_ = host; }
  IBVActionHost* Host() const { return host_; }
  TBVActionStatus GetActionStatus() const { return status_; }

  // Services an action calls on itself.
  void SendMessage(const std::string& text, TStatusTag tag);
  void SendProgress(const std::string& text, int percent);
  void StartMessageGroup(const std::string& title, TMessageGroupType kind = 0,
                         TStatusTag tag = stInfo);
  void EndMessageGroup();
  void EndMessageGroup(TStatusTag tag);
  bool IsInMessageGroup();
  std::string ExpandExpression(const std::string& text, bool single_line);
  std::string ExpandExpression(const std::string& text, int* replaced, bool fail_on_error);
  bool TryExpandExpression(const std::string& property_title, const std::string& text,
                           std::string& result, bool single_line);
  Variant GetVariableValue(const std::string& name);
  void GetVariablesList(TStrings& names, bool include_system);
  void Sleep(uint32_t milliseconds);
  IBVProjectObjectService* GetProjectObjectService();

  // Declares a script event with its parameter names (in the constructor).
  TBVActionScript& AddScript(const std::string& name, std::vector<std::string> parameter_names);
  // nullptr when the action declares no such script.
  TBVActionScript* GetScriptByName(const std::string& name);
  const std::vector<TBVActionScript>& Scripts() const { return scripts_; }
  // A zero `timeout`: the project's script time-out (IBVActionHost).
  Variant ExecuteScript(TBVActionScript& script, ScriptParameters& parameters,
                        std::chrono::milliseconds timeout = std::chrono::milliseconds(0));

 protected:
  IBVActionHost& RequireHost() const;

 private:
  IBVActionHost* host_ = nullptr;
  std::string log_title_;
  std::string original_id_;
  TBVActionStatus status_ = asNotRun;
  std::vector<TBVActionScript> scripts_;
};

// The concrete host action from which the simple actions derive directly.
class TBVAction : public TCustomBVAction {
 public:
  static const PropertyTable& Properties();
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
  // Designer flags of the action type; the command-line host does not use them.
  virtual int GetFlags() const { return 0; }
};

}  // namespace brivant
