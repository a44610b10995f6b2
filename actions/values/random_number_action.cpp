#include "actions/values/random_number_action.h"

#include <chrono>
#include <limits>
#include <random>
#include <stdexcept>

#include "package/string_utils.h"

namespace brivant {

TBVRandomNumberAction::TBVRandomNumberAction() {
  range_ = 100;
  rand_int_ = true;
}

const PropertyTable& TBVRandomNumberAction::Properties() {
  using T = TBVRandomNumberAction;
  static const PropertyTable table(
      &TBVAction::Properties(),
      {
          Property("Variable", &T::variable_).TypeName("TVariableName"),
          Property("RandInt", &T::rand_int_).Default("True"),
          Property("Range", &T::range_).Default("100"),
      });
  return table;
}

std::string TBVRandomNumberAction::GetFormattedDescription() const {
  std::string bounds = rand_int_ ? "0 to " + std::to_string(range_) : "0.0 to 1.0";
  return GetActionName() + " [ " + bounds + " -> " + variable_ + " ]";
}

bool TBVRandomNumberAction::Validate(IBVActionValidationError& errors) {
  if (!variable_.empty()) return true;
  errors.AddError("Variable", "Variable has not been specified", 0);
  return false;
}

void TBVRandomNumberAction::GetPropertyAlias(TStrings& list) const {
  TBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Generate Random Number]", "Variable=Variable",
                           "RandInt=Random Integer", "Range=Range"});
}

void TBVRandomNumberAction::GetPropertyHelp(TStrings& list) const {
  TBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"Variable=The variable that receives the random number",
               "RandInt=Generate a whole number from 0 to Range; otherwise a real number from "
               "0.0 up to 1.0",
               "Range=The largest whole number that may be generated"});
}

bool TBVRandomNumberAction::Execute() {
  // The name is used as stored: a reference in it names the variable itself.
  if (variable_.empty()) {
    SendMessage("Variable has not been set", stError);
    return false;
  }
  // Reseeded from the clock on every run.
  std::mt19937_64 generator(static_cast<uint64_t>(
      std::chrono::high_resolution_clock::now().time_since_epoch().count()));
  if (rand_int_) {
    if (range_ == std::numeric_limits<int32_t>::max())
      throw std::overflow_error("Integer overflow");
    // A draw below Range + 1; a negative Range leaves no whole number to draw.
    int32_t bound = range_ + 1;
    int32_t value = 0;
    if (bound > 0) value = std::uniform_int_distribution<int32_t>(0, bound - 1)(generator);
    SetVariable(variable_, Variant(static_cast<int64_t>(value)));
    SendMessage(variable_ + " set to " + std::to_string(value), stSuccess);
    return true;
  }
  double value = std::uniform_real_distribution<double>(0.0, 1.0)(generator);
  SetVariable(variable_, Variant(value));
  SendMessage(variable_ + " set to " + FloatToStr(value), stSuccess);
  return true;
}

}  // namespace brivant
