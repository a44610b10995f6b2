// TFileOrDirectoryAction: the common base of the actions that work on one
// file or directory named by the user (create and delete directory). It
// holds the name and the force flag, and declares the delete options that
// only the delete action publishes.
#pragma once

#include <string>

#include "package/custom_bv_action.h"

namespace brivant {

class TFileOrDirectoryAction : public TBVAction {
 public:
  static const PropertyTable& Properties();
  const PropertyTable& GetPropertyTable() const override { return Properties(); }

  // "<action name> [ <unexpanded FileOrDirectory> ]".
  std::string GetFormattedDescription() const override;
  void GetPropertyHelp(TStrings& list) const override;

  // Declared here for the whole family; only the delete action publishes them.
  bool GetDeleteTree() const { return delete_tree_; }
  void SetDeleteTree(bool value) { delete_tree_ = value; }
  bool GetDeleteReadOnly() const { return delete_read_only_; }
  void SetDeleteReadOnly(bool value) { delete_read_only_ = value; }

 protected:
  std::string file_or_directory_;
  bool force_ = false;
  bool delete_tree_ = false;
  bool delete_read_only_ = false;
};

}  // namespace brivant
