#include "actions/process/robocopy_options.h"

#include <optional>

namespace brivant {
namespace {

// The key the tool's installer is looked up under, kept literally as it has
// always been written.
constexpr const char* kRobocopyRegistryKey = "software\\?";

// The registry seam. The registry store of the registry actions does not exist
// yet, so nothing is found and the location must come from the options
// store. TODO: read the value from HKEY_LOCAL_MACHINE (read-only) once the
// registry store is in package/platform.
std::optional<std::string> ReadLocalMachineString(const std::string& /*key*/,
                                                  const std::string& /*value_name*/) {
  return std::nullopt;
}

// Answers every key with its default: used when the host has no store.
class NoOptionsReader : public IBVOptionsReader {
 public:
  std::string ReadString(const std::string& /*key*/, const std::string& default_value) override {
    return default_value;
  }
};

}  // namespace

std::string TryToFindRobocopyPath() {
  std::optional<std::string> directory = ReadLocalMachineString(kRobocopyRegistryKey, "path");
  if (!directory) return {};
  std::string path = *directory;
  if (path.empty() || path.back() != '/') path += '/';
  return path + "robocopy.exe";
}

void TBVRobocopyOptions::LoadOptions(IBVOptionsReader& reader) {
  TBVOptionsObject::LoadOptions(reader);
  robocopy_path_ = reader.ReadString(kLocationKey, "");
  if (robocopy_path_.empty()) robocopy_path_ = TryToFindRobocopyPath();
}

void TBVRobocopyOptions::SaveOptions(IBVOptionsWriter& writer) {
  TBVOptionsObject::SaveOptions(writer);
  writer.WriteString(kLocationKey, robocopy_path_);
}

void TBVRobocopyOptions::SetRobocopyPath(const std::string& path) {
  if (path == robocopy_path_) return;
  robocopy_path_ = path;
  SetModified(true);
}

std::unique_ptr<TBVRobocopyOptions> RobocopyOptions(IBVOptionsStore* store) {
  auto options = std::make_unique<TBVRobocopyOptions>();
  if (store != nullptr) {
    options->LoadFrom(*store);
  } else {
    NoOptionsReader reader;
    options->LoadOptions(reader);
  }
  return options;
}

}  // namespace brivant
