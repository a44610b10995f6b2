// "Shell Execute": hands one file to the desktop with a verb, and may wait
// for the started program. The verb open runs `xdg-open FILE`; print runs
// `lp [Parameters] FILE`; other verbs fail with a clear message.
#pragma once

#include <atomic>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVShellExecute : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVShellExecute";
  // How long WaitForCompletion waits, as the action always has.
  static constexpr uint32_t kWaitLimitMs = 60000;
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Shell Execute"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ShellExecute.html"; }
  int GetHelpTopicID() const override { return 3200; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void StopSignalled() override { stop_.store(true); }

  const std::string& GetFileSpec() const { return file_spec_; }
  /// Refuses a name with '*' or '?' (std::invalid_argument with the
  /// designer's message); the old value stays.
  void SetFileSpec(const std::string& file_spec);

 private:
  bool Fail(const std::string& reason);

  std::string file_spec_;
  std::string action_ = "print";
  std::string parameters_;
  std::string working_dir_;
  bool wait_for_completion_ = false;
  std::atomic<bool> stop_{false};
};

}  // namespace brivant
