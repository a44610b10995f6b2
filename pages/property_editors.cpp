#include "pages/property_editors.h"

#include "package/action_host.h"

namespace brivant::pages {

const TBVDesignClass& TVariablesListPropertyEditor() {
  static const TBVDesignClass editor{"TVariablesListPropertyEditor", "TDCDsgnPropertyEditor", {}};
  return editor;
}

const TBVDesignClass& TFileNameEdit() {
  static const TBVDesignClass editor{"TFileNameEdit", "TDCDsgnPropertyEditor", {}};
  return editor;
}

const TBVDesignClass& TSelectDirectoryEditor() {
  static const TBVDesignClass editor{"TSelectDirectoryEditor", "TDCDsgnPropertyEditor", {}};
  return editor;
}

const TBVDesignClass& TFileNameEditEx() {
  static const TBVDesignClass editor{"TFileNameEditEx", "TFileNameEdit", {}};
  return editor;
}

const TBVDesignClass& TTouchFilesDateEditor() {
  static const TBVDesignClass editor{"TTouchFilesDateEditor", "TDCDsgnPropertyEditor", {}};
  return editor;
}

const TBVDesignClass& TRunProgEditor() {
  static const TBVDesignClass editor{"TRunProgEditor", "TFileNameEdit", {}};
  return editor;
}

const TBVDesignClass& TStartDirectoryEditor() {
  static const TBVDesignClass editor{"TStartDirectoryEditor", "TSelectDirectoryEditor", {}};
  return editor;
}

const FileDialogSettings& FileNameEditExDialog() {
  static const FileDialogSettings dialog{"Select File", "All Files(*.*)|*.*", "*.*"};
  return dialog;
}

const FileDialogSettings& RunProgEditorDialog() {
  static const FileDialogSettings dialog{"Select Program File",
                                         "Program Files (*.exe)|*.exe|All Files (*.*)|*.*", ".exe"};
  return dialog;
}

std::string_view StartDirectoryEditorTitle() { return "Select Start Directory"; }

const TBVDesignClass& TIniFileNameEdit() {
  static const TBVDesignClass editor{"TIniFileNameEdit", "TFileNameEdit", {}};
  return editor;
}

const TBVDesignClass& TIniVariableEditor() {
  static const TBVDesignClass editor{"TIniVariableEditor", "TDCDsgnPropertyEditor", {}};
  return editor;
}

const FileDialogSettings& IniFileNameEditDialog() {
  static const FileDialogSettings dialog{"Select Ini File", "Configuration files(*.ini)|*.ini",
                                         "*.ini"};
  return dialog;
}

std::vector<std::string> IniVariableEditorValues(IBVActionHost& host) {
  TStrings names;
  host.GetVariablesList(&names, false);
  return names;
}

}  // namespace brivant::pages
