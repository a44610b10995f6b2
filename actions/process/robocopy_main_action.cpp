#include "actions/process/robocopy_main_action.h"

#include <cstdio>
#include <utility>

#include "package/command_line_builder.h"

namespace brivant {
namespace {

constexpr char kAttribLetters[] = "RSNAHTCOE";

std::string DateDigits(TDateTime date) {
  CivilDateTime civil = DecodeDateTime(date);
  char digits[16];
  std::snprintf(digits, sizeof digits, "%04d%02d%02d", civil.year, civil.month, civil.day);
  return digits;
}

}  // namespace

const EnumInfo& EnumTraits<TRobocopyAttribs>::Info() {
  static const EnumInfo info{"TRobocopyAttribs",
                             {"aReadOnly", "aSystem", "aNotContentIndexed", "aArchive", "aHidden",
                              "aTemporary", "aCompressed", "aOffline", "aEncrypted"}};
  return info;
}

void AddAttribSwitches(ICommandLineBuilder& builder, const char* name, TRobocopyAttribFullSet set,
                       TRobocopyAttribs last) {
  for (int attrib = aReadOnly; attrib <= last; ++attrib) {
    if (!set.Contains(static_cast<TRobocopyAttribs>(attrib))) continue;
    builder.AddArgument(std::string(name) + kAttribLetters[attrib], "", akSwitch);
  }
}

const PropertyTable& TBVRobocopyMainAction::Properties() {
  using T = TBVRobocopyMainAction;
  static const PropertyTable table(
      &TBVRobocopyAction::Properties(),
      {
          Property("DoIncludeUsingAttrib", &T::do_include_using_attrib_).Default("False"),
          Property("IncludeFilesAttrib", &T::include_files_attrib_)
              .TypeName("TRobocopyAttribFullSet"),
          Property("OnlyArchiveFilesAndClearArchiveBit",
                   &T::only_archive_files_and_clear_archive_bit_)
              .Default("False"),
          Property("IncludeTaggedSame", &T::include_tagged_same_).Default("False"),
          Property("IncludeTaggedTweaked", &T::include_tagged_tweaked_).Default("False"),
          Property("ExcludeFilesAttrib", &T::exclude_files_attrib_)
              .TypeName("TRobocopyAttribFullSet"),
          Property("ExcludeJunctionPoints", &T::exclude_junction_points_).Default("False"),
          Property("ExcludeFiles", &T::exclude_files_),
          Property("ExcludeDirs", &T::exclude_dirs_),
          Property("ExcludeTaggedChanged", &T::exclude_tagged_changed_).Default("False"),
          Property("ExcludeTaggedNewer", &T::exclude_tagged_newer_).Default("False"),
          Property("ExcludeTaggedOlder", &T::exclude_tagged_older_).Default("False"),
          Property("ExcludeTaggedExtra", &T::exclude_tagged_extra_).Default("False"),
          Property("ExcludeTaggedLonely", &T::exclude_tagged_lonely_).Default("False"),
          Property("ExcludeLargeFiles", &T::exclude_large_files_).Default("False"),
          Property("MaxFileSizeBytes", &T::max_file_size_bytes_).Default("0"),
          Property("ExcludeSmallFiles", &T::exclude_small_files_).Default("False"),
          Property("MinFileSizeBytes", &T::min_file_size_bytes_).Default("0"),
          Property("ExcludeOldFiles", &T::exclude_old_files_).Default("False"),
          Property("MaxAgeDays", &T::max_age_days_).Default("0"),
          Property("MaxAgeDate", &T::max_age_date_).Default("1899-12-30"),
          Property("UseMaxAgeDays", &T::use_max_age_days_).Default("False"),
          Property("ExcludeNewFiles", &T::exclude_new_files_).Default("False"),
          Property("MinAgeDays", &T::min_age_days_).Default("0"),
          Property("MinAgeDate", &T::min_age_date_).Default("1899-12-30"),
          Property("UseMinAgeDays", &T::use_min_age_days_).Default("False"),
          Property("ExcludeLADOldFiles", &T::exclude_lad_old_files_).Default("False"),
          Property("MaxLADDays", &T::max_lad_days_).Default("0"),
          Property("MaxLADDate", &T::max_lad_date_).Default("1899-12-30"),
          Property("UseMaxLADDays", &T::use_max_lad_days_).Default("False"),
          Property("ExcludeLADNewFiles", &T::exclude_lad_new_files_).Default("False"),
          Property("MinLADDays", &T::min_lad_days_).Default("0"),
          Property("MinLADDate", &T::min_lad_date_).Default("1899-12-30"),
          Property("UseMinLADDays", &T::use_min_lad_days_).Default("False"),
          Property("OnlyListFiles", &T::only_list_files_).Default("False"),
          Property("WaitForSharesToBeDefined", &T::wait_for_shares_to_be_defined_).Default("False"),
          Property("DelayToFreeUpBandwidth", &T::delay_to_free_up_bandwidth_).Default("0"),
          Property("IncludeSubDirs", &T::include_sub_dirs_).Default("False"),
          Property("IncludeEmptyDirs", &T::include_empty_dirs_).Default("False"),
      });
  return table;
}

void TBVRobocopyMainAction::GetPropertyAlias(TStrings& list) const {
  TBVRobocopyAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Robocopy Files]", "IncludeSubDirs=Include Subdirectories",
                           "IncludeEmptyDirs=Include Empty Directories",
                           "ExcludeFiles=Exclude Files", "ExcludeDirs=Exclude Directories"});
}

