#include "actions/text/write_to_text_file_action.h"

#include <cerrno>

#include "package/string_utils.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"
#include "platform/file_update_lock.h"

namespace brivant {
namespace {

constexpr const char* kLineBreak = "\r\n";

// The first "name.tempN" (extension replaced) from `*number` on that does
// not exist yet; `*number` moves past it.
std::string FreeTemporaryName(const std::string& path, int* number) {
  for (;; ++*number) {
    std::string candidate = ChangeFileExt(path, ".temp" + std::to_string(*number));
    if (!platform::FileExists(candidate) && !platform::DirectoryExists(candidate)) {
      ++*number;
      return candidate;
    }
  }
}

}  // namespace

const EnumInfo& EnumTraits<TBVWriteToPos>::Info() {
  static const EnumInfo info{"TBVWriteToPos", {"toStart", "toEnd"}};
  return info;
}

const PropertyTable& TBVWriteToTextFileAction::Properties() {
  using T = TBVWriteToTextFileAction;
  static const PropertyTable table(
      nullptr, {
                   Property("FileName", &T::file_name_),
                   Property("NewContent", &T::new_content_),
                   Property("CreateIfNotExists", &T::create_if_not_exists_).Default("False"),
                   Property("WriteToPosition", &T::write_to_position_).Default("toEnd"),
                   Property("Unicode", &T::GetUnicode, &T::SetUnicode).NotStored().Default("False"),
                   Property("IgnoreNoContent", &T::ignore_no_content_).Default("True"),
                   Property("ExpandVariables", &T::expand_variables_).Default("True"),
                   Property("Encoding", &T::encoding_).Default("0"),
               });
  return table;
}

void TBVWriteToTextFileAction::SetUnicode(bool unicode) {
  if (unicode) encoding_ = etUTF16LE;
}

std::string TBVWriteToTextFileAction::GetFormattedDescription() const {
  return GetActionName() + " [ " + ExtractFileName(file_name_) + " ]";
}

bool TBVWriteToTextFileAction::Validate(IBVActionValidationError& errors) {
  if (!file_name_.empty()) return true;
  // The create action's message, reused on purpose.
  errors.AddError("File Name", "New filename has not been set", 0);
  return false;
}

void TBVWriteToTextFileAction::GetHiddenProperties(TStrings& list) const {
  TCustomBVAction::GetHiddenProperties(list);
  list.push_back("Unicode");
}

void TBVWriteToTextFileAction::GetPropertyAlias(TStrings& list) const {
  TCustomBVAction::GetPropertyAlias(list);
  list.insert(list.end(), {"[Write to Text File]", "NewContent=New content",
                           "CreateIfNotExists=Create file missing", "FileName=Filename",
                           "WriteToPosition=Write Position"});
}

void TBVWriteToTextFileAction::GetPropertyHelp(TStrings& list) const {
  TCustomBVAction::GetPropertyHelp(list);
  list.insert(list.end(),
              {"NewContent=This text will be written to the file.  Any variables used will be "
               "expanded.",
               "CreateIfNotExists=Create the file if it doesn't exist",
               "FileName=The location and name of the file",
               "WriteToPosition=Specify either Start or End to write the new content to"});
}

bool TBVWriteToTextFileAction::EncodingOfFile(const std::string& path, TEncodingType* encoding,
                                              bool* empty) {
  TextFileResult<std::string> prefix_bytes = [&]() -> TextFileResult<std::string> {
    platform::OsResult<std::string> prefix = platform::ReadFilePrefix(path, kEncodingDetectionBytes);
    if (!prefix.IsOk()) return TextFileError{path, prefix.Error().message, prefix.Error().code};
    return std::move(prefix).Value();
  }();
  if (!prefix_bytes.IsOk()) {
    SendMessage("Could not read text file " + path + ": " + prefix_bytes.Error().message, stError);
    return false;
  }
  *empty = prefix_bytes.Value().empty();
  *encoding = *empty ? EffectiveEncoding(encoding_) : DetectEncoding(prefix_bytes.Value());
  return true;
}

bool TBVWriteToTextFileAction::Append(const std::string& path, const std::string& content) {
  TEncodingType encoding = etAnsi;
  bool empty = false;
  if (!EncodingOfFile(path, &encoding, &empty)) return false;
  std::string text = empty ? content : kLineBreak + content;
  if (TextFileError error = AppendText(path, text, encoding)) {
    SendMessage("Could not open target file for writing : " + path, stError);
    SendMessage("Error reason: " + error.message, stError);
    return false;
  }
  return true;
}

bool TBVWriteToTextFileAction::Prepend(const std::string& path, const std::string& content) {
  TEncodingType encoding = etAnsi;
  bool empty = false;
  if (!EncodingOfFile(path, &encoding, &empty)) return false;
  TextFileResult<std::string> new_text = EncodeText(content, encoding, /*with_bom=*/true);
  // Refused before anything is renamed or written, as an append refuses it.
  platform::OsResult<platform::AtomicFileWriter> writer =
      new_text.IsOk() ? platform::AtomicFileWriter::Begin(path)
                      : platform::OsResult<platform::AtomicFileWriter>(
                            platform::OsError{EINVAL, new_text.Error().message, path});
  if (!writer.IsOk()) {
    SendMessage("Could not open target file for writing : " + path, stError);
    SendMessage("Error reason: " + writer.Error().message, stError);
    return false;
  }
  // The old text is kept under the temporary name as a second link, not
  // moved there: the file's own name never goes missing, whenever the run
  // is killed, and the new file takes its place in one rename.
  std::string temporary;
  platform::OsError linked;
  int number = 0;
  do {
    temporary = FreeTemporaryName(path, &number);
    linked = platform::LinkFile(path, temporary);
  } while (linked.code == EEXIST);
  if (linked) {
    SendMessage("Could not create temporary file when writing file. " + linked.message, stError);
    return false;
  }
  bool written = WritePrepended(path, temporary, new_text.Value(), encoding, &writer.Value());
  (void)platform::DeleteFile(temporary, platform::ReadOnlyFile::kDelete);
  return written;
}

bool TBVWriteToTextFileAction::WritePrepended(const std::string& path, const std::string& temporary,
                                              const std::string& new_text, TEncodingType encoding,
                                              platform::AtomicFileWriter* writer) {
  // The old bytes follow the new text unchanged, so nothing of them is lost
  // to a decoding round trip; they are streamed, so a large file costs no
  // memory. Only their byte-order mark goes.
  platform::OsResult<std::string> prefix =
      platform::ReadFilePrefix(temporary, kEncodingDetectionBytes);
  platform::OsResult<uint64_t> size = platform::GetFileSize(temporary);
  if (!prefix.IsOk() || !size.IsOk()) {
    const platform::OsError& error = prefix.IsOk() ? size.Error() : prefix.Error();
    SendMessage("Could not read text file " + temporary + ": " + error.message, stError);
    return false;
  }
  const uint64_t mark = ByteOrderMark(DetectEncoding(prefix.Value())).size();
  platform::OsError error = writer->Write(new_text);
  if (!error && size.Value() > mark) {
    error = writer->Write(EncodeText(kLineBreak, encoding, false).Value());
    if (!error) {
      platform::OsResult<platform::AppendedFile> appended = writer->AppendFile(temporary, mark);
      if (!appended.IsOk()) error = appended.Error();
    }
  }
  if (!error) error = writer->Commit();
  if (!error) return true;
  SendMessage("Could not open target file for writing : " + path, stError);
  SendMessage("Error reason: " + error.message, stError);
  return false;
}

bool TBVWriteToTextFileAction::Execute() {
  std::string path;
  if (!TryExpandExpression("File location", file_name_, path, true)) return false;
  path = Trim(path);
  std::string content = new_content_;
  if (expand_variables_ && !TryExpandExpression("Content", new_content_, content, false))
    return false;
  if (content.empty()) {
    SendMessage("Nothing to write", ignore_no_content_ ? stWarning : stError);
    return ignore_no_content_;
  }

  bool at_end = write_to_position_ != toStart;
  // Other writers of this file wait until the update is done: an append
  // racing a prepend would otherwise lose its lines. Where the directory is
  // missing there is nothing to guard, and the checks below report it.
  platform::OsResult<platform::FileUpdateLock> lock = platform::FileUpdateLock::Acquire(path);
  if (!lock.IsOk() && lock.Error().code != ENOENT) {
    SendMessage("Could not lock " + path + " for writing: " + lock.Error().Describe(), stError);
    return false;
  }
  if (!platform::FileExists(path)) {
    if (!create_if_not_exists_) {
      SendMessage("ERROR - File doesn't exist: " + path, stError);
      return false;
    }
    SendMessage("New file will be created because it currently does not exist", stInfo);
    if (TextFileError error = TFileWriter::SaveToFile(path, content, fwmCreateNew,
                                                      EffectiveEncoding(encoding_))) {
      SendMessage("Could not open target file for writing : " + path, stError);
      SendMessage("Error reason: " + error.message, stError);
      return false;
    }
  } else if (!(at_end ? Append(path, content) : Prepend(path, content))) {
    return false;
  }
  SendMessage("Written new content to " + std::string(at_end ? "end" : "beginning") +
                  " of text file " + path,
              stSuccess);
  return true;
}

}  // namespace brivant
