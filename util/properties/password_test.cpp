#include "util/properties/password.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <new>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "platform/framework/invalid_arg.h"
#include "util/properties/property.h"

using namespace zorutil::properties;

#if defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define OWN_ALLOCATOR 0
#endif
#endif
#if !defined(OWN_ALLOCATOR) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define OWN_ALLOCATOR 1
namespace {

// What freed memory must not show any more while we look, and how often it did.
constexpr std::string_view kSecret8 = "battery staple";
constexpr std::u16string_view kSecret16 = u"battery staple";
bool isLooking = false;
int leaks = 0;

template <class T>
bool Shows(const void* memory, std::basic_string_view<T> secret) {
  const std::basic_string_view<T> text(static_cast<const T*>(memory),
                                       malloc_usable_size(const_cast<void*>(memory)) / sizeof(T));
  return text.find(secret) != text.npos;
}

}  // namespace

// Zeroed, so that every byte that is found was written by the owner of the block.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = std::calloc(1, size == 0 ? 1 : size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  if (isLooking && memory != nullptr && (Shows(memory, kSecret8) || Shows(memory, kSecret16))) ++leaks;
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
#endif

namespace {

std::vector<std::uint8_t> Key(std::uint8_t first) {
  std::vector<std::uint8_t> key(kPasswordKeySize);
  std::iota(key.begin(), key.end(), first);
  return key;
}

struct builtin_key_again_t {
  ~builtin_key_again_t() { SetPasswordKey({}); }
};

CString Decrypted(const CString& text) {
  CString plain = u"(refused)";
  return DecryptPassword(text, plain) ? plain : u"(refused)";
}

// Stored by earlier versions; computed by other programs.
struct {
  const char16_t* plain;
  const char* current;
  const char* older;
} const kStored[] = {
    {u"secret", "$zpw$EOhuTPMw8/o06DL8uiLY3mZkVe36GGI=", "$zpo$3cHIhQWHXNr0OA=="},
    {u"Schlüssel 🔑, ein längeres", "$zpw$EM+t3scRUCXTHuv9zWb8NGtRhiNq1UL0VVuTRoiJwZGQWYR41httGQmNwgeZ9HQ=",
     "$zpo$zs5mWyWBV8RS8KZ40gIIBMRWiaBXhlfHsCEXrtgITIc9sg=="},
};

TEST(Password, FormatsAreThoseOfFiles) {
  for (const auto& row : kStored) {
    EXPECT_EQ(EncryptPassword(row.plain), row.current);
    EXPECT_EQ(EncryptPassword(row.plain, PASSWORD_OLDER), row.older);
    EXPECT_EQ(Decrypted(row.current), row.plain);
    EXPECT_EQ(Decrypted(row.older), row.plain);
  }
}

TEST(Password, AnyTextComesBack) {
  const CString encrypted = EncryptPassword(u"again");
  for (const CString& plain : {CString(), CString(std::u16string_view(u"a\0b\0", 4)), CString(u'\uFFFF', 1000),
                               encrypted, CString(u'x', 100000)}) {
    EXPECT_EQ(Decrypted(EncryptPassword(plain)), plain);
    EXPECT_EQ(Decrypted(EncryptPassword(plain, PASSWORD_OLDER)), plain);
  }
  EXPECT_EQ(Decrypted(EncryptPassword(std::u16string{u'a', 0xD800})), u"a\uFFFD");
}

TEST(Password, ForeignAndDamagedTextsAreRefused) {
  for (const char16_t* const text :
       {u"", u"secret", u"$zpw$", u"$zpo$", u"$zpw$AAAA", u"$zpo$AAAA", u"$ZPO$3cHIhQWHXNr0OA=="}) {
    EXPECT_EQ(Decrypted(text), u"(refused)") << CString(text);
  }
  for (const auto& row : kStored) {
    for (const CString& whole : {CString(row.current), CString(row.older)}) {
      SCOPED_TRACE(whole.ToUtf8());
      for (int i = 0; i < whole.GetLength(); ++i) {
        EXPECT_EQ(Decrypted(whole.Left(i)), u"(refused)") << i;
        for (const char16_t unit : {u'A', u'Q', u'z', u'9', u'/', u'=', u' ', u'\0', u'\u00C4'}) {
          CString changed(whole);
          changed.SetAt(i, unit);
          EXPECT_EQ(Decrypted(changed), changed == whole ? CString(row.plain) : CString(u"(refused)")) << i;
        }
      }
      for (const char16_t* const more : {u"=", u"A", u" ", u"\n"}) EXPECT_EQ(Decrypted(whole + more), u"(refused)");
    }
  }
}

TEST(Password, AnOwnKeyWritesAndBothKeysRead) {
  const builtin_key_again_t again;
  SetPasswordKey(Key(0));
  const CString own = EncryptPassword(u"secret");
  EXPECT_EQ(own, "$zpw$EXBX3gmoH/+TdcBMmZLf2DZadovc0xc=");
  EXPECT_EQ(Decrypted(own) + Decrypted(kStored[0].current) + Decrypted(kStored[0].older), u"secretsecretsecret");
  EXPECT_THROW(SetPasswordKey(std::vector<std::uint8_t>(16)), CInvalidArgException);
  EXPECT_EQ(Decrypted(own), u"secret");
  for (const auto& key : {Key(1), std::vector<std::uint8_t>()}) {
    SetPasswordKey(key);
    EXPECT_EQ(Decrypted(own), u"(refused)");
    EXPECT_EQ(CProperty::Create(1, own)->GetDecryptedString(), own);
  }
}

TEST(Password, PropertiesHoldItEncryptedAndGiveItOut) {
  const auto property = MakePasswordProperty(7, u"secret");
  EXPECT_EQ(property->GetId(), 7);
  EXPECT_EQ(property->GetValue().GetStringView(), CString(kStored[0].current).View());
  for (const CVariant& before : {CVariant(u"open"), CVariant::FromInt(1), CVariant()}) {
    property->SetValue(before);
    EXPECT_EQ(property->GetDecryptedString(), before.ToString());
    property->SetEncryptedString(u"other");
    EXPECT_NE(property->GetValue().ToString(), u"other");
    EXPECT_EQ(property->GetDecryptedString(), u"other");
  }
}

#if defined(OWN_ALLOCATOR) && OWN_ALLOCATOR
TEST(Password, NoFreedMemoryShowsIt) {
  CString plain = u"correct horse battery staple";
  isLooking = true;
  {
    const CString held(plain.View());
    EXPECT_TRUE(plain == held);
  }
  EXPECT_EQ(leaks, 1) << "the freed copy is not found: this test sees nothing";
  const auto property = MakePasswordProperty(7, plain);
  for (const auto format : {PASSWORD_CURRENT, PASSWORD_OLDER}) {
    property->SetValue(CVariant(EncryptPassword(plain, format)));
    CString out = property->GetDecryptedString();
    EXPECT_TRUE(out == plain);
    WipeText(out);
    EXPECT_TRUE(out.IsEmpty());
  }
  const CString shared = plain;
  WipeText(plain);
  EXPECT_TRUE(shared == u"correct horse battery staple");
  isLooking = false;
  EXPECT_EQ(leaks, 1);
}
#endif

}  // namespace
