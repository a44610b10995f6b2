// Fuzz target for the INI layer: any file content must read without a crash
// or give EIniFileError, and an edit must do what it says and nothing else:
// after writing a key of the first section it reads back, every other
// section reads as before, and after erasing that section it is gone.
// Built with -DBRIVANT_FUZZ=ON under clang (libFuzzer):
//   build/tests/fuzz/ini_file_fuzzer -max_total_time=60
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "package/ini_file.h"
#include "package/string_utils.h"

namespace {

const std::string& ScratchFile() {
  static const std::string path = [] {
    char directory[] = "/tmp/ini_fuzz.XXXXXX";
    if (::mkdtemp(directory) == nullptr) std::abort();
    return std::string(directory) + "/f.ini";
  }();
  return path;
}

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& path = ScratchFile();
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  std::vector<std::string> sections;
  try {
    sections = brivant::TIniFile(path).ReadSections();
  } catch (const brivant::EIniFileError&) {
    return 0;
  }
  std::string target = sections.empty() || sections[0].empty() ? "fuzz" : sections[0];
  std::vector<std::vector<std::string>> others;
  for (const std::string& section : sections) {
    others.push_back(brivant::TIniFile(path).ReadSectionValues(section));
  }
  try {
    brivant::TIniFile(path).WriteString(target, "fuzzkey", "new value");
  } catch (const brivant::EIniFileError&) {
    return 0;  // a name the file cannot hold, or text the charset lacks
  }
  brivant::TIniFile after(path);
  Check(after.ReadString(target, "fuzzkey", "") == "new value");
  for (size_t i = 0; i < sections.size(); ++i) {
    if (brivant::SameText(sections[i], target)) continue;
    Check(after.ReadSectionValues(sections[i]) == others[i]);
  }
  brivant::TIniFile(path).EraseSection(target);
  for (const std::string& section : brivant::TIniFile(path).ReadSections()) {
    Check(!brivant::SameText(section, target));
  }
  return 0;
}
