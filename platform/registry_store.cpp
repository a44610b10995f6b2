#include "platform/registry_store.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <mutex>

#include "platform/environment.h"

namespace brivant::platform {

namespace {

// Marks our databases, so another program's database is never taken for
// an empty registry and changed ("BVRG").
constexpr int kApplicationId = 0x42565247;
// Writers wait this long for each other before giving up.
constexpr int kBusyTimeoutMs = 60000;

constexpr const char* kSchema =
    "PRAGMA application_id=1112953415;"
    "CREATE TABLE IF NOT EXISTS reg_keys(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL,"
    " name TEXT NOT NULL, folded TEXT NOT NULL);"
    "CREATE UNIQUE INDEX IF NOT EXISTS reg_keys_by_parent ON reg_keys(parent, folded);"
    "CREATE TABLE IF NOT EXISTS reg_values(key INTEGER NOT NULL, folded TEXT NOT NULL,"
    " name TEXT NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL,"
    " PRIMARY KEY(key, folded)) WITHOUT ROWID;";
static_assert(kApplicationId == 1112953415);

enum Statement {
  kFindKey,
  kInsertKey,
  kReadValue,
  kWriteValue,
  kDeleteValue,
  kFirstSubKey,
  kDeleteTreeValues,
  kDeleteTreeKeys,
  kSubKeyNames,
  kValues,
  kStatementCount
};

constexpr std::array<const char*, kStatementCount> kStatementTexts = {
    "SELECT id FROM reg_keys WHERE parent=?1 AND folded=?2",
    "INSERT INTO reg_keys(parent, name, folded) VALUES(?1, ?2, ?3)",
    "SELECT type, data FROM reg_values WHERE key=?1 AND folded=?2",
    "INSERT INTO reg_values(key, folded, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5)"
    " ON CONFLICT(key, folded) DO UPDATE SET type=excluded.type, data=excluded.data",
    "DELETE FROM reg_values WHERE key=?1 AND folded=?2",
    "SELECT 1 FROM reg_keys WHERE parent=?1 LIMIT 1",
    "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL"
    " SELECT k.id FROM reg_keys k JOIN tree t ON k.parent=t.id)"
    " DELETE FROM reg_values WHERE key IN tree",
    "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL"
    " SELECT k.id FROM reg_keys k JOIN tree t ON k.parent=t.id)"
    " DELETE FROM reg_keys WHERE id IN tree",
    "SELECT name FROM reg_keys WHERE parent=?1 ORDER BY folded",
    "SELECT name, type, data FROM reg_values WHERE key=?1 ORDER BY folded",
};

std::string Folded(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

// A blob column as bytes; SQLite gives no pointer for an empty one.
std::string ColumnBytes(sqlite3_stmt* statement, int column) {
  const void* bytes = sqlite3_column_blob(statement, column);
  if (bytes == nullptr) return {};
  return std::string(static_cast<const char*>(bytes),
                     static_cast<size_t>(sqlite3_column_bytes(statement, column)));
}

// Roots are keys that always exist, with ids no row can have: HKCR is -1,
// HKCU -2 and so on. Top-level keys are rows whose parent is such an id.
std::optional<RegistryKeyId> RootKeyId(uint32_t root) {
  switch (root) {
    case kHKeyClassesRoot:
    case kHKeyCurrentUser:
    case kHKeyLocalMachine:
    case kHKeyUsers:
    case kHKeyCurrentConfig:
      return -static_cast<RegistryKeyId>(root - kHKeyClassesRoot) - 1;
    default:
      return std::nullopt;
  }
}

}  // namespace

// One open database with its prepared statements. A transaction holds
// `in_use` from Connect to its end, so a connection serves one at a time.
class RegistryConnection {
 public:
  RegistryConnection(std::string file, sqlite3* handle, dev_t file_device, ino_t file_inode)
      : path(std::move(file)), db(handle), device(file_device), inode(file_inode) {}
  ~RegistryConnection() {
    for (sqlite3_stmt* statement : statements) sqlite3_finalize(statement);
    sqlite3_close(db);
  }
  RegistryConnection(const RegistryConnection&) = delete;
  RegistryConnection& operator=(const RegistryConnection&) = delete;

