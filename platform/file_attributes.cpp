#include "platform/file_attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

namespace brivant::platform {
namespace {

// The extended attribute and text form Samba reads and writes, so that
// files shared from a Linux build machine show the same bits on Windows.
constexpr char kDosAttributeName[] = "user.DOSATTRIB";

// The bits the DOS attribute word holds for us; READONLY comes from the
// mode, DIRECTORY and REPARSE_POINT from the file type.
constexpr uint32_t kStoredBits =
    kFileAttributeHidden | kFileAttributeSystem | kFileAttributeArchive;

constexpr mode_t kAllWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

int DigitValue(char c, int base) {
  int value = 99;
  if (c >= '0' && c <= '9') value = c - '0';
  if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
  if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
  return value < base ? value : -1;
}

// Samba writes "0x22"; its newer binary form starts with that same text and
// a NUL. Other tools have been seen writing decimal or upper-case hex.
// Text that is none of these counts as no bits rather than as an error: a
// foreign value must not make a file unreadable to the actions.
uint32_t ParseDosAttributeText(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty() || text.size() > 8) return 0;
  uint32_t value = 0;
  for (char c : text) {
    int digit = DigitValue(c, base);
    if (digit < 0) return 0;
    value = value * static_cast<uint32_t>(base) + static_cast<uint32_t>(digit);
  }
  return value;
}

// The stored bits of `path`, or the errno of reading them. A file without
// the attribute, or on a file system without extended attributes, has none.
int ReadStoredBits(const char* path, uint32_t* bits) {
  *bits = 0;
  char buffer[256];
  ssize_t length = ::lgetxattr(path, kDosAttributeName, buffer, sizeof buffer);
  if (length >= 0) {
    *bits = ParseDosAttributeText(std::string_view(buffer, static_cast<size_t>(length)));
    return 0;
  }
  if (errno == ENODATA || errno == ENOTSUP) return 0;
  if (errno != ERANGE) return errno;
  // A long binary form: only its leading text matters.
  ssize_t needed = ::lgetxattr(path, kDosAttributeName, nullptr, 0);
  if (needed < 0) return errno;
  std::string value(static_cast<size_t>(needed), '\0');
  length = ::lgetxattr(path, kDosAttributeName, value.data(), value.size());
  if (length < 0) return errno;
  value.resize(static_cast<size_t>(length));
  *bits = ParseDosAttributeText(value);
  return 0;
}

int WriteStoredBits(const std::string& path, uint32_t bits) {
  if (bits == 0) {
    if (::lremovexattr(path.c_str(), kDosAttributeName) == 0 || errno == ENODATA) return 0;
    return errno;
  }
  char text[16];
  int length = std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(bits));
  if (::lsetxattr(path.c_str(), kDosAttributeName, text, static_cast<size_t>(length), 0) == 0) {
    return 0;
  }
  return errno;
}

std::string_view NameOf(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// "." and ".." name a directory by position, not a hidden file.
bool IsHiddenByName(std::string_view path) {
  std::string_view name = NameOf(path);
  return !name.empty() && name[0] == '.' && name != "." && name != "..";
}

// A link has nothing of its own to set; only bits its name already gives
// (HIDDEN of a dot name) can be asked for without failing.
OsError SetLinkAttributes(const std::string& path, uint32_t attributes) {
  uint32_t wanted = attributes & (kFileAttributeReadOnly | kStoredBits);
  if (IsHiddenByName(path)) wanted &= ~kFileAttributeHidden;
  if (wanted != 0) return OsError::FromCode(EPERM, path);
  return {};
}

// The stored bits after a change: HIDDEN of a dot name is the name's, so the
// stored copy is neither added nor kept unless it was already there.
uint32_t WantedStoredBits(const std::string& path, uint32_t attributes, uint32_t stored) {
  uint32_t wanted = attributes & (kFileAttributeSystem | kFileAttributeArchive);
  bool hidden = (attributes & kFileAttributeHidden) != 0;
  if (IsHiddenByName(path)) hidden = hidden && (stored & kFileAttributeHidden) != 0;
  return hidden ? wanted | kFileAttributeHidden : wanted;
}

mode_t WantedMode(mode_t mode, uint32_t attributes) {
  if ((attributes & kFileAttributeReadOnly) != 0) return mode & ~kAllWriteBits;
  return mode | S_IWUSR;
}

}  // namespace

uint32_t AttributesFromMode(const std::string& path, uint32_t mode, bool link_to_directory,
                            bool read_stored_bits) {
  uint32_t attributes = 0;
  if (S_ISLNK(mode)) {
    attributes |= kFileAttributeReparsePoint;
    if (link_to_directory) attributes |= kFileAttributeDirectory;
  } else {
    if (S_ISDIR(mode)) attributes |= kFileAttributeDirectory;
    if ((mode & S_IWUSR) == 0) attributes |= kFileAttributeReadOnly;
  }
  if (IsHiddenByName(path)) attributes |= kFileAttributeHidden;
  if (attributes == 0) attributes = kFileAttributeNormal;
  if (read_stored_bits && CanHaveStoredBits(mode)) {
    attributes = WithStoredBits(attributes, ReadStoredAttributeBits(path.c_str()));
  }
  return attributes;
}

bool CanHaveStoredBits(uint32_t mode) { return S_ISREG(mode) || S_ISDIR(mode); }

uint32_t ReadStoredAttributeBits(const char* path) {
  uint32_t stored = 0;
  (void)ReadStoredBits(path, &stored);
  return stored & kStoredBits;
}

uint32_t WithStoredBits(uint32_t attributes, uint32_t stored_bits) {
  stored_bits &= kStoredBits;
  if (stored_bits == 0) return attributes;
  return (attributes & ~kFileAttributeNormal) | stored_bits;
}

OsResult<uint32_t> GetFileAttributes(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return OsError::FromCode(errno, path);
  bool link_to_directory = false;
  if (S_ISLNK(info.st_mode)) {
    struct stat target;
    link_to_directory = ::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
  }
  return AttributesFromMode(path, info.st_mode, link_to_directory);
}

OsError SetFileAttributes(const std::string& path, uint32_t attributes) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return OsError::FromCode(errno, path);
  if (S_ISLNK(info.st_mode)) return SetLinkAttributes(path, attributes);

  uint32_t stored = 0;
  if (int error = ReadStoredBits(path.c_str(), &stored)) return OsError::FromCode(error, path);
  uint32_t wanted_bits = WantedStoredBits(path, attributes, stored);
  mode_t wanted_mode = WantedMode(info.st_mode & 07777, attributes);
  bool bits_change = wanted_bits != (stored & kStoredBits);
  bool mode_changes = wanted_mode != (info.st_mode & 07777);

  // Without root, user extended attributes need write permission: make the
  // file writable before writing the word, and read-only only after.
  bool gains_write = (wanted_mode & S_IWUSR) != 0 && (info.st_mode & S_IWUSR) == 0;
  if (mode_changes && gains_write && ::chmod(path.c_str(), wanted_mode) != 0) {
    return OsError::FromCode(errno, path);
  }
  if (bits_change) {
    if (int error = WriteStoredBits(path, wanted_bits)) return OsError::FromCode(error, path);
  }
  if (mode_changes && !gains_write && ::chmod(path.c_str(), wanted_mode) != 0) {
    return OsError::FromCode(errno, path);
  }
  return {};
}

}  // namespace brivant::platform
