#include "package/regular_expression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cctype>
#include <string>
#include <utility>

namespace brivant {
namespace {

// PCRE2's own default, set explicitly so that a pattern that backtracks
// without end gives up after the same amount of work on every machine.
constexpr uint32_t kMatchLimit = 10'000'000;
// The machine-code matcher starts with a small stack and may grow it to this.
constexpr size_t kJitStackStart = 32 * 1024;
constexpr size_t kJitStackMax = 8 * 1024 * 1024;

std::string ErrorText(int code) {
  PCRE2_UCHAR buffer[256];
  int length = pcre2_get_error_message(code, buffer, sizeof buffer);
  if (length < 0) return "error " + std::to_string(code);
  return std::string(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
}

template <class T, void (*Free)(T*)>
struct Deleter {
  void operator()(T* p) const { Free(p); }
};
using CodePtr = std::unique_ptr<pcre2_code, Deleter<pcre2_code, pcre2_code_free>>;
using MatchDataPtr =
    std::unique_ptr<pcre2_match_data, Deleter<pcre2_match_data, pcre2_match_data_free>>;
using MatchContextPtr =
    std::unique_ptr<pcre2_match_context, Deleter<pcre2_match_context, pcre2_match_context_free>>;
using CompileContextPtr =
    std::unique_ptr<pcre2_compile_context,
                    Deleter<pcre2_compile_context, pcre2_compile_context_free>>;
using JitStackPtr =
    std::unique_ptr<pcre2_jit_stack, Deleter<pcre2_jit_stack, pcre2_jit_stack_free>>;

class PcreExpression;

class PcreMatch : public IMatch {
 public:
  PcreMatch(const PcreExpression* expression, std::string_view input, std::vector<size_t> offsets)
      : expression_(expression), input_(input), offsets_(std::move(offsets)) {}

  bool Success() const override { return !offsets_.empty(); }
  size_t Index() const override { return Success() ? offsets_[0] + 1 : 0; }
  size_t Length() const override { return Success() ? offsets_[1] - offsets_[0] : 0; }
  std::string_view Value() const override { return Group(0).Value; }
  int GroupCount() const override { return static_cast<int>(offsets_.size() / 2); }
  TGroup Group(int index) const override {
    if (index < 0 || index >= GroupCount()) return {};
    size_t start = offsets_[2 * index];
    if (start == PCRE2_UNSET) return {};
    return {true, input_.substr(start, offsets_[2 * index + 1] - start)};
  }
  std::unique_ptr<IMatch> NextMatch() const override;

 private:
  const PcreExpression* expression_;
  std::string_view input_;
  std::vector<size_t> offsets_;  // start and end of each group; empty: no match
};

class PcreExpression : public TRegularExpression {
 public:
  PcreExpression(CodePtr code) : code_(std::move(code)) {
    // Without machine code (an unsupported processor) the interpreter runs.
    jit_ = pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE | PCRE2_JIT_PARTIAL_HARD) == 0;
    match_data_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    context_.reset(pcre2_match_context_create(nullptr));
    if (!match_data_ || !context_) throw ERegExException("out of memory for a regular expression");
    pcre2_set_match_limit(context_.get(), kMatchLimit);
    if (jit_) {
      jit_stack_.reset(pcre2_jit_stack_create(kJitStackStart, kJitStackMax, nullptr));
      if (jit_stack_) pcre2_jit_stack_assign(context_.get(), nullptr, jit_stack_.get());
    }
  }

  std::unique_ptr<IMatch> Match(std::string_view input, bool known_utf8) const override {
    return Find(input, 0, known_utf8, /*not_empty_at_start=*/false);
  }

  std::unique_ptr<TRegExStream> NewStream(size_t max_held_bytes) const override;

  // Runs the matcher; returns PCRE2's result code.
  int Run(std::string_view input, size_t start, uint32_t options) const {
    return pcre2_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(input.data()), input.size(), start,
                       options, match_data_.get(), context_.get());
  }
  const PCRE2_SIZE* Offsets() const { return pcre2_get_ovector_pointer(match_data_.get()); }
  // Bytes before a match start the matcher may look at: the longest
  // lookbehind, plus one character for \b and ^, four bytes each at most.
  size_t ContextBytes() const {
    uint32_t lookbehind = 0;
    pcre2_pattern_info(code_.get(), PCRE2_INFO_MAXLOOKBEHIND, &lookbehind);
    return 4 * (size_t{lookbehind} + 1);
  }

