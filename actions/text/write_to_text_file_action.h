// "Write to Text File": adds text at the end or the start of a file, keeping
// the encoding the file already has.
#pragma once

#include <string>

#include "actions/text/encoding_property.h"
#include "package/custom_bv_action.h"

namespace brivant::platform {
class AtomicFileWriter;
}

namespace brivant {

enum TBVWriteToPos { toStart = 0, toEnd = 1 };

template <>
struct EnumTraits<TBVWriteToPos> {
  static const EnumInfo& Info();
};

class TBVWriteToTextFileAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVWriteToTextFileAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Write to Text File"; }
  std::string GetActionKeywords() const override { return "append"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\WriteToTextFile.html"; }
  int GetHelpTopicID() const override { return 3230; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  // Kept so that old projects load: a Unicode file meant UTF-16 LE.
  bool GetUnicode() const { return encoding_ == etUTF16LE; }
  void SetUnicode(bool unicode);

 private:
  bool Append(const std::string& path, const std::string& content);
  bool Prepend(const std::string& path, const std::string& content);
  // Writes the new text and the old one (read from `temporary`) through
  // `writer` and puts the result in place of `path`.
  bool WritePrepended(const std::string& path, const std::string& temporary,
                      const std::string& new_text, TEncodingType encoding,
                      platform::AtomicFileWriter* writer);
  // The file's own encoding, or the chosen one for an empty file. False when
  // the file cannot be read (logged).
  bool EncodingOfFile(const std::string& path, TEncodingType* encoding, bool* empty);

  std::string file_name_;
  std::string new_content_;
  bool create_if_not_exists_ = false;
  TBVWriteToPos write_to_position_ = toEnd;
  bool ignore_no_content_ = true;
  bool expand_variables_ = true;
  TEncodingType encoding_ = etAnsi;
};

}  // namespace brivant
