#include "host/expander.h"

#include <cctype>

#include "package/exceptions.h"

namespace brivant::host {
namespace {

bool IsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsNameChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.';
}

// Length of the name starting at text[pos], 0 when none starts there.
size_t NameLength(std::string_view text, size_t pos) {
  if (pos >= text.size() || !IsNameStart(text[pos])) return 0;
  size_t end = pos + 1;
  while (end < text.size() && IsNameChar(text[end])) ++end;
  return end - pos;
}

}  // namespace

std::string UndefinedVariableMessage(std::string_view name) {
  return "Variable \"" + std::string(name) + "\" is not defined";
}

std::string ExpansionFailureMessage(std::string_view property_title, std::string_view reason) {
  return "Unable to expand " + std::string(property_title) + ": " + std::string(reason);
}

std::string ExpandReferences(std::string_view text, const VariableResolver& resolve,
                             bool fail_on_unknown, int* replaced) {
  std::string out;
  out.reserve(text.size());
  int count = 0;
  size_t i = 0;
  // Replaces the reference text[i, i + length) by the value of `name`.
  auto substitute = [&](const std::string& name, size_t length) {
    std::optional<std::string> value = resolve(name);
    if (!value) {
      if (fail_on_unknown) throw EVariableException(UndefinedVariableMessage(name));
      out.append(text.substr(i, length));
    } else {
      out += *value;
      ++count;
    }
    i += length;
  };
  while (i < text.size()) {
    char c = text[i];
    if (c == '%') {
      if (i + 1 < text.size() && text[i + 1] == '%') {
        out += '%';
        i += 2;
        continue;
      }
      size_t length = NameLength(text, i + 1);
      if (length > 0 && i + 1 + length < text.size() && text[i + 1 + length] == '%') {
        substitute(std::string(text.substr(i + 1, length)), length + 2);
        continue;
      }
    } else if (c == '$' && i + 1 < text.size()) {
      if (text.substr(i, 3) == "$$(") {
        out += "$(";
        i += 3;
        continue;
      }
      if (text[i + 1] == '(') {
        size_t length = NameLength(text, i + 2);
        if (length > 0 && i + 2 + length < text.size() && text[i + 2 + length] == ')') {
          substitute(std::string(text.substr(i + 2, length)), length + 3);
          continue;
        }
      }
    }
    out += c;
    ++i;
  }
  if (replaced != nullptr) *replaced = count;
  return out;
}

}  // namespace brivant::host
