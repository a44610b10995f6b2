// The designer's property editors the package registers: file and directory
// pickers with the dialog settings each one uses, and the date editor of
// Touch File(s). The host's own editors (TFileNameEdit, TSelectDirectoryEditor)
// are named here so that registrations can refer to them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "package/registration.h"

namespace brivant {
class IBVActionHost;
}  // namespace brivant

namespace brivant::pages {

// Title, filter (description|pattern pairs joined by '|') and default
// extension of a file dialog.
struct FileDialogSettings {
  std::string_view title;
  std::string_view filter;
  std::string_view default_extension;
};

const TBVDesignClass& TFileNameEdit();           // the host's file browse dialog
const TBVDesignClass& TSelectDirectoryEditor();  // the host's directory browse dialog
const TBVDesignClass& TVariablesListPropertyEditor();  // the host's list of project variables
const TBVDesignClass& TFileNameEditEx();
const TBVDesignClass& TTouchFilesDateEditor();
const TBVDesignClass& TRunProgEditor();
const TBVDesignClass& TStartDirectoryEditor();
const TBVDesignClass& TIniFileNameEdit();
// A drop-down of the project's variable names (IniVariableEditorValues).
const TBVDesignClass& TIniVariableEditor();

// The dialog of TFileNameEditEx.
const FileDialogSettings& FileNameEditExDialog();
// The dialog of TRunProgEditor.
const FileDialogSettings& RunProgEditorDialog();
// The dialog of TIniFileNameEdit.
const FileDialogSettings& IniFileNameEditDialog();
// The values TIniVariableEditor offers: the build variables the host lists.
std::vector<std::string> IniVariableEditorValues(IBVActionHost& host);
// The title of TStartDirectoryEditor's directory dialog.
std::string_view StartDirectoryEditorTitle();

}  // namespace brivant::pages
