// Shared set-up of the iterator tests: the file action fixture (a temporary
// directory, the recording host, property access by name) plus a loop driver
// that asks the iterator for its next step as the build runner does.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "package/base_iterator.h"
#include "tests/actions/files/file_action_fixture.h"

namespace brivant::testing {

class IteratorTest : public FileActionTest {
 protected:
  std::vector<std::string> Paths(const std::vector<std::string>& names) const {
    std::vector<std::string> paths;
    for (const std::string& name : names) paths.push_back(Path(name));
    return paths;
  }

  // Runs the loop as the host does: Execute, then one pass per iteration, in
  // which `each_pass` stands for the children. Returns the loop variable "F"
  // of each pass; *execute_result gets what Execute returned.
  std::vector<std::string> RunLoop(TBVBaseIterator& iterator,
                                   const std::function<void()>& each_pass = {},
                                   bool* execute_result = nullptr) {
    iterator.SetBVVariable("F");
    std::vector<std::string> values;
    bool executed = host_.Run(iterator);
    if (execute_result != nullptr) *execute_result = executed;
    if (!executed) return values;
    TBVNextAction next = naRunChildren;
    iterator.GetNextActionSource(nssAfterExecute, next);
    while (next == naRunChildren || next == naRepeat) {
      values.push_back(host_.VariableText("F"));
      if (each_pass) each_pass();
      next = naLeaveContainer;
      iterator.GetNextActionSource(nssAfterChildren, next);
    }
    return values;
  }
};

// A host that signals a stop to `action` the moment it logs `trigger` (the
// line an iterator sends as its search begins), as the build runner's stop
// thread would while the search runs.
class StopOnMessageHost : public TestHost {
 public:
  StopOnMessageHost(TCustomBVAction& action, std::string trigger)
      : action_(action), trigger_(std::move(trigger)) {}
  void SendMessage(const std::string& text, TStatusTag tag) override {
    TestHost::SendMessage(text, tag);
    if (text == trigger_) action_.StopSignalled();
  }

 private:
  TCustomBVAction& action_;
  std::string trigger_;
};

}  // namespace brivant::testing
