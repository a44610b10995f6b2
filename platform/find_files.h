// Directory search with the semantics the file actions were designed
// against: a file specification is a directory plus a mask in its last
// component, matched by the rules of file_mask.h (`*.` finds the names
// without a dot, `?` never takes a dot, ...). Matching is case-sensitive, as
// Linux file systems are.
//
// Entries of one directory come sorted by name (byte order), so logs are the
// same from run to run. "." and ".." are reported, as directories, when the
// mask matches them. The attribute word of each entry follows the Windows
// bits (see file_attributes.h); the attribute mask filters entries the way
// the classic find-first call does: an entry whose hidden, system, volume or
// directory bit is set is left out unless that bit is in the mask.
// Read-only and archive files are never left out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/attribute_word_reader.h"
#include "platform/file_attributes.h"
#include "platform/file_mask.h"
#include "platform/file_system.h"

namespace brivant::platform {

// A symbolic link is described by what a copy would read through it: its
// size and time are those of the file it points to (the link's own when it
// points nowhere), its attributes those of the link (REPARSE_POINT, plus
// DIRECTORY when it points to a directory).
struct FoundEntry {
  std::string name;
  uint32_t attributes = 0;    // kFileAttribute* bits
  uint64_t size = 0;          // bytes; 0 for directories
  int64_t last_write_ns = 0;  // nanoseconds since 1970-01-01 UTC
  bool IsDirectory() const { return (attributes & kFileAttributeDirectory) != 0; }
  bool IsLink() const { return (attributes & kFileAttributeReparsePoint) != 0; }
};

/// How much of each entry's attribute word a search reads.
enum class FindDetail {
  kFull,  // every bit, the DOS attribute word included
  // Without the DOS attribute word: SYSTEM, ARCHIVE and a stored HIDDEN bit
  // are not reported, which saves a system call per entry for callers that
  // only need names, kinds and read-only. Honoured only when the attribute
  // mask admits hidden and system entries, since filtering needs those bits.
  kWithoutStoredBits,
  // Only what a listing of names needs: DIRECTORY, REPARSE_POINT and the
  // HIDDEN and SYSTEM bits the attribute mask filters on (the stored ones
  // read only when the mask leaves such entries out). READONLY, ARCHIVE, size
  // and time are not reported. Regular files and directories cost no lstat,
  // as the directory itself tells their kind; links and entries of unknown
  // kind are described in full.
  kNamesAndKinds,
};

/// Mask every attribute kind: what the file actions use to see everything.
inline constexpr uint32_t kFindAnyAttribute = 0x1FF;

/// The entries of the file specification's directory (the part before the last
/// '/', "." when there is none) whose names match its mask and pass the
/// attribute mask. A directory that does not exist, a file where the directory
/// should be ("file.txt/*"), or a file specification whose name matches
/// nothing gives an empty list, not an error: "nothing found" is an answer.
/// Errors are for directories that exist but cannot be read (EACCES, ELOOP),
/// naming the directory. A name without wildcards
/// is looked up directly, without reading the directory. Safe to call from
/// several threads; a large directory is described by a few threads of its
/// own. With a `reader` (one for all the searches of a tree walk) the DOS
/// attribute words of a listing are read through it, which is cheaper; the
/// answers are the same.
[[nodiscard]] OsResult<std::vector<FoundEntry>> FindFiles(const std::string& file_spec,
                                                          uint32_t attribute_mask,
                                                          FindDetail detail = FindDetail::kFull,
                                                          AttributeWordReader* reader = nullptr);

}  // namespace brivant::platform