  OsError Failure() const { return OsError{EIO, sqlite3_errmsg(db), path}; }

  OsError Execute(const char* sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK) return {};
    return Failure();
  }

  // The prepared statement, reset and with its bindings cleared.
  OsResult<sqlite3_stmt*> Prepare(Statement which) {
    sqlite3_stmt*& statement = statements[which];
    if (statement == nullptr &&
        sqlite3_prepare_v3(db, kStatementTexts[which], -1, SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr) != SQLITE_OK)
      return Failure();
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return statement;
  }

  // Steps a statement that returns no rows.
  OsError Run(sqlite3_stmt* statement) {
    int result = sqlite3_step(statement);
    sqlite3_reset(statement);
    return result == SQLITE_DONE ? OsError{} : Failure();
  }

  // Checks that the database is ours, or makes it ours when it is empty and
  // we are about to write. Runs outside the caller's transaction, so that
  // the schema stays even when that transaction is rolled back.
  OsError CheckSchema(bool writing) {
    int application_id = 0;
    int objects = 0;
    if (OsError error = ReadIdentity(&application_id, &objects)) return error;
    if (application_id == kApplicationId) {
      has_schema = true;
      return {};
    }
    if (objects != 0 || application_id != 0)
      return OsError{EINVAL, "not a registry store (a database of another program)", path};
    if (!writing) return {};
    // WAL lets readers go on while a build writes; it is a property of the
    // file, set once, and cannot be set inside a transaction.
    if (OsError error = Execute("PRAGMA journal_mode=WAL")) return error;
    if (OsError error = Execute("BEGIN IMMEDIATE")) return error;
    OsError error = Execute(kSchema);
    if (!error) error = Execute("COMMIT");
    if (error) {
      (void)Execute("ROLLBACK");
      return error;
    }
    has_schema = true;
    return {};
  }

  OsError ReadIdentity(int* application_id, int* objects) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db,
                           "SELECT (SELECT application_id FROM pragma_application_id),"
                           " (SELECT count(*) FROM sqlite_schema)",
                           -1, &statement, nullptr) != SQLITE_OK)
      return Failure();
    int result = sqlite3_step(statement);
    *application_id = sqlite3_column_int(statement, 0);
    *objects = sqlite3_column_int(statement, 1);
    sqlite3_finalize(statement);
    return result == SQLITE_ROW ? OsError{} : Failure();
  }

  std::string path;
  sqlite3* db;
  dev_t device;
  ino_t inode;
  bool has_schema = false;
  std::mutex in_use;
  std::array<sqlite3_stmt*, kStatementCount> statements{};
};

namespace {

// The last store opened stays open: opening a database costs far more than
// one read, and a build reads the same store again and again. A store
// replaced on disk since (another inode) is opened afresh.
std::mutex cache_mutex;
std::shared_ptr<RegistryConnection> cached_connection;

OsResult<std::shared_ptr<RegistryConnection>> Open(const std::string& path,
                                                   const struct stat& info) {
  sqlite3* db = nullptr;
  int result =
      sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  auto connection = std::make_shared<RegistryConnection>(path, db, info.st_dev, info.st_ino);
  if (result != SQLITE_OK) return connection->Failure();
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  // A crash may lose the last commits but never corrupts the store.
  if (OsError error = connection->Execute("PRAGMA synchronous=NORMAL")) return error;
  return connection;
}

// A connection to the store at `path`, with `in_use` locked for the caller.
// A transaction already running on the cached connection (another thread,
// or a nested use on this one) gets a connection of its own.
OsResult<std::shared_ptr<RegistryConnection>> Connect(const std::string& path,
                                                      const struct stat& info) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  bool matches = cached_connection && cached_connection->path == path &&
                 cached_connection->device == info.st_dev &&
                 cached_connection->inode == info.st_ino;
  if (matches && cached_connection->in_use.try_lock()) return cached_connection;
  OsResult<std::shared_ptr<RegistryConnection>> opened = Open(path, info);
  if (!opened.IsOk()) return opened;
  opened.Value()->in_use.lock();
  if (!matches) cached_connection = opened.Value();
  return opened;
}

