#include "platform/registry/registry.h"

#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "platform/registry/store_internal.h"
#include "platform/text/utf.h"

namespace registry {

namespace {

constexpr std::size_t kMaxKeyName = 255;
constexpr std::size_t kMaxValueName = 16383;
constexpr std::size_t kMaxDepth = 512;

std::string FullName(hive_t hive, std::u16string_view path) {
  const char16_t* const name = GetHiveName(hive);
  std::string text = name == nullptr ? "an unknown hive" : utf::ToUtf8(name);
  if (!path.empty()) text += '\\' + utf::ToUtf8(path);
  return text;
}

// Texts that name no file: what is wrong is found before one is touched.
status_t BadPath(hive_t hive, std::u16string_view path, const char* cause) {
  return {code_t::badPathname, FullName(hive, path) + ": " + cause};
}

status_t NoKey(const CDatabase& database, hive_t hive, std::u16string_view path) {
  return {code_t::fileNotFound, database.GetFile() + ": " + FullName(hive, path) + ": no such key"};
}

status_t NoValue(const CDatabase& database, hive_t hive, std::u16string_view path, std::u16string_view name) {
  return {code_t::fileNotFound,
          database.GetFile() + ": " + FullName(hive, path) + ": no value \"" + utf::ToUtf8(name) + "\""};
}

// What follows the checks of a call: the key is found, then `work(database, id)` runs.
template <class Work>
status_t WithKey(purpose_t purpose, hive_t hive, std::u16string_view path, Work work) {
  return Run(purpose, [&](CDatabase& database) {
    const std::optional<CDatabase::key_id_t> key = database.FindKey(hive, path);
    return key ? work(database, *key) : NoKey(database, hive, path);
  });
}

// Finds a value and gives it to `take`.
status_t WithValue(hive_t hive, std::u16string_view path, std::u16string_view name,
                   const CDatabase::take_value_t& take) {
  if (status_t status = CheckName(name); !status) return status;
  return Run(purpose_t::read, [&](CDatabase& database) -> status_t {
    switch (database.ReadValue(hive, path, name, take)) {
      case CDatabase::noKey: return NoKey(database, hive, path);
      case CDatabase::noValue: return NoValue(database, hive, path, name);
      case CDatabase::value: break;
    }
    return {};
  });
}

CString Joined(const CString& path, std::u16string_view below) {
  if (path.IsEmpty()) return CString(below);
  return below.empty() ? path : path + u'\\' + below;
}

}  // namespace

status_t CheckPath(hive_t hive, std::u16string_view path) {
  if (GetHiveName(hive) == nullptr) return {code_t::invalidParameter, FullName(hive, path)};
  std::size_t depth = 0;
  const bool isGood = ForEachName(path, [&](std::u16string_view name) {
    return !name.empty() && name.size() <= kMaxKeyName && name.find(u'\0') == name.npos && ++depth <= kMaxDepth;
  });
  if (isGood && !path.ends_with(u'\\')) return {};
  return BadPath(
      hive, path,
      depth > kMaxDepth ? "more than 512 keys deep" : "each name in a path has 1 to 255 characters, none NUL");
}

status_t CheckName(std::u16string_view name) {
  if (name.size() <= kMaxValueName && name.find(u'\0') == name.npos) return {};
  return {code_t::invalidParameter, "the name of a value has at most 16383 characters, none of them NUL"};
}

const char16_t* GetHiveName(hive_t hive) noexcept {
  switch (hive) {
    case HKEY_LOCAL_MACHINE: return u"HKEY_LOCAL_MACHINE";
    case HKEY_USERS: return u"HKEY_USERS";
  }
  return nullptr;
}

// --- opening -------------------------------------------------------------------------------------------------------

CKey::CKey(CKey&& other) noexcept
    : hive_(other.hive_), access_(std::exchange(other.access_, 0)), path_(std::move(other.path_)) {}

CKey& CKey::operator=(CKey&& other) noexcept {
  hive_ = other.hive_;
  access_ = std::exchange(other.access_, 0);
  path_ = std::move(other.path_);
  return *this;
}

CKey::~CKey() = default;

void CKey::Close() noexcept {
  access_ = 0;
  path_.Empty();
}

status_t CKey::Open(hive_t hive, std::u16string_view path, access_t access) {
  CString opened(path);
  Close();
  if (status_t status = CheckPath(hive, opened); !status) return status;
  status_t status = WithKey(purpose_t::read, hive, opened, [&](CDatabase& database, CDatabase::key_id_t) -> status_t {
    if (access == KEY_READ || database.IsWritable()) return {};
    return {code_t::accessDenied, database.GetFile() + ": " + FullName(hive, opened) +
                                      ": opening it for writing: this program may only read the file"};
  });
  if (status) Take(hive, std::move(opened), access);
  return status;
}

status_t CKey::Create(hive_t hive, std::u16string_view path, access_t access, bool* wasCreated) {
  const CString made(path);
  status_t status = Open(hive, made, access);
  bool isNew = false;
  if (status.code == code_t::fileNotFound) {
    status = Run(purpose_t::make, [&](CDatabase& database) -> status_t {
      database.MakeKey(hive, made, isNew);
      return {};
    });
    if (status) Take(hive, made, access);
  }
  if (status && wasCreated != nullptr) *wasCreated = isNew;
  return status;
}

void CKey::Take(hive_t hive, CString path, access_t access) noexcept {
  hive_ = hive;
  access_ = access;
  path_ = std::move(path);
}

status_t CKey::CheckAccess(access_t wanted) const {
  if (!IsOpen()) return {code_t::invalidHandle, "the key is not open"};
  if ((access_ & wanted) == wanted) return {};
  return {code_t::accessDenied, FullName(hive_, path_) + ": the key was opened for reading"};
}

status_t CKey::Open(const CKey& parent, std::u16string_view path, access_t access) {
  if (status_t status = parent.CheckAccess(KEY_READ); !status) return status;
  return Open(parent.hive_, Joined(parent.path_, path), access);
}

status_t CKey::Create(const CKey& parent, std::u16string_view path, access_t access, bool* wasCreated) {
  if (status_t status = parent.CheckAccess(KEY_READ); !status) return status;
  return Create(parent.hive_, Joined(parent.path_, path), access, wasCreated);
}

// --- values --------------------------------------------------------------------------------------------------------

status_t CKey::QueryValue(std::u16string_view name, value_t& value) const {
  if (status_t status = CheckAccess(KEY_READ); !status) return status;
  return registry::QueryValue(hive_, path_, name, value);
}

status_t QueryValue(hive_t hive, std::u16string_view path, std::u16string_view name, value_t& value) {
  if (status_t status = CheckPath(hive, path); !status) return status;
  return WithValue(hive, path, name, [&](std::uint32_t type, std::span<const std::uint8_t> bytes) {
    value.data.assign(bytes.begin(), bytes.end());
    value.type = static_cast<type_t>(type);
  });
}

status_t CKey::QueryValue(std::u16string_view name, std::uint32_t* type, void* data, std::uint32_t* size) const {
  if (status_t status = CheckAccess(KEY_READ); !status) return status;
  if (data != nullptr && size == nullptr) return {code_t::invalidParameter, "a buffer has a size"};
  bool isTooSmall = false;
  status_t status = WithValue(hive_, path_, name, [&](std::uint32_t found, std::span<const std::uint8_t> bytes) {
    isTooSmall = data != nullptr && *size < bytes.size();
    if (data != nullptr && !isTooSmall && !bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
    if (type != nullptr) *type = found;
    if (size != nullptr) *size = static_cast<std::uint32_t>(bytes.size());
  });
  if (!status || !isTooSmall) return status;
  return {code_t::moreData, FullName(hive_, path_) + ": the value \"" + utf::ToUtf8(name) + "\" needs " +
                                std::to_string(*size) + " bytes"};
}

status_t CKey::GetValues(std::vector<named_value_t>& values) const {
  if (status_t status = CheckAccess(KEY_READ); !status) return status;
  return WithKey(purpose_t::read, hive_, path_, [&](CDatabase& database, CDatabase::key_id_t key) -> status_t {
    values = database.ListValues(key);
    return {};
  });
}

status_t CKey::SetValue(std::u16string_view name, const value_t& value) {
  return SetValue(name, value.type, value.data.data(), value.data.size());
}

status_t CKey::SetValue(std::u16string_view name, type_t type, const void* data, std::size_t size) {
  if (status_t status = CheckAccess(KEY_READ_WRITE); !status) return status;
  if (status_t status = CheckName(name); !status) return status;
  if (GetTypeName(type) == nullptr) {
    return {code_t::invalidParameter, "no type of values has the number " + std::to_string(type)};
  }
  if (size > kMaxDataSize) return {code_t::invalidParameter, "a value has at most 64 MiB"};
  // Of a file that is missing only the hives are there.
  const purpose_t purpose = path_.IsEmpty() ? purpose_t::make : purpose_t::change;
  return WithKey(purpose, hive_, path_, [&](CDatabase& database, CDatabase::key_id_t key) -> status_t {
    database.WriteValue(key, name, type, data, size);
    return {};
  });
}

status_t CKey::DeleteValue(std::u16string_view name) {
  if (status_t status = CheckAccess(KEY_READ_WRITE); !status) return status;
  if (status_t status = CheckName(name); !status) return status;
  return WithKey(purpose_t::change, hive_, path_, [&](CDatabase& database, CDatabase::key_id_t key) {
    return database.DeleteValue(key, name) ? status_t{} : NoValue(database, hive_, path_, name);
  });
}

// --- subkeys -------------------------------------------------------------------------------------------------------

status_t CKey::GetSubkeys(std::vector<CString>& names) const {
  if (status_t status = CheckAccess(KEY_READ); !status) return status;
  return WithKey(purpose_t::read, hive_, path_, [&](CDatabase& database, CDatabase::key_id_t key) -> status_t {
    names = database.ListSubkeys(key);
    return {};
  });
}

status_t CKey::DeleteKey(std::u16string_view path) { return Delete(path, false); }

status_t CKey::DeleteTree(std::u16string_view path) { return Delete(path, true); }

status_t CKey::Delete(std::u16string_view path, bool withSubkeys) {
  if (status_t status = CheckAccess(KEY_READ_WRITE); !status) return status;
  if (path.empty()) return BadPath(hive_, path_, "a key does not delete itself");
  const CString whole = Joined(path_, path);
  if (status_t status = CheckPath(hive_, whole); !status) return status;
  return WithKey(purpose_t::change, hive_, whole, [&](CDatabase& database, CDatabase::key_id_t key) -> status_t {
    if (!withSubkeys && database.HasSubkeys(key)) {
      return {code_t::keyHasChildren, database.GetFile() + ": " + FullName(hive_, whole) + ": it has subkeys"};
    }
    database.DeleteKey(key);
    return {};
  });
}

}  // namespace registry
