// `brivant reference`: the action reference in docs/actions/, one Markdown
// page per category. Headings and property tables come from the registered
// classes, so they cannot drift from what `props` prints; the text a person
// wrote for each action sits between generated markers and is kept.
#include <iostream>
#include <map>
#include <memory>

#include "cli/commands.h"
#include "host/action_registry.h"
#include "package/custom_bv_action.h"
#include "platform/file_system.h"

namespace brivant::cli {
namespace {

constexpr std::string_view kPageIntro =
    "<!-- Headings and property tables are generated: after changing an action's properties,\n"
    "     run `brivant reference docs/actions`. Write only between a heading and its table. -->\n";

}  // namespace

std::string ReferencePageName(std::string_view category) {
  std::string name;
  for (char c : category) {
    if (std::isalnum(static_cast<unsigned char>(c))) {
      name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else if (!name.empty() && name.back() != '-') {
      name += '-';
    }
  }
  while (!name.empty() && name.back() == '-') name.pop_back();
  return name + ".md";
}

namespace {

std::string Cell(std::string_view text) {
  std::string cell;
  for (char c : text) {
    if (c == '|') {
      cell += "\\|";
    } else if (c == '\n') {
      cell += "<br>";
    } else if (c != '\r') {
      cell += c;
    }
  }
  return cell;
}

std::string Code(std::string_view text) { return text.empty() ? "" : "`" + Cell(text) + "`"; }

std::string BeginMarker(std::string_view class_name) {
  return "<!-- begin " + std::string(class_name) + " -->\n";
}
std::string TableMarker(std::string_view class_name) {
  return "<!-- properties " + std::string(class_name) + " -->\n";
}
std::string EndMarker(std::string_view class_name) {
  return "<!-- end " + std::string(class_name) + " -->\n";
}

// What a person wrote for the class on the old page; empty when none.
std::string HandWritten(const std::string& page, std::string_view class_name) {
  std::string begin = BeginMarker(class_name);
  size_t start = page.find(begin);
  if (start == std::string::npos) return "";
  start += begin.size();
  size_t end = page.find(TableMarker(class_name), start);
  if (end == std::string::npos) return "";
  return page.substr(start, end - start);
}

std::string Section(const host::RegisteredAction& action, const std::string& old_page) {
  std::unique_ptr<TCustomBVAction> instance = action.action_class->Create();
  std::string_view class_name = action.action_class->Name();
  std::string text = "## " + instance->GetActionName() + " (`" + std::string(class_name) + "`)\n\n";
  text += BeginMarker(class_name);
  std::string written = HandWritten(old_page, class_name);
  text += written.empty() ? "\n" : written;
  text += TableMarker(class_name);
  text += "| Property | Type | Default | Flags | Display text | Help |\n";
  text += "| --- | --- | --- | --- | --- | --- |\n";
  for (const PropertyRow& row : PropertyRowsOf(*instance)) {
    text += "| `" + row.name + "` | " + Cell(row.type) + " | " + Code(row.default_text) + " | " +
            row.flags + " | " + Cell(row.display_text) + " | " + Cell(row.help) + " |\n";
  }
  return text + EndMarker(class_name) + "\n";
}

}  // namespace

int WriteReference(const host::ActionRegistry& registry, const std::string& directory, bool check) {
  // Categories in the order their first action was registered.
  std::vector<std::string> categories;
  std::map<std::string, std::vector<const host::RegisteredAction*>> by_category;
  for (const host::RegisteredAction& action : registry.Actions()) {
    std::string category(action.category);
    if (by_category[category].empty()) categories.push_back(category);
    by_category[category].push_back(&action);
  }
  int stale = 0;
  for (const std::string& category : categories) {
    std::string path = directory + "/" + ReferencePageName(category);
    platform::OsResult<std::string> read = platform::ReadFile(path);
    std::string old_page = read.IsOk() ? read.Value() : "";
    std::string page = "# " + category + "\n\n" + std::string(kPageIntro) + "\n";
    for (const host::RegisteredAction* action : by_category[category])
      page += Section(*action, old_page);
    page.pop_back();  // one line end at the end of the page
    if (page == old_page) continue;
    ++stale;
    if (check) {
      std::cout << path << ": out of date; run 'brivant reference " << directory << "'\n";
      continue;
    }
    if (platform::OsError error = platform::WriteFileAtomically(path, page)) {
      PrintError(error.Describe());
      return kExitFailure;
    }
    std::cout << "wrote " << path << '\n';
  }
  return check && stale > 0 ? kExitFailure : kExitSuccess;
}

}  // namespace brivant::cli