  // The first match at or after `start`.
  std::unique_ptr<IMatch> Find(std::string_view input, size_t start, bool utf_checked,
                               bool not_empty_at_start) const {
    uint32_t options =
        (utf_checked ? PCRE2_NO_UTF_CHECK : 0) | (not_empty_at_start ? PCRE2_NOTEMPTY_ATSTART : 0);
    auto subject = reinterpret_cast<PCRE2_SPTR>(input.data());
    int rc = pcre2_match(code_.get(), subject, input.size(), start, options, match_data_.get(),
                         context_.get());
    if (rc == PCRE2_ERROR_NOMATCH)
      return std::make_unique<PcreMatch>(this, input, std::vector<size_t>{});
    if (rc < 0) {
      size_t at = rc <= PCRE2_ERROR_UTF8_ERR1 && rc >= PCRE2_ERROR_UTF8_ERR21
                      ? pcre2_get_startchar(match_data_.get())
                      : start;
      throw ERegExException("regular expression matching stopped at byte offset " +
                            std::to_string(at) + ": " + ErrorText(rc));
    }
    PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(match_data_.get());
    uint32_t pairs = pcre2_get_ovector_count(match_data_.get());
    return std::make_unique<PcreMatch>(this, input,
                                       std::vector<size_t>(ovector, ovector + 2 * pairs));
  }

 private:
  CodePtr code_;
  bool jit_ = false;
  MatchDataPtr match_data_;
  MatchContextPtr context_;
  JitStackPtr jit_stack_;
};

std::unique_ptr<IMatch> PcreMatch::NextMatch() const {
  if (!Success() || offsets_[1] > input_.size())
    return std::make_unique<PcreMatch>(expression_, input_, std::vector<size_t>{});
  // After an empty match the next one must not be empty at the same place,
  // or the search would never move on.
  bool was_empty = offsets_[0] == offsets_[1];
  return expression_->Find(input_, offsets_[1], /*utf_checked=*/true, was_empty);
}

[[noreturn]] void ThrowMatchError(int rc, uint64_t at) {
  throw ERegExException("regular expression matching stopped at byte offset " + std::to_string(at) +
                        ": " + ErrorText(rc));
}

class PcreStream : public TRegExStream {
 public:
  PcreStream(const PcreExpression& expression, size_t max_held_bytes)
      : expression_(expression),
        context_bytes_(expression.ContextBytes()),
        max_held_bytes_(max_held_bytes) {}

  void Feed(std::string_view utf8, const MatchCallback& on_match) override {
    if (stopped_) return;
    buffer_.append(utf8);
    Scan(/*at_end=*/false, on_match);
  }
  void Finish(const MatchCallback& on_match) override { Scan(/*at_end=*/true, on_match); }

 private:
  void Scan(bool at_end, const MatchCallback& on_match) {
    while (!stopped_) {
      // Until the end, a match that reaches the end of the buffer may go
      // on in the next piece: PCRE2 then reports it as partial.
      uint32_t options = PCRE2_NO_UTF_CHECK | (at_end ? 0 : PCRE2_PARTIAL_HARD) |
                         (after_empty_match_ ? PCRE2_NOTEMPTY_ATSTART : 0);
      int rc = expression_.Run(buffer_, search_from_, options);
      if (rc == PCRE2_ERROR_NOMATCH) {
        search_from_ = buffer_.size();
        after_empty_match_ = false;
        break;
      }
      if (rc == PCRE2_ERROR_PARTIAL) {
        size_t start = expression_.Offsets()[0];
        if (start != search_from_) after_empty_match_ = false;
        search_from_ = start;
        break;
      }
      if (rc < 0) ThrowMatchError(rc, base_ + search_from_);
      size_t start = expression_.Offsets()[0], end = expression_.Offsets()[1];
      if (!on_match(base_ + start, end - start)) stopped_ = true;
      after_empty_match_ = start == end;
      search_from_ = end;
    }
    DropSearchedText();
  }

