#include "actions/process/shell_execute.h"

#include <chrono>
#include <stdexcept>
#include <vector>

#include "package/command_line_builder.h"
#include "package/string_utils.h"
#include "platform/process.h"

namespace brivant {

const PropertyTable& TBVShellExecute::Properties() {
  using T = TBVShellExecute;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("FileSpec", &T::GetFileSpec, &T::SetFileSpec),
          Property("Action", &T::action_).Default("print"),
          Property("Parameters", &T::parameters_),
          Property("WorkingDir", &T::working_dir_),
          Property("WaitForCompletion", &T::wait_for_completion_).Default("False"),
      });
  return table;
}

void TBVShellExecute::SetFileSpec(const std::string& file_spec) {
  if (file_spec == file_spec_) return;
  if (file_spec.find_first_of("*?") != std::string::npos)
    throw std::invalid_argument(
        "Wildcards are not allowed.  Use with the FileIterator action to perform action on "
        "multiple files.");
  file_spec_ = file_spec;
}

std::string TBVShellExecute::GetFormattedDescription() const {
  return GetActionName() + " [ " + action_ + " " + file_spec_ + " ]";
}

bool TBVShellExecute::Validate(IBVActionValidationError& errors) {
  if (!file_spec_.empty()) return true;
  errors.AddError("Filename", "A filename has not been specified", 0);
  return false;
}

bool TBVShellExecute::Fail(const std::string& reason) {
  SendMessage("ShellExecute Failed with error: " + reason, stError);
  return false;
}

bool TBVShellExecute::Execute() {
  stop_.store(false);
  std::string file = ExpandExpression(file_spec_, true);
  std::string parameters = ExpandExpression(parameters_, true);
  std::string directory = ExpandExpression(working_dir_, true);
  if (!platform::FileExists(file) && !platform::DirectoryExists(file)) {
    SendMessage("File does not exist: " + file_spec_, stError);
    return false;
  }
  // The desktop's opener takes the file alone; the print spooler takes its
  // options before the files.
  std::vector<std::string> argv;
  if (SameText(action_, "open")) {
    argv = {"xdg-open", file};
  } else if (SameText(action_, "print")) {
    argv = {"lp"};
    for (std::string& word : SplitWindowsCommandLine(parameters)) argv.push_back(std::move(word));
    argv.push_back(file);
  } else {
    return Fail("the verb '" + action_ + "' is not supported; use open or print");
  }
  auto program = platform::FindExecutable(argv.front());
  if (!program.IsOk()) return Fail(program.Error().Describe());
  platform::ProcessLaunch launch{
      program.Value(), argv, directory, "", platform::StdOutMode::kCapture, /*merge_stderr=*/true};
  if (!wait_for_completion_) {
    auto started = platform::StartProcessDetached(launch);
    return started.IsOk() || Fail(started.Error().Describe());
  }
  std::string last_line;
  platform::ProcessWatch watch;
  watch.on_line = [&last_line](const std::string& line) {
    if (!line.empty()) last_line = line;
  };
  watch.timeout = std::chrono::milliseconds(kWaitLimitMs);
  watch.terminate = &stop_;
  auto ended = platform::RunProcessAndWait(launch, watch);
  if (!ended.IsOk()) return Fail(ended.Error().Describe());
  if (ended.Value().end == platform::ProcessEnd::kTimedOut) {
    SendMessage("Timed Out waiting to " + action_ + " " + file, stError);
    return false;
  }
  if (ended.Value().end == platform::ProcessEnd::kExited && ended.Value().exit_code == 0)
    return true;
  return Fail(argv.front() + " ended with status " + std::to_string(ended.Value().exit_code) +
              (last_line.empty() ? "" : ": " + last_line));
}

}  // namespace brivant