void TBVRobocopyMainAction::AddAgeSwitch(ICommandLineBuilder& builder, const char* name,
                                         uint32_t days, TDateTime date, bool use_days) {
  std::string value = use_days ? std::to_string(days) : DateDigits(date);
  builder.AddArgument(name + value, "", akSwitch);
}

bool TBVRobocopyMainAction::AddExclusions(ICommandLineBuilder& builder, const char* name,
                                          const std::string& title,
                                          const std::vector<std::string>& entries,
                                          bool strip_separator) {
  std::string joined;
  for (const std::string& entry : entries) {
    std::string expanded;
    if (!TryExpandExpression(title + entry, entry, expanded, false)) return false;
    if (strip_separator) expanded = WithoutTrailingSeparator(expanded);
    if (!joined.empty()) joined += ' ';
    joined += DoubleQuoteString(expanded, /*force=*/true);
  }
  if (!joined.empty()) builder.AddArgument(name, joined, akVerbatim);
  return true;
}

bool TBVRobocopyMainAction::GetCommandLine(ICommandLineBuilder& builder) {
  if (!TBVRobocopyAction::GetCommandLine(builder)) return false;
  // Empty directories are only ever asked for together with subdirectories.
  if (include_sub_dirs_) {
    builder.AddArgument("/S", "", akSwitch);
    if (include_empty_dirs_) builder.AddArgument("/E", "", akSwitch);
  }
  if (do_include_using_attrib_)
    AddAttribSwitches(builder, "/IA:", include_files_attrib_, aEncrypted);
  // Unlike the include set, the exclude set needs no switch to take effect.
  AddAttribSwitches(builder, "/XA:", exclude_files_attrib_, aEncrypted);

  const std::pair<bool, const char*> selection_switches[] = {
      {only_archive_files_and_clear_archive_bit_, "/M"},
      {exclude_junction_points_, "/XJ"},
      {exclude_tagged_changed_, "/XC"},
      {exclude_tagged_newer_, "/XN"},
      {exclude_tagged_older_, "/XO"},
      {exclude_tagged_extra_, "/XX"},
      {exclude_tagged_lonely_, "/XL"},
  };
  for (const auto& [on, name] : selection_switches) {
    if (on) builder.AddArgument(name, "", akSwitch);
  }
  if (exclude_large_files_ && max_file_size_bytes_ > 0)
    builder.AddArgument("/MAX:" + std::to_string(max_file_size_bytes_), "", akSwitch);
  if (exclude_small_files_ && min_file_size_bytes_ > 0)
    builder.AddArgument("/MIN:" + std::to_string(min_file_size_bytes_), "", akSwitch);
  if (exclude_old_files_)
    AddAgeSwitch(builder, "/MAXAGE:", max_age_days_, max_age_date_, use_max_age_days_);
  if (exclude_new_files_)
    AddAgeSwitch(builder, "/MINAGE:", min_age_days_, min_age_date_, use_min_age_days_);
  if (exclude_lad_old_files_)
    AddAgeSwitch(builder, "/MAXLAD:", max_lad_days_, max_lad_date_, use_max_lad_days_);
  if (exclude_lad_new_files_)
    AddAgeSwitch(builder, "/MINLAD:", min_lad_days_, min_lad_date_, use_min_lad_days_);

  if (!AddExclusions(builder, "/XF ", "Exclude file: ", exclude_files_, false)) return false;
  if (!AddExclusions(builder, "/XD ", "Exclude dir: ", exclude_dirs_, true)) return false;

  const std::pair<bool, const char*> trailing_switches[] = {
      {include_tagged_same_, "/IS"},
      {include_tagged_tweaked_, "/IT"},
      {only_list_files_, "/L"},
      {wait_for_shares_to_be_defined_, "/TBD"},
  };
  for (const auto& [on, name] : trailing_switches) {
    if (on) builder.AddArgument(name, "", akSwitch);
  }
  if (delay_to_free_up_bandwidth_ > 0)
    builder.AddArgument("/IPG:" + std::to_string(delay_to_free_up_bandwidth_), "", akSwitch);
  return true;
}

}  // namespace brivant
