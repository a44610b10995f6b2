#include "platform/environment.h"

#include <cstdlib>

namespace brivant::platform {

std::optional<std::string> GetEnvironmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

}  // namespace brivant::platform
