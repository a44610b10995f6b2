// `brivant registry query|set|delete`: look into and seed the registry store
// the registry actions and the COM check use, much as `reg` does on Windows.
#include <charconv>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "platform/registry_store.h"

namespace brivant::cli {
namespace {

using platform::RegistryTransaction;
using platform::RegistryType;
using platform::RegistryValue;

struct Root {
  std::string_view name;
  std::string_view abbreviation;
  uint32_t handle;
};

constexpr Root kRoots[] = {
    {"HKEY_CLASSES_ROOT", "HKCR", platform::kHKeyClassesRoot},
    {"HKEY_CURRENT_USER", "HKCU", platform::kHKeyCurrentUser},
    {"HKEY_LOCAL_MACHINE", "HKLM", platform::kHKeyLocalMachine},
    {"HKEY_USERS", "HKU", platform::kHKeyUsers},
    {"HKEY_CURRENT_CONFIG", "HKCC", platform::kHKeyCurrentConfig},
};

bool SameAscii(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

// A key as typed: the root (by name or abbreviation) and the path below it.
struct KeyArgument {
  const Root* root = nullptr;
  std::vector<std::string> parts;
  std::string full_name;  // "HKEY_LOCAL_MACHINE\Software\Acme", as printed
};

bool ParseKey(const std::string& text, KeyArgument* key) {
  std::string_view root_text = std::string_view(text).substr(0, text.find('\\'));
  for (const Root& root : kRoots) {
    if (SameAscii(root_text, root.name) || SameAscii(root_text, root.abbreviation))
      key->root = &root;
  }
  if (key->root == nullptr) {
    PrintError("unknown registry root '" + std::string(root_text) +
               "' (expected HKCR, HKCU, HKLM, HKU or HKCC)");
    return false;
  }
  std::string rest = root_text.size() < text.size() ? text.substr(root_text.size() + 1) : "";
  auto parts = platform::SplitKeyPath(rest);
  if (!parts.IsOk()) {
    PrintError(parts.Error().message);
    return false;
  }
  key->parts = std::move(parts).Value();
  key->full_name = std::string(key->root->name);
  for (const std::string& part : key->parts) key->full_name += "\\" + part;
  return true;
}

// Integers as `reg` shows them: 0x and lower-case hexadecimal digits.
std::string Hex(uint64_t value) {
  char buffer[20];
  auto end = std::to_chars(buffer, buffer + sizeof buffer, value, 16).ptr;
  return "0x" + std::string(buffer, end);
}

uint64_t LittleEndian(const std::string& bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i-- > 0;)
    value = (value << 8) | static_cast<unsigned char>(bytes[i]);
  return value;
}

std::string FormatData(const RegistryValue& value) {
  auto type = static_cast<RegistryType>(value.type);
  if ((type == RegistryType::kDWord && value.data.size() == 4) ||
      (type == RegistryType::kQWord && value.data.size() == 8))
    return Hex(LittleEndian(value.data));
  if (type == RegistryType::kString || type == RegistryType::kExpandString) {
    std::string text;
    for (char c : value.data) text += c == '\0' ? std::string("\\0") : std::string(1, c);
    return text;
  }
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (unsigned char byte : value.data) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 0xF];
  }
  return hex;
}

void PrintValue(const std::string& name, const RegistryValue& value) {
  std::cout << "    " << (name.empty() ? "(Default)" : name) << "    "
            << platform::RegistryTypeName(value.type) << "    " << FormatData(value) << '\n';
}

bool ParseUnsigned(std::string_view text, uint64_t max, uint64_t* value) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
    base = 16;
  }
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value, base);
  return !text.empty() && error == std::errc() && end == text.data() + text.size() && *value <= max;
}

// The value `data` stands for as `type_name`; false (reported) when it cannot.
bool ParseData(const std::string& type_name, const std::string& data, RegistryValue* value) {
  auto fail = [&](const std::string& expected) {
    PrintError("invalid " + type_name + " data '" + data + "': expected " + expected);
    return false;
  };
  uint64_t number = 0;
  if (type_name == "REG_SZ" || type_name == "REG_EXPAND_SZ") {
    value->type = static_cast<uint32_t>(type_name == "REG_SZ" ? RegistryType::kString
                                                              : RegistryType::kExpandString);
    value->data = data;
    return true;
  }
  if (type_name == "REG_DWORD" || type_name == "REG_QWORD") {
    bool dword = type_name == "REG_DWORD";
    if (!ParseUnsigned(data, dword ? 0xFFFFFFFFu : UINT64_MAX, &number))
      return fail(dword ? "0 to 4294967295, decimal or 0x hex"
                        : "0 to 18446744073709551615, decimal or 0x hex");
    value->type = static_cast<uint32_t>(dword ? RegistryType::kDWord : RegistryType::kQWord);
    for (size_t i = 0; i < (dword ? 4u : 8u); ++i)
      value->data += static_cast<char>((number >> (8 * i)) & 0xFF);
    return true;
  }
  if (type_name == "REG_BINARY") {
    if (data.size() % 2 != 0) return fail("pairs of hexadecimal digits");
    value->type = static_cast<uint32_t>(RegistryType::kBinary);
    for (size_t i = 0; i < data.size(); i += 2) {
      unsigned byte = 0;
      auto [end, error] = std::from_chars(data.data() + i, data.data() + i + 2, byte, 16);
      if (error != std::errc() || end != data.data() + i + 2) return fail("hexadecimal digits");
      value->data += static_cast<char>(byte);
    }
    return true;
  }
  PrintError("unknown value type '" + type_name +
             "' (expected REG_SZ, REG_EXPAND_SZ, REG_DWORD, REG_QWORD or REG_BINARY)");
  return false;
}

