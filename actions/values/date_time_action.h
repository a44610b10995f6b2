// "Get DateTime": puts the current or a fixed date and time, optionally moved
// by a number of units and formatted with a user pattern, into a variable.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/date_time.h"
#include "package/property_table.h"

namespace brivant {

enum class TManipulationType { Add, Subtract };
enum class TManipulationUnit { Seconds, Minutes, Hours, Days, Weeks, Months, Years };

template <>
struct EnumTraits<TManipulationType> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TManipulationUnit> {
  static const EnumInfo& Info();
};

// Holds the fields and the behaviour; TDateTimeAction publishes them.
class TCustomDateTimeAction : public TCustomBVAction {
 public:
  TCustomDateTimeAction();

  bool Execute() override;
  std::string GetActionName() const override { return "Get DateTime"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\GetDateTime.html"; }
  int GetHelpTopicID() const override { return 3200; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& /*errors*/) override { return true; }
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 protected:
  std::string date_format_ = "ddmmyyyy";
  TDateTime the_date_;
  bool use_now_ = true;
  std::string bv_variable_;
  bool force_separators_ = false;
  TManipulationType manipulation_type_ = TManipulationType::Add;
  TManipulationUnit manipulation_unit_ = TManipulationUnit::Seconds;
  std::string manipulation_value_;

 private:
  // Moves `date` by the manipulation value. False when the value is not
  // usable (the reason is logged or was reported by the host).
  bool Manipulate(TDateTime* date);
};

class TDateTimeAction : public TCustomDateTimeAction {
 public:
  static constexpr std::string_view kClassName = "TDateTimeAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
};

}  // namespace brivant
