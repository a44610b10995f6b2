#include "actions/checksums/hash_alg_md5_engine.h"

#include <bit>
#include <cstring>

namespace brivant {
namespace {

// The auxiliary functions of RFC 1321, section 3.4, written so that the part
// not depending on `b` (the word computed by the previous step) can start
// early: F and G select between c and d, which is the same as the forms below;
// in G the two terms share no bits, so their sum is their union.
inline uint32_t F(uint32_t b, uint32_t c, uint32_t d) { return d ^ (b & (c ^ d)); }
inline uint32_t H(uint32_t b, uint32_t c, uint32_t d) { return b ^ (c ^ d); }
inline uint32_t I(uint32_t b, uint32_t c, uint32_t d) { return c ^ (b | ~d); }

// One step: a = b + ((a + f(b, c, d) + x + t) <<< s).
template <int S>
inline void FF(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, uint32_t t) {
  a += x + t;
  a = std::rotl(a + F(b, c, d), S) + b;
}
template <int S>
inline void GG(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, uint32_t t) {
  a += x + t + (c & ~d);
  a = std::rotl(a + (b & d), S) + b;
}
template <int S>
inline void HH(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, uint32_t t) {
  a += x + t;
  a = std::rotl(a + H(b, c, d), S) + b;
}
template <int S>
inline void II(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, uint32_t t) {
  a += x + t;
  a = std::rotl(a + I(b, c, d), S) + b;
}

// Padding: a one bit, then zeros up to 56 bytes modulo 64.
constexpr uint8_t kPadding[64] = {0x80};

}  // namespace

void THashAlgMD5Engine::MD5Init(MD5_CTX& context) const {
  context.count[0] = context.count[1] = 0;
  context.state[0] = 0x67452301;
  context.state[1] = 0xEFCDAB89;
  context.state[2] = 0x98BADCFE;
  context.state[3] = 0x10325476;
}

void THashAlgMD5Engine::MD5Update(MD5_CTX& context, const uint8_t* input, size_t inputLen) const {
  size_t index = (context.count[0] >> 3) & 0x3F;
  uint64_t bits = (uint64_t{context.count[1]} << 32 | context.count[0]) + (uint64_t{inputLen} << 3);
  context.count[0] = static_cast<uint32_t>(bits);
  context.count[1] = static_cast<uint32_t>(bits >> 32);

  size_t part_len = 64 - index;
  size_t i = 0;
  if (inputLen >= part_len) {
    if (index != 0) {
      MD5_memcpy(&context.buffer[index], input, part_len);
      MD5Transform(context.state, context.buffer);
      i = part_len;
      index = 0;
    }
    size_t whole_blocks = (inputLen - i) / 64;
    if (whole_blocks > 0) MD5Transform(context.state, &input[i], whole_blocks);
    i += whole_blocks * 64;
  }
  MD5_memcpy(&context.buffer[index], &input[i], inputLen - i);
}

void THashAlgMD5Engine::MD5Final(uint8_t digest[16], MD5_CTX& context) const {
  uint8_t bits[8];
  Encode(bits, context.count, 8);
  size_t index = (context.count[0] >> 3) & 0x3F;
  size_t pad_len = index < 56 ? 56 - index : 120 - index;
  MD5Update(context, kPadding, pad_len);
  MD5Update(context, bits, 8);
  Encode(digest, context.state, 16);
  // The context may hold message bytes; leave nothing of them behind.
  MD5_memset(reinterpret_cast<uint8_t*>(&context), 0, sizeof context);
}

void THashAlgMD5Engine::MD5Transform(uint32_t state[4], const uint8_t* block, size_t blocks) {
  uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
  for (; blocks > 0; --blocks, block += 64) {
    uint32_t x[16];
    Decode(x, block, 64);
    const uint32_t aa = a, bb = b, cc = c, dd = d;

    // Round 1.
    FF<7>(a, b, c, d, x[0], 0xD76AA478);
    FF<12>(d, a, b, c, x[1], 0xE8C7B756);
    FF<17>(c, d, a, b, x[2], 0x242070DB);
    FF<22>(b, c, d, a, x[3], 0xC1BDCEEE);
    FF<7>(a, b, c, d, x[4], 0xF57C0FAF);
    FF<12>(d, a, b, c, x[5], 0x4787C62A);
    FF<17>(c, d, a, b, x[6], 0xA8304613);
    FF<22>(b, c, d, a, x[7], 0xFD469501);
    FF<7>(a, b, c, d, x[8], 0x698098D8);
    FF<12>(d, a, b, c, x[9], 0x8B44F7AF);
    FF<17>(c, d, a, b, x[10], 0xFFFF5BB1);
    FF<22>(b, c, d, a, x[11], 0x895CD7BE);
    FF<7>(a, b, c, d, x[12], 0x6B901122);
    FF<12>(d, a, b, c, x[13], 0xFD987193);
    FF<17>(c, d, a, b, x[14], 0xA679438E);
    FF<22>(b, c, d, a, x[15], 0x49B40821);

    // Round 2.
    GG<5>(a, b, c, d, x[1], 0xF61E2562);
    GG<9>(d, a, b, c, x[6], 0xC040B340);
    GG<14>(c, d, a, b, x[11], 0x265E5A51);
    GG<20>(b, c, d, a, x[0], 0xE9B6C7AA);
    GG<5>(a, b, c, d, x[5], 0xD62F105D);
    GG<9>(d, a, b, c, x[10], 0x02441453);
    GG<14>(c, d, a, b, x[15], 0xD8A1E681);
    GG<20>(b, c, d, a, x[4], 0xE7D3FBC8);
    GG<5>(a, b, c, d, x[9], 0x21E1CDE6);
    GG<9>(d, a, b, c, x[14], 0xC33707D6);
    GG<14>(c, d, a, b, x[3], 0xF4D50D87);
    GG<20>(b, c, d, a, x[8], 0x455A14ED);
    GG<5>(a, b, c, d, x[13], 0xA9E3E905);
    GG<9>(d, a, b, c, x[2], 0xFCEFA3F8);
    GG<14>(c, d, a, b, x[7], 0x676F02D9);
    GG<20>(b, c, d, a, x[12], 0x8D2A4C8A);

    // Round 3.
    HH<4>(a, b, c, d, x[5], 0xFFFA3942);
    HH<11>(d, a, b, c, x[8], 0x8771F681);
    HH<16>(c, d, a, b, x[11], 0x6D9D6122);
    HH<23>(b, c, d, a, x[14], 0xFDE5380C);
    HH<4>(a, b, c, d, x[1], 0xA4BEEA44);
    HH<11>(d, a, b, c, x[4], 0x4BDECFA9);
    HH<16>(c, d, a, b, x[7], 0xF6BB4B60);
    HH<23>(b, c, d, a, x[10], 0xBEBFBC70);
    HH<4>(a, b, c, d, x[13], 0x289B7EC6);
    HH<11>(d, a, b, c, x[0], 0xEAA127FA);
    HH<16>(c, d, a, b, x[3], 0xD4EF3085);
    HH<23>(b, c, d, a, x[6], 0x04881D05);
    HH<4>(a, b, c, d, x[9], 0xD9D4D039);
    HH<11>(d, a, b, c, x[12], 0xE6DB99E5);
    HH<16>(c, d, a, b, x[15], 0x1FA27CF8);
    HH<23>(b, c, d, a, x[2], 0xC4AC5665);

    // Round 4.
    II<6>(a, b, c, d, x[0], 0xF4292244);
    II<10>(d, a, b, c, x[7], 0x432AFF97);
    II<15>(c, d, a, b, x[14], 0xAB9423A7);
    II<21>(b, c, d, a, x[5], 0xFC93A039);
    II<6>(a, b, c, d, x[12], 0x655B59C3);
    II<10>(d, a, b, c, x[3], 0x8F0CCC92);
    II<15>(c, d, a, b, x[10], 0xFFEFF47D);
    II<21>(b, c, d, a, x[1], 0x85845DD1);
    II<6>(a, b, c, d, x[8], 0x6FA87E4F);
    II<10>(d, a, b, c, x[15], 0xFE2CE6E0);
    II<15>(c, d, a, b, x[6], 0xA3014314);
    II<21>(b, c, d, a, x[13], 0x4E0811A1);
    II<6>(a, b, c, d, x[4], 0xF7537E82);
    II<10>(d, a, b, c, x[11], 0xBD3AF235);
    II<15>(c, d, a, b, x[2], 0x2AD7D2BB);
    II<21>(b, c, d, a, x[9], 0xEB86D391);

    a += aa;
    b += bb;
    c += cc;
    d += dd;
  }
  state[0] = a;
  state[1] = b;
  state[2] = c;
  state[3] = d;
}

void THashAlgMD5Engine::Encode(uint8_t* output, const uint32_t* input, size_t len) {
  for (size_t i = 0, j = 0; j < len; ++i, j += 4) {
    output[j] = static_cast<uint8_t>(input[i]);
    output[j + 1] = static_cast<uint8_t>(input[i] >> 8);
    output[j + 2] = static_cast<uint8_t>(input[i] >> 16);
    output[j + 3] = static_cast<uint8_t>(input[i] >> 24);
  }
}

void THashAlgMD5Engine::Decode(uint32_t* output, const uint8_t* input, size_t len) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(output, input, len);
    return;
  }
  for (size_t i = 0, j = 0; j < len; ++i, j += 4) {
    output[i] = uint32_t{input[j]} | uint32_t{input[j + 1]} << 8 | uint32_t{input[j + 2]} << 16 |
                uint32_t{input[j + 3]} << 24;
  }
}

void THashAlgMD5Engine::MD5_memcpy(uint8_t* output, const uint8_t* input, size_t len) {
  if (len > 0) std::memcpy(output, input, len);
}

void THashAlgMD5Engine::MD5_memset(uint8_t* output, int value, size_t len) {
  std::memset(output, value, len);
}

}  // namespace brivant
