// "Move File(s)": moves the files of a file specification to a file or a
// directory. A move never recurses, so Recurse is not published; a file moved
// onto itself counts as moved.
#pragma once

#include <string>
#include <string_view>

#include "actions/files/custom_copy_files_action.h"

namespace brivant {

class TMoveFilesAction : public TCustomCopyFilesAction {
 public:
  static constexpr std::string_view kClassName = "TMoveFilesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetActionName() const override { return "Move File(s)"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\MoveFiles.html"; }
  int GetHelpTopicID() const override { return 555; }

  std::string Verb() const override { return "Move"; }
  std::string VerbTrans() const override { return "Moving"; }
  // Renames, or copies and deletes across file systems; not cancellable.
  platform::OsError DoCopyMove(const std::string& source, const std::string& target) override;
  std::string VerbPast() const override { return "Moved"; }
};

}  // namespace brivant
