// Mistakes in a project file that no action's own Validate can see, because
// they are about the project as a whole: references to variables nothing
// defines, loops without a variable, file sets the project does not declare.
// They are found from the file alone, before anything runs, and name the
// line and the property where they stand.
#pragma once

#include <string>
#include <vector>

#include "host/validation.h"

namespace brivant::host {

/// The problems of `project`'s enabled actions, in tree order. Known variables
/// are the project's, `defined_names` (-D), the environment's, and those that
/// an earlier action names in an output property (a TVariableName property,
/// a loop variable). A reference to any other is a warning only: a script may
/// create the variable at run time. So is a loop without a variable (a loop
/// may just repeat); a file set the project does not declare is an error.
std::vector<ValidationProblem> CheckProjectStatically(
    const Project& project, const std::vector<std::string>& defined_names);

}  // namespace brivant::host
