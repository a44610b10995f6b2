#include "platform/module.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>

namespace brivant::platform {

void* LoadedModule::FindSymbol(const char* name) const { return ::dlsym(handle_, name); }

namespace {

void* Open(const std::string& file, std::string* error) {
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* text = ::dlerror();
    *error = text != nullptr ? text : file + ": cannot be loaded";
  }
  return handle;
}

}  // namespace

std::optional<LoadedModule> LoadModule(const std::string& path, std::string* error) {
  // dlopen treats a name without a slash as a library to search for; a
  // package is always the file at this path.
  void* handle = Open(path.find('/') == std::string::npos ? "./" + path : path, error);
  if (handle == nullptr) return std::nullopt;
  return LoadedModule(handle);
}

std::optional<LoadedModule> LoadLibraryByName(const std::string& name, std::string* error) {
  void* handle = Open(name, error);
  if (handle == nullptr) return std::nullopt;
  return LoadedModule(handle);
}

std::optional<std::string> GetModulePathOf(const void* address) {
  Dl_info info;
  if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr) return std::nullopt;
  return std::string(info.dli_fname);
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
