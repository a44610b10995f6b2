// Where the system keeps its tools and its scratch files, as the external-tool
// actions need them: the system directory (where XCopy looks for its
// executable) and fresh temporary files (XCopy's exclusion list).
#pragma once

#include <string>
#include <string_view>

#include "platform/file_system.h"

namespace brivant::platform {

/// The system directory without a trailing '/': $BRIVANT_SYSDIR when it is set
/// and not empty, else "/usr/bin".
std::string GetSysDirectory();

/// The directory for temporary files without a trailing '/': $TMPDIR when it
/// is set and not empty, else "/tmp".
std::string GetTemporaryDirectory();

/// Creates a new file named `prefix` followed by six unique characters in the
/// temporary directory (mkstemp, mode 0600), writes `bytes` to it and returns
/// its full path. On failure no file is left behind; the error names the
/// directory when the file could not be created, else the file.
[[nodiscard]] OsResult<std::string> CreateTemporaryFile(std::string_view prefix,
                                                        std::string_view bytes);

}  // namespace brivant::platform
