#include "actions/checksums/pe_version_resource.h"

#include <algorithm>
#include <cstdio>

namespace brivant {
namespace {

constexpr uint32_t kResourceTypeVersion = 16;  // RT_VERSION
constexpr size_t kResourceDirectoryIndex = 2;  // IMAGE_DIRECTORY_ENTRY_RESOURCE
constexpr size_t kSectionHeaderSize = 40;
constexpr size_t kFixedFileInfoSize = 52;
// wLength of the root block is a 16-bit count, so no version resource is larger.
constexpr size_t kMaxVersionResource = 0xFFFF;

std::string Hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
  return text;
}

uint16_t U16(std::string_view bytes, size_t offset) {
  return static_cast<uint16_t>(static_cast<uint8_t>(bytes[offset]) |
                               static_cast<uint8_t>(bytes[offset + 1]) << 8);
}

uint32_t U32(std::string_view bytes, size_t offset) {
  return uint32_t{U16(bytes, offset)} | uint32_t{U16(bytes, offset + 2)} << 16;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
    return lower(x) == lower(y);
  });
}

void AppendUtf8(char32_t code, std::string* out) {
  if (code < 0x80) {
    *out += static_cast<char>(code);
  } else if (code < 0x800) {
    *out += static_cast<char>(0xC0 | (code >> 6));
    *out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    *out += static_cast<char>(0xE0 | (code >> 12));
    *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    *out += static_cast<char>(0xF0 | (code >> 18));
    *out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// UTF-16 LE text from `begin` up to a NUL or `end`, as UTF-8; an unpaired
// surrogate becomes U+FFFD. *stop receives the offset after the NUL (or end).
std::string ReadUtf16(std::string_view data, size_t begin, size_t end, size_t* stop) {
  std::string text;
  size_t offset = begin;
  while (offset + 2 <= end) {
    char32_t unit = U16(data, offset);
    offset += 2;
    if (unit == 0) break;
    if (unit >= 0xD800 && unit <= 0xDBFF && offset + 2 <= end) {
      char32_t low = U16(data, offset);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        offset += 2;
        AppendUtf8(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00), &text);
        continue;
      }
    }
    AppendUtf8(unit >= 0xD800 && unit <= 0xDFFF ? 0xFFFD : unit, &text);
  }
  if (stop != nullptr) *stop = offset;
  return text;
}

size_t Align4(size_t offset) { return (offset + 3) & ~size_t{3}; }

// One node of the VS_VERSIONINFO tree: wLength, wValueLength, wType, szKey,
// padding, Value, padding, Children. Offsets are into the resource's bytes,
// whose start is 32-bit aligned.
struct Block {
  size_t begin = 0;
  size_t end = 0;  // begin + wLength
  uint16_t value_length = 0;
  uint16_t type = 0;  // 1 text, 0 binary
  std::string key;
  size_t value = 0;     // start of the value, after the key's padding
  size_t children = 0;  // start of the first child

  // Bytes of the value that lie inside the block.
  size_t ValueBytes() const {
    size_t declared = type == 1 ? size_t{value_length} * 2 : value_length;
    return value >= end ? 0 : std::min(declared, end - value);
  }
};

// Parses the block at `begin`, which must end by `limit`.
bool ParseBlock(std::string_view data, size_t begin, size_t limit, Block* block,
                std::string* error) {
  if (begin + 6 > limit) {
    *error = "truncated version block at offset " + Hex(begin);
    return false;
  }
  size_t length = U16(data, begin);
  if (length < 6 || begin + length > limit) {
    *error = "version block at offset " + Hex(begin) + " has a bad length (" +
             std::to_string(length) + " bytes)";
    return false;
  }
  block->begin = begin;
  block->end = begin + length;
  block->value_length = U16(data, begin + 2);
  block->type = U16(data, begin + 4);
  size_t after_key = 0;
  block->key = ReadUtf16(data, begin + 6, block->end, &after_key);
  block->value = std::min(Align4(after_key), block->end);
  block->children = std::min(Align4(block->value + block->ValueBytes()), block->end);
  return true;
}

