// "Close Process": asks a running process of this user, given by its id, to
// end, and may terminate it when it does not within TimeoutLimit seconds.
// A live process of the user stands for the main window the request was
// posted to: WM_CLOSE is SIGTERM, WM_QUIT SIGINT, termination SIGKILL.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TBVCloseProcessAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVCloseProcessAction";
  // The number an invalid id converts to, and the one the error line shows.
  static constexpr int32_t kInvalidProcessID = 99999999;
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Close Process"; }
  std::string GetActionKeywords() const override { return "Window"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\CloseProcess.html"; }
  int GetHelpTopicID() const override { return 5550; }
  /// Shows the id of the last run, not the configured text.
  std::string GetFormattedDescription() const override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  std::string process_id_;
  uint32_t process_id_int_ = 0;
  bool timeout_ = false;
  int32_t timeout_limit_ = 3;
  bool send_wm_close_ = false;
};

}  // namespace brivant
