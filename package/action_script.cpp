#include "package/action_script.h"

namespace brivant {

bool TBVActionScript::HasBody() const {
  return code_.find_first_not_of(" \t\r\n") != std::string::npos;
}

}  // namespace brivant
