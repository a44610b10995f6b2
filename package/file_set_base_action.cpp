#include "package/file_set_base_action.h"

namespace brivant {

const PropertyTable& TFileSetBaseAction::Properties() {
  static const PropertyTable table(
      nullptr, {Property("FileSetName", &TFileSetBaseAction::GetFileSetName,
                         &TFileSetBaseAction::SetFileSetName)});
  return table;
}

IBVFileSet* TFileSetBaseAction::FindFileSet(const std::string& name) {
  IBVProjectObjectService* service = GetProjectObjectService();
  if (service == nullptr) return nullptr;
  return dynamic_cast<IBVFileSet*>(service->FindObject(kFileSetObjectKind, name));
}

bool TFileSetBaseAction::Execute() {
  IBVFileSet* file_set = FindFileSet(file_set_name_);
  if (file_set == nullptr) {
    SendMessage("FileSet \"" + file_set_name_ + "\" not found.", stError);
    return false;
  }
  return DoFileSetOperation(*file_set);
}

}  // namespace brivant