// Calls visit(child) for each child block of `parent` until it returns
// false. A zero length ends the list: compilers pad parents with zeros.
template <class Visit>
bool ForEachChild(std::string_view data, const Block& parent, std::string* error, Visit visit) {
  size_t offset = parent.children;
  while (offset + 6 <= parent.end && U16(data, offset) != 0) {
    Block child;
    if (!ParseBlock(data, offset, parent.end, &child, error)) return false;
    if (!visit(child)) return false;
    offset = Align4(child.end);
  }
  return true;
}

bool ParseStringFileInfo(std::string_view data, const Block& string_file_info,
                         VersionResource* resource, std::string* error) {
  return ForEachChild(data, string_file_info, error, [&](const Block& table_block) {
    VersionStringTable table{table_block.key, {}};
    bool ok = ForEachChild(data, table_block, error, [&](const Block& string_block) {
      std::string value = ReadUtf16(data, string_block.value, string_block.end, nullptr);
      table.strings.emplace_back(string_block.key, std::move(value));
      return true;
    });
    resource->string_tables.push_back(std::move(table));
    return ok;
  });
}

bool ParseVarFileInfo(std::string_view data, const Block& var_file_info, VersionResource* resource,
                      std::string* error) {
  return ForEachChild(data, var_file_info, error, [&](const Block& var) {
    if (!EqualsIgnoringCase(var.key, "Translation")) return true;
    size_t end = var.value + var.ValueBytes();
    for (size_t offset = var.value; offset + 4 <= end; offset += 4) {
      resource->translations.push_back(U32(data, offset));
    }
    return true;
  });
}

// Walks the PE headers and the resource directory of one file.
class PeReader {
 public:
  PeReader(PeByteSource& source, std::string* error) : source_(source), error_(*error) {}

  // The file offset and size of the version resource's data.
  bool LocateVersionResource(uint64_t* offset, size_t* size);

 private:
  struct Section {
    uint32_t virtual_address;
    uint32_t virtual_size;
    uint32_t raw_size;
    uint32_t raw_offset;
  };
  struct DirectoryEntry {
    uint32_t name;
    uint32_t offset;
    bool is_directory;
  };

  // Exactly `size` bytes at `offset`, else an error naming `what`.
  bool ReadExact(uint64_t offset, size_t size, const char* what, std::string* bytes);
  bool ReadHeaders(uint32_t* resource_rva);
  // The file offset of `rva` and how many bytes of its section follow it.
  bool MapRva(uint64_t rva, const char* what, uint64_t* offset, uint64_t* available);
  bool ReadAtRva(uint64_t rva, size_t size, const char* what, std::string* bytes);
  bool ReadDirectory(uint64_t rva, std::vector<DirectoryEntry>* entries);
  // The first entry of the directory at `rva` that is (not) a subdirectory,
  // or with `id` the entry of that numeric ID.
  bool FindEntry(uint64_t rva, std::optional<uint32_t> id, bool want_directory,
                 DirectoryEntry* found);

  PeByteSource& source_;
  std::string& error_;
  std::vector<Section> sections_;
};

bool PeReader::ReadExact(uint64_t offset, size_t size, const char* what, std::string* bytes) {
  if (!source_.Read(offset, size, bytes, &error_)) return false;
  if (bytes->size() == size) return true;
  error_ = std::string("truncated ") + what + " at offset " + Hex(offset);
  return false;
}

