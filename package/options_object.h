// TBVOptionsObject: a global options page (the Robocopy "Location", say). The
// host keeps one section per options object, named by GetOptionsName, and
// loads it before the build.
#pragma once

#include <string>

#include "package/action_host.h"
#include "package/action_types.h"

namespace brivant {

// Reads or writes one options object's values.
class IBVOptionsReader {
 public:
  virtual ~IBVOptionsReader() = default;
  virtual std::string ReadString(const std::string& key, const std::string& default_value) = 0;
};
class IBVOptionsWriter {
 public:
  virtual ~IBVOptionsWriter() = default;
  virtual void WriteString(const std::string& key, const std::string& value) = 0;
};

class TBVOptionsObject {
 public:
  TBVOptionsObject() = default;
  TBVOptionsObject(const TBVOptionsObject&) = delete;
  TBVOptionsObject& operator=(const TBVOptionsObject&) = delete;
  virtual ~TBVOptionsObject() = default;

  virtual void LoadOptions(IBVOptionsReader& /*reader*/) {}
  virtual void SaveOptions(IBVOptionsWriter& /*writer*/) {}
  virtual bool IsModified() const { return modified_; }
  virtual std::string GetOptionsName() const = 0;
  virtual std::string GetOptionsCategory() const { return {}; }
  virtual std::string GetOldVersionOptionKey() const { return {}; }
  virtual std::string GetScriptOptionsName() const { return GetOptionsName(); }
  virtual std::string RegGetSearchKeyWords() const { return {}; }

  // Loads the object's section from a store / saves it back.
  void LoadFrom(IBVOptionsStore& store);
  bool SaveTo(IBVOptionsStore& store, std::string* error);

 protected:
  void SetModified(bool modified) { modified_ = modified; }

 private:
  bool modified_ = false;
};

}  // namespace brivant
