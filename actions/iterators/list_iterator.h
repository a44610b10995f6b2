// "List Iterator": a loop whose children run once per item of a list typed
// into the action, one item per line or separated by a tab or a custom
// separator. Items may hold line breaks when another separator is used;
// blank items are skipped unless asked otherwise.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "package/base_iterator.h"
#include "package/property_table.h"

namespace brivant {

enum TBVListSeparator : uint8_t { lsCRLF = 0, lsTab = 1, lsCharacter = 2 };

template <>
struct EnumTraits<TBVListSeparator> {
  static const EnumInfo& Info();
};

class TBVListIterator : public TBVBaseIterator {
 public:
  static constexpr std::string_view kClassName = "TBVListIterator";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  // False when the list or the separator cannot be expanded (the host has
  // logged why); throws EIteratorException otherwise.
  bool BeforeFirstIteration() override;
  std::string GetCurrentValue() override;
  void AfterLastIteration() override;

  std::string GetActionName() const override { return "List Iterator"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ListIterator.html"; }
  int GetHelpTopicID() const override { return 3140; }
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  int32_t GetItemCount() const { return static_cast<int32_t>(items_.size()); }
  int32_t GetItemIndex() const { return GetCurrentIteration() - 1; }

 private:
  // Fills items_ from ListOfItems; false when an expansion failed.
  bool BuildItems();

  std::vector<std::string> list_of_items_;
  bool skip_blank_lines_ = true;
  TBVListSeparator list_separator_ = lsCRLF;
  std::string separator_char_ = ",";
  std::vector<std::string> items_;
};

}  // namespace brivant
