// Validation of a whole project before anything runs: every enabled action,
// children included, is asked to Validate itself.
#pragma once

#include <string>
#include <vector>

#include "host/project.h"

namespace brivant::host {

struct ValidationProblem {
  const ActionNode* node;
  std::string action_title;
  std::string property_title;
  std::string message;
  int level = 0;
  int line = 0;          // of the action, or of the property at fault
  bool warning = false;  // reported, but the build may run
};

// The actions' own problems in tree order, then those of the project as a
// whole (see static_checks.h), with `defined_names` the variables -D sets.
// Disabled actions and their children are skipped.
std::vector<ValidationProblem> ValidateProject(const Project& project,
                                               const std::vector<std::string>& defined_names = {});

// "path:line: [warning: ]title: [property: ]message", as `validate` prints it.
std::string DescribeProblem(const Project& project, const ValidationProblem& problem);

}  // namespace brivant::host
