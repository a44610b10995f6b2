// The Windows attribute word on Linux. DIRECTORY and REPARSE_POINT (a
// symbolic link) come from lstat; READONLY means the owner may not write
// (setting it removes every write bit, clearing it adds the owner's);
// HIDDEN is a name starting with '.' or the hidden bit of the DOS attribute
// word; SYSTEM and ARCHIVE (and HIDDEN for names without a dot) are kept in
// the extended attribute user.DOSATTRIB as hex text ("0x22"). NORMAL stands
// alone when no other bit is set. Where the file system has no extended
// attributes, setting those bits fails with the OS error. Reading accepts
// the other forms found in the wild too: decimal, upper-case hex, and the
// hex text followed by a NUL (Samba's newer binary record starts so);
// anything else counts as no bits rather than as an error. Directories
// follow the same rules as files.
#pragma once

#include <cstdint>
#include <string>

#include "platform/file_system.h"

namespace brivant::platform {

inline constexpr uint32_t kFileAttributeReadOnly = 0x01;
inline constexpr uint32_t kFileAttributeHidden = 0x02;
inline constexpr uint32_t kFileAttributeSystem = 0x04;
inline constexpr uint32_t kFileAttributeVolume = 0x08;
inline constexpr uint32_t kFileAttributeDirectory = 0x10;
inline constexpr uint32_t kFileAttributeArchive = 0x20;
inline constexpr uint32_t kFileAttributeNormal = 0x80;
inline constexpr uint32_t kFileAttributeReparsePoint = 0x400;

/// The attribute word of `path` (not following a final symbolic link). A
/// symbolic link to a directory has both REPARSE_POINT and DIRECTORY, as on
/// Windows; actions that walk trees must not descend through it.
[[nodiscard]] OsResult<uint32_t> GetFileAttributes(const std::string& path);

/// The attribute word of an entry whose lstat mode is already at hand, so a
/// directory search needs no second lstat: only the DOS attribute word of
/// `path` is read, and only for regular files and directories (Linux keeps
/// no user extended attributes on links, pipes or devices). For a symbolic
/// link `link_to_directory` says whether it points to a directory; it is
/// ignored otherwise. An unreadable DOS attribute word counts as no bits.
/// Without `read_stored_bits` the DOS attribute word is not read at all.
uint32_t AttributesFromMode(const std::string& path, uint32_t mode, bool link_to_directory,
                            bool read_stored_bits = true);

/// Whether an entry of this lstat mode has a DOS attribute word to read
/// (regular files and directories), as AttributesFromMode decides.
bool CanHaveStoredBits(uint32_t mode);

/// HIDDEN, SYSTEM and ARCHIVE of the DOS attribute word of `path`, not
/// following a final symbolic link; no bits when it cannot be read. A
/// relative `path` (a bare name too) resolves against the calling thread's
/// working directory.
uint32_t ReadStoredAttributeBits(const char* path);

/// An attribute word from AttributesFromMode without the stored bits, with
/// the stored bits read later added, so that reading them can be batched:
/// the result equals AttributesFromMode with the bits read.
uint32_t WithStoredBits(uint32_t attributes, uint32_t stored_bits);

/// Applies READONLY, HIDDEN, SYSTEM and ARCHIVE from `attributes`; the other
/// bits are ignored. NORMAL (0x80) alone clears all four. Clearing HIDDEN of
/// a name that starts with '.' is not possible and is ignored (the name is
/// the attribute). Fails with the OS error (ENOTSUP without extended
/// attributes when SYSTEM, ARCHIVE or HIDDEN must be stored). The extended
/// attribute is written only when its bits change, and removed when they
/// become 0. A symbolic link has no attributes of its own on Linux (no
/// mode, and user extended attributes are refused on links), and changing
/// the file it points to would reach outside what was named: setting any
/// bit on a link fails with EPERM, the error Linux gives for such an
/// extended attribute, while clearing succeeds because nothing is set.
[[nodiscard]] OsError SetFileAttributes(const std::string& path, uint32_t attributes);

}  // namespace brivant::platform
