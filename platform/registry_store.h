// The registry of this machine, kept in one SQLite database: keys under the
// predefined roots, each with named values of a registry type. Builds read,
// write and delete values through transactions; a transaction sees one
// consistent state and its changes show all at once or not at all.
//
// Key and value names compare without regard to ASCII case and keep the case
// they were created with. A key path is split at '\'; empty parts (a leading,
// trailing or doubled '\') are skipped. There is one view of the registry:
// the 64-bit view flag of the Windows API has nothing to select here.
//
// Several builds may use one store at the same time: the database runs in
// WAL mode, so readers never wait for a writer, and writers queue for up to
// a minute instead of failing with "database is locked". A store that does
// not exist reads as empty and is created by its first write.
//
// SQLite failures are returned as OsErrors with code EIO, SQLite's message
// and the database's path. A transaction belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file_system.h"

namespace brivant::platform {

/// Registry value types, with the numbers the Windows API gives them.
enum class RegistryType : uint32_t {
  kString = 1,        // REG_SZ: UTF-8 text
  kExpandString = 2,  // REG_EXPAND_SZ: text with %VARIABLE% references, kept unexpanded
  kBinary = 3,        // REG_BINARY: bytes
  kDWord = 4,         // REG_DWORD: 4 bytes, little-endian
  kQWord = 11,        // REG_QWORD: 8 bytes, little-endian
};

/// "REG_SZ" and so on; "REG_<number>" for a type this store does not know.
std::string RegistryTypeName(uint32_t type);

struct RegistryValue {
  uint32_t type = 0;  // a RegistryType, or another number a store may hold
  std::string data;   // the raw bytes, NULs included
};

/// The predefined roots, by their handle values.
inline constexpr uint32_t kHKeyClassesRoot = 0x80000000;
inline constexpr uint32_t kHKeyCurrentUser = 0x80000001;
inline constexpr uint32_t kHKeyLocalMachine = 0x80000002;
inline constexpr uint32_t kHKeyUsers = 0x80000003;
inline constexpr uint32_t kHKeyPerformanceData = 0x80000004;
inline constexpr uint32_t kHKeyCurrentConfig = 0x80000005;
inline constexpr uint32_t kHKeyDynData = 0x80000006;

/// Limits of key paths, as Windows has them: a bad path is refused with an
/// error instead of building a tree no other tool could open.
inline constexpr size_t kMaxKeyDepth = 512;
inline constexpr size_t kMaxKeyNameLength = 255;

/// The store's file: $BRIVANT_REGISTRY when set and not empty, else
/// $XDG_DATA_HOME/brivant/registry.db, else ~/.local/share/brivant/registry.db.
std::string RegistryStorePath();

/// The parts of a key path. Fails (EINVAL, the message saying which limit)
/// for more than kMaxKeyDepth parts or a part longer than kMaxKeyNameLength.
[[nodiscard]] OsResult<std::vector<std::string>> SplitKeyPath(std::string_view key_path);

/// A key as a transaction knows it; valid until the transaction ends or the
/// key is deleted.
using RegistryKeyId = int64_t;

class RegistryConnection;

class RegistryTransaction {
 public:
  enum class Mode { kRead, kWrite };

  /// Starts a transaction on the store at `path`. kRead on a missing file
  /// gives a transaction in which every key is missing; no file is created.
  /// kWrite creates the file and its directory when they are missing and
  /// waits while another build writes. A file that is not a database, or a
  /// database of another program, is an error naming it and is left as it is.
  [[nodiscard]] static OsResult<RegistryTransaction> Begin(const std::string& path, Mode mode);

  RegistryTransaction(RegistryTransaction&& other) noexcept;
  RegistryTransaction(const RegistryTransaction&) = delete;
  RegistryTransaction& operator=(const RegistryTransaction&) = delete;
  RegistryTransaction& operator=(RegistryTransaction&&) = delete;
  /// Rolls back what was not committed.
  ~RegistryTransaction();

  /// The key at `parts` below `root`, or nullopt when it (or the root) does
  /// not exist. The five roots HKCR, HKCU, HKLM, HKU and HKCC hold keys;
  /// HKPD, HKD and any other number hold none.
  [[nodiscard]] OsResult<std::optional<RegistryKeyId>> FindKey(
      uint32_t root, const std::vector<std::string>& parts);
  /// The key, created with every missing parent. An empty path is the root
  /// itself. EINVAL for a root that cannot hold keys.
  [[nodiscard]] OsResult<RegistryKeyId> CreateKey(uint32_t root,
                                                  const std::vector<std::string>& parts);

  /// nullopt when the key has no value of that name. "" names the default value.
  [[nodiscard]] OsResult<std::optional<RegistryValue>> ReadValue(RegistryKeyId key,
                                                                 const std::string& name);
  /// Creates or replaces the value; an existing one keeps its name's case.
  [[nodiscard]] OsError WriteValue(RegistryKeyId key, const std::string& name,
                                   const RegistryValue& value);
  /// False when there was no such value.
  [[nodiscard]] OsResult<bool> DeleteValue(RegistryKeyId key, const std::string& name);
  [[nodiscard]] OsResult<bool> HasSubKeys(RegistryKeyId key);
  /// Deletes the key with all its subkeys and values.
  [[nodiscard]] OsError DeleteKey(RegistryKeyId key);
  /// Names as created, sorted without regard to case.
  [[nodiscard]] OsResult<std::vector<std::string>> SubKeyNames(RegistryKeyId key);
  [[nodiscard]] OsResult<std::vector<std::pair<std::string, RegistryValue>>> Values(
      RegistryKeyId key);

  /// Makes the changes permanent. Afterwards the transaction is spent.
  [[nodiscard]] OsError Commit();

 private:
  explicit RegistryTransaction(std::shared_ptr<RegistryConnection> connection);
  void Finish(const char* statement);

  std::shared_ptr<RegistryConnection> connection_;  // null: a missing store
  bool open_ = false;
};

}  // namespace brivant::platform