// Creates the file (and its directory) for a first write. Another build
// creating it at the same moment is fine: both end up with one database.
OsError CreateStoreFile(const std::string& path) {
  size_t slash = path.find_last_of('/');
  if (slash != std::string::npos && slash > 0) {
    if (OsError error = CreateDirectories(path.substr(0, slash))) return error;
  }
  sqlite3* db = nullptr;
  int result =
      sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  OsError error;
  if (result != SQLITE_OK) error = OsError{EIO, sqlite3_errmsg(db), path};
  sqlite3_close(db);
  return error;
}

}  // namespace

std::string RegistryTypeName(uint32_t type) {
  switch (static_cast<RegistryType>(type)) {
    case RegistryType::kString:
      return "REG_SZ";
    case RegistryType::kExpandString:
      return "REG_EXPAND_SZ";
    case RegistryType::kBinary:
      return "REG_BINARY";
    case RegistryType::kDWord:
      return "REG_DWORD";
    case RegistryType::kQWord:
      return "REG_QWORD";
  }
  return "REG_" + std::to_string(type);
}

std::string RegistryStorePath() {
  std::optional<std::string> explicit_path = GetEnvironmentVariable("BRIVANT_REGISTRY");
  if (explicit_path && !explicit_path->empty()) return *explicit_path;
  std::optional<std::string> data_home = GetEnvironmentVariable("XDG_DATA_HOME");
  if (data_home && !data_home->empty()) return *data_home + "/brivant/registry.db";
  return GetEnvironmentVariable("HOME").value_or("") + "/.local/share/brivant/registry.db";
}

OsResult<std::vector<std::string>> SplitKeyPath(std::string_view key_path) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= key_path.size()) {
    size_t end = std::min(key_path.find('\\', start), key_path.size());
    std::string_view part = key_path.substr(start, end - start);
    start = end + 1;
    if (part.empty()) continue;
    if (part.size() > kMaxKeyNameLength)
      return OsError{EINVAL,
                     "registry key name of " + std::to_string(part.size()) +
                         " characters; at most " + std::to_string(kMaxKeyNameLength) +
                         " are allowed",
                     std::string(part.substr(0, 40)) + "..."};
    if (parts.size() == kMaxKeyDepth)
      return OsError{EINVAL,
                     "registry key path deeper than " + std::to_string(kMaxKeyDepth) + " levels",
                     std::string(key_path.substr(0, 60)) + "..."};
    parts.emplace_back(part);
  }
  return parts;
}

OsResult<RegistryTransaction> RegistryTransaction::Begin(const std::string& path, Mode mode) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) return OsError::FromCode(errno, path);
    if (mode == Mode::kRead) return RegistryTransaction(nullptr);
    if (OsError error = CreateStoreFile(path)) return error;
    if (::stat(path.c_str(), &info) != 0) return OsError::FromCode(errno, path);
  }
  OsResult<std::shared_ptr<RegistryConnection>> connection = Connect(path, info);
  if (!connection.IsOk()) return connection.Error();
  RegistryTransaction transaction(std::move(connection).Value());
  RegistryConnection& db = *transaction.connection_;
  if (!db.has_schema) {
    if (OsError error = db.CheckSchema(mode == Mode::kWrite)) return error;
  }
  // Taking the write lock at the start keeps two writers from deadlocking
  // on an upgrade, which no time-out could resolve.
  if (OsError error = db.Execute(mode == Mode::kWrite ? "BEGIN IMMEDIATE" : "BEGIN")) return error;
  transaction.open_ = true;
  return transaction;
}

RegistryTransaction::RegistryTransaction(std::shared_ptr<RegistryConnection> connection)
    : connection_(std::move(connection)) {}

RegistryTransaction::RegistryTransaction(RegistryTransaction&& other) noexcept
    : connection_(std::move(other.connection_)), open_(std::exchange(other.open_, false)) {}

RegistryTransaction::~RegistryTransaction() {
  if (!connection_) return;
  Finish("ROLLBACK");
  connection_->in_use.unlock();
}

