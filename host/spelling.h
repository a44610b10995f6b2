// "Did you mean" suggestions for the names a user types into a project file or
// on the command line: element, attribute, class, property and script names.
// The closest candidate wins when it is close enough to be a plausible typo.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brivant::host {

/// The number of single-character insertions, deletions, substitutions and
/// swaps of neighbours that turn `a` into `b`. Letters compare without regard
/// to case, so a wrongly capitalised name counts as no distance at all.
int EditDistance(std::string_view a, std::string_view b);

/// The candidate closest to `word`, or an empty string when none is within
/// the distance a typo plausibly covers (one edit for words of up to three
/// characters, two up to six, three beyond). Ties go to the earlier candidate.
std::string SpellcheckString(std::string_view word,
                             const std::vector<std::string_view>& candidates);

/// " (did you mean 'X'?)" for the best suggestion, or "" when there is none;
/// meant to be appended to an error message.
std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& candidates);

}  // namespace brivant::host
