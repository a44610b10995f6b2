// TBVBaseIterator: a loop action. The host runs its children once per
// iteration. The action builds its whole item list in BeforeFirstIteration and
// announces the count with SetIterationCount; at the start of each iteration
// the base sets the loop variable (BVVariable) to GetCurrentValue; after each
// pass it calls AfterEachIteration, and AfterLastIteration when the loop ends
// for any reason (done, ExitLoop, a failed child or a stop).
//
// Driving, as the host sees it: Execute (BeforeFirstIteration), then
// GetNextActionSource(nssAfterExecute) answers naRunChildren or
// naSkipChildren; after each pass GetNextActionSource(nssAfterChildren)
// answers naRepeat or naLeaveContainer; nssAborted ends the loop.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVBaseIterator : public TCustomBVAction {
 public:
  static const PropertyTable& Properties();
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override;
  void ResetBuildStatus() override;
  std::string GetStatusText() const override;
  void GetHiddenProperties(TStrings& list) const override;

  // Slots of this class, in order.
  virtual void SetBVVariable(const std::string& name) { bv_variable_ = name; }
  // The value of the current iteration (1-based GetCurrentIteration).
  virtual std::string GetCurrentValue() = 0;
  virtual bool NoMoreIterations() const;
  // Builds the item list. False fails the loop action (the reason is logged);
  // EIteratorException may be thrown with the reason instead.
  virtual bool BeforeFirstIteration() = 0;
  virtual void AfterLastIteration() {}
  virtual void AfterEachIteration() {}
  virtual bool IsLoopAction() const { return true; }

  // Loop bookkeeping.
  const std::string& GetBVVariable() const { return bv_variable_; }
  void Reset();
  int GetIterationCount() const { return iteration_count_; }
  void SetIterationCount(int count) { iteration_count_ = count; }
  // 1-based while the loop runs; 0 before the first iteration.
  int GetCurrentIteration() const { return current_iteration_; }
  // Ends the loop after the current pass.
  void ExitLoop() { exit_requested_ = true; }

 private:
  void StartIteration();
  void FinishLoop();

  std::string bv_variable_;
  int iteration_count_ = 0;
  int current_iteration_ = 0;
  bool exit_requested_ = false;
  bool loop_open_ = false;
};

}  // namespace brivant
