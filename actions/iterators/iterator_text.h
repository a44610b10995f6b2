// Text helpers the iterators share for logging their item lists.
#pragma once

#include <string>
#include <vector>

namespace brivant {

// The items as one multi-line log message: one item per line.
inline std::string JoinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) text += '\n';
    text += lines[i];
  }
  return text;
}

}  // namespace brivant
