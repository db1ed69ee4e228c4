#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <system_error>
#include <thread>

#include "platform/framework/folder_handle_internal.h"
#include "platform/framework/system_error_internal.h"
#include "platform/registry/database_internal.h"
#include "platform/text/collation.h"

namespace registry {

namespace {

// What makes a file of the database library a registry, in its header; the form is that of the tables below.
constexpr std::int64_t kApplicationId = 0x5A52'4731;
constexpr std::int64_t kForm = 1;

constexpr const char* kTables =
    "CREATE TABLE keys(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, name TEXT NOT NULL COLLATE family,"
    " UNIQUE(parent, name));"
    "CREATE TABLE vals(key INTEGER NOT NULL, name TEXT NOT NULL COLLATE family, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, PRIMARY KEY(key, name)) WITHOUT ROWID;";

// Names in the order of the family. The database hands out texts at odd addresses, and those of a damaged file may have
// any length: what goes beyond the longest name does not count.
class CAlignedName {
 public:
  CAlignedName(int bytes, const void* text) noexcept
      : length_(std::min(static_cast<std::size_t>(bytes) / 2, std::size(units_))) {
    std::memcpy(units_, text, 2 * length_);
  }
  std::u16string_view View() const noexcept { return {units_, length_}; }

 private:
  std::size_t length_;
  char16_t units_[16384];
};

int CompareNames(void*, int bytesA, const void* a, int bytesB, const void* b) noexcept {
  return collation::CompareNoCase(CAlignedName(bytesA, a).View(), CAlignedName(bytesB, b).View());
}

// Keys directly below a hive have it as their parent.
CDatabase::key_id_t IdOf(hive_t hive) noexcept { return -static_cast<CDatabase::key_id_t>(hive & 0xFF); }

code_t CodeOfSystemError(int error) noexcept {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return code_t::diskFull;
    case EACCES:
    case EPERM:
    case EROFS: return code_t::accessDenied;
    default: return code_t::ioFailed;
  }
}

}  // namespace

void Fail(code_t code, const std::string& file, std::string_view what, std::string_view cause) {
  std::string text = file + ": ";
  text += what;
  if (!cause.empty()) (text += ": ") += cause;
  throw failure_t{{code, std::move(text)}};
}

// --- statements ----------------------------------------------------------------------------------------------------

enum CDatabase::statement_t : std::size_t {
  kBeginRead,
  kBeginWrite,
  kCommit,
  kFindKey,
  kMakeKey,
  kHasSubkeys,
  kListSubkeys,
  kDeleteValuesOfTree,
  kDeleteKeysOfTree,
  kReadValue,
  kListValues,
  kWriteValue,
  kDeleteValue,
};

namespace {

// UNION, not UNION ALL: a damaged file may hold a key that is beneath itself.
#define TREE \
  "WITH RECURSIVE tree(id) AS (VALUES(?1) UNION SELECT keys.id FROM tree JOIN keys ON keys.parent = tree.id) "
constexpr const char* kStatements[] = {
    "BEGIN",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "SELECT id FROM keys WHERE parent = ?1 AND name = ?2",
    "INSERT INTO keys(parent, name) VALUES(?1, ?2)",
    "SELECT 1 FROM keys WHERE parent = ?1 LIMIT 1",
    "SELECT name FROM keys WHERE parent = ?1 ORDER BY name",
    TREE "DELETE FROM vals WHERE key IN tree",
    TREE "DELETE FROM keys WHERE id IN tree",
    "SELECT type, data FROM vals WHERE key = ?1 AND name = ?2",
    "SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY name",
    ("INSERT INTO vals VALUES(?1, ?2, ?3, ?4)"
     " ON CONFLICT(key, name) DO UPDATE SET type = excluded.type, data = excluded.data"),
    "DELETE FROM vals WHERE key = ?1 AND name = ?2",
};
#undef TREE

}  // namespace

