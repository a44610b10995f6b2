#include "actions/files/size_units.h"

#include <cmath>

#include "package/string_utils.h"

namespace brivant {

const EnumInfo& EnumTraits<TSizeUnits>::Info() {
  static const EnumInfo info{"TSizeUnits", {"suBytes", "suKB", "suMB", "suGB"}};
  return info;
}

uint64_t BytesPerUnit(TSizeUnits units) {
  switch (units) {
    case suKB:
      return uint64_t{1} << 10;
    case suMB:
      return uint64_t{1} << 20;
    case suGB:
      return uint64_t{1} << 30;
    case suBytes:
      break;
  }
  return 1;
}

static double RoundedToHundredths(uint64_t bytes, TSizeUnits units) {
  double scaled = static_cast<double>(bytes) / static_cast<double>(BytesPerUnit(units));
  return std::round(scaled * 100) / 100;
}

Variant SizeInUnits(uint64_t bytes, TSizeUnits units) {
  if (units == suBytes) return Variant(static_cast<int64_t>(bytes));
  return Variant(RoundedToHundredths(bytes, units));
}

std::string FormatSize(uint64_t bytes, TSizeUnits units) {
  if (units == suBytes) return std::to_string(bytes) + " bytes";
  static constexpr const char* kUnitNames[] = {"bytes", "KB", "MB", "GB"};
  return FloatToStr(RoundedToHundredths(bytes, units)) + " " + kUnitNames[units];
}

}  // namespace brivant