bool PeReader::ReadHeaders(uint32_t* resource_rva) {
  std::string dos;
  if (!source_.Read(0, 64, &dos, &error_)) return false;
  if (dos.size() < 2 || dos[0] != 'M' || dos[1] != 'Z') {
    error_ = "not a Windows executable (no MZ signature)";
    return false;
  }
  if (dos.size() < 64) {
    error_ = "truncated DOS header at offset 0x0";
    return false;
  }
  uint64_t pe_offset = U32(dos, 0x3C);
  std::string file_header;
  if (!source_.Read(pe_offset, 24, &file_header, &error_)) return false;
  if (file_header.size() >= 4 && file_header.compare(0, 4, std::string_view("PE\0\0", 4)) != 0) {
    error_ = "not a Windows executable (no PE signature at offset " + Hex(pe_offset) + ")";
    return false;
  }
  if (file_header.size() < 24) {
    error_ = "truncated file header at offset " + Hex(pe_offset);
    return false;
  }
  size_t section_count = U16(file_header, 6);
  size_t optional_size = U16(file_header, 20);
  uint64_t optional_offset = pe_offset + 24;

  std::string optional_header;
  if (!ReadExact(optional_offset, optional_size, "optional header", &optional_header)) return false;
  if (optional_size < 2) {
    error_ = "truncated optional header at offset " + Hex(optional_offset);
    return false;
  }
  uint16_t magic = U16(optional_header, 0);
  size_t count_offset = magic == 0x10B ? 92 : magic == 0x20B ? 108 : 0;
  if (count_offset == 0) {
    error_ = "unknown optional header magic " + Hex(magic) + " at offset " + Hex(optional_offset);
    return false;
  }
  size_t directory_offset = count_offset + 4 + 8 * kResourceDirectoryIndex;
  if (optional_size < directory_offset + 8 ||
      U32(optional_header, count_offset) <= kResourceDirectoryIndex) {
    *resource_rva = 0;
  } else {
    *resource_rva = U32(optional_header, directory_offset);
  }

  std::string table;
  if (!ReadExact(optional_offset + optional_size, section_count * kSectionHeaderSize,
                 "section table", &table)) {
    return false;
  }
  for (size_t i = 0; i < section_count; ++i) {
    size_t at = i * kSectionHeaderSize;
    sections_.push_back(
        {U32(table, at + 12), U32(table, at + 8), U32(table, at + 16), U32(table, at + 20)});
  }
  return true;
}

bool PeReader::MapRva(uint64_t rva, const char* what, uint64_t* offset, uint64_t* available) {
  for (const Section& section : sections_) {
    uint64_t start = section.virtual_address;
    uint64_t extent = std::max(section.virtual_size, section.raw_size);
    if (rva < start || rva >= start + extent) continue;
    uint64_t into = rva - start;
    // Past the raw data the loader fills zeros; no resource lives there.
    if (into >= section.raw_size) break;
    *offset = section.raw_offset + into;
    *available = section.raw_size - into;
    return true;
  }
  error_ = std::string(what) + " at RVA " + Hex(rva) + " lies outside the file's sections";
  return false;
}

bool PeReader::ReadAtRva(uint64_t rva, size_t size, const char* what, std::string* bytes) {
  uint64_t offset = 0, available = 0;
  if (!MapRva(rva, what, &offset, &available)) return false;
  if (available < size) {
    error_ = std::string("truncated ") + what + " at offset " + Hex(offset);
    return false;
  }
  return ReadExact(offset, size, what, bytes);
}

bool PeReader::ReadDirectory(uint64_t rva, std::vector<DirectoryEntry>* entries) {
  std::string header;
  if (!ReadAtRva(rva, 16, "resource directory", &header)) return false;
  size_t count = size_t{U16(header, 12)} + U16(header, 14);
  std::string table;
  if (!ReadAtRva(rva, 16 + count * 8, "resource directory", &table)) return false;
  for (size_t at = 16; at < table.size(); at += 8) {
    uint32_t target = U32(table, at + 4);
    entries->push_back({U32(table, at), target & 0x7FFFFFFF, (target & 0x80000000) != 0});
  }
  return true;
}

bool PeReader::FindEntry(uint64_t rva, std::optional<uint32_t> id, bool want_directory,
                         DirectoryEntry* found) {
  std::vector<DirectoryEntry> entries;
  if (!ReadDirectory(rva, &entries)) return false;
  for (const DirectoryEntry& entry : entries) {
    if (id && entry.name != *id) continue;
    if (entry.is_directory != want_directory) continue;
    *found = entry;
    return true;
  }
  error_ = id ? "no version resource" : "malformed resource directory at RVA " + Hex(rva);
  return false;
}

