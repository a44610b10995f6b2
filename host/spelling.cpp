#include "host/spelling.h"

#include <algorithm>
#include <cctype>

namespace brivant::host {
namespace {

char Folded(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

int MaxTypoDistance(size_t length) {
  if (length <= 3) return 1;
  if (length <= 6) return 2;
  return 3;
}

}  // namespace

// Optimal string alignment distance: Levenshtein plus swaps of two
// neighbouring characters, the commonest typo ("Titel" for "Title").
int EditDistance(std::string_view a, std::string_view b) {
  const size_t columns = b.size() + 1;
  std::vector<int> two_back(columns), previous(columns), current(columns);
  for (size_t j = 0; j < columns; ++j) previous[j] = static_cast<int>(j);
  for (size_t i = 1; i <= a.size(); ++i) {
    current[0] = static_cast<int>(i);
    for (size_t j = 1; j < columns; ++j) {
      int cost = Folded(a[i - 1]) == Folded(b[j - 1]) ? 0 : 1;
      current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + cost});
      if (i > 1 && j > 1 && Folded(a[i - 1]) == Folded(b[j - 2]) &&
          Folded(a[i - 2]) == Folded(b[j - 1]))
        current[j] = std::min(current[j], two_back[j - 2] + 1);
    }
    two_back.swap(previous);
    previous.swap(current);
  }
  return previous[b.size()];
}

std::string SpellcheckString(std::string_view word,
                             const std::vector<std::string_view>& candidates) {
  int best_distance = MaxTypoDistance(word.size()) + 1;
  std::string_view best;
  for (std::string_view candidate : candidates) {
    int distance = EditDistance(word, candidate);
    if (distance < best_distance) {
      best_distance = distance;
      best = candidate;
    }
  }
  return std::string(best);
}

std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
  std::string suggestion = SpellcheckString(word, candidates);
  if (suggestion.empty()) return {};
  return " (did you mean '" + suggestion + "'?)";
}

}  // namespace brivant::host
