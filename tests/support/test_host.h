// The host that unit tests run actions through. It implements the same
// contract as the reference host, with the real variable store and expander,
// and records what an action does: log lines, groups, progress, variables and
// validation errors, so tests assert on them.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/variable_store.h"
#include "package/action_host.h"
#include "package/custom_bv_action.h"

namespace brivant::testing {

struct LoggedMessage {
  TStatusTag tag;
  std::string text;
  friend bool operator==(const LoggedMessage&, const LoggedMessage&) = default;
};

struct ValidationError {
  std::string property_title;
  std::string message;
  TValidationLevel level;
  friend bool operator==(const ValidationError&, const ValidationError&) = default;
};

class TestValidationErrors : public IBVActionValidationError {
 public:
  void AddError(const std::string& property_title, const std::string& message,
                TValidationLevel level) override {
    errors.push_back({property_title, message, level});
  }
  std::vector<ValidationError> errors;
};

class TestHost : public IBVActionHost {
 public:
  // Events in the order they happened, as one readable line each:
  // "stInfo: text", "group-start: title", "group-end: stError",
  // "progress 40: text". Handy for asserting order.
  std::vector<std::string> events;
  std::vector<LoggedMessage> messages;
  std::vector<std::pair<std::string, int>> progress;
  host::VariableStore variables;
  std::atomic<bool> stop_signalled{false};
  int open_groups = 0;
  // What GetProjectFileName answers.
  std::string project_file;
  // Runs a script; tests that need scripts set it.
  std::function<Variant(TCustomBVAction&, const TBVActionScript&, ScriptParameters*)> script_runner;

  // Declares a project variable.
  void Define(const std::string& name, const Variant& value = Variant(std::string()));
  // Attaches the host, runs Validate and returns the errors it reported.
  std::vector<ValidationError> Validate(TCustomBVAction& action);
  // Attaches the host and runs Execute.
  bool Run(TCustomBVAction& action);
  // The texts logged with `tag`, in order.
  std::vector<std::string> Texts(TStatusTag tag) const;
  std::string VariableText(const std::string& name) const;
  void AddProjectObject(const std::string& kind, const std::string& name,
                        IBVProjectObject* object);

  void SendMessage(const std::string& text, TStatusTag tag) override;
  void SendProgress(const std::string& text, int percent) override;
  void StartMessageGroup(const std::string& title, TMessageGroupType kind,
                         TStatusTag tag) override;
  void EndMessageGroup(TStatusTag tag) override;
  bool IsInMessageGroup() override { return open_groups > 0; }
  std::string ExpandExpression(const std::string& text, bool single_line) override;
  std::string ExpandExpression(const std::string& text, int* replaced,
                               bool fail_on_error) override;
  bool TryExpandExpression(const std::string& property_title, const std::string& text,
                           std::string* result, bool single_line) override;
  Variant GetVariableValue(const std::string& name) override;
  void SetVariable(const std::string& name, const Variant& value) override;
  bool IsVariableDefined(const std::string& name) override;
  void GetVariablesList(TStrings* names, bool include_system) override;
  bool IsStopSignalled() override { return stop_signalled; }
  void Sleep(uint32_t milliseconds) override;
  IBVProjectObjectService* GetProjectObjectService() override { return &objects_; }
  IBVOptionsStore* GetOptionsStore() override { return &options_; }
  std::string GetProjectFileName() override { return project_file; }
  Variant ExecuteScript(TCustomBVAction& action, const TBVActionScript& script,
                        ScriptParameters* parameters, std::chrono::milliseconds timeout) override;
  ProcessOutcome RunProcess(const ProcessRequest& request,
                            const ProcessEvents& process_events) override;

 private:
  class Objects : public IBVProjectObjectService {
   public:
    IBVProjectObject* FindObject(const std::string& kind, const std::string& name) override;
    std::map<std::pair<std::string, std::string>, IBVProjectObject*> objects;
  };
  class Options : public IBVOptionsStore {
   public:
    std::string ReadString(const std::string& options_name, const std::string& key,
                           const std::string& default_value) override;
    bool WriteString(const std::string& options_name, const std::string& key,
                     const std::string& value, std::string* error) override;
    std::map<std::pair<std::string, std::string>, std::string> values;
  };
  std::optional<std::string> Resolve(const std::string& name) const;

  Objects objects_;
  Options options_;
};

// A fresh temporary directory, removed with everything in it on destruction.
class ScopedTempDir {
 public:
  ScopedTempDir();
  ~ScopedTempDir();
  ScopedTempDir(const ScopedTempDir&) = delete;
  ScopedTempDir& operator=(const ScopedTempDir&) = delete;
  const std::string& path() const { return path_; }
  // path() + "/" + name.
  std::string Join(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Whole-file helpers for tests; they fail the test on error.
std::string ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::string& bytes);

}  // namespace brivant::testing
