#include "actions/files/move_files_action.h"

#include <algorithm>
#include <cctype>

#include "package/property_table.h"
#include "package/string_utils.h"
#include "platform/file_identity.h"

namespace brivant {
namespace {

bool EqualIgnoringAsciiCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

// One file under two names: a link, a hard link, "./a" for "a". A rename
// would put the link in the file's place or do nothing, so the move is
// skipped as for the same text. Names that differ only in case are one
// entry on a case-folding file system, and renaming changes the case.
bool IsSameFileUnderOtherName(const std::string& source, const std::string& target) {
  if (!platform::IsSameFile(source, target)) return false;
  const std::string source_name = ExtractFileName(source);
  const std::string target_name = ExtractFileName(target);
  return source_name == target_name || !EqualIgnoringAsciiCase(source_name, target_name);
}

}  // namespace

const PropertyTable& TMoveFilesAction::Properties() {
  static const PropertyTable table(&TCustomCopyFilesAction::Properties(), {}, {"Recurse"});
  return table;
}

platform::OsError TMoveFilesAction::DoCopyMove(const std::string& source,
                                               const std::string& target) {
  // Exact comparison: a move that only changes the case of a name is a move.
  if (source == target || IsSameFileUnderOtherName(source, target)) {
    SendMessage("Skipping same file " + source, stInfo);
    return {};
  }
  return platform::MoveFileWithProgress(
      source, target,
      /*replace_existing=*/GetOverwrite() || GetOverwriteReadOnly(), ProgressRoutine());
}

}  // namespace brivant
