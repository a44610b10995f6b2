#include "pages/file_attribute_editor.h"

namespace brivant::pages {
namespace {

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

}  // namespace

const TBVDesignClass& TFileAttributeEditor::DesignClass() {
  static const TBVDesignClass editor{"TFileAttributeEditor", "TDCDsgnOrdinalProperty", {}};
  return editor;
}

const std::array<std::string_view, 3>& TFileAttributeEditor::GetValues() {
  static constexpr std::array<std::string_view, 3> kValues{"Don't Touch", "Set", "Clear"};
  return kValues;
}

std::string TFileAttributeEditor::OrdinalToText(int64_t ordinal) {
  if (ordinal < 0 || ordinal >= static_cast<int64_t>(GetValues().size()))
    return std::to_string(ordinal);
  return std::string(GetValues()[static_cast<size_t>(ordinal)]);
}

int64_t TFileAttributeEditor::TextToOrdinal(std::string_view text) {
  const std::string upper = UpperCase(text);
  if (upper == "SET") return 1;
  if (upper == "CLEAR") return 2;
  return 0;
}

}  // namespace brivant::pages
