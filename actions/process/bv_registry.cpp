#include "actions/process/bv_registry.h"

#include <array>
#include <cassert>

namespace brivant {
namespace {

using platform::RegistryType;
using platform::RegistryValue;

// Rights that change keys or values: KEY_SET_VALUE, KEY_CREATE_SUB_KEY,
// DELETE, WRITE_DAC and WRITE_OWNER.
constexpr uint32_t kWriteRights = 0x2 | 0x4 | 0x10000 | 0x40000 | 0x80000;

std::string LittleEndian(uint64_t value, size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

uint32_t FromLittleEndian32(const std::string& bytes) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i)
    value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return value;
}

}  // namespace

std::string RootAbbreviation(uint32_t root) {
  static constexpr std::array<const char*, 7> kAbbreviations = {"HKCR", "HKCU", "HKLM", "HKU",
                                                                "HKPD", "HKCC", "HKD"};
  if (root < platform::kHKeyClassesRoot || root > platform::kHKeyDynData) return "";
  return kAbbreviations[root - platform::kHKeyClassesRoot];
}

TBVRegistry::TBVRegistry(uint32_t access, std::string store_path)
    : access_(access), store_path_(std::move(store_path)), root_(platform::kHKeyCurrentUser) {}

bool TBVRegistry::BeginTransaction() {
  if (transaction_) return true;
  auto mode = (access_ & kWriteRights) != 0 ? platform::RegistryTransaction::Mode::kWrite
                                            : platform::RegistryTransaction::Mode::kRead;
  auto transaction = platform::RegistryTransaction::Begin(store_path_, mode);
  if (!transaction.IsOk()) {
    last_error_ = transaction.Error().Describe();
    return false;
  }
  transaction_.emplace(std::move(transaction).Value());
  return true;
}

bool TBVRegistry::OpenKey(const std::string& key, bool can_create) {
  CloseKey();
  last_error_.clear();
  auto parts = platform::SplitKeyPath(key);
  if (!parts.IsOk()) {
    last_error_ = parts.Error().Describe();
    return false;
  }
  if (!BeginTransaction()) return false;
  if (can_create && (access_ & kWriteRights) != 0) {
    auto created = transaction_->CreateKey(root_, parts.Value());
    if (!created.IsOk()) {
      last_error_ = created.Error().Describe();
      return false;
    }
    key_ = created.Value();
  } else {
    auto found = transaction_->FindKey(root_, parts.Value());
    if (!found.IsOk()) {
      last_error_ = found.Error().Describe();
      return false;
    }
    key_ = found.Value();
  }
  if (key_) path_ = key;
  return key_.has_value();
}

platform::RegistryKeyId TBVRegistry::OpenedKey() const {
  assert(key_ && "a registry value used without an open key");
  return *key_;
}

std::string TBVRegistry::Where(const std::string& name) const {
  return "registry value '" + name + "' of " + RootAbbreviation(root_) + "\\" + path_;
}

bool TBVRegistry::ValueExists(const std::string& name) {
  auto value = transaction_->ReadValue(OpenedKey(), name);
  if (!value.IsOk()) throw ERegistryException(value.Error().Describe());
  return value.Value().has_value();
}

bool TBVRegistry::HasSubKeys() {
  auto has = transaction_->HasSubKeys(OpenedKey());
  if (!has.IsOk()) throw ERegistryException(has.Error().Describe());
  return has.Value();
}

RegistryValue TBVRegistry::ReadTyped(const std::string& name, RegistryType type) {
  auto value = transaction_->ReadValue(OpenedKey(), name);
  if (!value.IsOk()) throw ERegistryException(value.Error().Describe());
  if (!value.Value()) throw ERegistryException(Where(name) + " does not exist");
  RegistryValue& found = *value.Value();
  bool is_text = type == RegistryType::kString &&
                 (found.type == static_cast<uint32_t>(RegistryType::kString) ||
                  found.type == static_cast<uint32_t>(RegistryType::kExpandString));
  bool is_dword = type == RegistryType::kDWord &&
                  found.type == static_cast<uint32_t>(RegistryType::kDWord) &&
                  found.data.size() == 4;
  if (!is_text && !is_dword)
    throw ERegistryException(Where(name) + " is " + platform::RegistryTypeName(found.type) +
                             ", not " + platform::RegistryTypeName(static_cast<uint32_t>(type)));
  return std::move(found);
}

int32_t TBVRegistry::ReadInteger(const std::string& name) {
  return static_cast<int32_t>(ReadDWord(name));
}

std::string TBVRegistry::ReadString(const std::string& name) {
  std::string text = ReadTyped(name, RegistryType::kString).data;
  size_t nul = text.find('\0');
  if (nul != std::string::npos) text.resize(nul);
  return text;
}

bool TBVRegistry::ReadBool(const std::string& name) { return ReadDWord(name) != 0; }

uint32_t TBVRegistry::ReadDWord(const std::string& name) {
  return FromLittleEndian32(ReadTyped(name, RegistryType::kDWord).data);
}

void TBVRegistry::Write(const std::string& name, RegistryType type, std::string data) {
  RegistryValue value{static_cast<uint32_t>(type), std::move(data)};
  if (platform::OsError error = transaction_->WriteValue(OpenedKey(), name, value))
    throw ERegistryException("cannot write " + Where(name) + ": " + error.Describe());
}

void TBVRegistry::WriteInteger(const std::string& name, int32_t value) {
  WriteDWord(name, static_cast<uint32_t>(value));
}

void TBVRegistry::WriteString(const std::string& name, const std::string& value) {
  Write(name, RegistryType::kString, value);
}

void TBVRegistry::WriteExpandString(const std::string& name, const std::string& value) {
  Write(name, RegistryType::kExpandString, value);
}

void TBVRegistry::WriteBool(const std::string& name, bool value) {
  WriteDWord(name, value ? 1 : 0);
}

void TBVRegistry::WriteDWord(const std::string& name, uint32_t value) {
  Write(name, RegistryType::kDWord, LittleEndian(value, 4));
}

bool TBVRegistry::DeleteValue(const std::string& name) {
  auto deleted = transaction_->DeleteValue(OpenedKey(), name);
  if (!deleted.IsOk()) {
    last_error_ = deleted.Error().Describe();
    return false;
  }
  if (!deleted.Value()) last_error_ = Where(name) + " does not exist";
  return deleted.Value();
}

bool TBVRegistry::DeleteKey(const std::string& key) {
  last_error_.clear();
  auto parts = platform::SplitKeyPath(key);
  if (!parts.IsOk()) {
    last_error_ = parts.Error().Describe();
    return false;
  }
  if (!BeginTransaction()) return false;
  auto found = transaction_->FindKey(root_, parts.Value());
  if (!found.IsOk()) {
    last_error_ = found.Error().Describe();
    return false;
  }
  if (!found.Value() || parts.Value().empty()) {
    last_error_ = found.Value()
                      ? "a registry root cannot be deleted"
                      : "registry key " + RootAbbreviation(root_) + "\\" + key + " does not exist";
    return false;
  }
  if (platform::OsError error = transaction_->DeleteKey(*found.Value())) {
    last_error_ = error.Describe();
    return false;
  }
  if (key_ == found.Value()) key_.reset();
  return true;
}

bool TBVRegistry::Commit() {
  if (!transaction_) return true;
  platform::OsError error = transaction_->Commit();
  transaction_.reset();
  key_.reset();
  if (!error) return true;
  last_error_ = error.Describe();
  return false;
}

}  // namespace brivant
