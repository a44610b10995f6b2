// TBVRobocopyMainAction: the Robocopy actions that walk a tree (copy, move,
// mirror). Adds file selection by attributes, tags, size, age and name, and
// the tree options. Never registered itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "actions/process/robocopy_action.h"
#include "package/date_time.h"

namespace brivant {

// File attributes as the tool names them by letter (R S N A H T C O E).
enum TRobocopyAttribs : int {
  aReadOnly,
  aSystem,
  aNotContentIndexed,
  aArchive,
  aHidden,
  aTemporary,
  aCompressed,
  aOffline,
  aEncrypted,
};
template <>
struct EnumTraits<TRobocopyAttribs> {
  static const EnumInfo& Info();
};
using TRobocopyAttribFullSet = TSet<TRobocopyAttribs>;
// Only aReadOnly to aTemporary may be set or cleared on copied files; the
// other members of a stored set are ignored.
using TRobocopyAttribSet = TSet<TRobocopyAttribs>;
inline constexpr TRobocopyAttribs kLastSettableAttrib = aTemporary;

// One argument per member, `name` followed by the member's letter, in letter
// order up to and including `last`.
void AddAttribSwitches(ICommandLineBuilder& builder, const char* name, TRobocopyAttribFullSet set,
                       TRobocopyAttribs last);

class TBVRobocopyMainAction : public TBVRobocopyAction {
 public:
  static const PropertyTable& Properties();
  void GetPropertyAlias(TStrings& list) const override;
  bool GetCommandLine(ICommandLineBuilder& builder) override;

 protected:
  void SetIncludeSubDirs(bool include) { include_sub_dirs_ = include; }

 private:
  // "/MAXAGE:" and its kin: a number of days, or a date as YYYYMMDD.
  static void AddAgeSwitch(ICommandLineBuilder& builder, const char* name, uint32_t days,
                           TDateTime date, bool use_days);
  // "/XF" or "/XD" with the expanded, double-quoted entries; false when an
  // expansion failed.
  bool AddExclusions(ICommandLineBuilder& builder, const char* name, const std::string& title,
                     const std::vector<std::string>& entries, bool strip_separator);

  bool do_include_using_attrib_ = false;
  TRobocopyAttribFullSet include_files_attrib_;
  bool only_archive_files_and_clear_archive_bit_ = false;
  bool include_tagged_same_ = false;
  bool include_tagged_tweaked_ = false;
  TRobocopyAttribFullSet exclude_files_attrib_;
  bool exclude_junction_points_ = false;
  std::vector<std::string> exclude_files_;
  std::vector<std::string> exclude_dirs_;
  bool exclude_tagged_changed_ = false;
  bool exclude_tagged_newer_ = false;
  bool exclude_tagged_older_ = false;
  bool exclude_tagged_extra_ = false;
  bool exclude_tagged_lonely_ = false;
  bool exclude_large_files_ = false;
  uint32_t max_file_size_bytes_ = 0;
  bool exclude_small_files_ = false;
  uint32_t min_file_size_bytes_ = 0;
  bool exclude_old_files_ = false;
  uint32_t max_age_days_ = 0;
  TDateTime max_age_date_;
  bool use_max_age_days_ = false;
  bool exclude_new_files_ = false;
  uint32_t min_age_days_ = 0;
  TDateTime min_age_date_;
  bool use_min_age_days_ = false;
  bool exclude_lad_old_files_ = false;
  uint32_t max_lad_days_ = 0;
  TDateTime max_lad_date_;
  bool use_max_lad_days_ = false;
  bool exclude_lad_new_files_ = false;
  uint32_t min_lad_days_ = 0;
  TDateTime min_lad_date_;
  bool use_min_lad_days_ = false;
  bool only_list_files_ = false;
  bool wait_for_shares_to_be_defined_ = false;
  uint32_t delay_to_free_up_bandwidth_ = 0;
  bool include_sub_dirs_ = false;
  bool include_empty_dirs_ = false;
};

}  // namespace brivant
