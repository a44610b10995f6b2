#include "platform/paths.h"

#include <filesystem>

#include "platform/file_system.h"

namespace brivant::platform {

std::string WithoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string AbsoluteNormalPath(const std::string& path) {
  std::string absolute = path;
  if (path.empty() || path.front() != '/') {
    OsResult<std::string> current = GetCurrentDirectory();
    if (current.IsOk()) absolute = current.Value() + "/" + path;
  }
  return WithoutTrailingSlashes(std::filesystem::path(absolute).lexically_normal().string());
}

}  // namespace brivant::platform
