#include "package/process_output_spool.h"

#include <cerrno>
#include <cstring>
#include <string_view>

namespace brivant {
namespace {

// Splits `text` (lines each ended by '\n') into *lines; returns the bytes
// after the last '\n', which start a line still to come.
std::string SplitCompleteLines(std::string_view text, ProcessOutputSpool::Lines* lines) {
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string_view::npos; start = end + 1)
    lines->emplace_back(text.substr(start, end - start));
  return std::string(text.substr(start));
}

}  // namespace

ProcessOutputSpool::ProcessOutputSpool() = default;

ProcessOutputSpool::~ProcessOutputSpool() {
  if (file_ != nullptr) std::fclose(file_);
}

void ProcessOutputSpool::Add(const std::string& line) {
  memory_ += line;
  memory_ += '\n';
  ++line_count_;
  if (memory_.size() >= kBlockBytes && !file_failed_) SpillToFile();
}

void ProcessOutputSpool::SpillToFile() {
  if (file_ == nullptr) file_ = std::tmpfile();
  if (file_ == nullptr || std::fwrite(memory_.data(), 1, memory_.size(), file_) != memory_.size()) {
    // A partly written block is still in memory and wins: drop the file.
    if (file_ != nullptr) std::fclose(file_);
    file_ = nullptr;
    file_failed_ = true;
    return;
  }
  memory_.clear();
}

bool ProcessOutputSpool::ForEachBlock(const std::function<void(Lines&)>& deliver,
                                      std::string* error) {
  Lines lines;
  std::string partial;
  if (file_ != nullptr) {
    if (std::fflush(file_) != 0 || std::fseek(file_, 0, SEEK_SET) != 0) {
      *error = std::string("cannot read back the program output: ") + std::strerror(errno);
      return false;
    }
    std::string block(kBlockBytes, '\0');
    while (size_t got = std::fread(block.data(), 1, block.size(), file_)) {
      partial = SplitCompleteLines(partial + block.substr(0, got), &lines);
      if (!lines.empty()) deliver(lines);
      lines.clear();
    }
    if (std::ferror(file_)) {
      *error = std::string("cannot read back the program output: ") + std::strerror(errno);
      return false;
    }
  }
  partial = SplitCompleteLines(partial + memory_, &lines);
  if (!lines.empty()) deliver(lines);
  return true;
}

}  // namespace brivant
