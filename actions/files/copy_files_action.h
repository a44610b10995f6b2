// "Copy File(s)": copies the files of a file specification to a file or a
// directory, with progress, through the platform's cancellable copy.
#pragma once

#include <string>
#include <string_view>

#include "actions/files/custom_copy_files_action.h"

namespace brivant {

class TCopyFilesAction : public TCustomCopyFilesAction {
 public:
  static constexpr std::string_view kClassName = "TCopyFilesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  std::string GetQuickHelpFilename() const override { return "Plugins\\CopyFiles.html"; }
  int GetHelpTopicID() const override { return 554; }

  std::string Verb() const override { return "Copy"; }
  std::string VerbTrans() const override { return "Copying"; }
  // Keeps the last-write time and mode; a cancelled copy leaves no target.
  platform::OsError DoCopyMove(const std::string& source, const std::string& target) override;
  std::optional<platform::OsError> DoCopyMoveToNewTarget(const std::string& source,
                                                         const std::string& target) override;
  std::string VerbPast() const override { return "Copied"; }
};

}  // namespace brivant
