// The options store of the reference host: the values of global options
// objects (the Robocopy "Location", say) in one INI file, one section per
// options name, one "key=value" line per value.
//
// The file is read on every call and rewritten whole on every write, through
// a temporary file and a rename, so a crash never leaves half a file and two
// builds sharing it see complete versions. Comments (lines starting with ';'
// or '#'), blank lines and unknown sections survive a rewrite. Section and
// key names compare without regard to case; the first of two equal keys in
// a section wins.
#pragma once

#include <string>

#include "package/action_host.h"

namespace brivant::host {

/// Where the options file lives: $BRIVANT_OPTIONS, else
/// $XDG_CONFIG_HOME/brivant/options.ini, else ~/.config/brivant/options.ini.
/// Empty when none of BRIVANT_OPTIONS, XDG_CONFIG_HOME and HOME is set.
std::string OptionsFilePath();

class IniOptionsStore : public IBVOptionsStore {
 public:
  /// An empty path is a store that reads only defaults and refuses writes.
  explicit IniOptionsStore(std::string path);

  const std::string& Path() const { return path_; }

  /// The value, or `default_value` when the file, the section or the key is
  /// missing or the file cannot be read.
  std::string ReadString(const std::string& options_name, const std::string& key,
                         const std::string& default_value) override;
  /// Sets the value, creating the file and its directory when missing. Fails
  /// for a value holding a line break (it would not read back) and when the
  /// file cannot be read or written; *error then says why.
  bool WriteString(const std::string& options_name, const std::string& key,
                   const std::string& value, std::string* error) override;

 private:
  std::string path_;
};

}  // namespace brivant::host
