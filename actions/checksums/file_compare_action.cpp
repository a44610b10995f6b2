#include "actions/checksums/file_compare_action.h"

#include <exception>
#include <stdexcept>

#include "actions/checksums/file_md5_action.h"
#include "package/date_time.h"
#include "package/string_utils.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"

namespace brivant {
namespace {

constexpr size_t kLongDescription = 100;

// The last-write time as the host's date/time, to the millisecond. A failed
// lookup reads as 0 (1899-12-30), as an unset date would.
TDateTime LastWriteTime(const std::string& path) {
  platform::OsResult<platform::LocalTime> time = platform::GetLastWriteTime(path);
  if (!time.IsOk()) return TDateTime{0};
  const platform::LocalTime& t = time.Value();
  try {
    return EncodeDateTime(t.year, t.month, t.day, t.hour, t.minute, t.second, t.millisecond);
  } catch (const std::exception&) {
    return TDateTime{0};
  }
}

std::string ShortDate(TDateTime value) {
  try {
    return FormatDateTime("ddddd", value);
  } catch (const std::exception&) {
    return "?";
  }
}

// The low 32 bits of the size, signed, as a 32-bit size query gives them. A
// file whose size cannot be read gives -1, all bits set, like the failed
// handle's query.
int32_t Size32(const std::string& path) {
  platform::OsResult<uint64_t> size = platform::GetFileSize(path);
  if (!size.IsOk()) return -1;
  return static_cast<int32_t>(static_cast<uint32_t>(size.Value()));
}

}  // namespace

const PropertyTable& TBVFileCompareAction::Properties() {
  using T = TBVFileCompareAction;
  static const PropertyTable table(nullptr,
                                   {
                                       Property("FileA", &T::file_a_),
                                       Property("FileB", &T::file_b_),
                                       Property("CompareDate", &T::compare_date_).Default("False"),
                                       Property("CompareSize", &T::compare_size_).Default("False"),
                                       Property("CompareMD5", &T::compare_md5_).Default("True"),
                                       Property("Fail", &T::fail_).Default("False"),
                                       Property("Inverted", &T::inverted_).Default("False"),
                                   });
  return table;
}

std::string TBVFileCompareAction::GetFormattedDescription() const {
  std::string text = GetActionName() + " [" + file_a_ + " and " + file_b_ + "]";
  if (text.size() > kLongDescription) text = ReplaceAll(text, ExtractFilePath(file_a_), "");
  if (text.size() > kLongDescription) text = ReplaceAll(text, ExtractFilePath(file_b_), "");
  return text;
}

bool TBVFileCompareAction::Validate(IBVActionValidationError& errors) {
  if (!file_a_.empty() && !file_b_.empty()) return true;
  errors.AddError("File Name", "Missing file name.", 0);
  return false;
}

void TBVFileCompareAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(),
              {"[File Compare]", "FileA=File A", "FileB=File B", "CompareDate=Compare File Dates",
               "CompareSize=Compare File Sizes", "CompareMD5=Compare MD5 Hashes",
               "Fail=Fail Action", "Inverted=Inverted Behaviour"});
}

void TBVFileCompareAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(
      list.end(),
      {"FileA=The path/name to File A", "FileB=The path/name to File B",
       "CompareDate=The files will be compared by last modified date/time",
       "CompareSize=The files will be compared by file size",
       "CompareMD5=MD5 Hashes will be calculated for both files and then compared",
       "Fail=If this is set, then the action will fail depending on if the files are the same "
       "or not.  If this is not set, then child actions will be run depending on if the files "
       "are the same or not.",
       "Inverted=This determines what action is taken if the files are the same or not"});
}

bool TBVFileCompareAction::DatesDiffer(const std::string& a, const std::string& b) {
  TDateTime date_a = LastWriteTime(a);
  TDateTime date_b = LastWriteTime(b);
  // The whole time is compared, but only the dates are shown: two files of
  // one day can be reported as different with the same date twice.
  if (date_a != date_b) {
    SendMessage(
        "Files have different dates (" + ShortDate(date_a) + " vs " + ShortDate(date_b) + ")",
        stError);
    return true;
  }
  SendMessage("Files have the same date (" + ShortDate(date_a) + ")", stInfo);
  return false;
}

