// The units in which Get File Size and Get Disk Free Space report a number of
// bytes. Both write their figures the same way, so a build that compares a
// file's size with the free space reads both in one form.
#pragma once

#include <cstdint>
#include <string>

#include "package/property_table.h"
#include "package/variant.h"

namespace brivant {

// Larger units are 1024-based.
enum TSizeUnits { suBytes = 0, suKB = 1, suMB = 2, suGB = 3 };

template <>
struct EnumTraits<TSizeUnits> {
  static const EnumInfo& Info();
};

/// How many bytes one unit holds (1 for suBytes).
uint64_t BytesPerUnit(TSizeUnits units);

/// The value a result variable receives: bytes as an Integer; KB, MB and GB
/// as a Float rounded to two decimals, so that a 500-byte file reads 0.49 KB
/// rather than a misleading 0.
Variant SizeInUnits(uint64_t bytes, TSizeUnits units);

/// The value with its unit for the log: "1234 bytes", "1.5 KB".
std::string FormatSize(uint64_t bytes, TSizeUnits units);

}  // namespace brivant
