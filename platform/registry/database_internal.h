// One connection to the registry's file, and the statements that the registry is made of. The .cpp is the only place
// that knows the database library.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry/registry.h"

struct sqlite3;
struct sqlite3_stmt;

namespace registry {

/// Thrown within this folder for everything but a missing key or value; no call of the registry lets it out.
struct failure_t {
  status_t status;
};

/// "file: what: cause", as all texts of failures.
[[noreturn]] void Fail(code_t code, const std::string& file, std::string_view what, std::string_view cause = {});

/// Calls `each` with the names of a path, from the hive on, until it returns false. Returns whether it never did.
template <class Each>
bool ForEachName(std::u16string_view path, Each each) {
  while (!path.empty()) {
    const std::size_t end = path.find(u'\\');
    if (!each(path.substr(0, end))) return false;
    if (end == std::u16string_view::npos) break;
    path.remove_prefix(end + 1);
  }
  return true;
}

/// What a connection is wanted for. Only `make` makes a missing file; to the others it is an empty registry.
enum class purpose_t { read, change, make };

/// Used by one thread at a time. A file that is missing or of no bytes, and that need not be made, is an empty
/// registry.
class CDatabase {
 public:
  using key_id_t = std::int64_t;
  using take_value_t = std::function<void(std::uint32_t type, std::span<const std::uint8_t> bytes)>;

  /// Opens the file, and with `make` makes it and its folder. What is no registry is found out by Begin.
  CDatabase(const std::string& file, purpose_t purpose);
  CDatabase(const CDatabase&) = delete;
  CDatabase& operator=(const CDatabase&) = delete;
  ~CDatabase();

  /// Whether it is still what opening the file anew would give.
  bool IsCurrent(const std::string& file, purpose_t purpose) const;
  /// Nothing is known against it where there is no file.
  bool IsWritable() const;
  const std::string& GetFile() const noexcept { return file_; }
  void SetBusyTimeout(int timeoutMs);

  /// `isOneCall`: it may begin later, or not at all, when a single statement is all that is read.
  void Begin(purpose_t purpose, bool isOneCall);
  void Commit();
  void Rollback() noexcept;

  // In a transaction. Paths and names are well-formed.

  std::optional<key_id_t> FindKey(hive_t hive, std::u16string_view path);
  /// Finds or makes it, and those above it.
  key_id_t MakeKey(hive_t hive, std::u16string_view path, bool& wasCreated);
  bool HasSubkeys(key_id_t key);
  std::vector<CString> ListSubkeys(key_id_t key);
  /// With all beneath it.
  void DeleteKey(key_id_t key);
  enum found_t { noKey, noValue, value };
  /// Gives the value to `take`; the bytes are the database's own, and may not be kept.
  found_t ReadValue(hive_t hive, std::u16string_view path, std::u16string_view name, const take_value_t& take);
  std::vector<named_value_t> ListValues(key_id_t key);
  void WriteValue(key_id_t key, std::u16string_view name, type_t type, const void* data, std::size_t size);
  bool DeleteValue(key_id_t key, std::u16string_view name);

 private:
  enum statement_t : std::size_t;
  static constexpr std::size_t kStatementCount = 16;
  class CQuery;

  static int Wait(void* database, int looks) noexcept;
  void Check(int result, const char* doing);
  void Execute(const char* sql, const char* doing);
  std::int64_t ReadNumber(const char* sql);
  void MakeTables();
  void BeginNow();
  bool IsInTransaction() const;
  unsigned GetVersion();
  std::optional<key_id_t> FindSubkey(key_id_t parent, std::u16string_view name);

  std::string file_;
  sqlite3* database_ = nullptr;  // null: an empty registry
  std::uint64_t device_ = 0;
  std::uint64_t inode_ = 0;
  int timeoutMs_ = 0;
  std::chrono::steady_clock::time_point deadline_;
  bool isChecked_ = false;  // it is a registry
  bool isEmpty_ = true;     // it has no tables
  bool mayBegin_ = false;   // the transaction begins when more than one statement needs it
  // Where the keys of values that were read lately are, as long as nobody has written.
  std::array<std::map<std::u16string, key_id_t, std::less<>>, 2> places_;
  unsigned placesVersion_ = 0;
  std::array<sqlite3_stmt*, kStatementCount> statements_{};
};

}  // namespace registry
