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
};

// Problems in tree order. Disabled actions and their children are skipped.
std::vector<ValidationProblem> ValidateProject(const Project& project);

}  // namespace brivant::host
