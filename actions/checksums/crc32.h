// The CRC-32 engine (unit BVCRCCalc) of the file checksum actions: the CRC of
// IEEE 802.3 and zlib (reflected polynomial 0xEDB88320, register preset to all
// ones and inverted at the end; "123456789" gives CBF43926). It does not
// depend on the host.
//
// Speed: on x86-64 CPUs with carry-less multiplication (PCLMULQDQ, detected at
// run time) the bulk of the data is folded 64 bytes at a time; everywhere else,
// and for the short tail, a slice-by-16 table walk is used. Both give the same
// result for every input. All functions are thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace brivant {

/// The CRC-32 of the file's bytes as "$" and eight upper-case hexadecimal
/// digits, most significant first ("$CBF43926"); "$00000000" for an empty
/// file. The file is streamed; memory does not grow with its size. Throws
/// EFileReadError (actions/checksums/checksum_file.h) when the file cannot be
/// opened or read.
std::string GetCRC32(const std::string& FileName);

/// "$" and eight upper-case hexadecimal digits.
std::string FormatCRC32(uint32_t crc);

/// Extends the finished CRC `crc` of earlier bytes over `size` more bytes
/// (start with 0), as zlib's crc32() does.
uint32_t UpdateCRC32(uint32_t crc, const uint8_t* data, size_t size);

namespace crc32_internal {

// The two implementations behind UpdateCRC32, exposed so that tests can hold
// them against each other. Both advance the raw register (preset and final
// inversion are the caller's).
uint32_t UpdateRegisterPortable(uint32_t reg, const uint8_t* data, size_t size);
// Only valid when CarrylessMultiplyAvailable(); handles any size.
uint32_t UpdateRegisterCarryless(uint32_t reg, const uint8_t* data, size_t size);
bool CarrylessMultiplyAvailable();

}  // namespace crc32_internal
}  // namespace brivant
