// The host side of TBVExecuteAbstractAction: starts one external process as a
// ProcessRequest describes it and reports its output and exit code.
#pragma once

#include <functional>

#include "package/action_host.h"

namespace brivant::host {

// Runs the process. Not waiting reports exit code 259 as soon as it started;
// a time-out or request->terminate ends the whole process group and reports
// 999. Never leaves a zombie: a process not waited for is reaped in the
// background. outcome.started is false, with the OS error text, when the
// program could not be started.
// `lines_delivered`, when set, is called after the lines of each read of the
// program's output have gone to events.output_line.
ProcessOutcome RunProcess(const ProcessRequest& request, const ProcessEvents& events,
                          const std::function<void()>& lines_delivered = {});

}  // namespace brivant::host
