// The version resource of a Windows executable or DLL (PE32 and PE32+): the
// fixed-file-info record and the string tables, read from the file's resource
// section. Files come from anywhere, so every offset, size and count read from
// them is checked before use; a malformed or truncated file gives an error
// naming what is wrong and where, never a read outside the data.
//
// The reader has no state of its own and depends only on the bytes it is
// given, so a fuzz target drives it directly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brivant {

// VS_FIXEDFILEINFO.
struct FixedFileInfo {
  static constexpr uint32_t kSignature = 0xFEEF04BD;
  uint32_t signature = 0;
  uint32_t struc_version = 0;
  uint32_t file_version_ms = 0;
  uint32_t file_version_ls = 0;
  uint32_t product_version_ms = 0;
  uint32_t product_version_ls = 0;
  uint32_t file_flags_mask = 0;
  uint32_t file_flags = 0;
  uint32_t file_os = 0;
  uint32_t file_type = 0;
  uint32_t file_subtype = 0;
  uint32_t file_date_ms = 0;
  uint32_t file_date_ls = 0;
};

// One StringFileInfo table: its key (language and code page as eight
// hexadecimal digits, "040904B0") and its name/value pairs in file order,
// converted to UTF-8.
struct VersionStringTable {
  std::string key;
  std::vector<std::pair<std::string, std::string>> strings;
};

struct VersionResource {
  std::optional<FixedFileInfo> fixed;
  std::vector<VersionStringTable> string_tables;
  // VarFileInfo\Translation: language in the low word, code page in the high.
  std::vector<uint32_t> translations;

  /// The string `name` (compared ignoring ASCII case, as Windows looks names
  /// up) from the table of the first translation, else from the first table
  /// that has it; nullopt when no table has it.
  std::optional<std::string> FindString(std::string_view name) const;
};

// Where the reader gets the file's bytes.
class PeByteSource {
 public:
  virtual ~PeByteSource() = default;
  /// Up to `size` bytes from `offset` into *bytes: fewer, possibly none, when
  /// the data ends sooner. Returns false with *error set when reading failed.
  virtual bool Read(uint64_t offset, size_t size, std::string* bytes, std::string* error) = 0;
};

// Bytes already in memory; they must outlive the source.
class MemoryByteSource : public PeByteSource {
 public:
  explicit MemoryByteSource(std::string_view bytes) : bytes_(bytes) {}
  bool Read(uint64_t offset, size_t size, std::string* bytes, std::string* error) override;

 private:
  std::string_view bytes_;
};

/// Finds and parses the version resource. On failure returns false and sets
/// *error to a lower-case reason: "not a Windows executable (no MZ
/// signature)", "no version resource", "truncated section table at offset
/// 0x1F8", a read failure of the source, and so on.
bool ReadVersionResource(PeByteSource& source, VersionResource* resource, std::string* error);

/// Parses the VS_VERSIONINFO tree in `data` (the resource's bytes). Unknown
/// blocks are skipped; on a malformed tree returns false with *error set.
bool ParseVersionInfo(std::string_view data, VersionResource* resource, std::string* error);

}  // namespace brivant
