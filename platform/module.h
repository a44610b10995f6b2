// Loading shared modules (action packages) into the running process and
// finding the running program itself, whose directory is where packages are
// looked for first.
//
// A loaded module stays loaded until the process ends: the classes a package
// registers live in its module, and the host keeps pointers to them for its
// whole run, so there is deliberately no way to unload one.
#pragma once

#include <optional>
#include <string>

#include "platform/file_system.h"

namespace brivant::platform {

/// A module loaded for the rest of the process. Copies refer to the same
/// module; none of them unloads it.
class LoadedModule {
 public:
  /// The address of an exported symbol, or nullptr when the module exports
  /// none of that name.
  void* FindSymbol(const char* name) const;

  /// Equal when both refer to the same loaded module.
  friend bool operator==(const LoadedModule&, const LoadedModule&) = default;

 private:
  friend std::optional<LoadedModule> LoadModule(const std::string& path, std::string* error);
  friend std::optional<LoadedModule> LoadLibraryByName(const std::string& name, std::string* error);
  explicit LoadedModule(void* handle) : handle_(handle) {}

  void* handle_;
};

/// Loads the module at `path` with every symbol resolved now and kept private
/// to it, so two packages cannot clash over a name. Loading a module that is
/// already loaded returns it again without running its initialisers twice.
/// On failure returns nullopt and sets *error to the loader's message, which
/// names the file and why (missing, not a shared object, an undefined symbol).
std::optional<LoadedModule> LoadModule(const std::string& path, std::string* error);

/// Loads a library by its file name alone, as the dynamic loader finds
/// libraries: one already loaded under that name first, then the library
/// path. Errors as LoadModule.
std::optional<LoadedModule> LoadLibraryByName(const std::string& name, std::string* error);

/// The path of the loaded module (or program) that holds `address`, as it was
/// loaded; nullopt when no module holds it.
std::optional<std::string> GetModulePathOf(const void* address);

/// The absolute path of the running executable, symbolic links resolved.
[[nodiscard]] OsResult<std::string> GetExecutablePath();

}  // namespace brivant::platform
