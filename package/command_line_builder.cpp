#include "package/command_line_builder.h"

namespace brivant {
namespace {

bool HasBlank(const std::string& text) { return text.find_first_of(" \t") != std::string::npos; }

bool IsQuoted(const std::string& text) {
  return text.size() >= 2 && text.front() == '"' && text.back() == '"';
}

}  // namespace

class TCommandLineBuilder::Argument : public IArgument {
 public:
  Argument(std::string name, std::string value, int kind)
      : name_(std::move(name)), value_(std::move(value)), kind_(kind) {}
  const std::string& GetName() const override { return name_; }
  const std::string& GetValue() const override { return value_; }
  int GetKind() const override { return kind_; }
  std::string GetText() const override {
    if (kind_ != akPath) return name_ + value_;
    if (value_.empty()) return DoubleQuoteString(name_, /*force=*/false);
    return name_ + DoubleQuoteString(value_, /*force=*/false);
  }

 private:
  std::string name_;
  std::string value_;
  int kind_;
};

std::string DoubleQuoteString(const std::string& text, bool force) {
  if (IsQuoted(text)) return text;
  if (!force && !HasBlank(text)) return text;
  return '"' + text + '"';
}

std::string StripQuotes(const std::string& text) {
  if (IsQuoted(text)) return text.substr(1, text.size() - 2);
  return text;
}

std::vector<std::string> SplitWindowsCommandLine(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  bool in_word = false;
  bool in_quotes = false;
  size_t i = 0;
  while (i < text.size()) {
    char c = text[i];
    if (!in_quotes && (c == ' ' || c == '\t')) {
      if (in_word) words.push_back(std::move(word));
      word.clear();
      in_word = false;
      ++i;
      continue;
    }
    in_word = true;
    if (c == '\\') {
      size_t backslashes = 0;
      while (i < text.size() && text[i] == '\\') {
        ++backslashes;
        ++i;
      }
      if (i < text.size() && text[i] == '"') {
        // 2n backslashes and a quote: n backslashes, the quote delimits;
        // 2n+1: n backslashes and a literal quote.
        word.append(backslashes / 2, '\\');
        if (backslashes % 2 == 1) {
          word += '"';
          ++i;
        }
      } else {
        word.append(backslashes, '\\');
      }
      continue;
    }
    if (c == '"') {
      // Inside quotes, a doubled quote stands for one literal quote.
      if (in_quotes && i + 1 < text.size() && text[i + 1] == '"') {
        word += '"';
        i += 2;
        continue;
      }
      in_quotes = !in_quotes;
      ++i;
      continue;
    }
    word += c;
    ++i;
  }
  if (in_word) words.push_back(std::move(word));
  return words;
}

TCommandLineBuilder::TCommandLineBuilder() = default;
TCommandLineBuilder::~TCommandLineBuilder() = default;

IArgument& TCommandLineBuilder::AddArgument(const std::string& name, const std::string& value,
                                            int kind) {
  arguments_.push_back(std::make_unique<Argument>(name, value, kind));
  parts_.push_back(Part{arguments_.back()->GetText(), /*raw_word=*/false});
  return *arguments_.back();
}

void TCommandLineBuilder::AddParameters(const std::string& text) {
  parts_.push_back(Part{text, /*raw_word=*/false});
}

void TCommandLineBuilder::AddRawWord(const std::string& word) {
  parts_.push_back(Part{word, /*raw_word=*/true});
}

std::string TCommandLineBuilder::GetParametersStr() const {
  std::string text;
  for (const Part& part : parts_) {
    if (part.text.empty()) continue;
    if (!text.empty()) text += ' ';
    text += part.text;
  }
  return text;
}

std::vector<std::string> TCommandLineBuilder::GetArguments() const {
  // Consecutive text parts are split as the one text they form in the
  // assembled command line, so a quote opened in one part may close in the next.
  std::vector<std::string> words;
  std::string pending;
  auto flush = [&] {
    for (std::string& word : SplitWindowsCommandLine(pending)) words.push_back(std::move(word));
    pending.clear();
  };
  for (const Part& part : parts_) {
    if (part.raw_word) {
      flush();
      words.push_back(part.text);
      continue;
    }
    if (part.text.empty()) continue;
    if (!pending.empty()) pending += ' ';
    pending += part.text;
  }
  flush();
  return words;
}

}  // namespace brivant
