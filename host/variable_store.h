// The build's variables: those the project declares, those -D sets, and those
// actions create with SetVariable. Names compare case-insensitively and keep
// the spelling they were first given. Not thread-safe: the build thread owns it.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "package/variant.h"

namespace brivant::host {

class VariableStore {
 public:
  // Declares or overwrites a variable.
  void Set(const std::string& name, const Variant& value);
  bool IsDefined(const std::string& name) const;
  // nullopt when the store has no such variable.
  std::optional<Variant> Get(const std::string& name) const;
  // In the order the variables were first set.
  std::vector<std::string> Names() const;

 private:
  static std::string Key(const std::string& name);

  struct Entry {
    std::string name;
    Variant value;
  };
  std::vector<Entry> entries_;
  std::unordered_map<std::string, size_t> index_;
};

}  // namespace brivant::host