// A statement with its parameters, for as long as its rows are read.
class CDatabase::CQuery {
 public:
  CQuery(CDatabase& owner, statement_t which, const char* doing) : owner_(owner), doing_(doing) {
    static_assert(std::size(kStatements) <= kStatementCount);
    sqlite3_stmt*& statement = owner.statements_[which];
    if (statement == nullptr) {
      owner.Check(
          sqlite3_prepare_v3(owner.database_, kStatements[which], -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr),
          doing);
    }
    statement_ = statement;
  }
  CQuery(const CQuery&) = delete;
  CQuery& operator=(const CQuery&) = delete;
  ~CQuery() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }

  // What is bound outlives the query.
  CQuery& Bind(int index, std::int64_t number) {
    owner_.Check(sqlite3_bind_int64(statement_, index, number), doing_);
    return *this;
  }
  CQuery& Bind(int index, std::u16string_view text) {
    owner_.Check(sqlite3_bind_text64(statement_, index, reinterpret_cast<const char*>(text.empty() ? u"" : text.data()),
                                     2 * text.size(), SQLITE_STATIC, SQLITE_UTF16),
                 doing_);
    return *this;
  }
  CQuery& Bind(int index, const void* bytes, std::size_t size) {
    owner_.Check(sqlite3_bind_blob64(statement_, index, size == 0 ? "" : bytes, size, SQLITE_STATIC), doing_);
    return *this;
  }

  /// Whether there is a row, or another one.
  bool Step() {
    const int result = sqlite3_step(statement_);
    if (result != SQLITE_ROW && result != SQLITE_DONE) owner_.Check(result, doing_);
    return result == SQLITE_ROW;
  }

  std::int64_t Number(int column) { return sqlite3_column_int64(statement_, column); }
  CString Text(int column) {
    const auto* const units = static_cast<const char16_t*>(sqlite3_column_text16(statement_, column));
    CheckMemory(units);
    return CString(units, sqlite3_column_bytes16(statement_, column) / 2);
  }
  std::span<const std::uint8_t> Bytes(int column) {
    const void* const bytes = sqlite3_column_blob(statement_, column);
    const int size = sqlite3_column_bytes(statement_, column);
    CheckMemory(bytes);
    return {static_cast<const std::uint8_t*>(bytes), bytes == nullptr ? 0 : static_cast<std::size_t>(size)};
  }

 private:
  // Null stands for no bytes as well as for no memory.
  void CheckMemory(const void* column) {
    if (column == nullptr && sqlite3_errcode(owner_.database_) == SQLITE_NOMEM) throw std::bad_alloc();
  }

  CDatabase& owner_;
  const char* doing_;
  sqlite3_stmt* statement_ = nullptr;
};

// --- the connection ------------------------------------------------------------------------------------------------

CDatabase::CDatabase(const std::string& file, purpose_t purpose) : file_(file) {
  struct stat found {};
  if (::stat(file.c_str(), &found) != 0) {
    const int error = errno;
    const bool isMissing = error == ENOENT || error == ENOTDIR;
    if (!isMissing) Fail(CodeOfSystemError(error), file_, "open", TextOfSystemError(error));
    if (purpose != purpose_t::make) return;
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
    if (const std::error_code failed = zorplatform::MakeFolders(folder)) {
      Fail(CodeOfSystemError(failed.value()), file_, "make its folder", failed.message());
    }
    // The database library tries to read what it may not make, and then tells that there is no such file.
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) != 0) {
      Fail(CodeOfSystemError(errno), file_, "make", TextOfSystemError(errno));
    }
  } else if (!S_ISREG(found.st_mode)) {
    Fail(code_t::badDatabase, file_, "open", "not a regular file");
  } else if (found.st_size == 1) {
    Fail(code_t::badDatabase, file_, "open", "not a registry");  // what the database takes for empty
  } else if (found.st_size == 0 && purpose != purpose_t::make) {
    return;
  }

  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE |
                    (purpose == purpose_t::make ? SQLITE_OPEN_CREATE : 0);
  try {
    Check(sqlite3_open_v2(file.c_str(), &database_, flags, nullptr), "open");
    // Nothing that a prepared file could bring along is run.
    sqlite3_db_config(database_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    Check(sqlite3_create_collation_v2(database_, "family", SQLITE_UTF16, nullptr, CompareNames, nullptr), "open");
    if (::stat(file.c_str(), &found) == 0) {
      device_ = found.st_dev;
      inode_ = found.st_ino;
    }
  } catch (...) {
    sqlite3_close_v2(database_);
    throw;
  }
}

