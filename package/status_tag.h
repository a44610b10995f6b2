// Severity of a build-log line. The host colours and counts lines by it; the
// ordinals are part of the host contract and must not change.
#pragma once

#include <string_view>

namespace brivant {

enum TStatusTag : int {
  stInfo = 0,     // ordinary progress: what is being done, each item handled
  stSuccess = 1,  // closing summary of a successful run
  stWarning = 2,  // a skipped item or a caution that does not fail the action
  stError = 3,    // every error line
};

// Kind of a message group. Every caller passes 0; kept for the contract.
using TMessageGroupType = int;

// "stInfo", "stSuccess", ...; the names the JSON log uses.
std::string_view StatusTagName(TStatusTag tag);

}  // namespace brivant
