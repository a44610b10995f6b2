// TRegRootPropertyEditor: the designer's drop-down for RegRoot. It offers
// the five roots a build uses by name, shows the stored handle by its name
// and stores the handle of a chosen name. HKEY_PERFORMANCE_DATA and
// HKEY_DYN_DATA are not offered.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "package/registration.h"

namespace brivant::pages {

class TRegRootPropertyEditor {
 public:
  static const TBVDesignClass& DesignClass();

  static const std::array<std::string_view, 5>& GetValues();
  /// The name of the root `handle`; its number for any other value.
  static std::string HandleToText(int64_t handle);
  /// The handle of the root named `text` (any case); `current` for a text
  /// that names none of the offered roots, so a typing slip changes nothing.
  static int64_t TextToHandle(std::string_view text, int64_t current);
};

}  // namespace brivant::pages
