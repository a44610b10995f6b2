#include "actions/checksums/extract_file_ver_info_action.h"

#include <exception>
#include <string_view>

#include "actions/checksums/version_info.h"
#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

// A list line split at its first '=', both parts trimmed: the field name and
// the variable name.
struct ListLine {
  std::string name;
  std::string variable;
};

ListLine SplitLine(std::string_view line) {
  size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {Trim(line), ""};
  return {Trim(line.substr(0, equals)), Trim(line.substr(equals + 1))};
}

// Blank lines carry no field and are passed over.
std::vector<ListLine> FieldLines(const std::vector<std::string>& list) {
  std::vector<ListLine> lines;
  for (const std::string& line : list) {
    if (!TrimView(line).empty()) lines.push_back(SplitLine(line));
  }
  return lines;
}

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Whether `text` contains `first`, any run of blanks, then `second`,
// ignoring ASCII case: the patterns "file\s*version" and "product\s*version".
bool ContainsWords(std::string_view text, std::string_view first, std::string_view second) {
  for (size_t start = 0; start + first.size() <= text.size(); ++start) {
    if (!SameText(text.substr(start, first.size()), first)) continue;
    size_t next = start + first.size();
    while (next < text.size() && IsBlank(text[next])) ++next;
    if (SameText(text.substr(next, second.size()), second)) return true;
  }
  return false;
}

}  // namespace

const PropertyTable& TBVExtractFileVerInfoAction::Properties() {
  using T = TBVExtractFileVerInfoAction;
  static const PropertyTable table(
      nullptr, {
                   Property("FileName", &T::file_name_),
                   Property("VerInfoList", &T::ver_info_list_),
                   Property("IgnoreIfNotFound", &T::ignore_if_not_found_).Default("True"),
               });
  return table;
}

std::string TBVExtractFileVerInfoAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + file_name_ + " ]";
}

bool TBVExtractFileVerInfoAction::Validate(IBVActionValidationError& errors) {
  if (!file_name_.empty()) return true;
  errors.AddError("File Name", "Filename has not been set", 0);
  return false;
}

void TBVExtractFileVerInfoAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[Extract Version Info]", "FileName=Filename", "VerInfoList=Version Info List",
               "IgnoreIfNotFound=Ignore If Not Found"});
}

void TBVExtractFileVerInfoAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"FileName=The name of the file to query for version information",
               "VerInfoList=Name=Value pairs of the information to retrieve and the variable "
               "to set",
               "IgnoreIfNotFound=Set to true to ignore any version information names that "
               "aren't found in the file."});
}

void TBVExtractFileVerInfoAction::RenameVariableReference(const TStrings& renames) {
  for (std::string& line : ver_info_list_) {
    size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    std::string variable = Trim(std::string_view(line).substr(equals + 1));
    for (const std::string& rename : renames) {
      ListLine names = SplitLine(rename);
      if (names.name.empty() || !SameText(variable, names.name)) continue;
      line = line.substr(0, equals + 1) + names.variable;
      break;
    }
  }
}

std::string TBVExtractFileVerInfoAction::ResolveField(TVersionInfo& info,
                                                      const std::string& file_name,
                                                      const std::string& name) {
  for (const auto& [field_name, field] : TVersionInfo::NamedFields()) {
    if (name == field_name) return info.Record().*field;
  }
  // Spellings such as "File Version" or "fileversion".
  if (ContainsWords(name, "file", "version")) return info.Record().FileVersion;
  if (ContainsWords(name, "product", "version")) return info.Record().ProductVersion;
  return info.GetCustomValue(file_name, name);
}

bool TBVExtractFileVerInfoAction::GetFileVersionStrings(const std::string& FileName,
                                                        TStrings& Names, bool IgnoreIfNotFound) {
  try {
    TStatusTag missing_tag = IgnoreIfNotFound ? stWarning : stError;
    TVersionInfo info;
    if (!info.GetVersion(FileName, *this, missing_tag)) return false;
    bool missing = false;
    for (std::string& name : Names) {
      std::string value = ResolveField(info, FileName, name);
      if (value.empty()) {
        SendMessage("Version Information " + name + " not found", missing_tag);
        missing = true;
      } else {
        SendMessage(name + " is " + value, stInfo);
      }
      name += "=" + value;
    }
    return !missing || IgnoreIfNotFound;
  } catch (const std::exception& e) {
    SendMessage("GetFileVersionStrings failed", stError);
    SendMessage(e.what(), stError);
    return false;
  }
}

bool TBVExtractFileVerInfoAction::Execute() {
  std::string path;
  if (!TryExpandExpression("Filename", file_name_, path, true)) return false;
  path = Trim(path);
  if (path.empty()) {
    SendMessage("Filename has not been set", stError);
    return false;
  }
  std::vector<ListLine> lines = FieldLines(ver_info_list_);
  for (const ListLine& line : lines) {
    if (IsVariableDefined(line.variable)) continue;
    SendMessage("Variable : " + line.variable + " - is not defined", stError);
    return false;
  }
  if (!platform::FileExists(path)) {
    SendMessage("File " + path + " does not exist", stError);
    return false;
  }
  if (lines.empty()) {
    SendMessage("No version info fields configured", stError);
    return false;
  }
  TStrings names;
  for (const ListLine& line : lines) names.push_back(line.name);
  SendMessage("Getting file version information for " + path, stInfo);
  if (!GetFileVersionStrings(path, names, ignore_if_not_found_)) {
    SendMessage("Getting file version information failed", stError);
    return false;
  }
  for (size_t i = 0; i < lines.size(); ++i) {
    SetVariable(lines[i].variable, Variant(names[i].substr(lines[i].name.size() + 1)));
  }
  SendMessage("Version information successfully retrieved", stSuccess);
  return true;
}

}  // namespace brivant
