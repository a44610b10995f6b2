// "Text Replace (Deprecated)": the older, line-oriented replace action kept
// for existing projects. It expands variable references in a file's text
// and/or replaces a search text, line by line with its own plain-text
// matcher (a position search plus a whole-word test against a fixed
// delimiter set) or over the whole text with a regular expression, and
// writes the result back or to a new file, atomically and in the file's
// own encoding and line breaks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TCustomTextReplaceAction : public TCustomBVAction {
 public:
  TCustomTextReplaceAction();
  bool Execute() override;

 protected:
  std::string filename_;
  std::string search_text_;
  std::string replace_text_;
  int32_t do_repeat_ = 0;
  bool do_replace_text_ = false;
  bool do_replace_variables_ = false;
  bool case_sensitive_ = true;
  std::string new_file_name_;
  bool whole_words_only_ = false;
  bool match_regular_expression_ = false;
  bool fail_on_few_replacements_ = false;
  int32_t fail_minimum_count_ = 1;

 private:
  // The replacement budget: false once DoRepeat replacements were made.
  bool BudgetLeft() const { return do_repeat_ <= 0 || replacements_ < do_repeat_; }
  void ReplaceInLine(std::string* line, const std::string& search, const std::string& replace);
  bool IsWholeWord(const std::string& line, size_t pos, size_t length) const;
  // Runs "OnFindText"; returns whether to replace and may change *replacement.
  bool ApproveReplacement(const std::string& found, std::string* replacement);
  std::string ReplaceWithExpression(const std::string& text, const std::string& search,
                                    const std::string& replace);

  int hits_ = 0;
  int replacements_ = 0;
};

class TTextReplaceAction : public TCustomTextReplaceAction {
 public:
  static constexpr std::string_view kClassName = "TTextReplaceAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Text Replace (Deprecated)"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\TextReplace.html"; }
  int GetHelpTopicID() const override { return 1290; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
};

}  // namespace brivant
