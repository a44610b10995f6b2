#include "pages/reg_root_property_editor.h"

#include "package/string_utils.h"

namespace brivant::pages {
namespace {

// The offered roots with their handle values.
constexpr std::array<std::pair<std::string_view, int64_t>, 5> kRoots = {{
    {"HKEY_CLASSES_ROOT", 0x80000000},
    {"HKEY_CURRENT_USER", 0x80000001},
    {"HKEY_LOCAL_MACHINE", 0x80000002},
    {"HKEY_USERS", 0x80000003},
    {"HKEY_CURRENT_CONFIG", 0x80000005},
}};

}  // namespace

const TBVDesignClass& TRegRootPropertyEditor::DesignClass() {
  static const TBVDesignClass editor{"TRegRootPropertyEditor", "TDCDsgnOrdinalProperty", {}};
  return editor;
}

const std::array<std::string_view, 5>& TRegRootPropertyEditor::GetValues() {
  static constexpr std::array<std::string_view, 5> kValues = {
      kRoots[0].first, kRoots[1].first, kRoots[2].first, kRoots[3].first, kRoots[4].first};
  return kValues;
}

std::string TRegRootPropertyEditor::HandleToText(int64_t handle) {
  for (const auto& [name, value] : kRoots) {
    if (value == handle) return std::string(name);
  }
  return std::to_string(handle);
}

int64_t TRegRootPropertyEditor::TextToHandle(std::string_view text, int64_t current) {
  for (const auto& [name, value] : kRoots) {
    if (SameText(TrimView(text), name)) return value;
  }
  return current;
}

}  // namespace brivant::pages
