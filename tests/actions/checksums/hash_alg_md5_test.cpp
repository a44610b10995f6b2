#include "actions/checksums/hash_alg_md5.h"

#include <tuple>

#include "actions/checksums/checksum_file.h"
#include "tests/actions/checksums/checksum_test_support.h"

namespace brivant::testing {
namespace {

using HashAlgMD5Test = ChecksumTest;

std::string HashOfString(const std::string& text) {
  THashAlgMD5 md5;
  THashDigest digest;
  md5.ClearHash(digest);
  md5.HashString(text, digest);
  return md5.HashToDisplay(digest);
}

// The test suite of RFC 1321, appendix A.5.
TEST(HashAlgMD5, StringsGiveTheRfc1321Digests) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "D41D8CD98F00B204E9800998ECF8427E"},
      {"abc", "900150983CD24FB0D6963F7D28E17F72"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "D174AB98D277D9F5A5611C2C9F419D9F"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57EDF4A22BE3C955AC49DA2E2107B67A"},
  };
  for (const auto& [text, md5] : cases) EXPECT_EQ(HashOfString(text), md5) << '"' << text << '"';
}

// One byte per UTF-16 code unit, its low byte: "a" 61, U+00E9 E9, U+0100 00,
// U+1F600 as its surrogates D83D DE00 gives 3D 00. Expected values: Python
// hashlib.md5 of those bytes.
TEST(HashAlgMD5, StringsHashTheLowByteOfEachUtf16CodeUnit) {
  EXPECT_EQ(HashOfString("\xC3\xA9"), "3406877694691DDD1DFB0ACA54681407");
  EXPECT_EQ(HashOfString("\xC4\x80"), "93B885ADFE0DA089CDF634904FD59F71");
  EXPECT_EQ(HashOfString("a\xC3\xA9\xC4\x80\xF0\x9F\x98\x80"), "134A0AC225F4136E4EF5FF074C910EA5");
  // A byte that starts no valid sequence stands for U+FFFD, low byte FD.
  EXPECT_EQ(HashOfString("\xFF"), HashOfString("\xEF\xBF\xBD"));
}

TEST(HashAlgMD5, DataStringHasOneCharacterPerDigestByte) {
  THashAlgMD5 md5;
  THashDigest digest;
  md5.ClearHash(digest);
  md5.HashString("a", digest);  // 0C C1 75 B9 ...
  std::string data = md5.HashToDataString(digest);
  EXPECT_EQ(data.substr(0, 6), "\x0C\xC3\x81\x75\xC2\xB9");
  EXPECT_EQ(digest[16], 0) << "bytes past the digest stay cleared";
}

TEST_F(HashAlgMD5Test, FilesGiveTheirKnownDigests) {
  // PseudoRandomBytes as hashlib.md5 computed them.
  const std::tuple<size_t, const char*> cases[] = {
      {0, "D41D8CD98F00B204E9800998ECF8427E"},
      {255, "E5C1C9FF9F3149DCF8473A4AF448D4AB"},
      {256, "F433E7905B96BD91A987642250C382C7"},
      {257, "BCC13C3ED51DF451413D1A90CA38F956"},
      {3 * 1024 * 1024 + 7, "AD98E37F09CA232E30513B57D42E4225"},
  };
  for (const auto& [size, expected] : cases) {
    SCOPED_TRACE(std::to_string(size) + " bytes");
    THashAlgMD5 md5;
    THashDigest digest;
    md5.ClearHash(digest);
    ASSERT_TRUE(md5.HashFile(MakeFile("data.bin", PseudoRandomBytes(size)), digest));
    EXPECT_EQ(md5.HashToDisplay(digest), expected);
  }
}

}  // namespace
}  // namespace brivant::testing
