#include "actions/process/robocopy_options.h"

#include <optional>

#include "actions/process/bv_registry.h"

namespace brivant {
namespace {

// The key the tool's installer is looked up under, kept literally as it has
// always been written.
constexpr const char* kRobocopyRegistryKey = "software\\?";

// A string value of HKEY_LOCAL_MACHINE, read only; nullopt when the key or
// the value is missing, is not text, or the store cannot be read.
std::optional<std::string> ReadLocalMachineString(const std::string& key,
                                                  const std::string& value_name) {
  TBVRegistry registry(KEY_READ);
  registry.SetRootKey(platform::kHKeyLocalMachine);
  if (!registry.OpenKey(key, /*can_create=*/false)) return std::nullopt;
  try {
    if (!registry.ValueExists(value_name)) return std::nullopt;
    return registry.ReadString(value_name);
  } catch (const ERegistryException&) {
    return std::nullopt;
  }
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
