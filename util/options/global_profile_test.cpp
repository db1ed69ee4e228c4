#include "util/options/global_profile.h"

#include <gtest/gtest.h>

#include "util/options/product_identity.h"
#include "util/options/product_identity_testing.h"

namespace {

using namespace zorutil;

TEST(GlobalProfile, GivesBackWhatWasWrittenAndNotCleared) {
  const CTestProduct product;
  product.Start("[Product]\nName=P\nCompany=Acme\nVersion=6\n");
  EXPECT_EQ(GetGlobalProfileDWORD(u"S", u"Number", 7), 7u);
  EXPECT_FALSE(std::filesystem::exists(product.temp.Native("registry.db"))) << "reading makes nothing";
  WriteGlobalProfileInt(u"S", u"Number", -2);
  WriteGlobalProfileString(u"S", u"Text", CString(u'x', 1000));
  WriteGlobalProfileString(u"S", u"Null", nullptr);
  CGrowableBuffer bytes, out;
  WriteGlobalProfileBinary(u"S", u"Empty", bytes);
  bytes.Append("abc", 3);
  WriteGlobalProfileBinary(u"S", u"Bytes", bytes);
  registry::CKey key;
  ASSERT_TRUE(key.Open(registry::HKEY_LOCAL_MACHINE, u"Software\\Acme\\P\\V6\\S", registry::KEY_READ_WRITE));
  EXPECT_TRUE(key.SetValue(u"Open", registry::REG_SZ, u"a", 2));
  EXPECT_TRUE(key.SetValue(u"Odd", registry::REG_SZ, u"a", 3) &&
              key.SetValue(u"None", registry::REG_EXPAND_SZ, u"", 0));
  EXPECT_TRUE(key.SetValue(u"List", registry::REG_MULTI_SZ, u"a\0", 6));
  EXPECT_EQ(GetGlobalProfileDWORD(u"s", u"NUMBER", 7), 0xFFFFFFFEu);
  EXPECT_EQ(GetGlobalProfileInt(u"S", u"Number", 7) + GetGlobalProfileInt(u"S", u"Text", 7), 5);
  CString text;
  for (const char16_t* name : {u"Null", u"Number", u"Open", u"Odd", u"List"}) {
    GetGlobalProfileString(u"S", name, u"def", text);
    EXPECT_EQ(text, "def") << CString(name);
  }
  GetGlobalProfileString(u"S", u"None", u"def", text);
  EXPECT_TRUE(text.IsEmpty());
  GetGlobalProfileString(u"S", u"Text", u"", text);
  EXPECT_EQ(text, CString(u'x', 1000));
  GetGlobalProfileBinary(u"S", u"Bytes", out);
  GetGlobalProfileBinary(u"S", u"Text", out);
  EXPECT_EQ(out.GetSize(), 3u) << "untouched by a text";
  GetGlobalProfileBinary(u"S", u"Empty", out);
  EXPECT_TRUE(out.IsEmpty());

  WriteGlobalProfileInt(u"", u"N", 1);
  WriteGlobalProfileInt(u"B\\C", u"N", 2);
  ClearGlobalProfile(u"B");
  EXPECT_EQ(GetGlobalProfileInt(u"B\\C", u"N", 0) + GetGlobalProfileInt(nullptr, u"N", 0), 1);
  SetAppVersion(5);
  ClearGlobalProfile(u"");
  SetAppVersion(6);
  EXPECT_EQ(GetGlobalProfileInt(nullptr, u"N", 0), 1);
  ClearGlobalProfile(u"");
  EXPECT_EQ(GetGlobalProfileInt(nullptr, u"N", 0) + GetGlobalProfileInt(u"S", u"Number", 0), 0);
}

}  // namespace
