// Shared set-up of the checksum and version-information tests: a temporary
// directory, the recording host, property access by name, and the test
// content whose checksums were computed independently.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/action_test.h"
#include "tests/support/test_host.h"

namespace brivant::testing {

// `size` bytes of a fixed pseudo-random sequence: x = x * 1103515245 + 12345
// (mod 2^32) from x = 20240601, each byte the top 8 bits of x. The expected
// checksums of this content were computed with Python's zlib.crc32 and
// hashlib.md5.
inline std::string PseudoRandomBytes(size_t size) {
  std::string bytes(size, '\0');
  uint32_t x = 20240601;
  for (char& byte : bytes) {
    x = x * 1103515245u + 12345u;
    byte = static_cast<char>(x >> 24);
  }
  return bytes;
}

class ChecksumTest : public ActionTest {
 protected:
  // Writes `name` in the temporary directory and returns its path.
  std::string MakeFile(const std::string& name, const std::string& content) const {
    WriteBytes(Path(name), content);
    return Path(name);
  }
  // The host's log: "tag: text" lines.
  std::vector<std::string> Log() const {
    std::vector<std::string> lines;
    for (const LoggedMessage& message : host_.messages) {
      lines.push_back(std::string(StatusTagName(message.tag)) + ": " + message.text);
    }
    return lines;
  }
};

}  // namespace brivant::testing
