// "Ini File Iterator": a loop over the sections of an INI file, or over the
// name=value entries of one section (package/ini_file.h). Each iteration sets
// the iterator's own variables: the section name, or the entry's name and
// the text after its first '='.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "package/base_iterator.h"
#include "package/property_table.h"

namespace brivant {

enum TIniIteratorMode : uint8_t { iiSections = 0, iiValues = 1 };

template <>
struct EnumTraits<TIniIteratorMode> {
  static const EnumInfo& Info();
};

class TIniFileIterator : public TBVBaseIterator {
 public:
  static constexpr std::string_view kClassName = "TIniFileIterator";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  // Throws EIteratorException when a mode's variables are missing or the
  // file cannot be read; false when IniFilename cannot be expanded.
  bool BeforeFirstIteration() override;
  // Sets the mode's variables and returns the entry.
  std::string GetCurrentValue() override;
  void AfterLastIteration() override;

  std::string GetActionName() const override { return "Ini File Iterator"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\IniFileIterator.html"; }
  int GetHelpTopicID() const override { return 3330; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;

  int32_t GetItemCount() const { return static_cast<int32_t>(items_.size()); }
  int32_t GetItemIndex() const { return GetCurrentIteration() - 1; }

 private:
  // Fills items_ from the file; false when that fails.
  bool Populate(const std::string& path);

  std::string ini_filename_;
  TIniIteratorMode iterator_mode_ = iiSections;
  std::string sections_var_;
  std::string section_name_;
  std::string name_variable_;
  std::string value_variable_;
  std::vector<std::string> items_;
};

}  // namespace brivant
