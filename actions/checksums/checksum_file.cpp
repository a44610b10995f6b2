#include "actions/checksums/checksum_file.h"

#include "package/string_utils.h"
#include "platform/file_system.h"

namespace brivant {

void ForEachBlockOf(const std::string& path, const platform::BlockConsumer& consume) {
  platform::OsError error = platform::ReadFileInBlocks(path, consume);
  if (error) throw EFileReadError(error.Describe());
}

bool ExpandExistingFile(TCustomBVAction& action, const std::string& title,
                        const std::string& text, bool must_be_set, std::string* path) {
  if (!action.TryExpandExpression(title, text, *path, true)) return false;
  *path = Trim(*path);
  if (must_be_set && path->empty()) {
    action.SendMessage("Filename has not been set", stError);
    return false;
  }
  if (!platform::FileExists(*path)) {
    action.SendMessage("File not found: " + *path, stError);
    return false;
  }
  return true;
}

}  // namespace brivant