  void DropSearchedText() {
    size_t cut = search_from_ > context_bytes_ ? search_from_ - context_bytes_ : 0;
    // Keep whole characters: the matcher may read the context backwards.
    while (cut > 0 && (static_cast<unsigned char>(buffer_[cut]) & 0xC0) == 0x80) --cut;
    buffer_.erase(0, cut);
    base_ += cut;
    search_from_ -= cut;
    if (buffer_.size() > max_held_bytes_) {
      throw ERegExException("a possible match at byte offset " + std::to_string(base_) +
                            " runs on for more than " + std::to_string(max_held_bytes_) + " bytes");
    }
  }

  const PcreExpression& expression_;
  const size_t context_bytes_;
  const size_t max_held_bytes_;
  std::string buffer_;
  uint64_t base_ = 0;       // offset of buffer_[0] in all text fed
  size_t search_from_ = 0;  // in buffer_
  bool after_empty_match_ = false;
  bool stopped_ = false;
};

std::unique_ptr<TRegExStream> PcreExpression::NewStream(size_t max_held_bytes) const {
  return std::make_unique<PcreStream>(*this, max_held_bytes);
}

bool IsMetaCharacter(char c) {
  static constexpr std::string_view kMeta = "\\^$.|?*+()[]{}";
  return kMeta.find(c) != std::string_view::npos;
}

// Appends the group that `reference` (the text after "$") names, and returns
// how many characters of it were used; 0 when it names no group.
size_t AppendReference(const IMatch& match, std::string_view reference, std::string* out) {
  bool braced = !reference.empty() && reference[0] == '{';
  std::string_view body = braced ? reference.substr(1) : reference;
  size_t used = 0;
  int group = -1;
  if (!body.empty() && body[0] == '&') {
    group = 0;
    used = 1;
  } else {
    // Two digits when the expression has that many groups, else one.
    while (used < body.size() && used < 2 && std::isdigit(static_cast<unsigned char>(body[used])))
      ++used;
    if (used == 0) return 0;
    group = std::stoi(std::string(body.substr(0, used)));
    if (used == 2 && !braced && group >= match.GroupCount()) {
      used = 1;
      group /= 10;
    }
  }
  if (group >= match.GroupCount()) return 0;
  if (braced) {
    if (used >= body.size() || body[used] != '}') return 0;
    used += 2;
  }
  out->append(match.Group(group).Value);
  return used;
}

}  // namespace

int TGroupCollection::Count() const { return match_.GroupCount(); }
TGroup TGroupCollection::operator[](int index) const { return match_.Group(index); }

std::unique_ptr<TRegularExpression> RegEx::NewRegularExpression(std::string_view pattern,
                                                                uint32_t options) {
  CompileContextPtr context(pcre2_compile_context_create(nullptr));
  if (!context) throw ERegExException("out of memory for a regular expression");
  pcre2_set_newline(context.get(), PCRE2_NEWLINE_ANYCRLF);
  uint32_t flags = PCRE2_UTF | ((options & roIgnoreCase) ? PCRE2_CASELESS : 0) |
                   ((options & roMultiLine) ? PCRE2_MULTILINE : 0);
  int error = 0;
  PCRE2_SIZE offset = 0;
  CodePtr code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), flags,
                             &error, &offset, context.get()));
  if (!code) {
    throw ERegExException(ErrorText(error) + " at offset " + std::to_string(offset) +
                          " of the regular expression \"" + std::string(pattern) + "\"");
  }
  return std::make_unique<PcreExpression>(std::move(code));
}

std::string RegEx::Escape(std::string_view text, bool wildcards) {
  std::string escaped;
  escaped.reserve(text.size() * 2);
  for (char c : text) {
    if (wildcards && c == '*') {
      escaped += ".*";
    } else if (wildcards && c == '?') {
      escaped += '.';
    } else {
      if (IsMetaCharacter(c)) escaped += '\\';
      escaped += c;
    }
  }
  return escaped;
}

std::string RegEx::Substitute(const IMatch& match, std::string_view replacement) {
  std::string out;
  out.reserve(replacement.size());
  for (size_t i = 0; i < replacement.size(); ++i) {
    char c = replacement[i];
    if (c == '\\' && i + 1 < replacement.size() && replacement[i + 1] == '$') {
      out += '$';
      ++i;
      continue;
    }
    if (c == '$') {
      size_t used = AppendReference(match, replacement.substr(i + 1), &out);
      if (used > 0) {
        i += used;
        continue;
      }
    }
    out += c;
  }
  return out;
}

}  // namespace brivant
