#include "host/package_loader.h"

#include <algorithm>
#include <cerrno>
#include <set>

#include "host/action_registry.h"
#include "package/registration.h"
#include "platform/directory.h"
#include "platform/environment.h"
#include "platform/module.h"

namespace brivant::host {
namespace {

constexpr std::string_view kModuleSuffix = ".so";

// Where installed packages are, relative to the executable's directory; the
// build passes the real one, since the library directory varies by system.
#ifndef BRIVANT_PACKAGE_DIR_FROM_BIN
#define BRIVANT_PACKAGE_DIR_FROM_BIN "../lib/brivant"
#endif
constexpr const char* kInstalledPackageDir = BRIVANT_PACKAGE_DIR_FROM_BIN;

bool IsModuleName(const std::string& name) {
  return name.size() > kModuleSuffix.size() &&
         name.compare(name.size() - kModuleSuffix.size(), kModuleSuffix.size(), kModuleSuffix) == 0;
}

std::vector<std::string> SplitSearchPath(const std::string& text) {
  std::vector<std::string> directories;
  size_t start = 0;
  while (start <= text.size()) {
    size_t colon = text.find(':', start);
    size_t end = colon == std::string::npos ? text.size() : colon;
    if (end > start) directories.push_back(text.substr(start, end - start));
    if (colon == std::string::npos) break;
    start = colon + 1;
  }
  return directories;
}

std::string DirectoryOf(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

class Loader {
 public:
  explicit Loader(ActionRegistry& registry) : registry_(registry) {}

  void LoadDirectory(const std::string& directory) {
    platform::OsResult<std::vector<platform::DirectoryEntry>> listing =
        platform::ListDirectory(directory);
    if (!listing.IsOk()) {
      if (listing.Error().code != ENOENT) result_.problems.push_back(listing.Error().Describe());
      return;
    }
    for (const platform::DirectoryEntry& entry : listing.Value()) {
      if (entry.target_type != platform::EntryType::kFile || !IsModuleName(entry.name)) continue;
      if (!seen_names_.insert(entry.name).second) continue;
      LoadModule(directory + "/" + entry.name);
    }
  }

  PackageLoadResult TakeResult() { return std::move(result_); }

 private:
  void LoadModule(const std::string& path) {
    std::string error;
    std::optional<platform::LoadedModule> module = platform::LoadModule(path, &error);
    if (!module) {
      result_.problems.push_back("cannot load package: " + error);
      return;
    }
    // Two paths can name one module (a symbolic link); register it once.
    if (std::find(modules_.begin(), modules_.end(), *module) != modules_.end()) return;
    modules_.push_back(*module);
    auto entry = reinterpret_cast<BVRegisterFunction>(module->FindSymbol(kRegisterEntryName));
    if (entry == nullptr) return;
    entry(&registry_);
    result_.loaded.push_back(path);
  }

  ActionRegistry& registry_;
  std::set<std::string> seen_names_;
  std::vector<platform::LoadedModule> modules_;
  PackageLoadResult result_;
};

}  // namespace

std::vector<std::string> PackageDirectories() {
  if (std::optional<std::string> search_path =
          platform::GetEnvironmentVariable("BRIVANT_PACKAGE_PATH"))
    return SplitSearchPath(*search_path);
  platform::OsResult<std::string> executable = platform::GetExecutablePath();
  if (!executable.IsOk()) return {};
  std::string directory = DirectoryOf(executable.Value());
  return {directory + "/packages", directory + "/" + kInstalledPackageDir};
}

PackageLoadResult LoadPackages(const std::vector<std::string>& directories,
                               ActionRegistry& registry) {
  Loader loader(registry);
  for (const std::string& directory : directories) loader.LoadDirectory(directory);
  return loader.TakeResult();
}

}  // namespace brivant::host
