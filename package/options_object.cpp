#include "package/options_object.h"

namespace brivant {
namespace {

class StoreReader : public IBVOptionsReader {
 public:
  StoreReader(IBVOptionsStore& store, std::string section)
      : store_(store), section_(std::move(section)) {}
  std::string ReadString(const std::string& key, const std::string& default_value) override {
    return store_.ReadString(section_, key, default_value);
  }

 private:
  IBVOptionsStore& store_;
  std::string section_;
};

class StoreWriter : public IBVOptionsWriter {
 public:
  StoreWriter(IBVOptionsStore& store, std::string section)
      : store_(store), section_(std::move(section)) {}
  void WriteString(const std::string& key, const std::string& value) override {
    if (!error_.empty()) return;
    store_.WriteString(section_, key, value, &error_);
  }
  const std::string& Error() const { return error_; }

 private:
  IBVOptionsStore& store_;
  std::string section_;
  std::string error_;
};

}  // namespace

void TBVOptionsObject::LoadFrom(IBVOptionsStore& store) {
  StoreReader reader(store, GetOptionsName());
  LoadOptions(reader);
  modified_ = false;
}

bool TBVOptionsObject::SaveTo(IBVOptionsStore& store, std::string* error) {
  StoreWriter writer(store, GetOptionsName());
  SaveOptions(writer);
  if (!writer.Error().empty()) {
    *error = writer.Error();
    return false;
  }
  modified_ = false;
  return true;
}

}  // namespace brivant
