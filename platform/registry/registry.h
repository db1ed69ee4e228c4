// The machine-wide registry: a tree of keys with typed values, in one file that all programs of the machine share.
//
//   registry::CKey key;
//   if (key.Create(registry::HKEY_LOCAL_MACHINE, u"Software\\Acme\\Gateway\\6.1", registry::KEY_READ_WRITE)) {
//     registry::status_t done = key.SetValue(u"Port", registry::value_t::FromDword(49320));
//     if (!done) Log(done.text);                           // "/var/lib/zorutil/registry.db: the disk is full ..."
//   }
//
// Names. A path is names of keys separated by "\"; the empty path is the hive itself. Letter case does not count (the
// family's order of names, platform/text/collation.h) but is kept. The name of a key has 1 to 255 units, that of a
// value 0 to 16383 (the empty name is the key's default value); neither holds a NUL; keys nest 512 deep at most. A byte
// order mark at the beginning of a name is dropped. "/" is a character like others.
//
// The file is what SetRegistryFile was given; else what the environment variable ZORUTIL_REGISTRY_FILE says, unless the
// program runs with more rights than its user; else zorutil\registry.db in the machine's folder for data
// (zorplatform/known_folders.h: \var\lib), as that is when the registry is first used. A missing file, or one of no
// bytes, reads as empty; the first write makes it, with its folder. Whoever may read the file may use its keys with
// KEY_READ, and no reader ever writes, but for one: when a writer was killed, the next program with the right to write
// puts its half-done write back; until then a reader without that right is told accessDenied.
//
// Every call is a transaction of its own, or part of the CTransaction that its thread has begun: done whole or not at
// all, and on the disk when the call returns, whatever happens to the program or the machine then. Any number of
// programs and threads may read and write at once; a call waits for another program's write, up to the busy timeout.
//
// Errors come as a status_t: a code, and a text in English that names the file and the cause; it is never worth more
// than a log line. Nothing throws but for std::bad_alloc. What a call fills is untouched when it fails, unless it says
// otherwise.
//
// Forks. A child may use the registry, with keys that it inherited too. Two exceptions: one that was forked while its
// thread had a CTransaction, or another thread's call lasted longer than a moment, is told invalidHandle by every call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/registry/value.h"

namespace registry {

// --- words ---------------------------------------------------------------------------------------------------------

/// The trees that there are, with the numbers that the family's programs know them by.
enum hive_t : std::uint32_t { HKEY_LOCAL_MACHINE = 0x80000002, HKEY_USERS = 0x80000003 };

/// "HKEY_LOCAL_MACHINE"; null for a number that is no hive.
ZORPLATFORM_API const char16_t* GetHiveName(hive_t hive) noexcept;

/// What may be done through a key. There is no right to write alone.
enum access_t : std::uint32_t { KEY_READ = 0x20019, KEY_READ_WRITE = 0x2001F };

/// The numbers that programs of this family log and compare.
enum class code_t : std::int32_t {
  success = 0,
  fileNotFound = 2,       ///< no such key or value, or the key was deleted
  accessDenied = 5,       ///< the key was opened for reading, or the system refuses the file
  invalidHandle = 6,      ///< the key is not open, the transaction has not begun, or a fork stands between
  lockViolation = 33,     ///< another program held the file for longer than the busy timeout
  invalidParameter = 87,  ///< a name, type or size that cannot be
  diskFull = 112,
  badPathname = 161,      ///< an empty name in a path, or one that is too long
  moreData = 234,         ///< the buffer is too small; the size that is needed was given
  badDatabase = 1009,     ///< the file is not a registry, is of a newer form, or was damaged
  ioFailed = 1016,        ///< the system's disk or file operations failed
  keyHasChildren = 1020,  ///< DeleteKey of a key that has subkeys
  alreadyExists = 183,    ///< the thread has a transaction
};

/// How a call ended. It must be looked at: true is success.
struct [[nodiscard]] status_t {
  code_t code = code_t::success;  ///< what a program acts on
  std::string text;               ///< empty for success

  /// Success.
  explicit operator bool() const noexcept { return code == code_t::success; }
};

/// A value may have this many bytes.
inline constexpr std::size_t kMaxDataSize = std::size_t{64} << 20;

/// A value of a key, by its name.
struct named_value_t {
  CString name;   ///< empty for the key's default value
  value_t value;  ///< any type, any bytes

  bool operator==(const named_value_t&) const = default;
};

// --- keys ----------------------------------------------------------------------------------------------------------

/// A key of the tree, by its path: a key that is deleted answers fileNotFound, and works again when it is made again.
/// Moved, not copied. One thread at a time may open, move or close it; any number may use it.
class ZORPLATFORM_API CKey {
 public:
  CKey() noexcept = default;
  CKey(CKey&& other) noexcept;
  CKey& operator=(CKey&& other) noexcept;
  ~CKey();

