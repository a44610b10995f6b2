// The services a host offers to the actions it runs. An action never talks to
// a host directly: it calls its own services (SendMessage, ExpandExpression,
// SetVariable, ...) and TCustomBVAction forwards them here. The reference host
// and the unit-test host both implement this interface.
//
// All calls come from the build thread, except IsStopSignalled, which may be
// polled from any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "package/action_script.h"
#include "package/action_types.h"
#include "package/status_tag.h"
#include "package/variant.h"

namespace brivant {

class TCustomBVAction;

// A project object the host can look up by kind and name.
class IBVProjectObject {
 public:
  virtual ~IBVProjectObject() = default;
};

// A project file set: the files matched by its includes minus its excludes.
class IBVFileSet : public IBVProjectObject {
 public:
  // Sorted full paths of the files matched when the set was last evaluated.
  virtual std::vector<std::string> GetFiles() const = 0;
  virtual std::string GetBaseDir() const = 0;
  // Re-evaluates the set against the file system. On failure returns false and
  // fills *error.
  virtual bool Refresh(std::string* error) = 0;
};

class IBVProjectObjectService {
 public:
  virtual ~IBVProjectObjectService() = default;
  // nullptr when the project has no object of that kind and name. Kinds in
  // use: "FileSetObject".
  virtual IBVProjectObject* FindObject(const std::string& kind, const std::string& name) = 0;
};

// Reads and writes the values of one options object (an INI section).
class IBVOptionsStore {
 public:
  virtual ~IBVOptionsStore() = default;
  virtual std::string ReadString(const std::string& options_name, const std::string& key,
                                 const std::string& default_value) = 0;
  // Returns false and fills *error when the store cannot be written.
  virtual bool WriteString(const std::string& options_name, const std::string& key,
                           const std::string& value, std::string* error) = 0;
};

// One external process as TBVExecuteAbstractAction asks the host to run it.
struct ProcessRequest {
  std::string executable;
  // The words the program receives after its own name.
  std::vector<std::string> arguments;
  std::string start_dir;  // empty: the host's current directory
  bool wait_for_completion = true;
  bool capture_output = true;
  bool live_capture = false;
  bool redirect_stderr = true;
  bool hide_window = false;  // accepted; there is no window to hide
  std::string input_file;    // fed to standard input when not empty
  uint32_t timeout_ms = 0;   // 0: no time-out
  // Polled while the process runs; true ends the process group.
  const std::atomic<bool>* terminate = nullptr;
};

struct ProcessOutcome {
  static constexpr int kStillActive = 259;     // started and not waited for
  static constexpr int kTerminated = 999;      // ended by a stop or the time-out
  // What kept a process from starting.
  enum class StartFault { kProgram, kStartDir, kInputFile };
  bool started = false;  // false: could not be started; error says why
  StartFault fault = StartFault::kProgram;
  int exit_code = 0;
  bool timed_out = false;
  std::string error;
};

struct ProcessEvents {
  std::function<void(uint32_t pid)> started;
  // One line of output (without its line break), live or after the end.
  std::function<void(const std::string& line)> output_line;
};

// Told when the host's project run ends, whatever its outcome (the host's
// project-runner message for the end of a run). Called on the build thread.
class IBVRunEndListener {
 public:
  virtual ~IBVRunEndListener() = default;
  virtual void ProjectRunEnded() = 0;
};

class IBVActionHost {
 public:
  virtual ~IBVActionHost() = default;

  // Log.
  virtual void SendMessage(const std::string& text, TStatusTag tag) = 0;
  virtual void SendProgress(const std::string& text, int percent) = 0;
  virtual void StartMessageGroup(const std::string& title, TMessageGroupType kind,
                                 TStatusTag tag) = 0;
  virtual void EndMessageGroup(TStatusTag tag) = 0;
  virtual bool IsInMessageGroup() = 0;

  // Expansion of variable references. Throws EVariableException for an
  // unknown reference. `single_line` is the contract's Boolean flag.
  virtual std::string ExpandExpression(const std::string& text, bool single_line) = 0;
  // The counting form: also returns how many references were replaced. With
  // fail_on_error false, an unknown reference is left as it stands.
  virtual std::string ExpandExpression(const std::string& text, int* replaced,
                                       bool fail_on_error) = 0;
  // As ExpandExpression, but reports a failure itself, naming property_title,
  // and returns false.
  virtual bool TryExpandExpression(const std::string& property_title, const std::string& text,
                                   std::string* result, bool single_line) = 0;

  // Variables. SetVariable and GetVariableValue throw EVariableException for a
  // variable the host cannot create or read.
  virtual Variant GetVariableValue(const std::string& name) = 0;
  virtual void SetVariable(const std::string& name, const Variant& value) = 0;
  virtual bool IsVariableDefined(const std::string& name) = 0;
  virtual void GetVariablesList(TStrings* names, bool include_system) = 0;

  // Stop requests and waiting.
  virtual bool IsStopSignalled() = 0;
  virtual void Sleep(uint32_t milliseconds) = 0;

  virtual IBVProjectObjectService* GetProjectObjectService() = 0;
  virtual IBVOptionsStore* GetOptionsStore() = 0;
  // The path of the project file being run, as the host was given it; empty
  // when there is none (a designer, a test). Actions that delete trees keep
  // away from it.
  virtual std::string GetProjectFileName() { return {}; }

  // Runs a script with the action as "Action" and the given parameters.
  // Returns the script's result; throws EFailAction when the script fails,
  // also when it runs longer than `timeout`. A zero `timeout` means the
  // project's script time-out (60 seconds unless the project sets one); an
  // action with a time-out property of its own passes it here.
  virtual Variant ExecuteScript(
      TCustomBVAction& action, const TBVActionScript& script, ScriptParameters* parameters,
      std::chrono::milliseconds timeout = std::chrono::milliseconds(0)) = 0;

  // The listener hears the end of this host's run until it is unregistered;
  // it must stay valid until then. A host without runs may ignore both.
  virtual void RegisterRunEndListener(IBVRunEndListener* /*listener*/) {}
  virtual void UnregisterRunEndListener(IBVRunEndListener* /*listener*/) {}

  // Runs an external process for TBVExecuteAbstractAction.
  virtual ProcessOutcome RunProcess(const ProcessRequest& request,
                                    const ProcessEvents& events) = 0;
};

}  // namespace brivant
