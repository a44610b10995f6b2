#include "platform/module.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>

namespace brivant::platform {

void* LoadedModule::FindSymbol(const char* name) const { return ::dlsym(handle_, name); }

std::optional<LoadedModule> LoadModule(const std::string& path, std::string* error) {
  // dlopen treats a name without a slash as a library to search for; a
  // package is always the file at this path.
  std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* text = ::dlerror();
    *error = text != nullptr ? text : path + ": cannot be loaded";
    return std::nullopt;
  }
  return LoadedModule(handle);
}

OsResult<std::string> GetExecutablePath() {
  std::string buffer(256, '\0');
  while (true) {
    ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length < 0) return OsError::FromCode(errno, "/proc/self/exe");
    // readlink truncates silently; a full buffer may mean a longer target.
    if (static_cast<size_t>(length) < buffer.size()) {
      buffer.resize(static_cast<size_t>(length));
      return buffer;
    }
    buffer.resize(buffer.size() * 2);
  }
}

}  // namespace brivant::platform
