// A user script attached to an action event ("OnReadLine", "OnFindText", ...).
// The action declares the script and its parameter names when it is created;
// the project supplies the code; the host's engine runs it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "package/variant.h"

namespace brivant {

class TBVActionScript {
 public:
  TBVActionScript(std::string name, std::vector<std::string> parameter_names)
      : name_(std::move(name)), parameter_names_(std::move(parameter_names)) {}

  const std::string& Name() const { return name_; }
  const std::vector<std::string>& ParameterNames() const { return parameter_names_; }
  const std::string& Code() const { return code_; }
  void SetCode(std::string code) { code_ = std::move(code); }
  // A script without a body is not run.
  bool HasBody() const;
  // How long one run may take; 0 leaves it to the host's limit.
  uint32_t TimeLimitMs() const { return time_limit_ms_; }
  void SetTimeLimitMs(uint32_t milliseconds) { time_limit_ms_ = milliseconds; }

 private:
  std::string name_;
  std::vector<std::string> parameter_names_;
  std::string code_;
  uint32_t time_limit_ms_ = 0;
};

// Parameter values of one script run, by name, in and out: a script may change
// them (a replacement text, say) and the action reads them back. The parameter
// "Action" is the action itself and is not listed here.
using ScriptParameters = std::vector<std::pair<std::string, Variant>>;

}  // namespace brivant