bool PeReader::LocateVersionResource(uint64_t* offset, size_t* size) {
  uint32_t root = 0;
  if (!ReadHeaders(&root)) return false;
  if (root == 0) {
    error_ = "no version resource";
    return false;
  }
  // Type, then name, then language: the first name and language will do.
  DirectoryEntry type, name, language;
  if (!FindEntry(root, kResourceTypeVersion, true, &type)) return false;
  if (!FindEntry(uint64_t{root} + type.offset, std::nullopt, true, &name)) return false;
  if (!FindEntry(uint64_t{root} + name.offset, std::nullopt, false, &language)) return false;
  std::string data_entry;
  if (!ReadAtRva(uint64_t{root} + language.offset, 16, "resource data entry", &data_entry)) {
    return false;
  }
  uint32_t data_rva = U32(data_entry, 0);
  uint64_t available = 0;
  if (!MapRva(data_rva, "version resource", offset, &available)) return false;
  uint64_t declared = U32(data_entry, 4);
  *size = static_cast<size_t>(std::min({declared, available, uint64_t{kMaxVersionResource}}));
  return true;
}

}  // namespace

std::optional<std::string> VersionResource::FindString(std::string_view name) const {
  auto find_in = [name](const VersionStringTable& table) -> std::optional<std::string> {
    for (const auto& [key, value] : table.strings) {
      if (EqualsIgnoringCase(key, name)) return value;
    }
    return std::nullopt;
  };
  if (!translations.empty()) {
    char key[9];
    std::snprintf(key, sizeof key, "%04X%04X", translations[0] & 0xFFFF, translations[0] >> 16);
    for (const VersionStringTable& table : string_tables) {
      if (!EqualsIgnoringCase(table.key, key)) continue;
      if (std::optional<std::string> value = find_in(table)) return value;
    }
  }
  for (const VersionStringTable& table : string_tables) {
    if (std::optional<std::string> value = find_in(table)) return value;
  }
  return std::nullopt;
}

bool MemoryByteSource::Read(uint64_t offset, size_t size, std::string* bytes,
                            std::string* /*error*/) {
  if (offset >= bytes_.size()) {
    bytes->clear();
    return true;
  }
  bytes->assign(bytes_.substr(static_cast<size_t>(offset), size));
  return true;
}

bool ParseVersionInfo(std::string_view data, VersionResource* resource, std::string* error) {
  Block root;
  if (!ParseBlock(data, 0, data.size(), &root, error)) return false;
  if (root.key != "VS_VERSION_INFO") {
    *error = "version resource does not start with VS_VERSION_INFO";
    return false;
  }
  if (root.ValueBytes() >= kFixedFileInfoSize &&
      U32(data, root.value) == FixedFileInfo::kSignature) {
    uint32_t fields[13];
    for (size_t i = 0; i < 13; ++i) fields[i] = U32(data, root.value + 4 * i);
    resource->fixed =
        FixedFileInfo{fields[0], fields[1], fields[2], fields[3],  fields[4],  fields[5], fields[6],
                      fields[7], fields[8], fields[9], fields[10], fields[11], fields[12]};
  }
  return ForEachChild(data, root, error, [&](const Block& child) {
    if (child.key == "StringFileInfo") return ParseStringFileInfo(data, child, resource, error);
    if (child.key == "VarFileInfo") return ParseVarFileInfo(data, child, resource, error);
    return true;
  });
}

bool ReadVersionResource(PeByteSource& source, VersionResource* resource, std::string* error) {
  error->clear();
  PeReader reader(source, error);
  uint64_t offset = 0;
  size_t size = 0;
  if (!reader.LocateVersionResource(&offset, &size)) return false;
  std::string data;
  if (!source.Read(offset, size, &data, error)) return false;
  if (data.size() < size) {
    *error = "truncated version resource at offset " + Hex(offset);
    return false;
  }
  return ParseVersionInfo(data, resource, error);
}

}  // namespace brivant
