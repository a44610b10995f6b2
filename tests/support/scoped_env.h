// Sets an environment variable for the life of the object and restores what
// was there before (or its absence), so tests that steer the code through
// the environment leave none of it behind.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace brivant::testing {

class ScopedEnv {
 public:
  // Sets `name` to `value`, or removes it when `value` is nullopt.
  ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value) {
      ::setenv(name, value->c_str(), 1);
    } else {
      ::unsetenv(name);
    }
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

}  // namespace brivant::testing
