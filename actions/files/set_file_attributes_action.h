// "Set File Attributes": sets or clears the read-only, archive, system and
// hidden attributes of every file a file specification matches (optionally
// through every subdirectory) or of every file of a project file set. Each
// attribute has a three-way setting: leave it, set it or clear it.
// TCustomSetFileAttributesAction holds everything; TSetFileAttributesAction
// is the registered class.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "package/custom_bv_action.h"
#include "package/exceptions.h"
#include "package/property_table.h"

namespace brivant {

// Scoped, so that the value names cannot meet another "as" enumeration of
// the namespace (the action status has asNotRun, asRunning, ...).
enum class TAttributeSetting { asNone = 0, asSet = 1, asClear = 2 };

template <>
struct EnumTraits<TAttributeSetting> {
  static const EnumInfo& Info();
};

// A file whose attributes could not be changed. The text names the file and
// the OS reason; also raised for a file set the project does not have.
class EFileAttributeException : public EBVException {
 public:
  using EBVException::EBVException;
};

class TCustomSetFileAttributesAction : public TBVAction {
 public:
  static const PropertyTable& Properties();

  // Fails when no attribute is to change. Without UseFileSet, fails when no
  // file matched and FailIfFileNotFound is set. Throws
  // EFileAttributeException when the named file set does not exist.
  bool Execute() override;
  std::string GetActionName() const override { return "Set File Attributes"; }
  std::string GetQuickHelpFilename() const override { return "Plugins\\SetFileAttributes.html"; }
  int GetHelpTopicID() const override { return 556; }
  std::string GetFormattedDescription() const override;
  bool Validate(IBVActionValidationError& errors) override;
  void GetPropertyAlias(TStrings& list) const override;
  void GetPropertyHelp(TStrings& list) const override;

 private:
  bool ChangeFileSpec();
  bool ChangeFileSet();
  // Runs `walk` inside the "Files changed" group (when logging); false when
  // it raised EFileAttributeException, which is logged.
  template <class Walk>
  bool RunWalk(const Walk& walk);
  void DoRecursiveAction(const std::string& spec, bool recurse);
  // Throws EFileAttributeException when the attributes cannot be set.
  void ProcessFile(const std::string& path, uint32_t attributes);
  uint32_t ChangedAttributes(uint32_t attributes) const;

  std::string file_spec_;
  std::string file_set_name_;
  bool recurse_ = false;
  TAttributeSetting read_only_ = TAttributeSetting::asNone;
  TAttributeSetting archive_ = TAttributeSetting::asNone;
  TAttributeSetting system_file_ = TAttributeSetting::asNone;
  TAttributeSetting hidden_ = TAttributeSetting::asNone;
  bool log_all_files_ = false;
  bool fail_if_file_not_found_ = true;
  bool use_file_set_ = false;

  bool files_found_ = false;
};

class TSetFileAttributesAction : public TCustomSetFileAttributesAction {
 public:
  static constexpr std::string_view kClassName = "TSetFileAttributesAction";
  static const PropertyTable& Properties();
  std::string_view ClassName() const override { return kClassName; }
  const PropertyTable& GetPropertyTable() const override { return Properties(); }
};

}  // namespace brivant
