#include "actions/text/text_replace_action.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <memory>
#include <stdexcept>

#include "actions/text/read_text_file_action.h"
#include "actions/text/text_find_action.h"
#include "actions/text/text_source.h"
#include "package/regular_expression.h"
#include "package/string_utils.h"
#include "package/text_file.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

constexpr const char* kFindScript = "OnFindText";
constexpr const char* kLineScript = "OnProcessLine";
// Tab, hyphen and other punctuation are deliberately not delimiters.
constexpr std::string_view kWordDelimiters = " \"'(),./:;[\\]";

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool IsDelimiter(char c) { return kWordDelimiters.find(c) != std::string_view::npos; }

TBVActionScript* ScriptWithBody(TCustomBVAction& action, const char* name) {
  TBVActionScript* script = action.GetScriptByName(name);
  return script != nullptr && script->HasBody() ? script : nullptr;
}

}  // namespace

TCustomTextReplaceAction::TCustomTextReplaceAction() {
  AddScript(kFindScript, {"Action", "Count", "FoundText", "ReplaceText", "DoReplace"});
  AddScript(kLineScript, {"Action", "LineText"});
}

bool TCustomTextReplaceAction::IsWholeWord(const std::string& line, size_t pos,
                                           size_t length) const {
  bool starts = pos == 0 || IsDelimiter(line[pos - 1]);
  bool ends = pos + length == line.size() || IsDelimiter(line[pos + length]);
  return starts && ends;
}

bool TCustomTextReplaceAction::ApproveReplacement(const std::string& found,
                                                  std::string* replacement) {
  TBVActionScript* script = ScriptWithBody(*this, kFindScript);
  if (script == nullptr) return true;
  ScriptParameters parameters = {{"Count", Variant(hits_ + 1)},
                                 {"FoundText", Variant(found)},
                                 {"ReplaceText", Variant(*replacement)},
                                 {"DoReplace", Variant(true)}};
  ExecuteScript(*script, parameters);
  *replacement = parameters[2].second.ToString();
  return parameters[3].second.ToBoolean();
}

void TCustomTextReplaceAction::ReplaceInLine(std::string* line, const std::string& search,
                                             const std::string& replace) {
  const std::string haystack = case_sensitive_ ? *line : Lower(*line);
  const std::string needle = case_sensitive_ ? search : Lower(search);
  std::string result;
  size_t copy_from = 0;
  size_t from = 0;
  while (BudgetLeft()) {
    size_t pos = haystack.find(needle, from);
    if (pos == std::string::npos) break;
    from = pos + needle.size();
    if (whole_words_only_ && !IsWholeWord(*line, pos, needle.size())) continue;
    if (TBVActionScript* script = ScriptWithBody(*this, kLineScript)) {
      ScriptParameters parameters = {{"LineText", Variant(*line)}};
      ExecuteScript(*script, parameters);
      std::string changed = parameters[0].second.ToString();
      if (changed != *line) {
        *line = changed;
        ++hits_;
        ++replacements_;
        return;
      }
    }
    std::string replacement = replace;
    if (ApproveReplacement(line->substr(pos, needle.size()), &replacement)) {
      result.append(*line, copy_from, pos - copy_from);
      result += replacement;
      ++replacements_;
    } else {
      result.append(*line, copy_from, from - copy_from);
    }
    ++hits_;
    copy_from = from;
  }
  result.append(*line, copy_from);
  *line = std::move(result);
}

std::string TCustomTextReplaceAction::ReplaceWithExpression(const std::string& text,
                                                            const std::string& search,
                                                            const std::string& replace) {
  // Case and whole words are deliberately ignored in this mode.
  std::unique_ptr<TRegularExpression> expression =
      RegEx::NewRegularExpression(search, roIgnoreCase | roMultiLine);
  std::string result;
  size_t copy_from = 0;
  try {
    for (std::unique_ptr<IMatch> match = expression->Match(text); match->Success() && BudgetLeft();
         match = match->NextMatch()) {
      std::string replacement = replace;
      bool replace_it = ApproveReplacement(std::string(match->Value()), &replacement);
      ++hits_;
      if (!replace_it) continue;
      size_t start = match->Index() - 1;
      result.append(text, copy_from, start - copy_from);
      result += replacement;
      copy_from = start + match->Length();
      ++replacements_;
    }
  } catch (const ERegExException& e) {
    throw std::runtime_error(
        std::string("An error occured matching the regular expression : \r\n") + e.what());
  }
  result.append(text, copy_from);
  return result;
}

