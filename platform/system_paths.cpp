#include "platform/system_paths.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/file_descriptor.h"

namespace brivant::platform {
namespace {

std::string DirectoryFromEnvironment(const char* name, const char* fallback) {
  const char* value = std::getenv(name);
  std::string directory = value != nullptr && *value != '\0' ? value : fallback;
  while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
  return directory;
}

}  // namespace

std::string GetSysDirectory() { return DirectoryFromEnvironment("BRIVANT_SYSDIR", "/usr/bin"); }

std::string GetTemporaryDirectory() { return DirectoryFromEnvironment("TMPDIR", "/tmp"); }

OsResult<std::string> CreateTemporaryFile(std::string_view prefix, std::string_view bytes) {
  std::string directory = GetTemporaryDirectory();
  std::string path = directory + "/" + std::string(prefix) + "XXXXXX";
  FileDescriptor file(::mkstemp(path.data()));
  if (file.Get() < 0) return OsError::FromCode(errno, directory);
  int error = WriteAll(file.Get(), bytes);
  if (error == 0) error = file.Close();
  if (error == 0) return path;
  ::unlink(path.c_str());
  return OsError::FromCode(error, path);
}

}  // namespace brivant::platform
