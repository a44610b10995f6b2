// "Touch File(s)": sets the last-write time of the files that a file spec
// selects, optionally in every subdirectory, to now or to a given date and
// time; can create a missing file.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"

namespace brivant {
namespace platform {
struct LocalTime;
}

class TTouchFilesAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TTouchFilesAction";
  // The text form of DateTimeString, as the date editor writes it. Also read:
  // the date alone (midnight), no seconds, and 'T' between date and time.
  static constexpr std::string_view kDateTimeFormat = "yyyy-mm-dd hh:nn:ss";

  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Touch File(s)"; }
  std::string GetActionKeywords() const override { return "Date Time Timestamp"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\TouchFiles.html"; }
  int GetHelpTopicID() const override { return 559; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  int32_t GetFilesAffected() const { return files_affected_; }

 private:
  // The time to set, from the clock or DateTimeString. False when the text
  // can't be used (the reason is logged or was reported by the host).
  bool TimeToSet(platform::LocalTime* time);
  // Touches the matches of `file_spec`, then recurses when asked. False
  // at the first failure, which is logged.
  bool TouchMatches(const std::string& file_spec, const platform::LocalTime& time,
                    bool is_top_level);
  bool TouchFile(const std::string& path, const platform::LocalTime& time);
  bool CreateMissingFile(const std::string& path, const platform::LocalTime& time);
  void EndGroup(TStatusTag tag);

  std::string file_spec_;
  bool recurse_ = false;
  bool use_current_date_time_ = true;
  std::string date_time_string_;
  bool create_if_missing_ = false;
  bool fail_if_zero_files_ = true;
  bool log_files_affected_ = true;
  int32_t files_affected_ = 0;

  bool group_open_ = false;
};

}  // namespace brivant
