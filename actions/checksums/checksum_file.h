// How the checksum engines read a file: streamed front to back in large
// blocks, so memory stays flat whatever the file's size. A file that cannot be
// opened or read raises EFileReadError, as the engines' callers expect an
// exception rather than a result for that.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "package/custom_bv_action.h"
#include "platform/file_reading.h"

namespace brivant {

// The message names the file and the system's reason
// ("/out/app.bin: Permission denied").
class EFileReadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Hands every block of `path` to `consume`, in order. Throws EFileReadError.
void ForEachBlockOf(const std::string& path, const platform::BlockConsumer& consume);

/// Expands and trims `text`, the value of the property titled `title`, into
/// the path of an existing file. Otherwise logs why through `action` and
/// returns false: the failed expansion, "Filename has not been set" for an
/// empty path when `must_be_set`, or "File not found: " + path.
bool ExpandExistingFile(TCustomBVAction& action, const std::string& title,
                        const std::string& text, bool must_be_set, std::string* path);

}  // namespace brivant
