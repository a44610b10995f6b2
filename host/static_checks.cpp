#include "host/static_checks.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "host/expander.h"
#include "host/spelling.h"
#include "package/base_iterator.h"
#include "package/property_table.h"
#include "platform/environment.h"

namespace brivant::host {
namespace {

constexpr std::string_view kVariableNameType = "TVariableName";
constexpr std::string_view kFileSetNameProperty = "FileSetName";

std::string Lowercase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

bool HasReference(std::string_view text) {
  return text.find('%') != std::string_view::npos || text.find("$(") != std::string_view::npos;
}

class Checker {
 public:
  Checker(const Project& project, const std::vector<std::string>& defined_names,
          std::vector<ValidationProblem>* problems)
      : problems_(problems) {
    for (const ProjectVariable& variable : project.variables) Know(variable.name);
    for (const std::string& name : defined_names) Know(name);
    for (const FileSetDefinition& file_set : project.file_sets) file_sets_.push_back(file_set.name);
  }

  void CheckNodes(const std::vector<ActionNode>& nodes) {
    for (const ActionNode& node : nodes) {
      if (!node.enabled) continue;
      CheckReferences(node);
      CheckFileSet(node);
      CheckLoopVariable(node);
      LearnOutputs(node);
      CheckNodes(node.children);
    }
  }

 private:
  void Know(const std::string& name) {
    if (name.empty()) return;
    std::string key = Lowercase(name);
    if (std::find(known_keys_.begin(), known_keys_.end(), key) != known_keys_.end()) return;
    known_keys_.push_back(key);
    known_.push_back(name);
  }

  bool IsKnown(const std::string& name) const {
    std::string key = Lowercase(name);
    return std::find(known_keys_.begin(), known_keys_.end(), key) != known_keys_.end() ||
           platform::GetEnvironmentVariable(name).has_value();
  }

  void Add(const ActionNode& node, int line, std::string_view property, std::string message,
           bool warning) {
    ValidationProblem problem{&node, node.title, std::string(property), std::move(message), 0};
    problem.line = line;
    problem.warning = warning;
    problems_->push_back(std::move(problem));
  }

  // The expander itself finds the references, so the check reads them
  // exactly as a run would.
  void CheckReferences(const ActionNode& node) {
    for (const PropertySource& source : node.properties) {
      if (!HasReference(source.text)) continue;
      std::vector<std::string> unknown;
      ExpandReferences(
          source.text,
          [&](const std::string& name) -> std::optional<std::string> {
            if (IsKnown(name)) return "";
            if (std::find(unknown.begin(), unknown.end(), name) == unknown.end())
              unknown.push_back(name);
            return std::nullopt;
          },
          /*fail_on_unknown=*/false);
      std::vector<std::string_view> candidates(known_.begin(), known_.end());
      for (const std::string& name : unknown)
        Add(node, source.line, source.name,
            "reference to undefined variable '" + name + "'" + DidYouMean(name, candidates),
            /*warning=*/true);
    }
  }

  void CheckFileSet(const ActionNode& node) {
    for (const PropertySource& source : node.properties) {
      if (Lowercase(source.name) != Lowercase(kFileSetNameProperty)) continue;
      if (source.text.empty() || HasReference(source.text)) continue;
      bool declared = std::any_of(file_sets_.begin(), file_sets_.end(), [&](std::string_view name) {
        return Lowercase(name) == Lowercase(source.text);
      });
      if (declared) continue;
      Add(node, source.line, source.name,
          "file set '" + source.text + "' is not declared in the project" +
              DidYouMean(source.text, file_sets_),
          /*warning=*/false);
    }
  }

  void CheckLoopVariable(const ActionNode& node) {
    const auto* loop = dynamic_cast<const TBVBaseIterator*>(node.action.get());
    if (loop == nullptr || !loop->GetBVVariable().empty()) return;
    // Some loops set variables of their own (an INI loop's name and value);
    // the last one a loop publishes is the name its users write.
    std::string_view property = "BVVariable";
    for (const PropertyInfo& row : node.action->GetPropertyTable().Rows()) {
      if (row.type_name != kVariableNameType) continue;
      PropertyValue value = row.get(*node.action);
      const auto* name = std::get_if<std::string>(&value);
      if (name != nullptr && !name->empty()) return;
      property = row.name;
    }
    Add(node, node.line, property,
        "the loop sets no variable, so its actions cannot tell one pass from the next",
        /*warning=*/true);
  }

  void LearnOutputs(const ActionNode& node) {
    if (const auto* loop = dynamic_cast<const TBVBaseIterator*>(node.action.get()))
      Know(loop->GetBVVariable());
    for (const PropertyInfo& row : node.action->GetPropertyTable().Rows()) {
      if (row.type_name != kVariableNameType) continue;
      PropertyValue value = row.get(*node.action);
      if (const auto* name = std::get_if<std::string>(&value)) Know(*name);
    }
  }

  std::vector<ValidationProblem>* problems_;
  std::vector<std::string> known_;
  std::vector<std::string> known_keys_;  // lower case, beside known_
  std::vector<std::string_view> file_sets_;
};

}  // namespace

std::vector<ValidationProblem> CheckProjectStatically(
    const Project& project, const std::vector<std::string>& defined_names) {
  std::vector<ValidationProblem> problems;
  Checker(project, defined_names, &problems).CheckNodes(project.actions);
  return problems;
}

}  // namespace brivant::host
