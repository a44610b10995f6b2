// "File Contents Iterator": a loop whose children run once per line of a
// text file (encoding by byte-order mark; CR LF, LF or CR end a line; a
// final line break adds no empty line). The whole file is read before the
// first iteration, so changing it inside the loop changes nothing.
#pragma once

#include <string>
#include <vector>

#include "package/base_iterator.h"
#include "package/property_table.h"

namespace brivant {

class TReadTextFileIterator : public TBVBaseIterator {
 public:
  static constexpr std::string_view kClassName = "TReadTextFileIterator";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  // False when the file name cannot be expanded or the file is missing (the
  // reason is logged); throws EIteratorException when reading fails.
  bool BeforeFirstIteration() override;
  std::string GetCurrentValue() override;
  void AfterLastIteration() override;

  std::string GetActionName() const override { return "File Contents Iterator"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ReadFileIterator.html"; }
  int GetHelpTopicID() const override { return 3270; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;

  std::string GetVariableName() const { return GetBVVariable(); }
  void SetVariableName(const std::string& name) { SetBVVariable(name); }
  int32_t GetLineCount() const { return static_cast<int32_t>(lines_.size()); }
  int32_t GetLineIndex() const { return GetCurrentIteration() - 1; }

 private:
  std::string text_file_name_;
  std::vector<std::string> lines_;
};

}  // namespace brivant
