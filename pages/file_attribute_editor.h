// TFileAttributeEditor: the designer's editor for TAttributeSetting
// properties of the set-attributes action. It shows the three settings by
// their designer texts in a drop-down and turns typed text back into an
// ordinal; the designer stores the ordinal.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "package/registration.h"

namespace brivant::pages {

class TFileAttributeEditor {
 public:
  static const TBVDesignClass& DesignClass();

  // The drop-down texts in ordinal order: leave, set, clear.
  static const std::array<std::string_view, 3>& GetValues();
  // The text of `ordinal`; its number for an ordinal outside the type.
  static std::string OrdinalToText(int64_t ordinal);
  // "Set" gives 1 and "Clear" 2, in any case; every other text gives 0, so
  // a typing slip leaves the attribute alone.
  static int64_t TextToOrdinal(std::string_view text);
};

}  // namespace brivant::pages
