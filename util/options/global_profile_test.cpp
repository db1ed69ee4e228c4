#include "util/options/global_profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry.h"
#include "util/options/product_identity.h"
#include "util/options/product_identity_internal.h"

namespace {

using namespace zorutil;

class GlobalProfile : public testing::Test {
 protected:
  GlobalProfile() {
    identity::Forget();
    SetCompanyName(u"Acme");
    SetProductName(u"P");
    SetAppVersion(6);
    registry::SetRegistryFile(temp_.PathOf("registry.db"));
  }
  ~GlobalProfile() override {
    registry::SetRegistryFile({});
    identity::Forget();
  }
  static std::string Text(const char16_t* name) {
    CString text;
    GetGlobalProfileString(u"S", name, u"def", text);
    return text.ToUtf8();
  }

  const CTempFolder temp_;
};

TEST_F(GlobalProfile, GivesBackWhatWasWrittenAndDefaultsForAnythingElse) {
  EXPECT_EQ(GetGlobalProfileDWORD(u"S", u"Number", 7), 7u);
  EXPECT_FALSE(std::filesystem::exists(temp_.Native("registry.db"))) << "reading makes nothing";
  WriteGlobalProfileDWORD(u"S", u"Number", 0xFFFFFFFE);
  WriteGlobalProfileInt(u"", u"Int", -5);
  WriteGlobalProfileString(u"S", u"Text", u"");
  WriteGlobalProfileString(u"S", u"Long", CString(u'x', 1000));
  WriteGlobalProfileString(u"S", u"Null", nullptr);
  CGrowableBuffer bytes, out;
  WriteGlobalProfileBinary(u"S", u"None", bytes);
  bytes.Append("abc", 3);
  WriteGlobalProfileBinary(u"S", u"Bytes", bytes);
  EXPECT_EQ(GetGlobalProfileDWORD(u"s", u"NUMBER", 7), 0xFFFFFFFEu);
  EXPECT_EQ(GetGlobalProfileInt(u"S", u"Number", 7), -2);
  EXPECT_EQ(GetGlobalProfileInt(nullptr, u"Int", 7), -5);
  EXPECT_EQ(GetGlobalProfileDWORD(u"S", u"Text", 7), 7u);
  EXPECT_EQ(Text(u"Text"), "");
  EXPECT_EQ(Text(u"Long"), std::string(1000, 'x'));
  EXPECT_EQ(Text(u"Null"), "def");
  EXPECT_EQ(Text(u"Number"), "def");
  for (const char16_t* name : {u"Missing", u"Text"}) {
    GetGlobalProfileBinary(u"S", name, bytes);
    EXPECT_EQ(bytes.GetSize(), 3u) << "untouched";
  }
  GetGlobalProfileBinary(u"S", u"Bytes", out);
  EXPECT_TRUE(std::ranges::equal(out.GetBytes(), bytes.GetBytes()));
  GetGlobalProfileBinary(u"S", u"None", bytes);
  EXPECT_TRUE(bytes.IsEmpty());

  registry::CKey key;
  ASSERT_TRUE(key.Open(registry::HKEY_LOCAL_MACHINE, u"Software\\Acme\\P\\V6\\S", registry::KEY_READ_WRITE));
  const char16_t open[] = {u'a'}, list[] = {u'a', 0, 0};
  EXPECT_TRUE(key.SetValue(u"Open", registry::REG_SZ, open, 2));
  EXPECT_TRUE(key.SetValue(u"Odd", registry::REG_SZ, list, 3));
  EXPECT_TRUE(key.SetValue(u"List", registry::REG_MULTI_SZ, list, 6));
  EXPECT_TRUE(key.SetValue(u"Nothing", registry::REG_SZ, nullptr, 0));
  EXPECT_TRUE(key.SetValue(u"Expand", registry::value_t::FromText(u"%HOME%", registry::REG_EXPAND_SZ)));
  EXPECT_TRUE(key.SetValue(u"Short", registry::REG_DWORD, list, 3));
  for (const char16_t* name : {u"Open", u"Odd", u"List"}) EXPECT_EQ(Text(name), "def") << CString(name);
  EXPECT_EQ(Text(u"Nothing"), "");
  EXPECT_EQ(Text(u"Expand"), "%HOME%");
  EXPECT_EQ(GetGlobalProfileDWORD(u"S", u"Short", 7), 7u);
}

TEST_F(GlobalProfile, ClearsASectionOrEverythingOfTheVersion) {
  const auto write = [] {
    for (const char16_t* section : {u"A", u"B", u"B\\C", u""}) WriteGlobalProfileInt(section, u"N", 1);
  };
  write();
  SetAppVersion(5);
  write();
  ClearGlobalProfile(u"B");
  EXPECT_EQ(GetGlobalProfileInt(u"B", u"N", 0) + GetGlobalProfileInt(u"B\\C", u"N", 0), 0);
  EXPECT_EQ(GetGlobalProfileInt(u"A", u"N", 0) + GetGlobalProfileInt(u"", u"N", 0), 2);
  ClearGlobalProfile(nullptr);
  EXPECT_EQ(GetGlobalProfileInt(u"A", u"N", 0) + GetGlobalProfileInt(u"", u"N", 0), 0);
  SetAppVersion(6);
  EXPECT_EQ(GetGlobalProfileInt(u"B\\C", u"N", 0), 1);
}

TEST_F(GlobalProfile, SaysNothingWhenThereIsNoRegistryToUse) {
  temp_.Put("broken", std::string(5000, 'x'));
  for (const char* const name : {"broken", "", "no/such/folder\n/x"}) {
    registry::SetRegistryFile(name[0] == '\0' ? temp_.GetPath() : temp_.PathOf(name));
    CString text;
    if (name[0] != 'n') WriteGlobalProfileInt(u"S", u"N", 1);
    ClearGlobalProfile(u"S");
    EXPECT_EQ(GetGlobalProfileInt(u"S", u"N", 3), 3) << name;
    GetGlobalProfileString(u"S", u"N", nullptr, text);
    EXPECT_EQ(text, "");
  }
}

}  // namespace
