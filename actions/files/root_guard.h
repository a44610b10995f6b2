// The refusal every file action that deletes, moves, copies into or changes
// files makes before it starts: a path that leads to "/" or to an entry right
// in it. Such a path is nearly always an accident of expansion: a variable
// that came out empty turns "%OUT%/*" into "/*".
#pragma once

#include <string>

namespace brivant {

class TCustomBVAction;

/// When `expanded` (the value of `property`, whose text before expansion is
/// `unexpanded`) leads to "/" or an entry of it, logs an error naming the
/// property, its text and the variables in it that expanded to empty, and
/// returns true: the caller then fails without touching anything.
bool RefuseRootPath(TCustomBVAction& action, const std::string& property,
                    const std::string& unexpanded, const std::string& expanded);

}  // namespace brivant
