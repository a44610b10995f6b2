// TFileSetBaseAction: an action that works on a project file set chosen by
// name. Execute looks the set up through the project-object service (kind
// "FileSetObject") and hands it to DoFileSetOperation.
#pragma once

#include <string>

#include "package/custom_bv_action.h"
#include "package/property_table.h"

namespace brivant {

class TFileSetBaseAction : public TCustomBVAction {
 public:
  static constexpr const char* kFileSetObjectKind = "FileSetObject";

  static const PropertyTable& Properties();
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  bool Execute() override;
  virtual bool DoFileSetOperation(IBVFileSet& file_set) = 0;

  const std::string& GetFileSetName() const { return file_set_name_; }
  void SetFileSetName(const std::string& name) { file_set_name_ = name; }

  // The project's file set of that name, or nullptr.
  IBVFileSet* FindFileSet(const std::string& name);

 private:
  std::string file_set_name_;
};

}  // namespace brivant