CDatabase::~CDatabase() {
  for (sqlite3_stmt* const statement : statements_) sqlite3_finalize(statement);
  sqlite3_close_v2(database_);
}

bool CDatabase::IsCurrent(const std::string& file, purpose_t purpose) const {
  struct stat found {};
  return database_ != nullptr && (purpose == purpose_t::read || IsWritable()) && file == file_ &&
         ::stat(file.c_str(), &found) == 0 && found.st_dev == device_ && found.st_ino == inode_ && found.st_size != 0;
}

bool CDatabase::IsWritable() const { return database_ == nullptr || sqlite3_db_readonly(database_, "main") == 0; }

void CDatabase::SetBusyTimeout(int timeoutMs) {
  timeoutMs_ = timeoutMs;
  if (database_ != nullptr) sqlite3_busy_handler(database_, Wait, this);
}

// Looks often: the lock is free for moments only while others write without a pause, and nobody queues for it.
int CDatabase::Wait(void* database, int looks) noexcept {
  CDatabase& self = *static_cast<CDatabase*>(database);
  const auto now = std::chrono::steady_clock::now();
  if (looks == 0) self.deadline_ = now + std::chrono::milliseconds(self.timeoutMs_);
  if (now >= self.deadline_) return 0;
  std::this_thread::sleep_for(std::chrono::microseconds(looks < 20 ? 100 : looks < 200 ? 500 : 2000));
  return 1;
}

void CDatabase::Check(int result, const char* doing) {
  if (result == SQLITE_OK) return;
  int system = database_ == nullptr ? 0 : sqlite3_system_errno(database_);
  const bool isDamage = (result & 0xFF) == SQLITE_CORRUPT;
  if (database_ != nullptr && ((system == 0 && (result & 0xFF) == SQLITE_IOERR) || isDamage)) {
    sqlite3_file_control(database_, "main", SQLITE_FCNTL_LAST_ERRNO, &system);
  }
  // A device that cannot be read now passes for a damaged file there.
  if (isDamage && system == EIO) Fail(code_t::ioFailed, file_, doing, TextOfSystemError(system));
  const std::string cause = database_ == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(database_);
  if (result == SQLITE_IOERR_NOMEM) throw std::bad_alloc();
  switch (result & 0xFF) {
    case SQLITE_NOMEM: throw std::bad_alloc();
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      Fail(code_t::lockViolation, file_, doing,
           "another program has locked it for longer than " + std::to_string(timeoutMs_) + " ms");
    case SQLITE_READONLY:
      Fail(code_t::accessDenied, file_, doing,
           result == SQLITE_READONLY_ROLLBACK
               ? "a write that was broken off must be put back by a program that may write"
               : "this program may only read it");
    case SQLITE_PERM:
    case SQLITE_AUTH: Fail(code_t::accessDenied, file_, doing, cause);
    case SQLITE_FULL: Fail(code_t::diskFull, file_, doing, "the disk is full");
    case SQLITE_TOOBIG: Fail(code_t::invalidParameter, file_, doing, "too long");
    case SQLITE_CANTOPEN:
      // Where a file cannot be made the database tries to read it, and tells of that.
      if (system == ENOENT) Fail(code_t::ioFailed, file_, doing, "it, or its journal beside it, cannot be made");
      [[fallthrough]];
    case SQLITE_IOERR: Fail(CodeOfSystemError(system), file_, doing, system == 0 ? cause : TextOfSystemError(system));
    default: Fail(code_t::badDatabase, file_, doing, "not a registry, or damaged (" + cause + ")");
  }
}

void CDatabase::Execute(const char* sql, const char* doing) {
  Check(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr), doing);
}

