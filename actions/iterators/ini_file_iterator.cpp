#include "actions/iterators/ini_file_iterator.h"

#include <exception>

#include "package/exceptions.h"
#include "package/ini_file.h"

namespace brivant {

const EnumInfo& EnumTraits<TIniIteratorMode>::Info() {
  static const EnumInfo info{"TIniIteratorMode", {"iiSections", "iiValues"}};
  return info;
}

const PropertyTable& TIniFileIterator::Properties() {
  using T = TIniFileIterator;
  static const PropertyTable table(
      &TBVBaseIterator::Properties(),
      {
          Property("IniFilename", &T::ini_filename_),
          Property("IteratorMode", &T::iterator_mode_).Default("iiSections"),
          Property("SectionsVar", &T::sections_var_).TypeName("TVariableName"),
          Property("SectionName", &T::section_name_),
          Property("NameVariable", &T::name_variable_).TypeName("TVariableName"),
          Property("ValueVariable", &T::value_variable_).TypeName("TVariableName"),
          ReadOnlyProperty("ItemCount", &T::GetItemCount),
          ReadOnlyProperty("ItemIndex", &T::GetItemIndex),
      });
  return table;
}

std::string TIniFileIterator::GetFormattedDescription() const {
  return GetActionName() + " [ " + ini_filename_ + " ]";
}

bool TIniFileIterator::Validate(IBVActionValidationError& errors) {
  bool ok = true;
  if (ini_filename_.empty()) {
    errors.AddError("Inifile", "An INI file has not been set", 0);
    ok = false;
  }
  if (iterator_mode_ == iiSections && sections_var_.empty()) {
    errors.AddError("Sections Variable", "The Sections Variable has not been set", 0);
    ok = false;
  }
  if (iterator_mode_ == iiValues && name_variable_.empty() && value_variable_.empty()) {
    errors.AddError("Variable", "Both Name variable and Values variable has not been set", 0);
    ok = false;
  }
  return ok;
}

void TIniFileIterator::GetHiddenProperties(TStrings& list) const {
  TBVBaseIterator::GetHiddenProperties(list);
  list.insert(list.end(), {"ItemCount", "ItemIndex"});
}

bool TIniFileIterator::Populate(const std::string& path) {
  try {
    TIniFile ini(path);
    if (iterator_mode_ == iiSections) {
      items_ = ini.ReadSections();
      return true;
    }
    std::string section;
    if (TryExpandExpression("Section Name", section_name_, section, true))
      items_ = ini.ReadSectionValues(section);
    return true;
  } catch (const EIniFileError& e) {
    // The reason names the file; the loop's own message below does not.
    SendMessage(e.what(), stError);
    return false;
  }
}

bool TIniFileIterator::BeforeFirstIteration() {
  if (iterator_mode_ == iiSections && sections_var_.empty())
    throw EIteratorException("Sections Variable not set");
  if (iterator_mode_ == iiValues && name_variable_.empty() && value_variable_.empty())
    throw EIteratorException("Name and Value variables not set");
  std::string path;
  if (!TryExpandExpression("Ini File", ini_filename_, path, true)) return false;
  try {
    SendMessage("Searching for items...", stInfo);
    items_.clear();
    if (!Populate(path)) throw EIteratorException("Failed to populate list from Ini file.");
  } catch (const EIteratorException&) {
    throw;
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error while searching for items : ") + e.what());
  }
  SendMessage("Found " + std::to_string(items_.size()) + " Items", stInfo);
  SetIterationCount(static_cast<int>(items_.size()));
  return true;
}

std::string TIniFileIterator::GetCurrentValue() {
  int iteration = GetCurrentIteration();
  if (iteration < 1 || static_cast<size_t>(iteration) > items_.size()) return {};
  const std::string& item = items_[static_cast<size_t>(iteration - 1)];
  try {
    if (iterator_mode_ == iiSections) {
      SetVariable(sections_var_, Variant(item));
      return item;
    }
    size_t equals = item.find('=');
    if (!name_variable_.empty()) SetVariable(name_variable_, Variant(item.substr(0, equals)));
    if (!value_variable_.empty())
      SetVariable(value_variable_,
                  Variant(equals == std::string::npos ? std::string() : item.substr(equals + 1)));
  } catch (const std::exception& e) {
    throw EIteratorException(std::string("Error Setting Variable: ") + e.what());
  }
  return item;
}

void TIniFileIterator::AfterLastIteration() {
  TBVBaseIterator::AfterLastIteration();
  items_.clear();
}

}  // namespace brivant