bool TCustomTextReplaceAction::Execute() {
  hits_ = replacements_ = 0;
  std::string path, new_path, search, replace;
  if (!TryExpandExpression("FileName", filename_, path, true)) return false;
  if (!TryExpandExpression("NewFileName", new_file_name_, new_path, true)) return false;
  if (!platform::FileExists(path)) {
    SendMessage("File does not exist: " + path, stError);
    return false;
  }
  try {
    if (do_replace_text_) {
      if (!TryExpandExpression("SearchText", search_text_, search, true)) return false;
      if (!TryExpandExpression("ReplaceText", replace_text_, replace, true)) return false;
      if (!match_regular_expression_ && search.find_first_of("\r\n") != std::string::npos)
        throw std::runtime_error("Cannot search for text containing CR/LF characters");
    }
    TextFileResult<TLoadedText> loaded = LoadTextFile(path, TBVTextFindAction::kMaxFileBytes);
    if (!loaded.IsOk()) throw std::runtime_error(loaded.Error().Describe());
    TEncodingType encoding = loaded.Value().encoding;
    std::string text = AsLineList(loaded.Value().text);
    if (do_replace_variables_) {
      int replaced = 0;
      text = ExpandExpression(text, &replaced, /*fail_on_error=*/false);
    }
    if (do_replace_text_ && match_regular_expression_) {
      text = ReplaceWithExpression(text, search, replace);
    } else if (do_replace_text_ && !search.empty()) {
      std::string line_break = LineBreakOf(text);
      std::vector<std::string> lines = SplitLines(text);
      text.clear();
      for (std::string& line : lines) {
        if (BudgetLeft()) ReplaceInLine(&line, search, replace);
        text += line + line_break;
      }
    }
    std::string target = !new_path.empty() ? new_path : path;
    if (!new_path.empty() || replacements_ > 0 || do_replace_variables_) {
      TextFileError error = TFileWriter::SaveToFile(target, text, fwmCreateOrTruncate, encoding);
      if (error) throw std::runtime_error(error.Describe());
    }
    if (do_replace_variables_) SendMessage("Variables replaced in file : " + path, stInfo);
    if (do_replace_text_) {
      SendMessage(std::to_string(hits_) + " matches found, " + std::to_string(replacements_) +
                      " replaced in file : " + path,
                  stInfo);
    }
  } catch (const std::exception& e) {
    SendMessage(std::string("Error: ") + e.what(), stError);
    return false;
  }
  if (fail_on_few_replacements_ && replacements_ < fail_minimum_count_) {
    SendMessage("Failing because less than " + std::to_string(fail_minimum_count_) +
                    " replacements were made.",
                stError);
    return false;
  }
  return true;
}

const PropertyTable& TTextReplaceAction::Properties() {
  using T = TTextReplaceAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("Filename", &T::filename_),
          Property("SearchText", &T::search_text_),
          Property("ReplaceText", &T::replace_text_),
          Property("DoRepeat", &T::do_repeat_).Default("0"),
          Property("DoReplaceText", &T::do_replace_text_).Default("False"),
          Property("DoReplaceVariables", &T::do_replace_variables_).Default("False"),
          Property("CaseSensitive", &T::case_sensitive_).Default("True"),
          Property("NewFileName", &T::new_file_name_),
          Property("WholeWordsOnly", &T::whole_words_only_).Default("False"),
          Property("MatchRegularExpression", &T::match_regular_expression_).Default("False"),
          Property("FailOnFewReplacements", &T::fail_on_few_replacements_).Default("False"),
          Property("FailMinimumCount", &T::fail_minimum_count_).Default("1"),
      });
  return table;
}

std::string TTextReplaceAction::GetFormattedDescription() const {
  return "Text Replace [ " + ExtractFileName(filename_) + " ]";
}

bool TTextReplaceAction::Validate(IBVActionValidationError& errors) {
  if (!filename_.empty()) return true;
  errors.AddError("Filename", "A filename has not been specified", 0);
  return false;
}

void TTextReplaceAction::GetPropertyAlias(TStrings& list) const {
  TCustomTextReplaceAction::GetPropertyAlias(list);
  list.insert(
      list.end(),
      {"[Replace Options]", "DoReplaceVariables=Replace Variables?",
       "DoReplaceText=Replace Explicit Text?", "Filename=Filename", "NewFilename=NewFilename",
       "SearchText=Search Text", "ReplaceText=Replace Text", "DoRepeat=Repeat Replace?",
       "CaseSensitive=Case Sensitive", "WholeWordsOnly=Replace whole words only"});
}

}  // namespace brivant