std::int64_t CDatabase::ReadNumber(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  Check(sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr), "read");
  const int result = sqlite3_step(statement);
  const std::int64_t number = result == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : 0;
  sqlite3_finalize(statement);
  if (result != SQLITE_ROW && result != SQLITE_DONE) Check(result, "read");
  return number;
}

void CDatabase::Begin(purpose_t purpose, bool isOneCall) {
  const bool forWriting = purpose != purpose_t::read;
  if (database_ == nullptr) return;
  mayBegin_ = isOneCall && !forWriting && isChecked_;
  if (mayBegin_) return;
  if (!isChecked_) {
    // Outside of a transaction, where they count. The encoding is that of a file that is yet to be made.
    Execute(
        "PRAGMA encoding = 'UTF-16le'; PRAGMA synchronous = EXTRA; PRAGMA cell_size_check = ON;"
        "PRAGMA temp_store = MEMORY",
        "open");
  }
  CQuery(*this, forWriting ? kBeginWrite : kBeginRead, forWriting ? "write" : "read").Step();
  if (isChecked_) return;
  const std::int64_t id = ReadNumber("PRAGMA application_id");
  const std::int64_t form = ReadNumber("PRAGMA user_version");
  isEmpty_ = false;
  if (id == 0 && ReadNumber("PRAGMA page_count") <= 1 && ReadNumber("SELECT count(*) FROM sqlite_schema") == 0) {
    // Nobody has written yet, or who did was killed.
    isEmpty_ = !forWriting;
    if (forWriting) MakeTables();
  } else if (id != kApplicationId) {
    Fail(code_t::badDatabase, file_, "open", "a database, but not a registry");
  } else if (form != kForm) {
    Fail(code_t::badDatabase, file_, "open",
         "a registry of form " + std::to_string(form) + ", and this program knows form " + std::to_string(kForm));
  } else if (struct stat found{}; ::stat(file_.c_str(), &found) == 0 &&
                                  found.st_size < ReadNumber("PRAGMA page_count") * ReadNumber("PRAGMA page_size")) {
    // The database takes what is missing of its last page for zeros.
    Fail(code_t::badDatabase, file_, "open", "a part of the file is missing");
  }
  isChecked_ = !isEmpty_;
}

