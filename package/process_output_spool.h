// Holds a program's captured output lines until the program has ended, for
// logging them afterwards. Up to one block stays in memory; beyond that the
// lines go to an anonymous temporary file, so a program that prints
// gigabytes costs disk, not memory. Used by TBVExecuteAbstractAction only;
// not installed.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brivant {

class ProcessOutputSpool {
 public:
  using Lines = std::vector<std::string>;
  // Roughly how many bytes of lines are kept in memory and handed out at once.
  static constexpr size_t kBlockBytes = 1 << 20;

  ProcessOutputSpool();
  ~ProcessOutputSpool();
  ProcessOutputSpool(const ProcessOutputSpool&) = delete;
  ProcessOutputSpool& operator=(const ProcessOutputSpool&) = delete;

  void Add(const std::string& line);
  bool IsEmpty() const { return line_count_ == 0; }

  // Hands out every line, in order, in blocks of about kBlockBytes; a line
  // longer than a block comes alone. Returns false, with *error set, when
  // the temporary file could not be read back; the lines before the fault
  // have been handed out.
  bool ForEachBlock(const std::function<void(Lines&)>& deliver, std::string* error);

 private:
  void SpillToFile();

  std::string memory_;  // lines, each ended by '\n'
  size_t line_count_ = 0;
  std::FILE* file_ = nullptr;
  // When the temporary file cannot be created or written, lines stay in
  // memory: nothing is lost, only flatness.
  bool file_failed_ = false;
};

}  // namespace brivant
