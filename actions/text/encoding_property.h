// TEncodingType as a published property: written to projects as its ordinal,
// since the type has no value names.
#pragma once

#include "package/property_table.h"
#include "package/text_file.h"

namespace brivant {

template <>
struct EnumTraits<TEncodingType> {
  static const EnumInfo& Info() {
    static const EnumInfo info{"TEncodingType", {}, 255};
    return info;
  }
};

// Ordinals other than the three Unicode ones mean the ANSI character set.
inline TEncodingType EffectiveEncoding(TEncodingType encoding) {
  return encoding == etUTF8 || encoding == etUTF16LE || encoding == etUTF16BE ? encoding : etAnsi;
}

}  // namespace brivant