void CDatabase::MakeTables() {
  Execute(kTables, "make");
  Execute(("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str(), "make");
  Execute(("PRAGMA user_version = " + std::to_string(kForm)).c_str(), "make");
}

void CDatabase::Commit() {
  mayBegin_ = false;
  if (IsInTransaction()) CQuery(*this, kCommit, "write").Step();
}

void CDatabase::BeginNow() {
  if (mayBegin_) CQuery(*this, kBeginRead, "read").Step();
  mayBegin_ = false;
}

void CDatabase::Rollback() noexcept {
  mayBegin_ = false;
  if (!IsInTransaction()) return;
  sqlite3_exec(database_, "ROLLBACK", nullptr, nullptr, nullptr);
  isChecked_ = false;  // the tables may have been of this transaction
}

bool CDatabase::IsInTransaction() const { return database_ != nullptr && sqlite3_get_autocommit(database_) == 0; }

// --- keys and values -----------------------------------------------------------------------------------------------

std::optional<CDatabase::key_id_t> CDatabase::FindSubkey(key_id_t parent, std::u16string_view name) {
  CQuery query(*this, kFindKey, "read");
  return query.Bind(1, parent).Bind(2, name).Step() ? std::optional(query.Number(0)) : std::nullopt;
}

std::optional<CDatabase::key_id_t> CDatabase::FindKey(hive_t hive, std::u16string_view path) {
  BeginNow();
  key_id_t key = IdOf(hive);
  const bool isThere = ForEachName(path, [&](std::u16string_view name) {
    if (isEmpty_) return false;
    const std::optional<key_id_t> next = FindSubkey(key, name);
    key = next.value_or(0);
    return next.has_value();
  });
  return isThere ? std::optional(key) : std::nullopt;
}

CDatabase::key_id_t CDatabase::MakeKey(hive_t hive, std::u16string_view path, bool& wasCreated) {
  key_id_t key = IdOf(hive);
  wasCreated = false;
  ForEachName(path, [&](std::u16string_view name) {
    const std::optional<key_id_t> there = FindSubkey(key, name);
    wasCreated = !there;
    if (wasCreated) {
      CQuery(*this, kMakeKey, "write").Bind(1, key).Bind(2, name).Step();
      key = sqlite3_last_insert_rowid(database_);
    } else {
      key = *there;
    }
    return true;
  });
  return key;
}

bool CDatabase::HasSubkeys(key_id_t key) { return CQuery(*this, kHasSubkeys, "read").Bind(1, key).Step(); }

std::vector<CString> CDatabase::ListSubkeys(key_id_t key) {
  std::vector<CString> names;
  if (isEmpty_) return names;
  CQuery query(*this, kListSubkeys, "read");
  query.Bind(1, key);
  while (query.Step()) names.push_back(query.Text(0));
  return names;
}

void CDatabase::DeleteKey(key_id_t key) {
  CQuery(*this, kDeleteValuesOfTree, "write").Bind(1, key).Step();
  CQuery(*this, kDeleteKeysOfTree, "write").Bind(1, key).Step();
}

unsigned CDatabase::GetVersion() {
  unsigned version = 0;
  sqlite3_file_control(database_, "main", SQLITE_FCNTL_DATA_VERSION, &version);
  return version;
}

CDatabase::found_t CDatabase::ReadValue(hive_t hive, std::u16string_view path, std::u16string_view name,
                                        const take_value_t& take) {
  if (isEmpty_) return path.empty() ? noValue : noKey;
  auto& places = places_[hive & 1];
  const auto read = [&](key_id_t key, bool isRemembered) -> std::optional<found_t> {
    CQuery query(*this, kReadValue, "read");
    const bool isThere = query.Bind(1, key).Bind(2, name).Step();
    // The statement has locked the file: what is remembered is right now, or it is not.
    if (isRemembered && GetVersion() != placesVersion_) return std::nullopt;
    if (isThere) take(static_cast<std::uint32_t>(query.Number(0)), query.Bytes(1));
    return isThere ? value : noValue;
  };
  const bool isAlone = mayBegin_;  // the only call of its transaction, which writes nothing
  if (isAlone) {
    if (const auto place = places.find(path); place != places.end()) {
      if (const std::optional<found_t> found = read(place->second, true)) return *found;
    }
  }
  const std::optional<key_id_t> key = FindKey(hive, path);
  if (!key) return noKey;
  const found_t found = *read(*key, false);
  if (isAlone) {
    constexpr std::size_t kMaxPlaces = 256;
    if (places.size() == kMaxPlaces || GetVersion() != placesVersion_) {
      for (auto& each : places_) each.clear();
      placesVersion_ = GetVersion();
    }
    places.emplace(path, *key);
  }
  return found;
}

std::vector<named_value_t> CDatabase::ListValues(key_id_t key) {
  std::vector<named_value_t> values;
  if (isEmpty_) return values;
  CQuery query(*this, kListValues, "read");
  query.Bind(1, key);
  while (query.Step()) {
    const std::span<const std::uint8_t> bytes = query.Bytes(2);
    values.push_back({query.Text(0), {static_cast<type_t>(query.Number(1)), {bytes.begin(), bytes.end()}}});
  }
  return values;
}

void CDatabase::WriteValue(key_id_t key, std::u16string_view name, type_t type, const void* data, std::size_t size) {
  CQuery(*this, kWriteValue, "write").Bind(1, key).Bind(2, name).Bind(3, type).Bind(4, data, size).Step();
}

bool CDatabase::DeleteValue(key_id_t key, std::u16string_view name) {
  if (isEmpty_) return false;
  CQuery(*this, kDeleteValue, "write").Bind(1, key).Bind(2, name).Step();
  return sqlite3_changes(database_) != 0;
}

}  // namespace registry
