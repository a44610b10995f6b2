// Small types of the host contract shared by actions and hosts.
#pragma once

#include <string>
#include <vector>

namespace brivant {

// The host's list of strings (alias, help and hidden lists, variable names).
using TStrings = std::vector<std::string>;

// Status of an action within a build, as the host shows it.
enum TBVActionStatus : int {
  asNotRun = 0,
  asRunning = 1,
  asSucceeded = 2,
  asFailed = 3,
  asFailedIgnored = 4,
  asSkippedDisabled = 5,
  asStopped = 6,
  asConditionNotMet = 9,  // a container whose condition failed; children skipped
};

// When the host asks a container (loop, mutex, file compare, ...) where the
// build goes next.
enum TBVNextActionSourceState : int {
  nssAfterExecute = 0,   // the container itself just ran
  nssAfterChildren = 1,  // its children ran once
  nssAborted = 2,        // a child failed or a stop was requested: leaving now
};

// The host's decision. Ordinals 3 and 4 both leave the container without
// running (more of) its children.
enum TBVNextAction : int {
  naNextSibling = 0,     // no children: go on after the action
  naRunChildren = 1,     // run the children (once more)
  naRepeat = 2,          // another iteration of a loop
  naSkipChildren = 3,    // leave without running the children
  naLeaveContainer = 4,  // leave after the children
};

// The one argument of AddError: how severe a validation problem is. The
// package always passes 0.
using TValidationLevel = int;

// The validation report handed to Validate.
class IBVActionValidationError {
 public:
  virtual ~IBVActionValidationError() = default;
  virtual void AddError(const std::string& property_title, const std::string& message,
                        TValidationLevel level) = 0;
};

}  // namespace brivant
