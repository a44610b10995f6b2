#include "host/validation.h"

namespace brivant::host {
namespace {

class Collector : public IBVActionValidationError {
 public:
  Collector(const ActionNode& node, std::vector<ValidationProblem>* problems)
      : node_(node), problems_(problems) {}
  void AddError(const std::string& property_title, const std::string& message,
                TValidationLevel level) override {
    problems_->push_back(ValidationProblem{&node_, node_.title, property_title, message, level});
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

std::vector<ValidationProblem> ValidateProject(const Project& project) {
  std::vector<ValidationProblem> problems;
  ValidateNodes(project.actions, &problems);
  return problems;
}

}  // namespace brivant::host
