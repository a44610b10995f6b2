// "Sort Text List": sorts the lines of a variable or a text file as text,
// in natural order (digit runs compare by value, as file managers list
// names) or as numbers, ascending or descending, optionally dropping lines
// that compare equal to the one before. The result goes back to the source,
// to a variable or to a file; files keep their encoding and line breaks and
// are replaced atomically.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

enum TBVSortMethod : uint8_t { smText = 0, smNatural = 1, smNumeric = 2 };
enum TBVSortOutput : uint8_t { soSource = 0, soVariable = 1, soFile = 2 };

template <>
struct EnumTraits<TBVSortMethod> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TBVSortOutput> {
  static const EnumInfo& Info();
};

/// Natural order: runs of digits compare by their value, everything else
/// character by character (ignoring ASCII case unless `case_sensitive`).
/// Negative, zero or positive as `a` sorts before, with or after `b`.
int XPSortCompareStrings(std::string_view a, std::string_view b, bool case_sensitive);

class TBVSortAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVSortAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Sort Text List"; }
  std::string GetActionKeywords() const override { return "Sort Lines Order"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\SortText.html"; }
  int GetHelpTopicID() const override { return 5190; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  /// Sorts `lines` as the properties say and drops duplicates if asked.
  void SortLines(std::vector<std::string>* lines) const;

 private:
  int Compare(const std::string& a, const std::string& b) const;

  bool use_variable_ = true;
  std::string bv_variable_;
  std::string source_file_;
  TBVSortMethod sort_method_ = smText;
  bool descending_ = false;
  bool case_sensitive_ = false;
  bool remove_duplicates_ = false;
  TBVSortOutput output_mode_ = soSource;
  std::string destination_variable_;
  std::string destination_file_;
};

}  // namespace brivant
