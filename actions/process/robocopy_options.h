// TBVRobocopyOptions: the package-wide Robocopy options page. It holds where
// the tool lives ("Location" in the host's options store, section
// "Robocopy"); every Robocopy action runs the tool named there.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "package/options_object.h"

namespace brivant {

class TBVRobocopyOptions : public TBVOptionsObject {
 public:
  static constexpr std::string_view kClassName = "TBVRobocopyOptions";
  static constexpr const char* kLocationKey = "Location";

  // A stored location wins; without one the registry is asked.
  void LoadOptions(IBVOptionsReader& reader) override;
  void SaveOptions(IBVOptionsWriter& writer) override;
  std::string GetOptionsName() const override { return "Robocopy"; }
  // "Archivers" is the category the options page has always been filed under.
  std::string GetOptionsCategory() const override { return "Archivers"; }
  std::string GetOldVersionOptionKey() const override { return "Robocopy"; }
  bool GetOptionType() const { return true; }

  const std::string& GetRobocopyPath() const { return robocopy_path_; }
  // Marks the options modified when the path changes.
  void SetRobocopyPath(const std::string& path);

 private:
  std::string robocopy_path_;
};

/// The tool's path as the machine's registry records it: the "path" value of
/// HKEY_LOCAL_MACHINE\software\? with "robocopy.exe" appended, or "" when the
/// key or the value is missing.
std::string TryToFindRobocopyPath();

/// The options as `store` holds them; with no store (a host that offers none)
/// only the registry is asked.
std::unique_ptr<TBVRobocopyOptions> RobocopyOptions(IBVOptionsStore* store);

}  // namespace brivant
