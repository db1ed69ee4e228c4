#include "util/options/global_profile.h"

#include <string_view>
#include <utility>

#include "platform/registry/registry.h"
#include "platform/zorplatform/text_parse.h"
#include "util/options/product_identity.h"

namespace zorutil {

namespace {

constexpr auto kHive = registry::HKEY_LOCAL_MACHINE;

CString ProductKey() { return CString(u"Software\\") + GetCompanyName() + u'\\' + GetProductName(); }

CString SectionKey(const char16_t* section) {
  CString path = ProductKey() + u'\\' + GetAppVersion();
  if (const std::u16string_view name = zorplatform::TextOrEmpty(section); !name.empty()) (path += u'\\') += name;
  return path;
}

// A binary value without bytes when there is none.
registry::value_t Read(const char16_t* section, const char16_t* name) {
  registry::value_t value;
  const bool wasRead = bool{registry::QueryValue(kHive, SectionKey(section), zorplatform::TextOrEmpty(name), value)};
  return wasRead ? value : registry::value_t();
}

void Write(const char16_t* section, const char16_t* name, const registry::value_t& value) {
  registry::CKey key;
  if (!key.Create(kHive, SectionKey(section))) return;
  static_cast<void>(key.SetValue(zorplatform::TextOrEmpty(name), value));
}

}  // namespace

std::uint32_t GetGlobalProfileDWORD(const char16_t* section, const char16_t* name, std::uint32_t def) {
  Read(section, name).ToDword(def);
  return def;
}

void WriteGlobalProfileDWORD(const char16_t* section, const char16_t* name, std::uint32_t value) {
  Write(section, name, registry::value_t::FromDword(value));
}

int GetGlobalProfileInt(const char16_t* section, const char16_t* name, int def) {
  return static_cast<int>(GetGlobalProfileDWORD(section, name, static_cast<std::uint32_t>(def)));
}

void WriteGlobalProfileInt(const char16_t* section, const char16_t* name, int value) {
  WriteGlobalProfileDWORD(section, name, static_cast<std::uint32_t>(value));
}

void GetGlobalProfileString(const char16_t* section, const char16_t* name, const char16_t* def, CString& out) {
  CString text;
  // The default may be the text that is replaced.
  out = Read(section, name).ToText(text) ? std::move(text) : CString(def);
}

void WriteGlobalProfileString(const char16_t* section, const char16_t* name, const char16_t* value) {
  if (value != nullptr) Write(section, name, registry::value_t::FromText(value));
}

void GetGlobalProfileBinary(const char16_t* section, const char16_t* name, CGrowableBuffer& out) {
  registry::value_t value;
  if (!registry::QueryValue(kHive, SectionKey(section), zorplatform::TextOrEmpty(name), value)) return;
  if (value.type != registry::REG_BINARY) return;
  CGrowableBuffer bytes;
  bytes.Append(value.data.data(), value.data.size());
  out = std::move(bytes);
}

void WriteGlobalProfileBinary(const char16_t* section, const char16_t* name, const CGrowableBuffer& value) {
  Write(section, name, registry::value_t::FromBinary(value.GetBytes()));
}

void ClearGlobalProfile(const char16_t* section) {
  const std::u16string_view asked = zorplatform::TextOrEmpty(section);
  registry::CKey key;
  if (!key.Open(kHive, asked.empty() ? ProductKey() : SectionKey(nullptr), registry::KEY_READ_WRITE)) return;
  static_cast<void>(key.DeleteTree(asked.empty() ? std::u16string_view(GetAppVersion()) : asked));
}

}  // namespace zorutil
