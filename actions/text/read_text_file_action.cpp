#include "actions/text/read_text_file_action.h"

#include <algorithm>
#include <exception>

#include "package/string_utils.h"
#include "package/text_file.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

constexpr const char* kLineScript = "OnReadLine";

// Escapes the reference markers so that the host never expands the text.
std::string EscapeVariableMarkers(const std::string& text) {
  return ReplaceAll(ReplaceAll(text, "%", "%%"), "$(", "$$(");
}

}  // namespace

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find_first_of("\r\n", start);
    if (end == std::string::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
  }
  return lines;
}

TBVReadTextFileAction::TBVReadTextFileAction() {
  AddScript(kLineScript, {"Action", "LineText"});
}

const PropertyTable& TBVReadTextFileAction::Properties() {
  using T = TBVReadTextFileAction;
  static const PropertyTable table(
      nullptr, {
                   Property("FileName", &T::file_name_),
                   Property("BVVariable", &T::bv_variable_).TypeName("TVariableName"),
                   Property("PutContentsInVar", &T::put_contents_in_var_).Default("False"),
                   Property("EscapeVariables", &T::escape_variables_).Default("True"),
               });
  return table;
}

std::string TBVReadTextFileAction::GetFormattedDescription() const {
  return "Read Text File [ " + ExtractFileName(file_name_) + " ]";
}

bool TBVReadTextFileAction::Validate(IBVActionValidationError& errors) {
  if (!file_name_.empty()) return true;
  errors.AddError("File Name", "Filename has not been set", 0);
  return false;
}

void TBVReadTextFileAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Read Text File]", "FileName=File Name", "BVVariable=Variable",
                           "PutContentsInVar=Put File Contents in Variable",
                           "EscapeVariables=Escape Variables"});
}

void TBVReadTextFileAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(), {"FileName=Name of file to read",
                           "BVVariable=Variable to hold contents of file",
                           "PutContentsInVar=Put the contents of the file into a variable",
                           "EscapeVariables=All variable markers will be escaped in the text"});
}

void TBVReadTextFileAction::RunLineScript(const std::string& text) {
  TBVActionScript* script = GetScriptByName(kLineScript);
  if (script == nullptr || !script->HasBody()) return;
  for (const std::string& line : SplitLines(text)) {
    ScriptParameters parameters = {{"LineText", Variant(line)}};
    ExecuteScript(*script, parameters);
  }
}

bool TBVReadTextFileAction::Execute() {
  std::string path;
  if (!TryExpandExpression("FileName", file_name_, path, true)) return false;
  path = Trim(path);
  if (!platform::FileExists(path)) {
    SendMessage("ERROR - File does not exists: " + path, stError);
    return false;
  }
  SendMessage("Reading file...", stInfo);
  try {
    TextFileResult<TLoadedText> loaded = TFileReader::LoadFromFile(path);
    if (!loaded.IsOk()) {
      SendMessage("Failed to read from text file:", stError);
      SendMessage(loaded.Error().message, stError);
      return false;
    }
    std::string text = std::move(loaded).Value().text;
    if (!bv_variable_.empty() && put_contents_in_var_) {
      std::string value = text;
      value.erase(std::remove(value.begin(), value.end(), '\0'), value.end());
      if (escape_variables_) {
        SendMessage("Escaping variables...", stInfo);
        value = EscapeVariableMarkers(value);
      }
      SetVariable(bv_variable_, Variant(value));
    }
    RunLineScript(text);
  } catch (const std::exception& e) {
    SendMessage("Failed to read from text file:", stError);
    SendMessage(e.what(), stError);
    return false;
  }
  SendMessage("Successfully read file " + path, stSuccess);
  return true;
}

}  // namespace brivant