bool TBVFileCompareAction::SizesDiffer(const std::string& a, const std::string& b) {
  int32_t size_a = Size32(a);
  int32_t size_b = Size32(b);
  if (size_a != size_b) {
    SendMessage("Files are different sizes (" + std::to_string(size_a) + " vs " +
                    std::to_string(size_b) + ")",
                stError);
    return true;
  }
  SendMessage("Files are of identical size (" + std::to_string(size_a) + " bytes)", stInfo);
  return false;
}

bool TBVFileCompareAction::CompareHashes(const std::string& a, const std::string& b, bool* differ) {
  std::string hashes[2];
  const std::string* paths[2] = {&a, &b};
  for (int i = 0; i < 2; ++i) {
    try {
      if (!HashFileToDisplay(*paths[i], &hashes[i])) {
        throw std::runtime_error("Hash of file " + *paths[i] + " failed");
      }
    } catch (const std::exception& e) {
      SendMessage("Could not compute MD5 for " + *paths[i] + ":", stError);
      SendMessage(e.what(), stError);
      return false;
    }
  }
  *differ = !SameText(hashes[0], hashes[1]);
  if (*differ) {
    SendMessage("Files have different MD5 checksums.", stError);
    SendMessage("File 1 MD5: " + hashes[0], stError);
    SendMessage("File 2 MD5: " + hashes[1], stError);
    return true;
  }
  SendMessage("Files have identical MD5 checksums (MD5: " + hashes[0] + ")", stInfo);
  return true;
}

bool TBVFileCompareAction::Verdict(bool different) {
  // With Inverted the flag means "same": the outcome the user is after.
  bool flag = inverted_ ? !different : different;
  if (fail_) {
    const char* wanted = inverted_ ? "No differences found." : "Files are different.";
    const char* unwanted = inverted_ ? "Files are different." : "No differences found.";
    SendMessage(flag ? wanted : unwanted, flag ? stSuccess : stError);
    return flag;
  }
  run_children_ = flag;
  if (inverted_) {
    SendMessage(flag ? "No differences found - running child actions"
                     : "Files are different - not running child action",
                stSuccess);
  } else {
    SendMessage(flag ? "Files are different - running child actions"
                     : "No differences found - not running child actions",
                stSuccess);
  }
  return true;
}

bool TBVFileCompareAction::Execute() {
  run_children_ = false;
  std::string a, b;
  if (!TryExpandExpression("First File", file_a_, a, true)) return false;
  if (!TryExpandExpression("Second File", file_b_, b, true)) return false;
  a = Trim(a);
  b = Trim(b);
  for (const std::string* path : {&a, &b}) {
    if (platform::FileExists(*path)) continue;
    SendMessage("File doesn't Exist : " + *path, stError);
    return false;
  }
  SendMessage("Comparing file " + a, stInfo);
  SendMessage("with file " + b, stInfo);
  if (!compare_date_ && !compare_size_ && !compare_md5_) {
    SendMessage("Nothing to compare files by! Choose one or more of date, size or checksum.",
                stError);
    return false;
  }
  bool different = false;
  if (compare_date_) different = DatesDiffer(a, b);
  // Sizes are looked at even when the dates already differ.
  if (compare_size_) different = SizesDiffer(a, b) || different;
  if (compare_md5_ && !different && !CompareHashes(a, b, &different)) return false;
  return Verdict(different);
}

void TBVFileCompareAction::GetNextActionSource(TBVNextActionSourceState state,
                                               TBVNextAction& next) {
  TCustomBVAction::GetNextActionSource(state, next);
  if (!fail_ && !run_children_) next = naSkipChildren;
}

}  // namespace brivant
