#include "util/properties/password.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <numeric>
#include <vector>

#include "platform/framework/invalid_arg.h"
#include "platform/ole/string.h"
#include "util/properties/property.h"

using namespace zorutil::properties;

// The sanitizers of clang bring operators of their own.
#if !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define OWN_DELETE
constexpr char kSecret8[] = "battery staple";
constexpr char16_t kSecret16[] = u"battery staple";
// Not its beginning, which an emptied text loses to its terminator, and a freed block to its list.
static bool Shows(const void* memory, std::size_t size) {
  return memmem(memory, size, kSecret8 + 8, 6) != nullptr || memmem(memory, size, kSecret16 + 8, 12) != nullptr;
}
static bool isLooking = false;
static int leaks = 0;  // blocks that were freed with the secret in them

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  const std::size_t size = isLooking ? malloc_usable_size(memory) : 0;
  if (Shows(memory, size)) ++leaks;
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
#endif

namespace {

CString Decrypted(const CString& text) {
  CString plain = u"(refused)";
  const bool isAccepted = DecryptPassword(text, plain);
  EXPECT_TRUE(isAccepted || plain == u"(refused)");
  return plain;
}

// Stored by earlier versions; computed by other programs.
struct {
  CString plain, current, older;
} const kStored[] = {
    {u"secret", "$zpw$EOhuTPMw8/o06DL8uiLY3mZkVe36GGI=", "$zpo$3cHIhQWHXNr0OA=="},
    {u"Schlüssel 🔑 1", "$zpw$EKNY7iFExHBf5oRcXitUMZ8njFBPkFLQ539mavWAeO5c4Q==", "$zpo$vMT/xSWBV8RS8KZ40gIIBMRWiaxG"},
};

TEST(Password, FormatsAreThoseOfFilesAndDamageIsRefused) {
  for (const auto& row : kStored) {
    EXPECT_EQ(EncryptPassword(row.plain), row.current);
    EXPECT_EQ(EncryptPassword(row.plain, PASSWORD_OLDER), row.older);
    for (const CString& whole : {row.current, row.older}) {
      EXPECT_EQ(Decrypted(whole), row.plain);
      for (int i = 0; i < whole.GetLength(); ++i) {
        EXPECT_EQ(Decrypted(whole.Left(i)), u"(refused)") << whole << i;
        for (const char16_t unit : {u'A', u'Q', u'q', u'u', u'9', u'/', u'=', u' ', u'\0', u'\u00C4'}) {
          CString changed(whole);
          changed.SetAt(i, unit);
          EXPECT_EQ(Decrypted(changed), changed == whole ? row.plain : CString(u"(refused)")) << whole << i;
        }
      }
      for (const char16_t* const more : {u"=", u"A", u" ", u"\n"}) EXPECT_EQ(Decrypted(whole + more), u"(refused)");
    }
  }
}

TEST(Password, AnyTextComesBack) {
  for (const CString& plain :
       {CString(), CString(std::u16string_view(u"a\0", 2)), kStored[0].current, CString(u'ß', 9999)}) {
    EXPECT_EQ(Decrypted(EncryptPassword(plain)), plain);
    EXPECT_EQ(Decrypted(EncryptPassword(plain, PASSWORD_OLDER)), plain);
  }
  EXPECT_EQ(Decrypted(EncryptPassword(std::u16string{u'a', 0xD800})), u"a\uFFFD");
  EXPECT_EQ(Decrypted("$zpo$tsOpjLXK"), u"(refused)");  // no UTF-8
}

TEST(Password, AnOwnKeyWritesAndTheBuiltInOneStillReads) {
  std::vector<std::uint8_t> key(kPasswordKeySize);
  std::iota(key.begin(), key.end(), std::uint8_t{0});
  SetPasswordKey(key);
  const CString own = EncryptPassword(u"secret");
  EXPECT_THROW(SetPasswordKey(std::span(key).first(16)), CInvalidArgException);
  EXPECT_EQ(own, "$zpw$EXBX3gmoH/+TdcBMmZLf2DZadovc0xc=");
  EXPECT_EQ(Decrypted(own) + Decrypted(kStored[0].current) + Decrypted(kStored[0].older), u"secretsecretsecret");
  key[31] = 0;
  SetPasswordKey(key);
  EXPECT_EQ(Decrypted(own), u"(refused)");
  SetPasswordKey({});
  EXPECT_EQ(CProperty::Create(1, own)->GetDecryptedString(), own);
}

TEST(Password, PropertiesHoldItEncryptedAndPassPlainText) {
  const auto property = MakePasswordProperty(7, u"secret");
  EXPECT_EQ(property->GetValue().ToString(), kStored[0].current);
  for (const CVariant& before : {CVariant(u"open"), CVariant::FromInt(1), CVariant()}) {
    property->SetValue(before);
    EXPECT_EQ(property->GetDecryptedString(), before.ToString());
    property->SetEncryptedString(u"secret");
    EXPECT_EQ(property->GetValue().ToString(), kStored[0].current);
  }
}

#ifdef OWN_DELETE
TEST(Password, NoFreedMemoryShowsIt) {
  CString plain = kSecret16;
  const CString shared = plain;
  isLooking = true;
  for (const auto format : {PASSWORD_CURRENT, PASSWORD_OLDER}) {
    CString out = CProperty::Create(7, EncryptPassword(plain, format))->GetDecryptedString();
    EXPECT_TRUE(out == plain);
    WipeText(out);
  }
  WipeText(plain);
  EXPECT_EQ(leaks, 0);
  EXPECT_EQ(CString(shared.View()), kSecret16);
  EXPECT_EQ(leaks, 1) << "a freed copy is not found: this test sees nothing";
  isLooking = false;

  const auto property = CProperty::Create(7, CVariant(kSecret16));
  const void* const replaced = property->GetValue().bstrVal;
  property->SetEncryptedString(u"other");
  const BSTR reused = SysAllocStringLen(nullptr, 14);
  EXPECT_TRUE(reused == replaced && !Shows(reused, 28));
  SysFreeString(reused);
}
#endif

}  // namespace
