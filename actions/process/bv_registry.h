// TBVRegistry: the registry class the registry actions and the COM check
// work through. Like the runtime's registry class it has a root, opens one
// key at a time below it and reads and writes typed values of that key; it
// adds ReadDWord and WriteDWord for unsigned 32-bit values.
//
// Everything one object does is one transaction on the registry store
// (platform/registry_store.h): it starts with the first OpenKey and ends with
// Commit, or is rolled back when the object goes away without one. An
// access mask without write rights reads only, and never creates the store.
//
// Reads of a missing value, or of a value of another type, and failures of
// the store while reading or writing throw ERegistryException; OpenKey,
// DeleteValue and DeleteKey answer false and leave the reason in LastError.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/registry_store.h"

namespace brivant {

class ERegistryException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Access rights of the Windows API that the registry actions ask for.
inline constexpr uint32_t KEY_READ = 0x20019;
inline constexpr uint32_t KEY_ALL_ACCESS = 0xF003F;
// The 64-bit view flag: accepted, and without effect (there is one view).
inline constexpr uint32_t KEY_WOW64_64KEY = 0x100;

/// "HKCR", "HKCU", "HKLM", "HKU", "HKPD", "HKCC" or "HKD" for the seven
/// predefined roots; "" for any other number.
std::string RootAbbreviation(uint32_t root);

class TBVRegistry {
 public:
  /// `store_path` defaults to the machine's store.
  explicit TBVRegistry(uint32_t access, std::string store_path = platform::RegistryStorePath());
  TBVRegistry(const TBVRegistry&) = delete;
  TBVRegistry& operator=(const TBVRegistry&) = delete;

  void SetRootKey(uint32_t root) { root_ = root; }
  uint32_t GetRootKey() const { return root_; }

  /// Opens `key` below the root, creating it and its missing parents when
  /// `can_create`. False when it does not exist or cannot be opened;
  /// LastError then holds the reason, or "" when the key is simply missing.
  bool OpenKey(const std::string& key, bool can_create);
  /// Forgets the open key; the transaction goes on.
  void CloseKey() { key_.reset(); }
  /// The key as it was opened.
  const std::string& GetCurrentPath() const { return path_; }

  bool ValueExists(const std::string& name);
  bool HasSubKeys();
  int32_t ReadInteger(const std::string& name);
  /// REG_SZ or REG_EXPAND_SZ, unexpanded, up to the first NUL as programs
  /// read a string value.
  std::string ReadString(const std::string& name);
  bool ReadBool(const std::string& name);
  uint32_t ReadDWord(const std::string& name);
  void WriteInteger(const std::string& name, int32_t value);
  void WriteString(const std::string& name, const std::string& value);
  void WriteExpandString(const std::string& name, const std::string& value);
  void WriteBool(const std::string& name, bool value);
  void WriteDWord(const std::string& name, uint32_t value);
  bool DeleteValue(const std::string& name);
  /// Deletes `key` below the root with all its subkeys and values.
  bool DeleteKey(const std::string& key);

  /// Makes the changes permanent; false (LastError says why) on failure.
  bool Commit();
  const std::string& LastError() const { return last_error_; }

 private:
  bool BeginTransaction();
  platform::RegistryKeyId OpenedKey() const;
  std::string Where(const std::string& name) const;
  platform::RegistryValue ReadTyped(const std::string& name, platform::RegistryType type);
  void Write(const std::string& name, platform::RegistryType type, std::string data);

  uint32_t access_;
  std::string store_path_;
  uint32_t root_;
  std::optional<platform::RegistryTransaction> transaction_;
  std::optional<platform::RegistryKeyId> key_;
  std::string path_;
  std::string last_error_;
};

}  // namespace brivant
