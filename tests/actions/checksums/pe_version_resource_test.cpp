#include "actions/checksums/pe_version_resource.h"

#include <cstring>
#include <functional>
#include <sstream>
#include <tuple>

#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

// Built by tests/data/pe/make.sh from version.rc with mingw-w64.
std::string TestBinary(const std::string& name) {
  return ReadBytes(std::string(BRIVANT_PE_TEST_DATA) + "/" + name);
}

bool Read(const std::string& bytes, VersionResource* resource, std::string* error) {
  MemoryByteSource source(bytes);
  return ReadVersionResource(source, resource, error);
}

std::string ReadError(const std::string& bytes) {
  VersionResource resource;
  std::string error;
  EXPECT_FALSE(Read(bytes, &resource, &error));
  return error;
}

uint32_t U32At(const std::string& bytes, size_t offset) {
  uint32_t value;
  std::memcpy(&value, bytes.data() + offset, 4);
  return value;
}
void Put16(std::string* bytes, size_t offset, uint16_t value) {
  std::memcpy(bytes->data() + offset, &value, 2);
}
void Put32(std::string* bytes, size_t offset, uint32_t value) {
  std::memcpy(bytes->data() + offset, &value, 4);
}

// Where things are in a PE file, found without the reader under test.
struct Layout {
  size_t pe;              // "PE\0\0"
  size_t optional;        // optional header
  size_t sections;        // section table
  size_t resource_entry;  // resource data directory (RVA, size)
  size_t rsrc;            // file offset of the .rsrc section
  size_t version;         // file offset of the VS_VERSIONINFO root block
  size_t version_end;     // and of the byte after it
};

uint16_t U16At(const std::string& bytes, size_t offset) {
  uint16_t value;
  std::memcpy(&value, bytes.data() + offset, 2);
  return value;
}

std::string Hex(size_t value) {
  return "0x" + (std::stringstream() << std::uppercase << std::hex << value).str();
}

Layout Locate(const std::string& bytes) {
  Layout layout{};
  layout.pe = U32At(bytes, 0x3C);
  layout.optional = layout.pe + 24;
  layout.sections = layout.optional + U16At(bytes, layout.pe + 20);
  bool pe32_plus = U16At(bytes, layout.optional) == 0x20B;
  layout.resource_entry = layout.optional + (pe32_plus ? 112 : 96) + 16;
  for (size_t i = 0; i < U16At(bytes, layout.pe + 6); ++i) {
    size_t at = layout.sections + 40 * i;
    if (bytes.compare(at, 6, std::string(".rsrc\0", 6)) == 0) layout.rsrc = U32At(bytes, at + 20);
  }
  std::string key("V\0S\0_\0V\0E\0R\0S\0I\0O\0N\0_\0I\0N\0F\0O\0", 30);
  layout.version = bytes.find(key) - 6;
  layout.version_end = layout.version + U16At(bytes, layout.version);
  return layout;
}

TEST(PeVersionResource, ReadsExecutablesAndDllsOfBothWidths) {
  const std::tuple<const char*, uint32_t> cases[] = {
      {"ver32.exe", 32}, {"ver64.exe", 64}, {"ver32.dll", 32}, {"ver64.dll", 64}};
  for (const auto& [file, build] : cases) {
    SCOPED_TRACE(file);
    VersionResource resource;
    std::string error;
    ASSERT_TRUE(Read(TestBinary(file), &resource, &error)) << error;
    ASSERT_TRUE(resource.fixed.has_value());
    EXPECT_EQ(resource.fixed->signature, 0xFEEF04BDu);
    EXPECT_EQ(resource.fixed->file_version_ms, 0x00010002u);
    EXPECT_EQ(resource.fixed->file_version_ls, 0x00030000u | build);
    EXPECT_EQ(resource.fixed->product_version_ls, 0xFFFF0008u);
    EXPECT_EQ(resource.translations, std::vector<uint32_t>{0x04B00409});
    std::string extension = std::string(file).substr(6);
    EXPECT_EQ(resource.FindString("OriginalFilename"),
              "ver" + std::to_string(build) + "." + extension);
    EXPECT_EQ(resource.FindString("FileDescription"), "Version resource test " + extension);
  }
}

TEST(PeVersionResource, FindsStringsInTheTranslationsTableFirst) {
  VersionResource resource;
  std::string error;
  ASSERT_TRUE(Read(TestBinary("ver64.exe"), &resource, &error)) << error;
  ASSERT_EQ(resource.string_tables.size(), 2u);
  EXPECT_EQ(resource.FindString("CompanyName"), "Brivant Test Co.");
  EXPECT_EQ(resource.FindString("companyname"), "Brivant Test Co.");
  EXPECT_EQ(resource.FindString("GermanOnly"), "nur deutsch");
  EXPECT_EQ(resource.FindString("Comments"),
            "Gr\xC3\xBC\xC3\x9F"
            "e \xE2\x9C\x93");
  EXPECT_EQ(resource.FindString("LegalCopyright"), "Copyright \xC2\xA9 2026 Brivant tests");
  EXPECT_EQ(resource.FindString("Empty"), "");
  EXPECT_EQ(resource.FindString("Missing"), std::nullopt);
}

