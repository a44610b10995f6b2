#include "actions/checksums/hash_alg.h"

#include <algorithm>

namespace brivant {

size_t THashAlg::DigestBytes() const {
  return static_cast<size_t>(
      std::clamp(fDigestSize / 8, 0, static_cast<int>(THashDigest().size())));
}

std::string THashAlg::HashToDisplay(const THashDigest& theHash) const {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * DigestBytes());
  for (size_t i = 0; i < DigestBytes(); ++i) {
    text += kDigits[theHash[i] >> 4];
    text += kDigits[theHash[i] & 0xF];
  }
  return text;
}

std::string THashAlg::HashToDataString(const THashDigest& theHash) const {
  std::string text;
  for (size_t i = 0; i < DigestBytes(); ++i) {
    uint8_t byte = theHash[i];
    if (byte < 0x80) {
      text += static_cast<char>(byte);
      continue;
    }
    text += static_cast<char>(0xC0 | (byte >> 6));
    text += static_cast<char>(0x80 | (byte & 0x3F));
  }
  return text;
}

void THashAlg::ClearHash(THashDigest& theHash) const { theHash.fill(0); }

}  // namespace brivant
