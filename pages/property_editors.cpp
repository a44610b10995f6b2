#include "pages/property_editors.h"

namespace brivant::pages {

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

const FileDialogSettings& FileNameEditExDialog() {
  static const FileDialogSettings dialog{"Select File", "All Files(*.*)|*.*", "*.*"};
  return dialog;
}

}  // namespace brivant::pages
