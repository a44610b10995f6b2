#include "host/variable_store.h"

#include <cctype>

namespace brivant::host {

std::string VariableStore::Key(const std::string& name) {
  std::string key = name;
  for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return key;
}

void VariableStore::Set(const std::string& name, const Variant& value) {
  auto [it, inserted] = index_.try_emplace(Key(name), entries_.size());
  if (inserted) {
    entries_.push_back(Entry{name, value});
  } else {
    entries_[it->second].value = value;
  }
}

bool VariableStore::IsDefined(const std::string& name) const {
  return index_.count(Key(name)) != 0;
}

std::optional<Variant> VariableStore::Get(const std::string& name) const {
  auto it = index_.find(Key(name));
  if (it == index_.end()) return std::nullopt;
  return entries_[it->second].value;
}

std::vector<std::string> VariableStore::Names() const {
  std::vector<std::string> names;
  names.reserve(entries_.size());
  for (const Entry& entry : entries_) names.push_back(entry.name);
  return names;
}

}  // namespace brivant::host
