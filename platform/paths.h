// Path texts: the small transformations several file actions need to compare
// and join paths the same way.
#pragma once

#include <string>

namespace brivant::platform {

/// `path` without trailing '/' characters; "/" itself stays.
std::string WithoutTrailingSlashes(std::string path);

/// An absolute, lexically normal form ("a/./b/../c" relative to the working
/// directory becomes "/cwd/a/c"), without trailing '/', so that two spellings
/// of a path compare equal and "a" and "./a/b" compare as parent and child.
/// Symbolic links are not resolved.
std::string AbsoluteNormalPath(const std::string& path);

}  // namespace brivant::platform
