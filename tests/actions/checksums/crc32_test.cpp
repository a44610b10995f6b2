#include "actions/checksums/crc32.h"

#include <cstring>
#include <tuple>
#include <vector>

#include "actions/checksums/checksum_file.h"
#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

using Crc32Test = ChecksumTest;

TEST_F(Crc32Test, FilesGiveTheirKnownChecksums) {
  // "123456789" is the CRC-32 check value of IEEE 802.3; the others are
  // PseudoRandomBytes as zlib.crc32 computed them. The large file spans
  // several read blocks and ends in a partial one.
  const std::tuple<std::string, const char*> cases[] = {
      {"123456789", "$CBF43926"},
      {"", "$00000000"},
      {PseudoRandomBytes(1), "$7808A3D2"},
      {PseudoRandomBytes(255), "$73E75E7F"},
      {PseudoRandomBytes(256), "$6ACCADDC"},
      {PseudoRandomBytes(257), "$B5B569EC"},
      {PseudoRandomBytes(3 * 1024 * 1024 + 7), "$8363384E"},
  };
  for (const auto& [content, crc] : cases) {
    SCOPED_TRACE(std::to_string(content.size()) + " bytes");
    EXPECT_EQ(GetCRC32(MakeFile("data.bin", content)), crc);
  }
}

// The carry-less and the table implementations must agree on every length
// around the folding thresholds and at every alignment.
TEST(Crc32, CarrylessAndTableWalkAgree) {
  if (!crc32_internal::CarrylessMultiplyAvailable()) {
    GTEST_SKIP() << "this CPU has no carry-less multiplication";
  }
  std::string data = PseudoRandomBytes(70000);
  std::vector<size_t> lengths;
  for (size_t n = 0; n <= 300; ++n) lengths.push_back(n);
  for (size_t n : {1023u, 1024u, 1025u, 4096u + 48u, 65536u + 15u, 69000u}) lengths.push_back(n);
  for (size_t offset = 0; offset < 16; ++offset) {
    for (size_t length : lengths) {
      auto bytes = reinterpret_cast<const uint8_t*>(data.data()) + offset;
      for (uint32_t reg : {0xFFFFFFFFu, 0x12345678u}) {
        ASSERT_EQ(crc32_internal::UpdateRegisterCarryless(reg, bytes, length),
                  crc32_internal::UpdateRegisterPortable(reg, bytes, length))
            << "offset " << offset << ", length " << length << ", register " << reg;
      }
    }
  }
}

}  // namespace
}  // namespace brivant::testing