TEST(PeVersionResource, FilesWithoutAResourceSayWhy) {
  EXPECT_EQ(ReadError(TestBinary("noversion64.exe")), "no version resource");
  EXPECT_EQ(ReadError("plain text, not a program"), "not a Windows executable (no MZ signature)");
  EXPECT_EQ(ReadError(""), "not a Windows executable (no MZ signature)");
}

// Every prefix of a real file either still holds the whole resource or is
// refused with a reason; none may read past the data (the sanitizer build
// checks that).
TEST(PeVersionResource, TruncatedFilesAreRefused) {
  for (const char* file : {"ver32.exe", "ver64.dll"}) {
    std::string whole = TestBinary(file);
    Layout layout = Locate(whole);
    for (size_t size = 0; size < whole.size(); ++size) {
      VersionResource resource;
      std::string error;
      bool ok = Read(whole.substr(0, size), &resource, &error);
      if (size < layout.version_end) {
        ASSERT_FALSE(ok) << file << " cut at " << size;
        ASSERT_FALSE(error.empty()) << file << " cut at " << size;
      } else if (ok) {
        ASSERT_EQ(resource.FindString("BuildTag"), "nightly-42") << file << " cut at " << size;
      }
    }
    EXPECT_EQ(ReadError(whole.substr(0, 40)), "truncated DOS header at offset 0x0");
    EXPECT_EQ(ReadError(whole.substr(0, layout.sections + 20)),
              "truncated section table at offset " + Hex(layout.sections));
  }
}

TEST(PeVersionResource, CorruptedHeadersAreRefusedWithTheirPlace) {
  const std::string original = TestBinary("ver64.exe");
  const Layout at = Locate(original);
  const std::tuple<const char*, std::function<void(std::string*)>, std::string> cases[] = {
      {"PE offset far beyond the end", [](std::string* b) { Put32(b, 0x3C, 0xFFFFFFF0); },
       "truncated file header at offset 0xFFFFFFF0"},
      {"no PE signature", [&](std::string* b) { (*b)[at.pe] = 'X'; },
       "not a Windows executable (no PE signature at offset " + Hex(at.pe) + ")"},
      {"65535 sections", [&](std::string* b) { Put16(b, at.pe + 6, 0xFFFF); },
       "truncated section table at offset " + Hex(at.sections)},
      {"huge optional header", [&](std::string* b) { Put16(b, at.pe + 20, 0xFFFF); },
       "truncated optional header at offset " + Hex(at.optional)},
      {"unknown magic", [&](std::string* b) { Put16(b, at.optional, 0x1234); },
       "unknown optional header magic 0x1234 at offset " + Hex(at.optional)},
      {"resources outside every section",
       [&](std::string* b) { Put32(b, at.resource_entry, 0x7FFFFFF0); },
       "resource directory at RVA 0x7FFFFFF0 lies outside the file's sections"},
      {"no resource directory", [&](std::string* b) { Put32(b, at.resource_entry, 0); },
       "no version resource"},
      {"65535 directory entries", [&](std::string* b) { Put16(b, at.rsrc + 14, 0xFFFF); },
       "truncated resource directory at offset " + Hex(at.rsrc)},
      {"root block of length zero", [&](std::string* b) { Put16(b, at.version, 0); },
       "version block at offset 0x0 has a bad length (0 bytes)"},
      {"root block longer than the resource", [&](std::string* b) { Put16(b, at.version, 0xFFF0); },
       "version block at offset 0x0 has a bad length (65520 bytes)"},
      {"child block overrunning its parent",
       [&](std::string* b) { Put16(b, at.version + 92, 0x7000); },
       "version block at offset 0x5C has a bad length (28672 bytes)"},
      {"wrong root key", [&](std::string* b) { (*b)[at.version + 6] = 'X'; },
       "version resource does not start with VS_VERSION_INFO"},
  };
  for (const auto& [what, corrupt, error] : cases) {
    SCOPED_TRACE(what);
    std::string bytes = original;
    corrupt(&bytes);
    EXPECT_EQ(ReadError(bytes), error);
  }
}

// A directory entry that points back at its own directory must not send the
// reader round in circles.
TEST(PeVersionResource, LoopingResourceDirectoryIsRefused) {
  std::string bytes = TestBinary("ver64.exe");
  Layout at = Locate(bytes);
  Put32(&bytes, at.rsrc + 16 + 4, 0x80000000);  // RT_VERSION's subdirectory: the root
  EXPECT_EQ(ReadError(bytes).rfind("malformed resource directory at RVA ", 0), 0u);
}

}  // namespace
}  // namespace brivant::testing
