// The mask of a directory search: the last component of a file pattern
// such as `out/*.txt`, matched against the long names of one directory the way the
// classic directory search of the platform the file actions were designed on
// matches them. Every action and iterator that takes a file specification
// matches through this one matcher, so `*.` means the same everywhere.
//
// The rules, character by character of the mask:
//   - A name character other than `*`, `?` and `.` matches itself, and only
//     itself: case counts, as Linux file names are case-sensitive.
//   - `*` matches any run of characters, dots included, the empty run too.
//     A single `*` right before a `.` stops short of the name's last dot: it
//     may take dots, but not the one that starts the extension, which the
//     `.` after it is there to match. A run of two or more stars has no such
//     limit (`**.` finds every name).
//   - `?` matches one character that is not a dot. At the end of the name,
//     or where the name has a dot, it matches nothing instead, so `??.`
//     finds `a` and `aa`, and ` ?a` does not find ` .a`.
//   - `.` matches a dot. When it ends the mask, or a `*` or `?` follows it,
//     it may also match the end of the name: `a.*` finds `a`, `*.*.*`
//     finds `a` as well as `a.a.a`.
//   - Dots that end the mask count as one.
// Hence `*` and `*.*` find every name; `*.` finds the names without a dot;
// `*.txt` the names whose last extension is `txt`; `?.??.` finds `a`, `.a`
// and `a.a`. Spaces are ordinary characters. Names have no second, short
// form here, so a mask finds a name only through the name itself.
//
// A compiled mask is immutable: share it among threads freely.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace brivant::platform {

class FileMask {
 public:
  explicit FileMask(std::string_view mask);

  /// Whether `name` (one name, no '/') matches. Allocates nothing, so it can
  /// run once per directory entry. A mask longer than a name can be (255
  /// bytes) matches nothing, as no directory could hold such a name.
  bool Matches(std::string_view name) const;

 private:
  enum class Kind : unsigned char {
    kLiteral,
    kAnyRun,          // `*`
    kRunToExtension,  // a single `*` before a `.`: stops short of the last dot
    kOneOrNone,       // `?`
    kDotOrEnd,        // `.` last or before `*` or `?`
  };
  struct Token {
    Kind kind;
    char literal;
  };

  bool MatchesOneStarAtATime(std::string_view name, size_t last_dot) const;
  bool MatchesAllWays(std::string_view name, size_t last_dot) const;

  std::vector<Token> tokens_;
  bool matches_everything_ = false;
  bool too_long_ = false;
  // A run limited to the extension after an earlier run: only then may a
  // failed match need another split of the name among earlier runs.
  bool needs_all_ways_ = false;
  bool uses_last_dot_ = false;
};

/// Whether `name` matches `mask`; compiles the mask for one use. Callers that
/// match many names build one FileMask.
bool MatchesMask(std::string_view name, std::string_view mask);

/// True when the text holds '*' or '?'.
bool HasWildcards(std::string_view text);

}  // namespace brivant::platform
