// Reading a file piece by piece instead of whole: streamed front to back in
// large blocks (the checksum engines, whose memory must not grow with the
// file), or a range at an offset (the version-resource reader, which looks at
// a few headers of a possibly large executable). Thread-safe; no shared state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/file_system.h"

namespace brivant::platform {

/// Receives each block of a streamed file in order. The bytes stay valid only
/// during the call.
using BlockConsumer = std::function<void(const uint8_t* data, size_t size)>;

/// Reads the regular file `path` from start to end and hands every block to
/// `consume`, in order, on the calling thread; an empty file gives no call.
/// Blocks are large (half a MiB) and memory use does not depend on the file's
/// size. Past the first block a helper thread reads the next block while
/// `consume` runs. A directory gives EISDIR. An exception thrown by `consume`
/// ends the read and propagates, with the helper stopped and the file closed.
[[nodiscard]] OsError ReadFileInBlocks(const std::string& path, const BlockConsumer& consume);

/// Up to `max_bytes` of `path` from byte `offset` on: fewer, possibly none,
/// when the file ends sooner.
[[nodiscard]] OsResult<std::string> ReadFileRange(const std::string& path, uint64_t offset,
                                                  size_t max_bytes);

}  // namespace brivant::platform
