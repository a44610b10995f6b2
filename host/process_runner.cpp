#include "host/process_runner.h"

#include <chrono>
#include <string>

#include "platform/file_system.h"
#include "platform/process.h"

namespace brivant::host {
namespace {

// live_capture and hide_window need nothing here: every captured line is
// reported as it arrives and the action decides when to log it, and there is
// no window to hide.
platform::ProcessLaunch MakeLaunch(const ProcessRequest& request, const std::string& program) {
  platform::ProcessLaunch launch;
  launch.program = program;
  // The program sees its name as the action gave it, not the PATH match.
  launch.argv.push_back(request.executable);
  launch.argv.insert(launch.argv.end(), request.arguments.begin(), request.arguments.end());
  launch.working_directory = request.start_dir;
  launch.input_path = request.input_file;
  // Output nobody captures goes to /dev/null rather than to our standard
  // output, which may carry a machine-readable log. Standard error that is
  // not redirected stays ours, so the user still sees a program's complaints.
  bool capture = request.wait_for_completion && request.capture_output;
  launch.stdout_mode = capture ? platform::StdOutMode::kCapture : platform::StdOutMode::kDiscard;
  launch.merge_stderr = request.redirect_stderr;
  return launch;
}

ProcessOutcome NotStarted(std::string error,
                          ProcessOutcome::StartFault fault = ProcessOutcome::StartFault::kProgram) {
  ProcessOutcome outcome;
  outcome.error = std::move(error);
  outcome.fault = fault;
  return outcome;
}

// The platform names the path at fault; say which role that path plays.
ProcessOutcome StartFailed(const platform::OsError& error, const ProcessRequest& request) {
  using Fault = ProcessOutcome::StartFault;
  if (!request.start_dir.empty() && error.path == request.start_dir)
    return NotStarted("start directory " + error.Describe(), Fault::kStartDir);
  if (!request.input_file.empty() && error.path == request.input_file)
    return NotStarted("input file " + error.Describe(), Fault::kInputFile);
  return NotStarted(error.Describe());
}

ProcessOutcome StartWithoutWaiting(const platform::ProcessLaunch& launch,
                                   const ProcessRequest& request, const ProcessEvents& events) {
  platform::OsResult<int> pid = platform::StartProcessDetached(launch);
  if (!pid.IsOk()) return StartFailed(pid.Error(), request);
  if (events.started) events.started(static_cast<uint32_t>(pid.Value()));
  ProcessOutcome outcome;
  outcome.started = true;
  outcome.exit_code = ProcessOutcome::kStillActive;
  return outcome;
}

ProcessOutcome RunToEnd(const platform::ProcessLaunch& launch, const ProcessRequest& request,
                        const ProcessEvents& events, const std::function<void()>& lines_delivered) {
  platform::ProcessWatch watch;
  watch.on_started = [&events](int pid) {
    if (events.started) events.started(static_cast<uint32_t>(pid));
  };
  watch.on_line = events.output_line;
  watch.on_lines_delivered = lines_delivered;
  watch.timeout = std::chrono::milliseconds(request.timeout_ms);
  watch.terminate = request.terminate;

  platform::OsResult<platform::ProcessExit> result = platform::RunProcessAndWait(launch, watch);
  if (!result.IsOk()) return StartFailed(result.Error(), request);
  const platform::ProcessExit& exit = result.Value();
  ProcessOutcome outcome;
  outcome.started = true;
  switch (exit.end) {
    case platform::ProcessEnd::kTimedOut:
      outcome.timed_out = true;
      outcome.exit_code = ProcessOutcome::kTerminated;
      break;
    case platform::ProcessEnd::kTerminated:
      outcome.exit_code = ProcessOutcome::kTerminated;
      break;
    case platform::ProcessEnd::kExited:
    case platform::ProcessEnd::kSignalled:
      outcome.exit_code = exit.exit_code;
      break;
  }
  return outcome;
}

}  // namespace

ProcessOutcome RunProcess(const ProcessRequest& request, const ProcessEvents& events,
                          const std::function<void()>& lines_delivered) {
  if (request.executable.empty()) return NotStarted("no program to run was given");
  platform::OsResult<std::string> program = platform::FindExecutable(request.executable);
  if (!program.IsOk()) return NotStarted(program.Error().Describe());
  platform::ProcessLaunch launch = MakeLaunch(request, program.Value());
  if (!request.wait_for_completion) return StartWithoutWaiting(launch, request, events);
  return RunToEnd(launch, request, events, lines_delivered);
}

}  // namespace brivant::host
