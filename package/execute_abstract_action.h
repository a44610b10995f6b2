// Actions that run external programs. TBVExecuteAbstractAction's Execute asks
// the subclass for the executable, the arguments (through an
// ICommandLineBuilder) and the starting directory, has the host run the
// process, streams its output to the log and hands the exit code to
// InterpretResult. TerminateAction ends the running process (exit code 999).
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "package/command_line_builder.h"
#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class ProcessOutputSpool;

// An action that runs programs with an optional time-out.
class TBVMultiExecAction : public TCustomBVAction {
 public:
  bool GetEnableTimeout() const { return enable_timeout_; }
  void SetEnableTimeout(bool enable) { enable_timeout_ = enable; }
  uint32_t GetTimeoutLength() const { return timeout_length_; }
  // Milliseconds.
  void SetTimeoutLength(uint32_t milliseconds) { timeout_length_ = milliseconds; }

 private:
  bool enable_timeout_ = false;
  uint32_t timeout_length_ = 0;
};

class TBVExecuteAbstractAction : public TBVMultiExecAction {
 public:
  static constexpr int kStillActive = ProcessOutcome::kStillActive;
  static constexpr int kTerminatedExitCode = ProcessOutcome::kTerminated;

  TBVExecuteAbstractAction();
  static const PropertyTable& Properties();

  bool Execute() override;
  void TerminateAction() override;
  bool CanTerminate() override { return true; }
  bool GetTimedOut() const override { return timed_out_; }
  // Whether the runner itself ended the last process, by the time-out or a
  // stop request (its exit code is then 999).
  bool WasEndedByRunner() const { return ended_by_runner_; }

  // Slots of this class, in order.
  virtual std::string GetParametersStrToLog(ICommandLineBuilder& builder);
  // Adds the arguments; false when they could not be built (the process is
  // then not started; the reason is already logged).
  virtual bool GetCommandLine(ICommandLineBuilder& /*builder*/) { return true; }
  virtual std::string GetExecutable() = 0;
  virtual std::string GetStartingDir() { return {}; }
  virtual void BeforeGetCommandLine() {}
  virtual void AfterGetCommandLine() {}
  // False stops the run before the process starts.
  virtual bool BeforeExecute(ICommandLineBuilder& /*builder*/) { return true; }
  // True when the exit code means success.
  virtual bool InterpretResult(int exit_code) { return exit_code == 0; }
  virtual void OnSuccess(int /*exit_code*/) {}
  virtual void OnFailure(int exit_code);
  virtual void OnExeNotFound(const std::string& executable);
  // Captured lines that were not logged live, in blocks of about a megabyte,
  // each just before it is logged.
  virtual void OnProcessOutput(TStrings& /*lines*/) {}
  virtual void OnStdErrData(const std::string& /*data*/) {}
  virtual void OnStdOutData(const std::string& /*data*/) {}
  virtual void SetLogProcessParameters(bool log) { log_process_parameters_ = log; }
  virtual bool GetLogProcessParameters() const { return log_process_parameters_; }
  virtual bool LogWithGroups() const { return true; }
  // Whether the runner logs the command line before starting the process.
  virtual bool GetShowCommandLine() const { return true; }

  // Host fields that subclasses publish.
  bool GetWaitForCompletion() const { return wait_for_completion_; }
  void SetWaitForCompletion(bool wait) { wait_for_completion_ = wait; }
  bool GetCaptureOutput() const { return capture_output_; }
  void SetCaptureOutput(bool capture) { capture_output_ = capture; }
  bool GetHideWindow() const { return hide_window_; }
  void SetHideWindow(bool hide) { hide_window_ = hide; }
  bool GetRedirectStdErr() const { return redirect_stderr_; }
  void SetRedirectStdErr(bool redirect) { redirect_stderr_ = redirect; }
  // May hold variable references; expanded and trimmed when the run starts.
  const std::string& GetInputFile() const { return input_file_; }
  void SetInputFile(const std::string& path) { input_file_ = path; }
  uint32_t GetProcessID() const { return process_id_; }
  bool GetLiveCapture() const { return live_capture_; }
  void SetLiveCapture(bool live) { live_capture_ = live; }

 private:
  void LogSpooledOutput(ProcessOutputSpool& spool);

  bool wait_for_completion_ = true;
  bool capture_output_ = true;
  bool hide_window_ = false;
  bool redirect_stderr_ = true;
  bool live_capture_ = false;
  bool log_process_parameters_ = true;
  std::string input_file_;
  uint32_t process_id_ = 0;
  bool timed_out_ = false;
  bool ended_by_runner_ = false;
  std::atomic<bool> terminate_{false};
};

}  // namespace brivant
