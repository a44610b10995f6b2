// Finding and loading action packages. A package is a shared module (`*.so`)
// that exports BVRegister; the loader calls it once with the registry, which
// then knows the package's action classes. Modules stay loaded for the life
// of the process, since the registry points into them.
#pragma once

#include <string>
#include <vector>

namespace brivant::host {

class ActionRegistry;

/// The directories searched for packages, in order: those of
/// BRIVANT_PACKAGE_PATH (colon-separated, empty entries ignored) when it is
/// set, else "packages" beside the running executable and the installed
/// package directory relative to it ("../lib/brivant" on most systems).
std::vector<std::string> PackageDirectories();

struct PackageLoadResult {
  /// Full paths of the modules whose BVRegister was called, in call order.
  std::vector<std::string> loaded;
  /// One message per module or directory that could not be read or loaded;
  /// the other packages are loaded regardless.
  std::vector<std::string> problems;
};

/// Loads the packages in `directories`: every `*.so` file of each, in name
/// order. Modules that load but do not export BVRegister are skipped
/// silently, and so are missing directories. A file name found in an earlier
/// directory hides the same name in later ones, so a build tree's package
/// wins over an installed copy when its directory comes first.
PackageLoadResult LoadPackages(const std::vector<std::string>& directories,
                               ActionRegistry& registry);

}  // namespace brivant::host