  /// Opens a key that is there; never makes one. KEY_READ_WRITE is refused (accessDenied) where the file cannot be
  /// written. After a failure the object is closed.
  status_t Open(hive_t hive, std::u16string_view path, access_t access = KEY_READ);
  /// Opens a key, and makes it, and those above it, when it is not there. `wasCreated`, when given, tells which.
  status_t Create(hive_t hive, std::u16string_view path, access_t access = KEY_READ_WRITE, bool* wasCreated = nullptr);
  /// The same for a path below a key, whose own rights do not count. `parent` may be this object.
  /// @{
  status_t Open(const CKey& parent, std::u16string_view path, access_t access = KEY_READ);
  status_t Create(const CKey& parent, std::u16string_view path, access_t access = KEY_READ_WRITE,
                  bool* wasCreated = nullptr);
  /// @}
  /// The object stands for no key then. Nothing happens when it is closed.
  void Close() noexcept;

  /// True from a successful Open or Create until Close, a failed Open, or a move away.
  bool IsOpen() const noexcept { return access_ != 0; }
  /// Says nothing for a closed key.
  hive_t GetHive() const noexcept { return hive_; }
  /// Below the hive, as it was given; empty for the hive itself and for a closed key.
  const CString& GetPath() const noexcept { return path_; }

  // --- values: KEY_READ

  /// The value with its type; fileNotFound when the key has none of that name.
  status_t QueryValue(std::u16string_view name, value_t& value) const;
  /// The same in the shape of the family's own calls. `type` may be null. `size` is the room at `data` in bytes, and
  /// afterwards the size of the value; with a null `data` only type and size are given. Too little room is moreData:
  /// type and size are given, what is at `data` stays as it was, and the value may have grown again before the next
  /// call.
  status_t QueryValue(std::u16string_view name, std::uint32_t* type, void* data, std::uint32_t* size) const;
  /// All values, in the order of their names, as they were at one moment.
  status_t GetValues(std::vector<named_value_t>& values) const;

  // --- values: KEY_READ_WRITE

  /// Makes or replaces the value; one that is there keeps the letter case of its name.
  status_t SetValue(std::u16string_view name, const value_t& value);
  /// The same; `data` may be null when `size` is 0.
  status_t SetValue(std::u16string_view name, type_t type, const void* data, std::size_t size);
  /// fileNotFound when there is none of that name.
  status_t DeleteValue(std::u16string_view name);

  // --- subkeys

  /// The names of the keys directly below, in their order, as they were at one moment. KEY_READ.
  status_t GetSubkeys(std::vector<CString>& names) const;
  /// Deletes a key below this one, with its values; keyHasChildren when it has subkeys. KEY_READ_WRITE. An empty path,
  /// which would be this key itself, is badPathname.
  status_t DeleteKey(std::u16string_view path);
  /// The same, with everything beneath it.
  status_t DeleteTree(std::u16string_view path);

 private:
  void Take(hive_t hive, CString path, access_t access) noexcept;
  status_t CheckAccess(access_t wanted) const;
  status_t Delete(std::u16string_view path, bool withSubkeys);

  hive_t hive_ = HKEY_LOCAL_MACHINE;
  std::uint32_t access_ = 0;  // 0 while it is closed
  CString path_;
};

/// One value in one step: what Open for reading and QueryValue would give, for about half of their time.
ZORPLATFORM_API status_t QueryValue(hive_t hive, std::u16string_view path, std::u16string_view name, value_t& value);

// --- many calls as one ---------------------------------------------------------------------------------------------

/// While it lasts, every call of the thread that began it belongs to it: what is read is of one moment, what is written
/// is written whole by Commit, or not at all. It keeps to the file that was the registry's when it began.
/// Ended on the thread that began it; a thread has one at a time.
class ZORPLATFORM_API CTransaction {
 public:
  /// What a transaction is for.
  enum kind_t {
    read,   ///< what others write waits for the end; a write of its own is accessDenied
    write,  ///< others may read what was there before
  };

  CTransaction() noexcept;
  CTransaction(const CTransaction&) = delete;
  CTransaction& operator=(const CTransaction&) = delete;
  /// Undoes what was not committed.
  ~CTransaction();

  /// alreadyExists when the thread has one. One for writing makes the file when it is missing.
  status_t Begin(kind_t kind = write);
  /// Ends it, with success or not. A call in it that failed for more than a missing or ill-named key or value ends it
  /// in effect: later calls, and Commit, give that failure, and nothing is written.
  status_t Commit();
  /// Undoes it. Nothing happens when it has not begun.
  void Rollback() noexcept;

 private:
  struct state_t;
  std::unique_ptr<state_t> state_;
};

// --- where it is ---------------------------------------------------------------------------------------------------

/// A path text. Any number of threads, as long as none changes the environment.
ZORPLATFORM_API CString GetRegistryFile();
/// From now on the registry of the whole process, keys that are open included. An empty text takes it back.
ZORPLATFORM_API void SetRegistryFile(const CString& path);
/// How long a call waits for other programs, in milliseconds; 5000 at first. 0 does not wait.
ZORPLATFORM_API void SetBusyTimeout(int timeoutMs);

}  // namespace registry
