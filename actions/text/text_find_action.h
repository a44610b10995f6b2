// "Text Find / Replace": searches one file, a variable or every file of a
// project file set for a pattern, counts the matches, can fail on too few or
// too many of them, runs the "OnFindText" and "OnMatchGroup" scripts per
// match and can write the replaced text back, to another file or to a
// variable. Plain-text searches are escaped into a pattern, so all matching
// goes through the one regular-expression service.
//
// Files are read whole and keep their encoding when written; every write is
// atomic, and output is written only after the whole text was searched and
// the result check passed, so a failed run leaves the source as it was.
// TerminateAction may be called from another thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "package/text_file.h"

namespace brivant {

class ERegExException;
class IMatch;

enum TTextFindBehaviour : uint8_t {
  tfDontFail = 0,
  tfFailOnLess = 1,
  tfFailOnMore = 2,
  tfPutIntoVar = 3,
};
enum TBVReplaceMode : uint8_t {
  trNone = 0,
  trOriginalFile = 1,
  trDestinationFile = 2,
  trDestinationVariable = 3,
};
enum TMatchType : uint8_t { mtAll = 0, mtFirstOnly = 1, mtLastOnly = 2 };

template <>
struct EnumTraits<TTextFindBehaviour> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TBVReplaceMode> {
  static const EnumInfo& Info();
};
template <>
struct EnumTraits<TMatchType> {
  static const EnumInfo& Info();
};

// A failure whose message is logged as it stands.
class EFindReplaceException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class TBVTextFindAction : public TCustomBVAction {
 public:
  static constexpr std::string_view kClassName = "TBVTextFindAction";
  // Larger files are refused: they are read whole, and a replace holds the
  // text, its replacement and the encoded output at once.
  static constexpr uint64_t kMaxFileBytes = uint64_t{256} << 20;

  TBVTextFindAction();
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Text Find / Replace"; }
  std::string GetActionKeywords() const override { return "String Regex"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\TextFind.html"; }
  int GetHelpTopicID() const override { return 5180; }
  std::string GetFormattedDescription() const override;
  bool CanTerminate() override { return true; }
  void TerminateAction() override;

 private:
  void SingleSearch();
  // Counts the matches in a UTF-8 file read block by block, so memory stays
  // flat in its size; false when the file's encoding needs the whole read.
  bool CountInFileStream(const std::string& path);
  void FileSetSearch();
  // Searches `text`; when replacing, the new text goes to *out. `from_file`:
  // the text is the file reader's, so already checked to be UTF-8.
  void Search(const std::string& text, std::string* out, bool single, bool from_file);
  void ActOnMatch(const IMatch& match, const std::string& text, size_t* copy_from,
                  std::string* out);
  [[noreturn]] void ThrowMatchFailure(const ERegExException& error) const;
  std::string BuildPattern();
  std::string ReplacementText();
  void RunFindTextScript(const IMatch& match, const std::string& text, std::string* replacement);
  void RunMatchGroupScripts(const IMatch& match);
  void SendMatchCount();
  void CheckResult();
  void WriteResult(const std::string& text);
  void WriteFile(const std::string& path, const std::string& text);
  std::string ReadSourceFile(const std::string& path);

  bool use_variable_ = false;
  std::string bv_variable_;
  std::string source_path_;
  std::string search_string_;
  bool match_reg_expr_ = false;
  bool case_sensitive_ = true;
  bool whole_words_ = false;
  TTextFindBehaviour text_find_behaviour_ = tfDontFail;
  int32_t fail_match_count_ = 1;
  int32_t fail_on_more_match_count_ = 1;
  std::string put_count_into_var_;
  bool match_wildcards_ = false;
  TBVReplaceMode replacement_mode_ = trNone;
  std::string destination_file_;
  std::string destination_variable_;
  bool whole_lines_only_ = false;
  bool substitute_ = false;
  bool expand_vars_when_replacing_ = true;
  std::string replacement_text_;
  bool use_file_set_ = false;
  std::string file_set_name_;
  bool file_set_count_all_matches_ = false;
  TMatchType match_type_ = mtAll;

  int32_t match_count_ = 0;
  std::atomic<bool> terminated_{false};
  TEncodingType encoding_ = etAnsi;  // of the file read last
  // The expanded replacement, kept for the whole search when no script can
  // change the variables it refers to.
  std::string cached_replacement_;
  bool replacement_cached_ = false;
  // Offset bookkeeping for "OnFindText": UTF-16 units up to byte offset_byte_.
  size_t offset_byte_ = 0;
  size_t offset_units_ = 0;
};

}  // namespace brivant
