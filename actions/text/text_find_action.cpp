#include "actions/text/text_find_action.h"

#include <exception>
#include <memory>

#include "actions/text/text_source.h"
#include "package/exceptions.h"
#include "package/regular_expression.h"
#include "package/string_utils.h"
#include "platform/file_operations.h"
#include "platform/file_reading.h"
#include "platform/file_system.h"
#include "platform/locale_charset.h"

namespace brivant {
namespace {

constexpr const char* kFindScript = "OnFindText";
constexpr const char* kGroupScript = "OnMatchGroup";
constexpr const char* kTerminated = "Terminated.";

// A text as the description shows it: up to its first line break, marked
// with "..." when longer than 10 characters.
std::string Shorten(const std::string& text) {
  std::string shown = text.substr(0, text.find("\r\n"));
  if (shown.size() > 10) shown += "...";
  return shown;
}

// JavaScript counts UTF-16 units, so offsets handed to scripts do too.
size_t Utf16Units(std::string_view utf8) {
  size_t units = 0;
  for (unsigned char c : utf8) {
    if ((c & 0xC0) != 0x80) ++units;
    if (c >= 0xF0) ++units;
  }
  return units;
}

bool HasBody(TBVActionScript* script) { return script != nullptr && script->HasBody(); }

// How much of `bytes` (from `from` on) ends on a character boundary: a
// sequence cut off at the end is left for the next block.
size_t CompleteUtf8Prefix(std::string_view bytes, size_t from) {
  size_t i = bytes.size();
  size_t continuation = 0;
  while (i > from && continuation < 3 &&
         (static_cast<unsigned char>(bytes[i - 1]) & 0xC0) == 0x80) {
    --i;
    ++continuation;
  }
  if (i == from) return bytes.size();
  auto lead = static_cast<unsigned char>(bytes[i - 1]);
  size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  return length > continuation + 1 ? i - 1 : bytes.size();
}

}  // namespace

const EnumInfo& EnumTraits<TTextFindBehaviour>::Info() {
  static const EnumInfo info{"TTextFindBehaviour",
                             {"tfDontFail", "tfFailOnLess", "tfFailOnMore", "tfPutIntoVar"}};
  return info;
}
const EnumInfo& EnumTraits<TBVReplaceMode>::Info() {
  static const EnumInfo info{
      "TBVReplaceMode", {"trNone", "trOriginalFile", "trDestinationFile", "trDestinationVariable"}};
  return info;
}
const EnumInfo& EnumTraits<TMatchType>::Info() {
  static const EnumInfo info{"TMatchType", {"mtAll", "mtFirstOnly", "mtLastOnly"}};
  return info;
}

TBVTextFindAction::TBVTextFindAction() {
  AddScript(kFindScript, {"Action", "Count", "FoundText", "ReplaceText", "Offset"});
  AddScript(kGroupScript, {"Action", "Text", "MatchIndex", "GroupIndex"});
}

const PropertyTable& TBVTextFindAction::Properties() {
  using T = TBVTextFindAction;
  static const PropertyTable table(
      nullptr,
      {
          Property("UseVariable", &T::use_variable_).Default("False"),
          Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
          Property("SourcePath", &T::source_path_),
          Property("SearchString", &T::search_string_),
          Property("MatchRegExpr", &T::match_reg_expr_).Default("False"),
          Property("CaseSensitive", &T::case_sensitive_).Default("True"),
          Property("WholeWords", &T::whole_words_).Default("False"),
          Property("TextFindBehaviour", &T::text_find_behaviour_).Default("tfDontFail"),
          Property("FailMatchCount", &T::fail_match_count_).Default("1"),
          Property("FailOnMoreMatchCount", &T::fail_on_more_match_count_).Default("1"),
          Property("PutCountIntoVar", &T::put_count_into_var_),
          Property("MatchWildcards", &T::match_wildcards_).Default("False"),
          Property("ReplacementMode", &T::replacement_mode_).Default("trNone"),
          Property("DestinationFile", &T::destination_file_),
          Property("DestinationVariable", &T::destination_variable_).TypeName("TVariableName"),
          Property("WholeLinesOnly", &T::whole_lines_only_).Default("False"),
          Property("Substitute", &T::substitute_).Default("False"),
          Property("ExpandVarsWhenReplacing", &T::expand_vars_when_replacing_).Default("True"),
          Property("ReplacementText", &T::replacement_text_),
          Property("UseFileSet", &T::use_file_set_).Default("False"),
          Property("FileSetName", &T::file_set_name_),
          Property("FileSetCountAllMatches", &T::file_set_count_all_matches_).Default("False"),
          Property("MatchType", &T::match_type_).Default("mtAll"),
      });
  return table;
}

std::string TBVTextFindAction::GetFormattedDescription() const {
  std::string text = replacement_mode_ == trNone
                         ? "Text Find [ " + Shorten(search_string_) + " ] "
                         : "Text Replace [ " + Shorten(search_string_) + " ] with [ " +
                               Shorten(replacement_text_) + " ] ";
  if (use_variable_) return text + " in [ " + bv_variable_ + " ]";
  if (use_file_set_) return text + " in FileSet [ " + file_set_name_ + " ]";
  return text + " in [ " + ExtractFileName(source_path_) + " ]";
}

void TBVTextFindAction::TerminateAction() {
  TCustomBVAction::TerminateAction();
  terminated_ = true;
}

bool TBVTextFindAction::Execute() {
  match_count_ = 0;
  terminated_ = false;
  const char* refusal = nullptr;
  if (use_variable_ && use_file_set_) {
    refusal = "Error: Both \"Use Variable\" and \"Use FileSet\" are enabled.";
  } else if (use_file_set_ && replacement_mode_ == trDestinationFile) {
    refusal =
        "Error: Action is configured to search across a FileSet but output to a single "
        "destination file. Invalid combination.";
  } else if (use_file_set_ && replacement_mode_ == trDestinationVariable) {
    refusal =
        "Error: Action is configured to search across a FileSet but output to a single "
        "destination variable. Invalid combination.";
  }
  if (refusal != nullptr) {
    SendMessage(refusal, stError);
    return false;
  }
  try {
    if (!use_file_set_) {
      SingleSearch();
    } else {
      FileSetSearch();
      if (file_set_count_all_matches_) CheckResult();
    }
  } catch (const EFindReplaceException& e) {
    SendMessage(e.what(), stError);
    return false;
  } catch (const std::exception& e) {
    SendMessage("An error occured:", stError);
    SendMessage(e.what(), stError);
    return false;
  }
  std::string found = "Found " + std::to_string(match_count_) + " matches";
  SendProgress(found, 100);
  SendMessage(found, stSuccess);
  return true;
}

std::string TBVTextFindAction::ReadSourceFile(const std::string& path) {
  TextFileResult<TLoadedText> loaded = LoadTextFile(path, kMaxFileBytes);
  if (!loaded.IsOk()) throw std::runtime_error(loaded.Error().Describe());
  encoding_ = loaded.Value().encoding;
  return std::move(loaded).Value().text;
}

void TBVTextFindAction::SingleSearch() {
  std::string text;
  if (use_variable_) {
    text = GetVariableValue(bv_variable_).ToString();
  } else {
    std::string path;
    try {
      path = ExpandExpression(source_path_, true);
    } catch (const std::exception& e) {
      throw EFindReplaceException(std::string("Could not expand source file path: ") + e.what());
    }
    if (path.empty()) throw EFindReplaceException("Source file path is blank.");
    bool count_only = replacement_mode_ == trNone && !HasBody(GetScriptByName(kFindScript)) &&
                      !HasBody(GetScriptByName(kGroupScript));
    if (count_only && CountInFileStream(path)) {
      SendMatchCount();
      CheckResult();
      return;
    }
    text = ReadSourceFile(path);
  }
  std::string replaced;
  Search(text, &replaced, /*single=*/true, /*from_file=*/!use_variable_);
  std::string().swap(text);  // a large source need not stay while the output is written
  SendMatchCount();
  CheckResult();
  if (replacement_mode_ != trNone) WriteResult(replaced);
}

bool TBVTextFindAction::CountInFileStream(const std::string& path) {
  TextFileResult<TEncodingType> detected = DetectFileEncoding(path);
  if (!detected.IsOk()) throw std::runtime_error(detected.Error().Describe());
  TEncodingType encoding = detected.Value();
  if (encoding != etUTF8 &&
      (encoding != etAnsi || !platform::IsUtf8Charset(platform::LocaleCharset())))
    return false;
  encoding_ = encoding;
  platform::OsResult<uint64_t> size = platform::GetFileSize(path);
  if (!size.IsOk()) throw std::runtime_error(size.Error().Describe());
  uint64_t total = size.Value() > 0 ? size.Value() : 1;
  uint32_t options = roMultiLine | (case_sensitive_ ? roNone : roIgnoreCase);
  std::unique_ptr<TRegularExpression> expression =
      RegEx::NewRegularExpression(BuildPattern(), options);
  // A match that might run on is held back; past the size a file may have
  // when read whole, the search gives up.
  std::unique_ptr<TRegExStream> stream = expression->NewStream(kMaxFileBytes);
  int last_percent = -1;
  auto on_match = [&](uint64_t offset, size_t /*length*/) {
    int percent = static_cast<int>((offset + 1) * 100 / total);
    if (percent != last_percent)
      SendProgress("Found " + std::to_string(match_count_) + " matches", percent);
    last_percent = percent;
    ++match_count_;
    if (terminated_) throw EFindReplaceException(kTerminated);
    return match_type_ != mtFirstOnly;
  };
  std::string pending;  // read, not yet fed: a character cut by the block end
  uint64_t fed = 0;
  size_t skip = encoding == etUTF8 ? ByteOrderMark(etUTF8).size() : 0;
  auto consume = [&](const uint8_t* data, size_t length) {
    if (terminated_) throw EFindReplaceException(kTerminated);
    pending.append(reinterpret_cast<const char*>(data), length);
    size_t complete = CompleteUtf8Prefix(pending, skip);
    std::string_view piece = std::string_view(pending).substr(skip, complete - skip);
    size_t bad = FirstInvalidUtf8(piece);
    if (bad != std::string_view::npos)
      throw std::runtime_error(path + ": invalid UTF-8 at byte offset " +
                               std::to_string(fed + skip + bad));
    size_t nul = piece.find('\0');
    if (nul != std::string_view::npos) {
      throw std::runtime_error(path + ": not a text file: NUL character at byte offset " +
                               std::to_string(fed + skip + nul));
    }
    stream->Feed(piece, on_match);
    fed += complete;
    pending.erase(0, complete);
    skip = 0;
  };
  try {
    if (platform::OsError error = platform::ReadFileInBlocks(path, consume))
      throw std::runtime_error(error.Describe());
    if (!pending.empty())
      throw std::runtime_error(path + ": invalid UTF-8 at byte offset " + std::to_string(fed));
    stream->Finish(on_match);
  } catch (const ERegExException& e) {
    ThrowMatchFailure(e);
  }
  return true;
}

void TBVTextFindAction::FileSetSearch() {
  IBVProjectObjectService* objects = GetProjectObjectService();
  auto* file_set =
      objects == nullptr
          ? nullptr
          : dynamic_cast<IBVFileSet*>(objects->FindObject("FileSetObject", file_set_name_));
  if (file_set == nullptr) throw std::runtime_error("FileSet " + file_set_name_ + " not found.");
  std::vector<std::string> files = file_set->GetFiles();
  int32_t total = 0;
  for (size_t i = 0; i < files.size(); ++i) {
    const std::string& path = files[i];
    SendMessage(
        (replacement_mode_ == trNone ? "Searching inside file " : "Replacing inside file ") + path +
            "...",
        stInfo);
    std::string text = AsLineList(ReadSourceFile(path));
    std::string replaced;
    Search(text, &replaced, /*single=*/false, /*from_file=*/true);
    if (terminated_) throw EFindReplaceException(kTerminated);
    int percent = static_cast<int>(i * 100 / files.size());
    if (file_set_count_all_matches_) {
      total = match_count_;
      SendProgress("Found " + std::to_string(total) + " matches in " + std::to_string(i) + " files",
                   percent);
    } else {
      SendProgress("Searched in " + std::to_string(i) + " files", percent);
      SendMatchCount();
      CheckResult();
      match_count_ = 0;
    }
    if (replacement_mode_ == trOriginalFile) {
      TextFileError error = TFileWriter::SaveToFile(path, replaced, fwmCreateOrTruncate, encoding_);
      if (error) {
        SendMessage(error.Describe(), stError);
        throw EFindReplaceException("File " + path + " could not be overwritten.");
      }
    }
    if (terminated_) throw EFindReplaceException(kTerminated);
  }
  if (file_set_count_all_matches_) SendMatchCount();
}

void TBVTextFindAction::ThrowMatchFailure(const ERegExException& error) const {
  throw EFindReplaceException((match_reg_expr_
                                   ? "A syntax error occured parsing the Regular Expression : "
                                   : "An internal error occured parsing the input string : ") +
                              std::string(error.what()));
}

std::string TBVTextFindAction::BuildPattern() {
  std::string search;
  try {
    search = ExpandExpression(search_string_, true);
  } catch (const std::exception& e) {
    throw EFindReplaceException(std::string("Could not expand search string : ") + e.what());
  }
  if (search.empty()) throw EFindReplaceException("Search string is blank");
  std::string pattern = search;
  if (!match_reg_expr_) {
    pattern = RegEx::Escape(search, match_wildcards_);
    if (whole_words_) {
      pattern = "\\b" + pattern + "\\b";
    } else if (whole_lines_only_) {
      pattern = "^" + pattern + "$";
    }
    if (!case_sensitive_) pattern = "(?i)" + pattern;
  }
  SendMessage("Expression to Match is : " + pattern, stInfo);
  return pattern;
}

std::string TBVTextFindAction::ReplacementText() {
  if (replacement_mode_ == trNone) throw std::logic_error("Replace is not correctly enabled.");
  if (replacement_cached_) return cached_replacement_;
  std::string text = replacement_text_;
  if (expand_vars_when_replacing_) {
    try {
      text = ExpandExpression(text, true);
    } catch (const std::exception& e) {
      throw EFindReplaceException(std::string("Could not expand replacement string: ") + e.what());
    }
  }
  // Only the substitution reads references; a plain search has no groups to
  // refer to, and its whole match must stay literal text.
  if (!match_reg_expr_ && substitute_) {
    for (const char* reference : {"$0", "$&", "${0}", "${&}"})
      text = ReplaceAll(text, reference, std::string("\\") + reference);
  }
  return text;
}

void TBVTextFindAction::Search(const std::string& text, std::string* out, bool single,
                               bool from_file) {
  std::string pattern = BuildPattern();
  uint32_t options = roMultiLine | (case_sensitive_ ? roNone : roIgnoreCase);
  std::unique_ptr<TRegularExpression> expression = RegEx::NewRegularExpression(pattern, options);
  bool replacing = replacement_mode_ != trNone;
  // A script may change the variables a replacement refers to; without
  // scripts it is expanded once, not once per match.
  replacement_cached_ = false;
  if (replacing && !HasBody(GetScriptByName(kFindScript)) &&
      !HasBody(GetScriptByName(kGroupScript))) {
    cached_replacement_ = ReplacementText();
    replacement_cached_ = true;
  }
  offset_byte_ = offset_units_ = 0;
  out->clear();
  if (replacing) out->reserve(text.size() + text.size() / 8);
  size_t copy_from = 0;
  int last_percent = -1;
  try {
    std::unique_ptr<IMatch> match = expression->Match(text, from_file);
    while (match->Success()) {
      if (single) {
        // Once per percent: a progress line per match would swamp the log.
        int percent = static_cast<int>(match->Index() * 100 / text.size());
        if (percent != last_percent)
          SendProgress("Found " + std::to_string(match_count_) + " matches", percent);
        last_percent = percent;
      }
      ++match_count_;
      std::unique_ptr<IMatch> next = match->NextMatch();
      if (match_type_ != mtLastOnly || !next->Success())
        ActOnMatch(*match, text, &copy_from, replacing ? out : nullptr);
      if (terminated_) throw EFindReplaceException(kTerminated);
      if (match_type_ == mtFirstOnly) break;
      match = std::move(next);
    }
  } catch (const ERegExException& e) {
    ThrowMatchFailure(e);
  }
  if (replacing) out->append(text, copy_from);
}

void TBVTextFindAction::ActOnMatch(const IMatch& match, const std::string& text, size_t* copy_from,
                                   std::string* out) {
  std::string replacement;
  if (out != nullptr) {
    replacement = ReplacementText();
    if (substitute_) replacement = RegEx::Substitute(match, replacement);
  }
  RunFindTextScript(match, text, &replacement);
  if (match_reg_expr_) RunMatchGroupScripts(match);
  if (out == nullptr) return;
  size_t start = match.Index() - 1;
  out->append(text, *copy_from, start - *copy_from);
  out->append(replacement);
  *copy_from = start + match.Length();
}

void TBVTextFindAction::RunFindTextScript(const IMatch& match, const std::string& text,
                                          std::string* replacement) {
  TBVActionScript* script = GetScriptByName(kFindScript);
  if (!HasBody(script)) return;
  size_t start = match.Index() - 1;
  offset_units_ += Utf16Units(std::string_view(text).substr(offset_byte_, start - offset_byte_));
  offset_byte_ = start;
  ScriptParameters parameters = {{"Count", Variant(match_count_)},
                                 {"FoundText", Variant(std::string(match.Value()))},
                                 {"ReplaceText", Variant(*replacement)},
                                 {"Offset", Variant(static_cast<int64_t>(offset_units_))}};
  try {
    ExecuteScript(*script, parameters);
  } catch (const EFailAction& e) {
    SendMessage(e.what(), stError);
    throw std::runtime_error("OnFindText failed.");
  }
  *replacement = parameters[2].second.ToString();
}

void TBVTextFindAction::RunMatchGroupScripts(const IMatch& match) {
  TBVActionScript* script = GetScriptByName(kGroupScript);
  if (!HasBody(script)) return;
  for (int group = 0; group < match.GroupCount(); ++group) {
    ScriptParameters parameters = {{"Text", Variant(std::string(match.Group(group).Value))},
                                   {"MatchIndex", Variant(match_count_)},
                                   {"GroupIndex", Variant(group)}};
    try {
      ExecuteScript(*script, parameters);
    } catch (const EFailAction& e) {
      SendMessage(e.what(), stError);
      throw std::runtime_error("OnMatchGroup failed.");
    }
  }
}

void TBVTextFindAction::SendMatchCount() {
  if (match_count_ == 0) {
    SendMessage("No matches were found.", stInfo);
  } else if (match_count_ == 1) {
    SendMessage("Found 1 match.", stInfo);
  } else {
    SendMessage("Found " + std::to_string(match_count_) + " matches.", stInfo);
  }
}

void TBVTextFindAction::CheckResult() {
  switch (text_find_behaviour_) {
    case tfFailOnLess:
      if (match_count_ < fail_match_count_)
        throw EFindReplaceException("Failing due to insufficient matches.");
      break;
    case tfFailOnMore:
      if (match_count_ > fail_on_more_match_count_)
        throw EFindReplaceException("Failing due to too many matches.");
      break;
    case tfPutIntoVar:
      if (!put_count_into_var_.empty()) SetVariable(put_count_into_var_, Variant(match_count_));
      break;
    case tfDontFail:
      break;
  }
}

void TBVTextFindAction::WriteResult(const std::string& text) {
  if (replacement_mode_ == trOriginalFile && use_variable_) {
    SendMessage("Writing replaced data to variable " + bv_variable_ + "...", stInfo);
    SetVariable(bv_variable_, Variant(text));
  } else if (replacement_mode_ == trOriginalFile) {
    if (match_count_ == 0) {
      SendMessage("File not replaced as no matches found", stInfo);
      return;
    }
    WriteFile(ExpandExpression(source_path_, true), text);
  } else if (replacement_mode_ == trDestinationVariable) {
    SendMessage("Writing replaced data to variable " + destination_variable_ + "...", stInfo);
    SetVariable(destination_variable_, Variant(text));
  } else if (replacement_mode_ == trDestinationFile) {
    std::string path;
    try {
      path = ExpandExpression(destination_file_, true);
    } catch (const std::exception& e) {
      throw EFindReplaceException(std::string("Unable to expand destination file : ") + e.what());
    }
    if (path.empty()) throw EFindReplaceException("Output filename is blank.");
    WriteFile(path, text);
  }
}

void TBVTextFindAction::WriteFile(const std::string& path, const std::string& text) {
  SendMessage("Writing replaced data to file " + path, stInfo);
  // Replaced through a temporary file and a rename rather than deleted
  // first, so that a failed write keeps the old content.
  bool utf8 = encoding_ == etUTF8 ||
              (encoding_ == etAnsi && platform::IsUtf8Charset(platform::LocaleCharset()));
  if (!utf8) {
    TextFileError error = TFileWriter::SaveToFile(path, text, fwmCreateOrTruncate, encoding_);
    if (error) throw std::runtime_error(error.Describe());
    return;
  }
  // UTF-8 out needs no conversion; writing the text as it stands saves a
  // copy of it, which counts for a large file.
  size_t bad = FirstInvalidUtf8(text);
  if (bad != std::string::npos) {
    throw std::runtime_error(path + ": the new text is not valid UTF-8 at byte offset " +
                             std::to_string(bad));
  }
  platform::OsResult<platform::AtomicFileWriter> writer = platform::AtomicFileWriter::Begin(path);
  if (!writer.IsOk()) throw std::runtime_error(writer.Error().Describe());
  platform::OsError error = writer.Value().Write(ByteOrderMark(encoding_));
  if (!error) error = writer.Value().Write(text);
  if (!error) error = writer.Value().Commit();
  if (error) throw std::runtime_error(error.Describe());
}

}  // namespace brivant
