#include "actions/checksums/crc32.h"

#include <array>
#include <bit>
#include <cstring>

#include "actions/checksums/checksum_file.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define BRIVANT_CRC32_CLMUL 1
#endif

namespace brivant {
namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;  // 0x04C11DB7 bit-reversed

using Table = std::array<uint32_t, 256>;

// Slice k maps a byte to its CRC contribution when k zero bytes follow it;
// slice 0 is the classic byte-at-a-time table (CRCTable). Built at compile
// time, so there is nothing to rebuild per call.
constexpr std::array<Table, 16> MakeSliceTables() {
  std::array<Table, 16> tables{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t c = i;
    for (int bit = 0; bit < 8; ++bit) c = (c & 1) ? (c >> 1) ^ kPolynomial : c >> 1;
    tables[0][i] = c;
  }
  for (size_t k = 1; k < tables.size(); ++k) {
    for (size_t i = 0; i < 256; ++i) {
      uint32_t previous = tables[k - 1][i];
      tables[k][i] = (previous >> 8) ^ tables[0][previous & 0xFF];
    }
  }
  return tables;
}

constexpr std::array<Table, 16> kSlices = MakeSliceTables();
constexpr const Table& CRCTable = kSlices[0];
static_assert(CRCTable[1] == 0x77073096 && CRCTable[255] == 0x2D02EF8D,
              "the reflected CRC-32 table of IEEE 802.3");

uint32_t LoadLittleEndian32(const uint8_t* bytes) {
  uint32_t value;
  std::memcpy(&value, bytes, sizeof value);
  if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap32(value);
  return value;
}

uint32_t UpdateBytewise(uint32_t reg, const uint8_t* data, size_t size) {
  for (size_t i = 0; i < size; ++i) reg = CRCTable[(reg ^ data[i]) & 0xFF] ^ (reg >> 8);
  return reg;
}

// Four table lookups for the four bytes of `word`, which are followed by
// `zeros_after` more bytes of the sixteen.
uint32_t Slice(uint32_t word, size_t zeros_after) {
  return kSlices[zeros_after + 3][word & 0xFF] ^ kSlices[zeros_after + 2][(word >> 8) & 0xFF] ^
         kSlices[zeros_after + 1][(word >> 16) & 0xFF] ^ kSlices[zeros_after][word >> 24];
}

#ifdef BRIVANT_CRC32_CLMUL

// Folding constants for the reflected polynomial: x^(T) mod P, bit-reflected
// and shifted left by one, for the distances folded over (see Gopal et al.,
// "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ Instruction",
// Intel, 2009). k1/k2 fold 512 bits ahead, k3/k4 128 bits, k5 64 to 32 bits;
// mu and P' drive the final Barrett reduction.
alignas(16) constexpr uint64_t kFold512[2] = {0x0154442BD4, 0x01C6E41596};
alignas(16) constexpr uint64_t kFold128[2] = {0x01751997D0, 0x00CCAA009E};
alignas(16) constexpr uint64_t kFold64[2] = {0x0163CD6124, 0x0000000000};
alignas(16) constexpr uint64_t kBarrett[2] = {0x01DB710641, 0x01F7011641};

#define BRIVANT_CLMUL_TARGET __attribute__((target("pclmul,sse4.1")))

// `acc` carried 128 bits further, plus `next`.
BRIVANT_CLMUL_TARGET inline __m128i Fold(__m128i acc, __m128i constants, __m128i next) {
  __m128i low = _mm_clmulepi64_si128(acc, constants, 0x00);
  __m128i high = _mm_clmulepi64_si128(acc, constants, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

BRIVANT_CLMUL_TARGET inline __m128i Load(const uint8_t* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// The register over `size` bytes, size a multiple of 16 and at least 64.
BRIVANT_CLMUL_TARGET uint32_t FoldBlocks(uint32_t reg, const uint8_t* data, size_t size) {
  __m128i x0 = _mm_xor_si128(Load(data), _mm_cvtsi32_si128(static_cast<int>(reg)));
  __m128i x1 = Load(data + 16);
  __m128i x2 = Load(data + 32);
  __m128i x3 = Load(data + 48);
  data += 64;
  size -= 64;

  // Four independent lanes keep the multiplier busy.
  const __m128i fold512 = _mm_load_si128(reinterpret_cast<const __m128i*>(kFold512));
  for (; size >= 64; data += 64, size -= 64) {
    x0 = Fold(x0, fold512, Load(data));
    x1 = Fold(x1, fold512, Load(data + 16));
    x2 = Fold(x2, fold512, Load(data + 32));
    x3 = Fold(x3, fold512, Load(data + 48));
  }

  const __m128i fold128 = _mm_load_si128(reinterpret_cast<const __m128i*>(kFold128));
  __m128i acc = Fold(x0, fold128, x1);
  acc = Fold(acc, fold128, x2);
  acc = Fold(acc, fold128, x3);
  for (; size >= 16; data += 16, size -= 16) acc = Fold(acc, fold128, Load(data));

  // 128 bits to 64.
  const __m128i low32_mask = _mm_setr_epi32(~0, 0, ~0, 0);
  __m128i product = _mm_clmulepi64_si128(acc, fold128, 0x10);
  acc = _mm_xor_si128(_mm_srli_si128(acc, 8), product);
  const __m128i fold64 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kFold64));
  __m128i upper = _mm_srli_si128(acc, 4);
  acc = _mm_clmulepi64_si128(_mm_and_si128(acc, low32_mask), fold64, 0x00);
  acc = _mm_xor_si128(acc, upper);

  // Barrett reduction to 32 bits.
  const __m128i barrett = _mm_load_si128(reinterpret_cast<const __m128i*>(kBarrett));
  __m128i t = _mm_clmulepi64_si128(_mm_and_si128(acc, low32_mask), barrett, 0x10);
  t = _mm_clmulepi64_si128(_mm_and_si128(t, low32_mask), barrett, 0x00);
  acc = _mm_xor_si128(acc, t);
  return static_cast<uint32_t>(_mm_extract_epi32(acc, 1));
}

#endif  // BRIVANT_CRC32_CLMUL

}  // namespace

namespace crc32_internal {

uint32_t UpdateRegisterPortable(uint32_t reg, const uint8_t* data, size_t size) {
  for (; size >= 16; data += 16, size -= 16) {
    uint32_t a = LoadLittleEndian32(data) ^ reg;
    uint32_t b = LoadLittleEndian32(data + 4);
    uint32_t c = LoadLittleEndian32(data + 8);
    uint32_t d = LoadLittleEndian32(data + 12);
    reg = Slice(a, 12) ^ Slice(b, 8) ^ Slice(c, 4) ^ Slice(d, 0);
  }
  return UpdateBytewise(reg, data, size);
}

bool CarrylessMultiplyAvailable() {
#ifdef BRIVANT_CRC32_CLMUL
  static const bool available =
      __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
  return available;
#else
  return false;
#endif
}

uint32_t UpdateRegisterCarryless(uint32_t reg, const uint8_t* data, size_t size) {
#ifdef BRIVANT_CRC32_CLMUL
  if (size >= 64) {
    size_t bulk = size & ~size_t{15};
    reg = FoldBlocks(reg, data, bulk);
    data += bulk;
    size -= bulk;
  }
#endif
  return UpdateRegisterPortable(reg, data, size);
}

}  // namespace crc32_internal

uint32_t UpdateCRC32(uint32_t crc, const uint8_t* data, size_t size) {
  uint32_t reg = ~crc;
  reg = crc32_internal::CarrylessMultiplyAvailable()
            ? crc32_internal::UpdateRegisterCarryless(reg, data, size)
            : crc32_internal::UpdateRegisterPortable(reg, data, size);
  return ~reg;
}

std::string FormatCRC32(uint32_t crc) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "$";
  for (int shift = 28; shift >= 0; shift -= 4) text += kDigits[(crc >> shift) & 0xF];
  return text;
}

std::string GetCRC32(const std::string& FileName) {
  uint32_t crc = 0;
  ForEachBlockOf(FileName,
                 [&crc](const uint8_t* data, size_t size) { crc = UpdateCRC32(crc, data, size); });
  return FormatCRC32(crc);
}

}  // namespace brivant
