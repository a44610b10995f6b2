#include "package/execute_abstract_action.h"

#include <string>
#include <vector>

#include "package/process_output_spool.h"
#include "package/string_utils.h"

namespace brivant {

TBVExecuteAbstractAction::TBVExecuteAbstractAction() = default;

const PropertyTable& TBVExecuteAbstractAction::Properties() {
  // The host fields are published by each subclass in its own order.
  static const PropertyTable table(nullptr, {});
  return table;
}

std::string TBVExecuteAbstractAction::GetParametersStrToLog(ICommandLineBuilder& builder) {
  return builder.GetParametersStr();
}

void TBVExecuteAbstractAction::OnFailure(int exit_code) {
  SendMessage("Program failed with exit code " + std::to_string(exit_code), stError);
}

void TBVExecuteAbstractAction::OnExeNotFound(const std::string& executable) {
  if (executable.empty()) {
    SendMessage("No program to execute was given", stError);
    return;
  }
  SendMessage("Unable to find or execute program: " + executable, stError);
}

void TBVExecuteAbstractAction::TerminateAction() { terminate_ = true; }

void TBVExecuteAbstractAction::LogSpooledOutput(ProcessOutputSpool& spool) {
  if (spool.IsEmpty()) return;
  if (LogWithGroups()) StartMessageGroup("Program output");
  std::string error;
  bool complete = spool.ForEachBlock(
      [this](TStrings& lines) {
        OnProcessOutput(lines);
        std::string text;
        for (size_t i = 0; i < lines.size(); ++i) {
          if (i > 0) text += '\n';
          text += lines[i];
        }
        SendMessage(text, stInfo);
      },
      &error);
  if (!complete) SendMessage(error, stError);
  if (LogWithGroups()) EndMessageGroup(complete ? stInfo : stError);
}

bool TBVExecuteAbstractAction::Execute() {
  timed_out_ = false;
  ended_by_runner_ = false;
  terminate_ = false;
  process_id_ = 0;

  TCommandLineBuilder builder;
  if (!BeforeExecute(builder)) return false;
  std::string executable = GetExecutable();
  BeforeGetCommandLine();
  if (!GetCommandLine(builder)) return false;
  AfterGetCommandLine();
  std::string start_dir = GetStartingDir();
  if (executable.empty()) {
    OnExeNotFound(executable);
    return false;
  }
  std::string input_file;
  if (!TryExpandExpression("Input File", input_file_, input_file, true)) return false;
  input_file = Trim(input_file);
  if (GetShowCommandLine() && GetLogProcessParameters()) {
    std::string parameters = GetParametersStrToLog(builder);
    SendMessage("Executing: " + executable + (parameters.empty() ? "" : " " + parameters), stInfo);
  }

  ProcessRequest request;
  request.executable = executable;
  request.arguments = builder.GetArguments();
  request.start_dir = start_dir;
  request.wait_for_completion = wait_for_completion_;
  request.capture_output = capture_output_ && wait_for_completion_;
  request.live_capture = live_capture_;
  request.redirect_stderr = redirect_stderr_;
  request.hide_window = hide_window_;
  request.input_file = input_file;
  request.timeout_ms = GetEnableTimeout() ? GetTimeoutLength() : 0;
  request.terminate = &terminate_;

  // A stop that came before the flag was reset must still end the program.
  if (IsStopSignalled()) terminate_ = true;

  bool live = request.capture_output && live_capture_;
  ProcessOutputSpool spool;
  ProcessEvents events;
  events.started = [this](uint32_t pid) { process_id_ = pid; };
  events.output_line = [&](const std::string& line) {
    if (live) {
      SendMessage(line, stInfo);
    } else {
      spool.Add(line);
    }
  };

  ProcessOutcome outcome = RequireHost().RunProcess(request, events);
  if (!outcome.started) {
    // A missing start directory or input file is no missing program.
    if (outcome.fault == ProcessOutcome::StartFault::kProgram) {
      OnExeNotFound(executable);
    } else {
      SendMessage("Unable to start program: " + executable, stError);
    }
    if (!outcome.error.empty()) SendMessage("Error reason: " + outcome.error, stError);
    return false;
  }
  timed_out_ = outcome.timed_out;
  ended_by_runner_ = outcome.exit_code == kTerminatedExitCode;
  LogSpooledOutput(spool);

  bool success = InterpretResult(outcome.exit_code);
  if (success) {
    OnSuccess(outcome.exit_code);
  } else {
    OnFailure(outcome.exit_code);
  }
  return success;
}

}  // namespace brivant
