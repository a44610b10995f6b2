#include "package/base_iterator.h"

#include <utility>

namespace brivant {

const PropertyTable& TBVBaseIterator::Properties() {
  static const PropertyTable table(
      nullptr, {Property("BVVariable", &TBVBaseIterator::GetBVVariable, &TBVBaseIterator::SetBVVariable)
                    .TypeName("TVariableName")});
  return table;
}

void TBVBaseIterator::GetHiddenProperties(TStrings& list) const {
  TCustomBVAction::GetHiddenProperties(list);
  list.push_back("BVVariable");
}

void TBVBaseIterator::Reset() {
  iteration_count_ = 0;
  current_iteration_ = 0;
  exit_requested_ = false;
}

bool TBVBaseIterator::NoMoreIterations() const {
  return exit_requested_ || current_iteration_ >= iteration_count_;
}

bool TBVBaseIterator::Execute() {
  if (loop_open_) FinishLoop();
  Reset();
  if (!BeforeFirstIteration()) return false;
  loop_open_ = true;
  return true;
}

void TBVBaseIterator::StartIteration() {
  ++current_iteration_;
  // Asked even without a loop variable: an iterator may deliver through
  // variables of its own there (the INI-file iterator does).
  std::string value = GetCurrentValue();
  if (!bv_variable_.empty()) SetVariable(bv_variable_, Variant(std::move(value)));
}

void TBVBaseIterator::FinishLoop() {
  loop_open_ = false;
  AfterLastIteration();
}

void TBVBaseIterator::GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) {
  if (!loop_open_) return;
  switch (state) {
    case nssAfterExecute:
      if (NoMoreIterations() || IsStopSignalled()) {
        FinishLoop();
        next = naSkipChildren;
        return;
      }
      StartIteration();
      next = naRunChildren;
      return;
    case nssAfterChildren:
      AfterEachIteration();
      if (NoMoreIterations() || IsStopSignalled()) {
        FinishLoop();
        next = naLeaveContainer;
        return;
      }
      StartIteration();
      next = naRepeat;
      return;
    case nssAborted:
      FinishLoop();
      next = naLeaveContainer;
      return;
  }
}

void TBVBaseIterator::ResetBuildStatus() {
  TCustomBVAction::ResetBuildStatus();
  Reset();
}

std::string TBVBaseIterator::GetStatusText() const {
  if (current_iteration_ == 0) return TCustomBVAction::GetStatusText();
  return "Iteration " + std::to_string(current_iteration_) + " of " +
         std::to_string(iteration_count_);
}

}  // namespace brivant
