// "Replace Variables": expands every variable reference in a text taken from
// a file or a variable and writes the result back to the source or to
// another file or variable. Files are read and written in the encoding they
// were found in; a rewrite is atomic and leaves the original untouched when
// it fails.
#pragma once

#include <cstdint>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "package/text_file.h"

namespace brivant {

enum TBVReplaceDataType : uint8_t { rfVariable = 0, rfFile = 1 };

template <>
struct EnumTraits<TBVReplaceDataType> {
  static const EnumInfo& Info();
};

class TBVReplaceVariablesAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVReplaceVariablesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Replace Variables"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ReplaceVars.html"; }
  int GetHelpTopicID() const override { return 7770; }
  std::string GetFormattedDescription() const override;

 private:
  // Each step throws ReplaceError with its own message, or returns false
  // when an expansion failed (the host has logged it).
  bool LoadSource(std::string* text, TEncodingType* encoding, std::string* path);
  std::string Replace(const std::string& text);
  bool Store(const std::string& text, TEncodingType encoding, const std::string& source_path);
  void SaveFile(const std::string& path, const std::string& text, TEncodingType encoding);
  bool Run();

  TBVReplaceDataType source_type_ = rfFile;
  std::string source_file_;
  std::string source_variable_;
  bool write_back_to_source_ = true;
  TBVReplaceDataType dest_type_ = rfFile;
  std::string dest_file_;
  std::string dest_variable_;
  bool fail_on_variable_errors_ = true;
  bool write_to_log_ = false;
};

}  // namespace brivant
