// THashAlg (unit HashAlg_U): the base of the hash-algorithm components the
// file checksum actions use. A component hashes a text or a file into a
// digest and formats digests for display; THashAlgMD5 is the one
// implementation. Components do not depend on the host; one object is used
// by one thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace brivant {

// Large enough for any algorithm of the family; an algorithm fills only its
// first DigestSize / 8 bytes.
using THashDigest = std::array<uint8_t, 64>;

class THashAlg {
 public:
  THashAlg() = default;
  virtual ~THashAlg() = default;
  THashAlg(const THashAlg&) = delete;
  THashAlg& operator=(const THashAlg&) = delete;

  // Properties `Title` and `DigestSize` (bits).
  const std::string& GetTitle() const { return fDigestTitle; }
  void SetTitle(const std::string& title) { fDigestTitle = title; }
  int GetDigestSize() const { return fDigestSize; }
  void SetDigestSize(int bits) { fDigestSize = bits; }

  // Virtual operations in slot order.
  virtual void HashString(const std::string& theString, THashDigest& digest) = 0;
  // Throws when the file cannot be opened or read; see the implementation.
  virtual bool HashFile(const std::string& filename, THashDigest& digest) = 0;
  /// The first DigestSize / 8 bytes, each as two upper-case hexadecimal
  /// digits, in digest order.
  virtual std::string HashToDisplay(const THashDigest& theHash) const;
  /// The same bytes, each as the character whose code is the byte value
  /// (UTF-8 encoded, so a byte from 0x80 up takes two bytes of the text).
  virtual std::string HashToDataString(const THashDigest& theHash) const;

  /// Sets all 64 bytes to zero.
  void ClearHash(THashDigest& theHash) const;

 protected:
  // Bytes of a digest that hold the hash, within the 64 a digest has.
  size_t DigestBytes() const;

  std::string fDigestTitle = "<<UNDEFINED>>";
  int fDigestSize = 0;
};

}  // namespace brivant
