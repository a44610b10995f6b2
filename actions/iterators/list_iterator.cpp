#include "actions/iterators/list_iterator.h"

#include <exception>

#include "actions/text/read_text_file_action.h"
#include "package/exceptions.h"
#include "package/string_utils.h"

namespace brivant {
namespace {

constexpr const char* kCrLf = "\r\n";
// Stands in for the line breaks inside items while the separators become
// line breaks, so that multi-line items survive the split.
constexpr const char* kEscapeMarker = "<@@--!!BVESCAPED!!--@@>";

}  // namespace

const EnumInfo& EnumTraits<TBVListSeparator>::Info() {
  static const EnumInfo info{"TBVListSeparator", {"lsCRLF", "lsTab", "lsCharacter"}};
  return info;
}

const PropertyTable& TBVListIterator::Properties() {
  using T = TBVListIterator;
  static const PropertyTable table(
      &TBVBaseIterator::Properties(),
      {
          Property("ListOfItems", &T::list_of_items_),
          ReadOnlyProperty("ItemCount", &T::GetItemCount),
          ReadOnlyProperty("ItemIndex", &T::GetItemIndex),
          Property("SkipBlankLines", &T::skip_blank_lines_).Default("True"),
          Property("ListSeparator", &T::list_separator_).Default("lsCRLF"),
          Property("SeparatorChar", &T::separator_char_).Default(","),
      });
  return table;
}

void TBVListIterator::GetHiddenProperties(TStrings& list) const {
  TBVBaseIterator::GetHiddenProperties(list);
  list.insert(list.end(), {"ItemIndex", "ItemCount"});
}

void TBVListIterator::GetPropertyAlias(TStrings& list) const {
  TBVBaseIterator::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[List Iterator]", "ListOfItems=Item List", "SkipBlankLines=Skip blank lines",
               "ListSeparator=Separator", "SeparatorChar=Custom separator"});
}

void TBVListIterator::GetPropertyHelp(TStrings& list) const {
  TBVBaseIterator::GetPropertyHelp(list);
  list.insert(list.end(),
              {"ListOfItems=The list of items to iterate over",
               "SkipBlankLines=Blank items will be skipped if this option is checked",
               "ListSeparator=The character that separates each item in the list",
               "SeparatorChar=The character that separates each item in the list if Separator "
               "property is set to IsCharacter"});
}

bool TBVListIterator::BuildItems() {
  std::string text;
  for (const std::string& line : list_of_items_) text += line + kCrLf;
  if (!TryExpandExpression("Item List", text, text, false)) return false;
  if (text.ends_with(kCrLf)) text.resize(text.size() - 2);
  if (list_separator_ != lsCRLF) {
    text = ReplaceAll(text, kCrLf, kEscapeMarker);
    if (list_separator_ == lsTab) {
      text = ReplaceAll(text, "\t", kCrLf);
    } else {
      std::string separator;
      if (!TryExpandExpression("Custom Separator", separator_char_, separator, true)) return false;
      text = ReplaceAll(text, separator, kCrLf);
    }
  }
  if (skip_blank_lines_) {
    // One pass only: longer runs leave blank items, removed afterwards.
    text = ReplaceAll(text, "\r\n\r\n", kCrLf);
    if (text.starts_with(kCrLf)) text.erase(0, 2);
  }
  items_ = SplitLines(text);
  if (list_separator_ != lsCRLF) {
    for (std::string& item : items_) item = ReplaceAll(item, kEscapeMarker, kCrLf);
  }
  return true;
}

bool TBVListIterator::BeforeFirstIteration() {
  SendMessage("Setting items...", stInfo);
  items_.clear();
  try {
    if (!BuildItems()) return false;
  } catch (const std::exception&) {
    throw EIteratorException("Failed to expand list of items.");
  }
  if (skip_blank_lines_) {
    for (size_t i = items_.size(); i-- > 0;) {
      if (items_[i].empty()) items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  SendMessage("Found " + std::to_string(items_.size()) + " Items", stInfo);
  SetIterationCount(static_cast<int>(items_.size()));
  return true;
}

std::string TBVListIterator::GetCurrentValue() {
  int iteration = GetCurrentIteration();
  if (iteration < 1 || static_cast<size_t>(iteration) > items_.size()) return {};
  return items_[static_cast<size_t>(iteration - 1)];
}

void TBVListIterator::AfterLastIteration() {
  TBVBaseIterator::AfterLastIteration();
  items_.clear();
}

}  // namespace brivant
