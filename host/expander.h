// Expansion of variable references in property values.
//
// `%NAME%` and `$(NAME)` are references; `%%` stands for `%` and `$$(` for
// `$(`. A name is a letter or `_` followed by letters, digits, `_` or `.`; a
// `%` or `$(` that does not open such a reference is literal text. Values are
// inserted as they are, never expanded again.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "package/variant.h"

namespace brivant::host {

// Looks a name up: nullopt when it is not defined.
using VariableResolver = std::function<std::optional<std::string>(const std::string& name)>;

// Expands `text`. An unknown reference throws EVariableException
// ("Variable "NAME" is not defined") when fail_on_unknown is set and is left
// as it stands otherwise. *replaced, when given, receives the number of
// references replaced.
std::string ExpandReferences(std::string_view text, const VariableResolver& resolve,
                             bool fail_on_unknown, int* replaced = nullptr);

// The message for an unknown reference.
std::string UndefinedVariableMessage(std::string_view name);

// What TryExpandExpression logs when the value of the property titled
// `property_title` cannot be expanded.
std::string ExpansionFailureMessage(std::string_view property_title, std::string_view reason);

}  // namespace brivant::host