// Begins the transaction, reporting a failure.
std::optional<RegistryTransaction> Begin(RegistryTransaction::Mode mode) {
  auto transaction = RegistryTransaction::Begin(platform::RegistryStorePath(), mode);
  if (transaction.IsOk()) return std::move(transaction).Value();
  PrintError(transaction.Error().Describe());
  return std::nullopt;
}

// The key, or nullopt after reporting that it is missing or unreadable.
std::optional<platform::RegistryKeyId> FindKey(RegistryTransaction& transaction,
                                               const KeyArgument& key) {
  auto found = transaction.FindKey(key.root->handle, key.parts);
  if (!found.IsOk()) {
    PrintError(found.Error().Describe());
    return std::nullopt;
  }
  if (!found.Value()) PrintError("registry key " + key.full_name + " does not exist");
  return found.Value();
}

int Query(const KeyArgument& key, const RegistryArguments& arguments) {
  auto transaction = Begin(RegistryTransaction::Mode::kRead);
  if (!transaction) return kExitFailure;
  auto id = FindKey(*transaction, key);
  if (!id) return kExitFailure;
  std::cout << key.full_name << '\n';
  if (arguments.value_name) {
    auto value = transaction->ReadValue(*id, *arguments.value_name);
    if (!value.IsOk() || !value.Value()) {
      PrintError(value.IsOk() ? "registry value '" + *arguments.value_name + "' of " +
                                    key.full_name + " does not exist"
                              : value.Error().Describe());
      return kExitFailure;
    }
    PrintValue(*arguments.value_name, *value.Value());
    return kExitSuccess;
  }
  auto values = transaction->Values(*id);
  auto subkeys = transaction->SubKeyNames(*id);
  if (!values.IsOk() || !subkeys.IsOk()) {
    PrintError((values.IsOk() ? subkeys.Error() : values.Error()).Describe());
    return kExitFailure;
  }
  for (const auto& [name, value] : values.Value()) PrintValue(name, value);
  if (!subkeys.Value().empty()) std::cout << '\n';
  for (const std::string& subkey : subkeys.Value())
    std::cout << key.full_name << '\\' << subkey << '\n';
  return kExitSuccess;
}

int SetValue(const KeyArgument& key, const RegistryArguments& arguments) {
  RegistryValue value;
  if (!ParseData(arguments.type, arguments.data, &value)) return kExitUsage;
  auto transaction = Begin(RegistryTransaction::Mode::kWrite);
  if (!transaction) return kExitFailure;
  auto id = transaction->CreateKey(key.root->handle, key.parts);
  platform::OsError error = id.IsOk() ? platform::OsError{} : id.Error();
  if (!error && arguments.value_name)
    error = transaction->WriteValue(id.Value(), *arguments.value_name, value);
  if (!error) error = transaction->Commit();
  if (!error) return kExitSuccess;
  PrintError(error.Describe());
  return kExitFailure;
}

int Delete(const KeyArgument& key, const RegistryArguments& arguments) {
  auto transaction = Begin(RegistryTransaction::Mode::kWrite);
  if (!transaction) return kExitFailure;
  auto id = FindKey(*transaction, key);
  if (!id) return kExitFailure;
  platform::OsError error;
  if (arguments.value_name) {
    auto deleted = transaction->DeleteValue(*id, *arguments.value_name);
    if (deleted.IsOk() && !deleted.Value()) {
      PrintError("registry value '" + *arguments.value_name + "' of " + key.full_name +
                 " does not exist");
      return kExitFailure;
    }
    if (!deleted.IsOk()) error = deleted.Error();
  } else if (key.parts.empty()) {
    PrintError("a registry root cannot be deleted");
    return kExitUsage;
  } else {
    error = transaction->DeleteKey(*id);
  }
  if (!error) error = transaction->Commit();
  if (!error) return kExitSuccess;
  PrintError(error.Describe());
  return kExitFailure;
}

}  // namespace

int RegistryCommand(const RegistryArguments& arguments) {
  KeyArgument key;
  if (!ParseKey(arguments.key, &key)) return kExitUsage;
  if (arguments.operation == "query") return Query(key, arguments);
  if (arguments.operation == "set") return SetValue(key, arguments);
  return Delete(key, arguments);
}

}  // namespace brivant::cli
