#include "actions/checksums/version_info.h"

#include <cstdio>
#include <optional>

#include "package/custom_bv_action.h"
#include "platform/file_reading.h"

namespace brivant {
namespace {

class FileByteSource : public PeByteSource {
 public:
  explicit FileByteSource(const std::string& path) : path_(path) {}
  bool Read(uint64_t offset, size_t size, std::string* bytes, std::string* error) override {
    platform::OsResult<std::string> read = platform::ReadFileRange(path_, offset, size);
    if (!read.IsOk()) {
      *error = read.Error().message;
      return false;
    }
    *bytes = std::move(read).Value();
    return true;
  }

 private:
  const std::string& path_;
};

std::string FourPartVersion(uint32_t most_significant, uint32_t least_significant) {
  return std::to_string(most_significant >> 16) + "." + std::to_string(most_significant & 0xFFFF) +
         "." + std::to_string(least_significant >> 16) + "." +
         std::to_string(least_significant & 0xFFFF);
}

TVersionRecord MakeRecord(const VersionResource& resource) {
  auto text = [&resource](std::string_view name) {
    return resource.FindString(name).value_or(std::string());
  };
  TVersionRecord record;
  record.CompanyName = text("CompanyName");
  record.ProductName = text("ProductName");
  record.FileDescription = text("FileDescription");
  record.LegalCopyright = text("LegalCopyright");
  record.LegalTrademarks = text("LegalTrademarks");
  record.InternalName = text("InternalName");
  record.OriginalFilename = text("OriginalFilename");
  record.Comments = text("Comments");
  // The numbers are exact and always in one form; the strings of the table
  // are free text and serve only files without a fixed record.
  if (const std::optional<FixedFileInfo>& fixed = resource.fixed) {
    record.FileVersion = FourPartVersion(fixed->file_version_ms, fixed->file_version_ls);
    record.ProductVersion = FourPartVersion(fixed->product_version_ms, fixed->product_version_ls);
    char signature[9];
    std::snprintf(signature, sizeof signature, "%08X", fixed->signature);
    record.Signature = signature;
  } else {
    record.FileVersion = text("FileVersion");
    record.ProductVersion = text("ProductVersion");
  }
  return record;
}

}  // namespace

const std::vector<std::pair<std::string_view, std::string TVersionRecord::*>>&
TVersionInfo::NamedFields() {
  using R = TVersionRecord;
  static const std::vector<std::pair<std::string_view, std::string R::*>> fields = {
      {"FileVersion", &R::FileVersion},
      {"ProductVersion", &R::ProductVersion},
      {"CompanyName", &R::CompanyName},
      {"ProductName", &R::ProductName},
      {"FileDescription", &R::FileDescription},
      {"LegalCopyright", &R::LegalCopyright},
      {"LegalTrademarks", &R::LegalTrademarks},
      {"InternalName", &R::InternalName},
      {"OriginalFilename", &R::OriginalFilename},
      {"Comments", &R::Comments},
      {"Signature", &R::Signature},
  };
  return fields;
}

bool TVersionInfo::Load(const std::string& file_name, std::string* error) {
  if (loaded_ && file_name == loaded_file_) return true;
  loaded_ = false;
  resource_ = VersionResource();
  record_ = TVersionRecord();
  FileByteSource source(file_name);
  if (!ReadVersionResource(source, &resource_, error)) {
    resource_ = VersionResource();
    return false;
  }
  record_ = MakeRecord(resource_);
  loaded_file_ = file_name;
  loaded_ = true;
  return true;
}

bool TVersionInfo::GetVersion(const std::string& FileName, TCustomBVAction& Action,
                              TStatusTag StatusTag) {
  std::string error;
  if (Load(FileName, &error)) return true;
  Action.SendMessage("Could not read version information from " + FileName + ": " + error,
                     StatusTag);
  return false;
}

std::string TVersionInfo::GetCustomValue(const std::string& FileName, const std::string& Name) {
  std::string error;
  if (!Load(FileName, &error)) return {};
  return resource_.FindString(Name).value_or(std::string());
}

}  // namespace brivant
