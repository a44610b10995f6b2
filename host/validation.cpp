#include "host/validation.h"

#include <algorithm>

#include "host/static_checks.h"

namespace brivant::host {
namespace {

class Collector : public IBVActionValidationError {
 public:
  Collector(const ActionNode& node, std::vector<ValidationProblem>* problems)
      : node_(node), problems_(problems) {}
  void AddError(const std::string& property_title, const std::string& message,
                TValidationLevel level) override {
    problems_->push_back(
        ValidationProblem{&node_, node_.title, property_title, message, level, node_.line});
    ++count_;
  }
  int Count() const { return count_; }

 private:
  const ActionNode& node_;
  std::vector<ValidationProblem>* problems_;
  int count_ = 0;
};

void ValidateNodes(const std::vector<ActionNode>& nodes, std::vector<ValidationProblem>* problems) {
  for (const ActionNode& node : nodes) {
    if (!node.enabled) continue;
    Collector collector(node, problems);
    bool valid = node.action->Validate(collector);
    // An action that fails without saying why still stops the build.
    if (!valid && collector.Count() == 0)
      collector.AddError("", "the action reported itself invalid", 0);
    ValidateNodes(node.children, problems);
  }
}

}  // namespace

std::vector<ValidationProblem> ValidateProject(const Project& project,
                                               const std::vector<std::string>& defined_names) {
  std::vector<ValidationProblem> problems;
  ValidateNodes(project.actions, &problems);
  for (ValidationProblem& problem : CheckProjectStatically(project, defined_names))
    problems.push_back(std::move(problem));
  // In the file's order, as a reader goes through it.
  std::stable_sort(
      problems.begin(), problems.end(),
      [](const ValidationProblem& a, const ValidationProblem& b) { return a.line < b.line; });
  return problems;
}

std::string DescribeProblem(const Project& project, const ValidationProblem& problem) {
  std::string text = project.path + ":" + std::to_string(problem.line) + ": ";
  if (problem.warning) text += "warning: ";
  text += problem.action_title + ": ";
  if (!problem.property_title.empty()) text += problem.property_title + ": ";
  return text + problem.message;
}

}  // namespace brivant::host
