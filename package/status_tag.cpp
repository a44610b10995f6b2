#include "package/status_tag.h"

namespace brivant {

std::string_view StatusTagName(TStatusTag tag) {
  switch (tag) {
    case stInfo:
      return "stInfo";
    case stSuccess:
      return "stSuccess";
    case stWarning:
      return "stWarning";
    case stError:
      return "stError";
  }
  return "stInfo";
}

}  // namespace brivant
