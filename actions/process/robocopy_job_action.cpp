#include "actions/process/robocopy_job_action.h"

namespace brivant {

const PropertyTable& TBVRobocopyJobAction::Properties() {
  using T = TBVRobocopyJobAction;
  static const PropertyTable table(&TBVRobocopyAction::Properties(),
                                   {Property("JobFiles", &T::job_files_)});
  return table;
}

void TBVRobocopyJobAction::GetPropertyAlias(TStrings& list) const {
  TBVRobocopyAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Robocopy Job]", "JobFiles=Job Files"});
}

bool TBVRobocopyJobAction::GetCommandLine(ICommandLineBuilder& builder) {
  if (!TBVRobocopyAction::GetCommandLine(builder)) return false;
  if (job_files_.empty()) {
    SendMessage(
        "Error : No Robocopy jobs have been specified. To run Robocopy without jobs, use the "
        "\"Robocopy\" action.",
        stError);
    return false;
  }
  for (size_t i = 0; i < job_files_.size(); ++i) {
    std::string job_file;
    if (!TryExpandExpression("Jobfile " + std::to_string(i), job_files_[i], job_file, false))
      return false;
    if (!job_file.empty()) builder.AddArgument("/JOB:", job_file, akPath);
  }
  return true;
}

}  // namespace brivant
