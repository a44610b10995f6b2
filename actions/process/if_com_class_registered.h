// "If COM Class Registered": a container whose children run only when a COM
// class, named by its ProgID or its CLSID, is registered on this machine
// (or, with Invert, when it is not). Here a class is registered when the
// registry store holds HKCR\CLSID\{clsid} with an InprocServer32 or
// LocalServer32 subkey; a ProgID is resolved through HKCR\<ProgID>\CLSID.
#pragma once

#include <optional>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

/// The canonical form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (upper case)
/// of a GUID written with its braces, or nullopt when `text` is not one.
std::optional<std::string> ParseGuid(const std::string& text);

class TBVIfCOMClassRegistered : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVIfCOMClassRegistered";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "If COM Class Registered"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\IfCOMReg.html"; }
  int GetHelpTopicID() const override { return 5080; }
  /// After Execute: leave the container when the condition does not hold.
  void GetNextActionSource(TBVNextActionSourceState state, TBVNextAction& next) override;
  /// True exactly when the last result differs from Invert.
  bool TestResult() const { return last_result_ != invert_; }

 private:
  bool last_result_ = false;
  bool use_prog_id_ = true;
  std::string clsid_;
  std::string prog_id_;
  bool invert_ = false;
  bool fail_if_not_registered_ = false;
};

}  // namespace brivant
