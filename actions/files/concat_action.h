// "Concatenate Files": joins several files, in the order listed, into one
// target file. Each entry of the list is a file or a file specification with
// wildcards (its matches taken in name order). The target is replaced in one
// step, so a failure part-way leaves it as it was.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "package/custom_bv_action.h"
#include "platform/file_system.h"

namespace brivant {

class TConcatAction : public TBVAction {
 public:
  static constexpr std::string_view kClassName = "TConcatAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  std::string GetActionName() const override { return "Concatenate Files"; }
  std::string GetActionKeywords() const override { return "Join Merge Append"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\ConcatenateFiles.html"; }
  int GetHelpTopicID() const override { return 560; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetHiddenProperties(TStrings& list) const override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

  int32_t GetFilesAffected() const { return files_affected_; }

 private:
  // The source files in the order they are joined. False when an entry can't
  // be used (logged).
  bool CollectSources(const std::string& target, std::vector<std::string>* sources);
  bool AddMatches(const std::string& file_spec, const std::string& target,
                  std::vector<std::string>* sources);
  // Writes the new content of the target. False when a file can't be read or
  // written (logged).
  bool JoinSources(const std::vector<std::string>& sources, const std::string& target,
                   const std::string& separator, platform::AtomicFileWriter* writer);
  // One file after the separator (unless it comes first). False when it
  // can't be read or written (logged); `size` is what it held.
  bool AppendPart(const std::string& path, const std::string& target,
                  const std::string& separator, bool* first, platform::AtomicFileWriter* writer,
                  uint64_t* size);

  std::vector<std::string> source_files_;
  std::string target_file_;
  std::string separator_;
  bool add_line_breaks_ = false;
  bool append_to_target_ = false;
  bool log_files_affected_ = true;
  int32_t files_affected_ = 0;
};

}  // namespace brivant
