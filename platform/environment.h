// The process environment as the host reads it: variable references that no
// project variable answers fall back to it, and NO_COLOR switches the log's
// colours off.
//
// Safe to call from several threads as long as no thread changes the
// environment at the same time.
#pragma once

#include <optional>
#include <string>

namespace brivant::platform {

/// The value of the environment variable `name`, or nullopt when it is not
/// set. A variable set to the empty string is set: it yields "". Names are
/// case-sensitive, as Linux environments are.
std::optional<std::string> GetEnvironmentVariable(const std::string& name);

}  // namespace brivant::platform
