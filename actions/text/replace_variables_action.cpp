#include "actions/text/replace_variables_action.h"

#include <exception>
#include <optional>
#include <stdexcept>

#include "platform/file_system.h"
#include "platform/file_update_lock.h"

namespace brivant {
namespace {

constexpr std::string_view kLineBreak = "\r\n";

// A failure with the action's own message, logged as it stands.
class ReplaceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The text as a line list gives it back: every line followed by CR LF, so
// LF and CR breaks become CR LF and a final break is never doubled.
std::string ThroughLineList(std::string_view text) {
  std::string result;
  result.reserve(text.size() + text.size() / 16);
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find_first_of("\r\n", start);
    if (end == std::string_view::npos) end = text.size();
    result.append(text.substr(start, end - start)).append(kLineBreak);
    start = end;
    if (start == text.size()) break;
    if (text[start++] == '\r' && start < text.size() && text[start] == '\n') ++start;
  }
  return result;
}

}  // namespace

const EnumInfo& EnumTraits<TBVReplaceDataType>::Info() {
  static const EnumInfo info{"TBVReplaceDataType", {"rfVariable", "rfFile"}};
  return info;
}

const PropertyTable& TBVReplaceVariablesAction::Properties() {
  using T = TBVReplaceVariablesAction;
  static const PropertyTable table(
      nullptr, {
                   Property("SourceType", &T::source_type_).Default("rfFile"),
                   Property("SourceFile", &T::source_file_),
                   Property("SourceVariable", &T::source_variable_).TypeName("TVariableName"),
                   Property("WriteBackToSource", &T::write_back_to_source_).Default("True"),
                   Property("DestType", &T::dest_type_).Default("rfFile"),
                   Property("DestFile", &T::dest_file_),
                   Property("DestVariable", &T::dest_variable_).TypeName("TVariableName"),
                   Property("FailOnVariableErrors", &T::fail_on_variable_errors_).Default("True"),
                   Property("WriteToLog", &T::write_to_log_).Default("False"),
               });
  return table;
}

std::string TBVReplaceVariablesAction::GetFormattedDescription() const {
  bool from_variable = source_type_ == rfVariable;
  std::string source = from_variable ? source_variable_ : source_file_;
  std::string destination = write_back_to_source_      ? source
                            : dest_type_ == rfVariable ? dest_variable_
                                                       : dest_file_;
  return (from_variable ? "Source Variable: " : "Source File: ") + source + " => " + destination;
}

bool TBVReplaceVariablesAction::LoadSource(std::string* text, TEncodingType* encoding,
                                           std::string* path) {
  if (source_type_ == rfVariable) {
    if (!IsVariableDefined(source_variable_))
      throw ReplaceError("Variable not defined: " + source_variable_);
    SendMessage("Loading data from variable " + source_variable_, stInfo);
    *text = GetVariableValue(source_variable_).ToString();
    return true;
  }
  if (!TryExpandExpression("Source File Path", source_file_, *path, true)) return false;
  if (!platform::FileExists(*path)) throw ReplaceError("Source file not found: " + *path);
  SendMessage("Loading data from file " + *path, stInfo);
  TextFileResult<TLoadedText> loaded = TFileReader::LoadFromFile(*path);
  if (!loaded.IsOk()) throw std::runtime_error(loaded.Error().Describe());
  *text = loaded.Value().text;
  *encoding = loaded.Value().encoding;
  return true;
}

std::string TBVReplaceVariablesAction::Replace(const std::string& text) {
  int count = 0;
  std::string expanded;
  try {
    expanded = ExpandExpression(ThroughLineList(text), &count, fail_on_variable_errors_);
  } catch (const std::exception& e) {
    throw ReplaceError(std::string("Could not expand variables: ") + e.what());
  }
  SendMessage("Made " + std::to_string(count) + " replacements.", stInfo);
  if (expanded.ends_with(kLineBreak)) expanded.resize(expanded.size() - kLineBreak.size());
  if (write_to_log_) {
    SendMessage("Contents with Replaced Variables:", stInfo);
    SendMessage(expanded, stInfo);
  }
  return expanded;
}

void TBVReplaceVariablesAction::SaveFile(const std::string& path, const std::string& text,
                                         TEncodingType encoding) {
  if (TextFileError error = TFileWriter::SaveToFile(path, text, fwmCreateOrTruncate, encoding))
    throw ReplaceError("Could not save file: " + error.Describe());
}

bool TBVReplaceVariablesAction::Store(const std::string& text, TEncodingType encoding,
                                      const std::string& source_path) {
  if (write_back_to_source_) {
    if (source_type_ == rfVariable) {
      SendMessage("Writing result to source variable.", stInfo);
      SetVariable(source_variable_, Variant(text));
    } else {
      SendMessage("Writing result back to source file.", stInfo);
      SaveFile(source_path, text, encoding);
    }
    return true;
  }
  if (dest_type_ == rfVariable) {
    if (!IsVariableDefined(dest_variable_))
      throw ReplaceError("Destination variable not defined: " + dest_variable_);
    SendMessage("Writing result to variable " + dest_variable_, stInfo);
    SetVariable(dest_variable_, Variant(text));
    return true;
  }
  std::string path;
  if (!TryExpandExpression("Destination File Path", dest_file_, path, true)) return false;
  SendMessage("Writing result to file " + path, stInfo);
  SaveFile(path, text, encoding);
  return true;
}

bool TBVReplaceVariablesAction::Run() {
  std::string text, source_path;
  // Text from a variable goes to a file in the ANSI character set.
  TEncodingType encoding = etAnsi;
  if (source_type_ == rfFile && write_back_to_source_) {
    // Rewriting the source in place: no other build may change it between
    // our read and our write. The path is expanded here for the lock and
    // again, identically, by LoadSource.
    std::string path;
    if (!TryExpandExpression("Source File Path", source_file_, path, true)) return false;
    platform::OsResult<platform::FileUpdateLock> lock = platform::FileUpdateLock::Acquire(path);
    if (!lock.IsOk()) throw std::runtime_error(lock.Error().Describe());
    if (!LoadSource(&text, &encoding, &source_path)) return false;
    return Store(Replace(text), encoding, source_path);
  }
  if (!LoadSource(&text, &encoding, &source_path)) return false;
  return Store(Replace(text), encoding, source_path);
}

bool TBVReplaceVariablesAction::Execute() {
  try {
    return Run();
  } catch (const ReplaceError& e) {
    SendMessage(e.what(), stError);
  } catch (const std::exception& e) {
    SendMessage(std::string("An error occured: ") + e.what(), stError);
  }
  return false;
}

}  // namespace brivant
