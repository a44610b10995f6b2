// The host's regular-expression service: Perl-compatible expressions over
// UTF-8 text, compiled once and matched by machine code where the processor
// allows it. Text Find and Text Replace do all their matching through here,
// plain-text searches included (escaped first), so there is one engine.
//
// Line breaks are LF, CR or CR LF, so "^", "$" and "." behave alike on
// files from Windows and from Linux. Offsets are in bytes of the UTF-8 text.
// A compiled expression and its matches belong to one thread; a match views
// the input it was found in, which must outlive it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "package/exceptions.h"

namespace brivant {

/// A pattern that does not compile, or a match that could not be completed
/// (input that is not UTF-8, a pattern that backtracks past the match limit).
class ERegExException : public EBVException {
 public:
  using EBVException::EBVException;
};

/// Options of NewRegularExpression; combine with |.
enum TRegExOption : uint32_t {
  roNone = 0,
  roIgnoreCase = 1,
  roMultiLine = 2,  // "^" and "$" also match at every line break
};

struct TGroup {
  bool Success = false;  // false for a group that took no part in the match
  std::string_view Value;
};

/// The groups of one match; group 0 is the whole match.
class TGroupCollection {
 public:
  explicit TGroupCollection(const class IMatch& match) : match_(match) {}
  int Count() const;
  TGroup operator[](int index) const;

 private:
  const IMatch& match_;
};

/// One match of an expression in an input, or the lack of one.
class IMatch {
 public:
  virtual ~IMatch() = default;
  virtual bool Success() const = 0;
  /// 1-based byte position of the match in the input.
  virtual size_t Index() const = 0;
  virtual size_t Length() const = 0;
  virtual std::string_view Value() const = 0;
  TGroupCollection Groups() const { return TGroupCollection(*this); }
  virtual int GroupCount() const = 0;
  virtual TGroup Group(int index) const = 0;
  /// The match after this one; a failed match when there is none. Throws
  /// ERegExException when matching gives up.
  virtual std::unique_ptr<IMatch> NextMatch() const = 0;
};

/// Matching over text that arrives in pieces, such as a file read block by
/// block, with the results of matching the whole text at once: a match that
/// could go on past the text fed so far is held back until more comes.
/// Offsets count from the start of all text fed.
class TRegExStream {
 public:
  /// Receives each match (offset, length); false ends the matching.
  using MatchCallback = std::function<bool(uint64_t offset, size_t length)>;
  virtual ~TRegExStream() = default;
  /// Adds `utf8`, which must be valid UTF-8 and end on a character boundary.
  /// Throws ERegExException when matching gives up, also when a match would
  /// need more text held back than the stream's limit.
  virtual void Feed(std::string_view utf8, const MatchCallback& on_match) = 0;
  /// The text is complete: reports the matches that were held back.
  virtual void Finish(const MatchCallback& on_match) = 0;
};

class TRegularExpression {
 public:
  virtual ~TRegularExpression() = default;
  /// The first match in `input`. Throws ERegExException when matching gives
  /// up (invalid UTF-8 in the input, the match limit). With `known_utf8` the
  /// caller promises valid UTF-8 (text a file reader already checked) and the
  /// input is not checked again; invalid input then gives undefined results.
  virtual std::unique_ptr<IMatch> Match(std::string_view input, bool known_utf8 = false) const = 0;
  /// A stream that holds back at most `max_held_bytes` of text.
  virtual std::unique_ptr<TRegExStream> NewStream(size_t max_held_bytes) const = 0;
};

class RegEx {
 public:
  RegEx() = delete;
  /// Throws ERegExException with the compiler's message and the offset of
  /// the fault in the pattern.
  static std::unique_ptr<TRegularExpression> NewRegularExpression(std::string_view pattern,
                                                                  uint32_t options);
  /// `text` with every metacharacter escaped, so that it matches itself.
  /// With `wildcards`, "*" matches any run of characters within a line and
  /// "?" any one character.
  static std::string Escape(std::string_view text, bool wildcards);
  /// `replacement` with its references filled from `match`: "$n" and "${n}"
  /// (group n, empty when the group took no part), "$&" and "${&}" (the whole
  /// match); "\$" is a literal dollar sign. A reference to a group the
  /// expression does not have stays as it is written.
  static std::string Substitute(const IMatch& match, std::string_view replacement);
};

}  // namespace brivant
