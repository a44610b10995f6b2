#include "platform/file_mask.h"

#include <algorithm>
#include <array>
#include <utility>

namespace brivant::platform {
namespace {

// No file system here keeps a longer name.
constexpr size_t kMaxNameLength = 255;

}  // namespace

FileMask::FileMask(std::string_view mask) {
  // Trailing dots count as one.
  while (mask.size() >= 2 && mask.back() == '.' && mask[mask.size() - 2] == '.') {
    mask.remove_suffix(1);
  }
  if (mask.size() > kMaxNameLength) {
    too_long_ = true;
    return;
  }
  bool after_run = false;
  for (size_t i = 0; i < mask.size(); ++i) {
    const char c = mask[i];
    const char next = i + 1 < mask.size() ? mask[i + 1] : '\0';
    if (c == '*') {
      size_t stars = 1;
      while (i + 1 < mask.size() && mask[i + 1] == '*') {
        ++i;
        ++stars;
      }
      const bool to_extension = stars == 1 && i + 1 < mask.size() && mask[i + 1] == '.';
      tokens_.push_back({to_extension ? Kind::kRunToExtension : Kind::kAnyRun, '\0'});
      if (to_extension && after_run) needs_all_ways_ = true;
      uses_last_dot_ = uses_last_dot_ || to_extension;
      after_run = true;
    } else if (c == '?') {
      tokens_.push_back({Kind::kOneOrNone, '\0'});
    } else if (c == '.' && (next == '\0' || next == '*' || next == '?')) {
      tokens_.push_back({Kind::kDotOrEnd, '\0'});
    } else {
      tokens_.push_back({Kind::kLiteral, c});
    }
  }
  // `*` and `*.*`, by far the most common masks, need no walk over the name.
  const size_t count = tokens_.size();
  matches_everything_ = (count == 1 && tokens_[0].kind == Kind::kAnyRun) ||
                        (count == 3 && tokens_[0].kind == Kind::kRunToExtension &&
                         tokens_[1].kind == Kind::kDotOrEnd && tokens_[2].kind == Kind::kAnyRun);
}

bool FileMask::Matches(std::string_view name) const {
  if (too_long_ || name.empty()) return false;
  if (matches_everything_) return true;
  const size_t last_dot = uses_last_dot_ ? name.rfind('.') : std::string_view::npos;
  return needs_all_ways_ ? MatchesAllWays(name, last_dot) : MatchesOneStarAtATime(name, last_dot);
}

// `?`, `.` and name characters each match in at most one way at a given
// place of the name, so only runs need a choice. Where a run can take any
// character, a failure after it is mended by letting that last run take one
// more character: a longer take by an earlier run could be replaced by the
// last run taking the difference. A run limited to the extension is the
// exception (it cannot take the last dot), which the constructor sends to
// MatchesAllWays unless it is the first run. Linear for the usual masks.
bool FileMask::MatchesOneStarAtATime(std::string_view name, size_t last_dot) const {
  const size_t count = tokens_.size();
  size_t at = 0;
  size_t token = 0;
  size_t run = count;  // the last run seen, or none
  size_t run_end = 0;  // where its take ends now
  while (true) {
    if (token < count) {
      const Token& current = tokens_[token];
      const bool at_end = at == name.size();
      switch (current.kind) {
        case Kind::kAnyRun:
        case Kind::kRunToExtension:
          run = token++;
          run_end = at;
          continue;
        case Kind::kOneOrNone:
          if (!at_end && name[at] != '.') ++at;
          ++token;
          continue;
        case Kind::kDotOrEnd:
          if (at_end || name[at] == '.') {
            at += at_end ? 0 : 1;
            ++token;
            continue;
          }
          break;
        case Kind::kLiteral:
          if (!at_end && name[at] == current.literal) {
            ++at;
            ++token;
            continue;
          }
          break;
      }
    } else if (at == name.size()) {
      return true;
    }
    if (run == count || run_end == name.size()) return false;
    if (tokens_[run].kind == Kind::kRunToExtension && run_end == last_dot) return false;
    at = ++run_end;
    token = run + 1;
  }
}

// Every way at once: the set of mask places reachable after each character
// of the name. A place before `*`, `?` or `.` can also be passed without
// taking a character where those match nothing.
bool FileMask::MatchesAllWays(std::string_view name, size_t last_dot) const {
  const size_t count = tokens_.size();
  std::array<bool, kMaxNameLength + 1> places[2] = {};
  bool* reached = places[0].data();
  bool* next = places[1].data();
  reached[0] = true;
  for (size_t at = 0;; ++at) {
    const bool at_end = at == name.size();
    // Places passed without a character; each only leads forward.
    for (size_t token = 0; token < count; ++token) {
      if (!reached[token]) continue;
      const Kind kind = tokens_[token].kind;
      const bool passable = kind == Kind::kAnyRun || kind == Kind::kRunToExtension ||
                            (kind == Kind::kOneOrNone && (at_end || name[at] == '.')) ||
                            (kind == Kind::kDotOrEnd && at_end);
      if (passable) reached[token + 1] = true;
    }
    if (at_end) return reached[count];
    const char c = name[at];
    bool any = false;
    std::fill(next, next + count + 1, false);
    for (size_t token = 0; token < count; ++token) {
      if (!reached[token]) continue;
      const Token& current = tokens_[token];
      switch (current.kind) {
        case Kind::kAnyRun:
          next[token] = true;
          break;
        case Kind::kRunToExtension:
          next[token] = next[token] || at != last_dot;
          break;
        case Kind::kOneOrNone:
          next[token + 1] = next[token + 1] || c != '.';
          break;
        case Kind::kDotOrEnd:
          next[token + 1] = next[token + 1] || c == '.';
          break;
        case Kind::kLiteral:
          next[token + 1] = next[token + 1] || c == current.literal;
          break;
      }
      any = any || next[token] || next[token + 1];
    }
    if (!any) return false;
    std::swap(reached, next);
  }
}

bool MatchesMask(std::string_view name, std::string_view mask) {
  return FileMask(mask).Matches(name);
}

bool HasWildcards(std::string_view text) {
  return text.find_first_of("*?") != std::string_view::npos;
}

}  // namespace brivant::platform