void RegistryTransaction::Finish(const char* statement) {
  if (!open_) return;
  open_ = false;
  (void)connection_->Execute(statement);
}

OsResult<std::optional<RegistryKeyId>> RegistryTransaction::FindKey(
    uint32_t root, const std::vector<std::string>& parts) {
  std::optional<RegistryKeyId> key = RootKeyId(root);
  if (!key || !connection_ || !connection_->has_schema) return std::optional<RegistryKeyId>();
  for (const std::string& part : parts) {
    OsResult<sqlite3_stmt*> statement = connection_->Prepare(kFindKey);
    if (!statement.IsOk()) return statement.Error();
    sqlite3_stmt* find = statement.Value();
    std::string folded = Folded(part);
    sqlite3_bind_int64(find, 1, *key);
    sqlite3_bind_text(find, 2, folded.data(), static_cast<int>(folded.size()), SQLITE_STATIC);
    int result = sqlite3_step(find);
    if (result == SQLITE_DONE) return std::optional<RegistryKeyId>();
    if (result != SQLITE_ROW) return connection_->Failure();
    key = sqlite3_column_int64(find, 0);
    sqlite3_reset(find);
  }
  return key;
}

OsResult<RegistryKeyId> RegistryTransaction::CreateKey(uint32_t root,
                                                       const std::vector<std::string>& parts) {
  std::optional<RegistryKeyId> root_key = RootKeyId(root);
  if (!root_key) return OsError{EINVAL, "this registry root holds no keys", connection_->path};
  RegistryKeyId key = *root_key;
  for (size_t depth = 0; depth < parts.size(); ++depth) {
    OsResult<sqlite3_stmt*> statement = connection_->Prepare(kFindKey);
    if (!statement.IsOk()) return statement.Error();
    sqlite3_stmt* find = statement.Value();
    std::string folded = Folded(parts[depth]);
    sqlite3_bind_int64(find, 1, key);
    sqlite3_bind_text(find, 2, folded.data(), static_cast<int>(folded.size()), SQLITE_STATIC);
    int result = sqlite3_step(find);
    if (result == SQLITE_ROW) {
      key = sqlite3_column_int64(find, 0);
      sqlite3_reset(find);
      continue;
    }
    if (result != SQLITE_DONE) return connection_->Failure();
    OsResult<sqlite3_stmt*> insert_statement = connection_->Prepare(kInsertKey);
    if (!insert_statement.IsOk()) return insert_statement.Error();
    sqlite3_stmt* insert = insert_statement.Value();
    sqlite3_bind_int64(insert, 1, key);
    sqlite3_bind_text(insert, 2, parts[depth].data(), static_cast<int>(parts[depth].size()),
                      SQLITE_STATIC);
    sqlite3_bind_text(insert, 3, folded.data(), static_cast<int>(folded.size()), SQLITE_STATIC);
    if (OsError error = connection_->Run(insert)) return error;
    key = sqlite3_last_insert_rowid(connection_->db);
  }
  return key;
}

OsResult<std::optional<RegistryValue>> RegistryTransaction::ReadValue(RegistryKeyId key,
                                                                      const std::string& name) {
  if (!connection_ || !connection_->has_schema) return std::optional<RegistryValue>();
  OsResult<sqlite3_stmt*> statement = connection_->Prepare(kReadValue);
  if (!statement.IsOk()) return statement.Error();
  sqlite3_stmt* read = statement.Value();
  std::string folded = Folded(name);
  sqlite3_bind_int64(read, 1, key);
  sqlite3_bind_text(read, 2, folded.data(), static_cast<int>(folded.size()), SQLITE_STATIC);
  int result = sqlite3_step(read);
  if (result == SQLITE_DONE) return std::optional<RegistryValue>();
  if (result != SQLITE_ROW) return connection_->Failure();
  RegistryValue value;
  value.type = static_cast<uint32_t>(sqlite3_column_int64(read, 0));
  value.data = ColumnBytes(read, 1);
  sqlite3_reset(read);
  return std::optional<RegistryValue>(std::move(value));
}

