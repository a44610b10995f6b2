// THashAlgMD5Engine (unit HashAlgMD5Engine_U): the MD5 message digest of
// RFC 1321 in object form, with the reference implementation's context record
// and operations. Init, then Update any number of times, then Final. The
// engine holds no state of its own; a context is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace brivant {

struct MD5_CTX {
  uint32_t state[4];   // A, B, C, D
  uint32_t count[2];   // message length in bits, modulo 2^64, low word first
  uint8_t buffer[64];  // the partial block not yet transformed
};

class THashAlgMD5Engine {
 public:
  /// Starts a digest: count zero, state 0x67452301, 0xEFCDAB89, 0x98BADCFE,
  /// 0x10325476.
  void MD5Init(MD5_CTX& context) const;
  /// Continues the digest over `inputLen` bytes. Whole blocks are hashed
  /// straight from `input`; only a partial block is copied.
  void MD5Update(MD5_CTX& context, const uint8_t* input, size_t inputLen) const;
  /// Pads, writes the 16-byte digest and wipes the context.
  void MD5Final(uint8_t digest[16], MD5_CTX& context) const;

 private:
  // Runs the 64 steps over each of `blocks` consecutive 64-byte blocks.
  static void MD5Transform(uint32_t state[4], const uint8_t* block, size_t blocks = 1);
  // Words to little-endian bytes and back; `len` counts bytes.
  static void Encode(uint8_t* output, const uint32_t* input, size_t len);
  static void Decode(uint32_t* output, const uint8_t* input, size_t len);
  static void MD5_memcpy(uint8_t* output, const uint8_t* input, size_t len);
  static void MD5_memset(uint8_t* output, int value, size_t len);
};

}  // namespace brivant
