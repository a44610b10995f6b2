// `brivant list` and `brivant props`: what the loaded packages offer.
#include <cctype>
#include <exception>
#include <iostream>
#include <memory>
#include <string_view>

#include "cli/commands.h"
#include "host/action_registry.h"
#include "host/json_log_sink.h"
#include "host/spelling.h"
#include "package/custom_bv_action.h"
#include "package/property_table.h"
#include "package/string_utils.h"

namespace brivant::cli {
namespace {

// Tabs and line breaks would break a tab-separated line apart.
std::string OneField(std::string_view text) {
  std::string field;
  for (char c : text) {
    if (c == '\t') {
      field += "\\t";
    } else if (c == '\n') {
      field += "\\n";
    } else if (c != '\r') {
      field += c;
    }
  }
  return field;
}

std::string ValueNames(const EnumInfo& info) {
  if (info.value_names.empty()) return "0.." + std::to_string(info.max_ordinal);
  std::string names;
  for (std::string_view name : info.value_names) {
    if (!names.empty()) names += ", ";
    names += name;
  }
  return names;
}

std::string TypeText(const PropertyInfo& info) {
  if (info.type == PropertyType::kSet)
    return "set of " + std::string(info.enum_info->type_name) + " (" + ValueNames(*info.enum_info) +
           ")";
  if (info.type == PropertyType::kEnumeration)
    return std::string(info.type_name) + " (" + ValueNames(*info.enum_info) + ")";
  return std::string(info.type_name);
}

// The value a fresh instance holds is the default as the class really sets
// it; a default that depends on the moment has only its description.
std::string DefaultText(const PropertyInfo& info, const TCustomBVAction& instance) {
  if (info.default_is_dynamic) return info.default_text;
  try {
    return FormatPropertyValue(info, GetProperty(instance, info));
  } catch (const std::exception&) {
    return info.default_text;
  }
}

bool IsListed(const TStrings& names, std::string_view name) {
  for (const std::string& listed : names) {
    if (SameText(listed, name)) return true;
  }
  return false;
}

std::string FlagsText(const PropertyInfo& info, const TStrings& hidden, const TStrings& read_only) {
  std::string flags = info.stored ? "stored" : "not stored";
  if (info.IsReadOnly() || IsListed(read_only, info.name)) flags += ",read-only";
  if (IsListed(hidden, info.name)) flags += ",hidden";
  return flags;
}

// The text of `name` in a list of "Name=Text" lines. Section lines ("[...]")
// are skipped; a derived class may repeat a name, and its later line wins.
std::string LookUpText(const TStrings& lines, std::string_view name) {
  std::string text;
  for (const std::string& line : lines) {
    if (!line.empty() && line.front() == '[') continue;
    size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    if (SameText(std::string_view(line).substr(0, equals), name)) text = line.substr(equals + 1);
  }
  return text;
}

}  // namespace

std::vector<PropertyRow> PropertyRowsOf(const TCustomBVAction& instance) {
  TStrings aliases, help, hidden, read_only;
  instance.GetPropertyAlias(aliases);
  instance.GetPropertyHelp(help);
  instance.GetHiddenProperties(hidden);
  instance.GetReadOnlyProperties(read_only);
  std::vector<PropertyRow> rows;
  for (const PropertyInfo& info : instance.GetPropertyTable().Rows()) {
    rows.push_back({std::string(info.name), TypeText(info), DefaultText(info, instance),
                    FlagsText(info, hidden, read_only), LookUpText(aliases, info.name),
                    LookUpText(help, info.name)});
  }
  return rows;
}

const host::RegisteredAction* FindActionOrSuggest(const host::ActionRegistry& registry,
                                                  const std::string& class_name) {
  const host::RegisteredAction* action = registry.FindAction(class_name);
  if (action != nullptr) return action;
  std::vector<std::string_view> class_names;
  for (const host::RegisteredAction& registered : registry.Actions())
    class_names.push_back(registered.action_class->Name());
  PrintError("unknown action class '" + class_name + "'" +
             host::DidYouMean(class_name, class_names));
  return nullptr;
}

int ListActions(const host::ActionRegistry& registry, const std::string& category) {
  if (!category.empty()) {
    std::vector<std::string_view> categories;
    for (const host::RegisteredAction& action : registry.Actions())
      categories.push_back(action.category);
    bool known = false;
    for (std::string_view name : categories) known = known || SameText(name, category);
    if (!known) {
      PrintError("unknown category '" + category + "'" + host::DidYouMean(category, categories));
      return kExitUsage;
    }
  }
  for (const host::RegisteredAction& action : registry.Actions()) {
    if (!category.empty() && !SameText(action.category, category)) continue;
    std::unique_ptr<TCustomBVAction> instance = action.action_class->Create();
    std::cout << OneField(action.category) << '\t' << action.action_class->Name() << '\t'
              << OneField(instance->GetActionName()) << '\t'
              << OneField(instance->GetQuickHelpFilename()) << '\n';
  }
  return kExitSuccess;
}

int PrintProperties(const host::ActionRegistry& registry, const std::string& class_name,
                    bool as_json) {
  const host::RegisteredAction* action = FindActionOrSuggest(registry, class_name);
  if (action == nullptr) return kExitUsage;
  std::unique_ptr<TCustomBVAction> instance = action->action_class->Create();
  std::vector<PropertyRow> rows = PropertyRowsOf(*instance);
  if (as_json) {
    std::cout << PropertiesAsJson(*action, *instance, rows) << '\n';
    return kExitSuccess;
  }
  std::cout << "# " << action->action_class->Name() << " (" << OneField(instance->GetActionName())
            << "): see docs/actions/" << ReferencePageName(action->category) << "\n"
            << "# name\ttype\tdefault\tflags\tdisplay text\thelp\n";
  for (const PropertyRow& row : rows) {
    std::cout << row.name << '\t' << row.type << '\t' << OneField(row.default_text) << '\t'
              << row.flags << '\t' << OneField(row.display_text) << '\t' << OneField(row.help)
              << '\n';
  }
  return kExitSuccess;
}

std::string PropertiesAsJson(const host::RegisteredAction& action, const TCustomBVAction& instance,
                             const std::vector<PropertyRow>& rows) {
  std::string json = "{\"class\":";
  host::AppendJsonString(action.action_class->Name(), &json);
  json += ",\"category\":";
  host::AppendJsonString(action.category, &json);
  json += ",\"displayName\":";
  host::AppendJsonString(instance.GetActionName(), &json);
  json += ",\"properties\":[";
  for (const PropertyRow& row : rows) {
    if (json.back() != '[') json += ',';
    const std::pair<const char*, const std::string*> fields[] = {{"name", &row.name},
                                                                 {"type", &row.type},
                                                                 {"default", &row.default_text},
                                                                 {"flags", &row.flags},
                                                                 {"displayText", &row.display_text},
                                                                 {"help", &row.help}};
    json += '{';
    for (const auto& [key, value] : fields) {
      if (json.back() != '{') json += ',';
      json += std::string("\"") + key + "\":";
      host::AppendJsonString(*value, &json);
    }
    json += '}';
  }
  return json + "]}";
}

}  // namespace brivant::cli
