#include "actions/files/root_guard.h"

#include <exception>
#include <vector>

#include "package/custom_bv_action.h"
#include "platform/file_identity.h"

namespace brivant {
namespace {

// The references "%NAME%" and "$(NAME)" in `text`, "%%" and "$$(" skipped.
std::vector<std::string> References(const std::string& text) {
  std::vector<std::string> found;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "%%") == 0 || text.compare(i, 3, "$$(") == 0) {
      i += 1;
      continue;
    }
    size_t end = std::string::npos;
    if (text[i] == '%') end = text.find('%', i + 1);
    if (text.compare(i, 2, "$(") == 0) end = text.find(')', i + 2);
    if (end == std::string::npos) continue;
    found.push_back(text.substr(i, end - i + 1));
    i = end;
  }
  return found;
}

std::string EmptyReferences(TCustomBVAction& action, const std::string& unexpanded) {
  std::string list;
  for (const std::string& reference : References(unexpanded)) {
    std::string value;
    try {
      value = action.ExpandExpression(reference, true);
    } catch (const std::exception&) {
      continue;  // not a variable after all
    }
    if (!value.empty()) continue;
    list += (list.empty() ? "" : ", ") + reference;
  }
  return list;
}

}  // namespace

bool RefuseRootPath(TCustomBVAction& action, const std::string& property,
                    const std::string& unexpanded, const std::string& expanded) {
  if (expanded.empty() || !platform::IsRootOrRootEntry(expanded)) return false;
  std::string empty = EmptyReferences(action, unexpanded);
  action.SendMessage("refusing " + property + " \"" + unexpanded + "\": it leads to \"" + expanded +
                         "\", the root directory or an entry right in it" +
                         (empty.empty() ? "" : " (empty once expanded: " + empty + ")"),
                     stError);
  return true;
}

}  // namespace brivant