OsError RegistryTransaction::WriteValue(RegistryKeyId key, const std::string& name,
                                        const RegistryValue& value) {
  OsResult<sqlite3_stmt*> statement = connection_->Prepare(kWriteValue);
  if (!statement.IsOk()) return statement.Error();
  sqlite3_stmt* write = statement.Value();
  std::string folded = Folded(name);
  sqlite3_bind_int64(write, 1, key);
  sqlite3_bind_text(write, 2, folded.data(), static_cast<int>(folded.size()), SQLITE_STATIC);
  sqlite3_bind_text(write, 3, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_int64(write, 4, value.type);
  // A zero-length blob bound from an empty string would be NULL.
  sqlite3_bind_blob64(write, 5, value.data.empty() ? "" : value.data.data(), value.data.size(),
                      SQLITE_STATIC);
  return connection_->Run(write);
}

OsResult<bool> RegistryTransaction::DeleteValue(RegistryKeyId key, const std::string& name) {
  OsResult<sqlite3_stmt*> statement = connection_->Prepare(kDeleteValue);
  if (!statement.IsOk()) return statement.Error();
  std::string folded = Folded(name);
  sqlite3_bind_int64(statement.Value(), 1, key);
  sqlite3_bind_text(statement.Value(), 2, folded.data(), static_cast<int>(folded.size()),
                    SQLITE_STATIC);
  if (OsError error = connection_->Run(statement.Value())) return error;
  return sqlite3_changes(connection_->db) > 0;
}

OsResult<bool> RegistryTransaction::HasSubKeys(RegistryKeyId key) {
  OsResult<sqlite3_stmt*> statement = connection_->Prepare(kFirstSubKey);
  if (!statement.IsOk()) return statement.Error();
  sqlite3_bind_int64(statement.Value(), 1, key);
  int result = sqlite3_step(statement.Value());
  sqlite3_reset(statement.Value());
  if (result != SQLITE_ROW && result != SQLITE_DONE) return connection_->Failure();
  return result == SQLITE_ROW;
}

OsError RegistryTransaction::DeleteKey(RegistryKeyId key) {
  for (Statement which : {kDeleteTreeValues, kDeleteTreeKeys}) {
    OsResult<sqlite3_stmt*> statement = connection_->Prepare(which);
    if (!statement.IsOk()) return statement.Error();
    sqlite3_bind_int64(statement.Value(), 1, key);
    if (OsError error = connection_->Run(statement.Value())) return error;
  }
  return {};
}

OsResult<std::vector<std::string>> RegistryTransaction::SubKeyNames(RegistryKeyId key) {
  std::vector<std::string> names;
  if (!connection_ || !connection_->has_schema) return names;
  OsResult<sqlite3_stmt*> statement = connection_->Prepare(kSubKeyNames);
  if (!statement.IsOk()) return statement.Error();
  sqlite3_bind_int64(statement.Value(), 1, key);
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement.Value())) == SQLITE_ROW)
    names.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement.Value(), 0)));
  sqlite3_reset(statement.Value());
  if (result != SQLITE_DONE) return connection_->Failure();
  return names;
}

OsResult<std::vector<std::pair<std::string, RegistryValue>>> RegistryTransaction::Values(
    RegistryKeyId key) {
  std::vector<std::pair<std::string, RegistryValue>> values;
  if (!connection_ || !connection_->has_schema) return values;
  OsResult<sqlite3_stmt*> statement = connection_->Prepare(kValues);
  if (!statement.IsOk()) return statement.Error();
  sqlite3_stmt* list = statement.Value();
  sqlite3_bind_int64(list, 1, key);
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(list)) == SQLITE_ROW) {
    RegistryValue value;
    value.type = static_cast<uint32_t>(sqlite3_column_int64(list, 1));
    value.data = ColumnBytes(list, 2);
    values.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(list, 0)),
                        std::move(value));
  }
  sqlite3_reset(list);
  if (result != SQLITE_DONE) return connection_->Failure();
  return values;
}

OsError RegistryTransaction::Commit() {
  if (!connection_ || !open_) return {};
  OsError error = connection_->Execute("COMMIT");
  if (!error) open_ = false;
  return error;
}

}  // namespace brivant::platform
