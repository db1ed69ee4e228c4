#include "util/options/product_identity.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "platform/zorplatform/program_info.h"
#include "util/options/product_description.h"
#include "util/options/product_identity_testing.h"

namespace {

using namespace zorutil;

struct ProductIdentity : testing::Test, CTestProduct {};

TEST_F(ProductIdentity, ComesFromTheFirstPlaceThatNamesIt) {
  // The product file, the application's name, and what comes of them.
  const std::string cases[][3] = {{"[Product]\nName=F\nCompany=C\nVersion=6", "A", "F C V6"},
                                  {"[Product]\nVersion=0", "A", "A Velnora V5"},
                                  {"[Product]\nVersion=99999999999", "", "util_options_test Velnora V4294967295"},
                                  {std::string("\xFF\xFE[\0P\0\xD8", 7), "", "util_options_test Velnora V5"}};
  zorplatform::CVersionInfo::SetProgramVersion({5, 1, 2, 3});
  for (const auto& [file, application, identity] : cases) {
    Start(file);
    zorplatform::SetApplicationName(application);
    EXPECT_EQ(CString(GetProductName()) + u' ' + GetCompanyName() + u' ' + GetAppVersion(), identity);
  }
  SetProductName(u"UTIL_options_test");
  EXPECT_EQ(CString(GetProductName()), "util_options_test") << "letter case aside, it is the same";
}

TEST_F(ProductIdentity, KeepsEveryNameBelowItsBase) {
  SetCompanyName(u"../,?<>\"|*:\\..");
  SetAppVersion(6);
  SetProductName(u"A/B, C?");
  EXPECT_EQ(Rest(GetSharedAppProfileDir(true)), "machine\\..________:\\__\\A_B_ C_\\V6\\");
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\..________:\\__\\A_B_ C_\\V6\\");
  constexpr std::u16string_view kUnits = u".\\ A";  // every name of up to five of these
  for (unsigned n = 0; n < 4 * 4 * 4 * 4 * 4; ++n) {
    CString name;
    for (unsigned rest = n; rest != 0; rest /= 4) name += kUnits[rest % 4];
    SetProductName(name);
    const std::filesystem::path path = zorplatform::ToNativePath(GetSharedAppProfileDir(false)).lexically_normal();
    if (!path.string().starts_with((temp.Native("machine") / "").string())) ADD_FAILURE() << name << " is " << path;
  }
  CString name(u'x', 300);
  SetProductName(name);
  EXPECT_EQ(CString(GetProductName()), name.Left(259));
  EXPECT_TRUE(Rest(GetAppProfileDir()).ends_with("!")) << "no file system takes it, and nothing fails";
  name.Insert(258, u"\U0001F600");
  SetProductName(name);
  EXPECT_EQ(CString(GetProductName()).GetLength(), 258) << "no half of a pair";
}

TEST_F(ProductIdentity, WorksFoldersOutOnceAndAsksNobodyForTheCompanyOfPersonalOnes) {
  Start("[Product]\nName=P\nCompany=C\nVersion=2\n");
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\\\P\\V2\\");
  EXPECT_EQ(Rest(GetUserProfileDir()), "documents\\\\P\\V2\\");
  EXPECT_EQ(Rest(GetSharedProfileDir()), "machine\\C\\common\\");
  EXPECT_EQ(Rest(GetAdminSettingsFile()), "machine\\C\\P\\V2\\settings.ini!");
  EXPECT_EQ(Rest(GetSharedAppProfileDir(false)), "machine\\C\\P\\V2\\") << "made for the file";
  SetAppVersion(2);
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\\\P\\V2\\") << "nothing has changed";
  SetAppVersion(3);
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\C\\P\\V3\\");
  EXPECT_EQ(Rest(GetProjectBackupDataDir()), "machine\\C\\P\\V3\\Project Backups\\");
  EXPECT_EQ(Rest(GetUserProfileDir()), "documents\\C\\P\\V3\\");
  EXPECT_EQ(Rest(GetAdminSettingsFile()), "machine\\C\\P\\V2\\settings.ini!") << "files stay";
  SetCompanyName(u"c");
  EXPECT_EQ(CString(GetCompanyName()).ToUtf8() + Rest(GetAppProfileDir()), "cuser\\C\\P\\V3\\")
      << "no path is forgotten";
  SetAppVersion(4);
  EXPECT_EQ(Rest(GetSharedProfileDir()), "machine\\C\\common\\") << "stays too";
  identity::Forget();
  GetSharedProfileDir();
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\C\\P\\V2\\") << "the company was asked for";
  // A home that no path text names.
  ::setenv("HOME", "/a\\b", 1), ::unsetenv("ZORUTIL_USER_DATA_DIR"), ::unsetenv("XDG_DATA_HOME");
  zorplatform::SetKnownFolder(zorplatform::known_folder_t::userData, {});
  identity::Forget();
  EXPECT_EQ(Rest(GetAppProfileDir()), "bin\\") << "the application directory, with nothing behind it";
}

TEST_F(ProductIdentity, TakesTheSharedBaseFromTheProductFile) {
  const std::string native = temp.Native().string(), text = temp.GetPath().ToUtf8();
  const std::string cases[][2] = {{"installdir", "bin"},
                                  {text + "a\\", "a"},
                                  {native + "/a/b", "a\\b"},
                                  {text + "a,b", "a_b"},
                                  {"r\\x/y", "r\\x_y"}};
  for (const auto& [appData, base] : cases) {
    Start("[Product]\nName=P\nVersion=1\n[Paths]\nAppData=" + appData + "\n");
    EXPECT_EQ(Rest(DescribeProduct()[5].value), base + "\\Velnora\\P\\V1\\!");
    EXPECT_EQ(Rest(GetSharedAppProfileDir(false)), base + "\\Velnora\\P\\V1\\!") << "nothing is made";
  }
}

TEST_F(ProductIdentity, MayBeAskedFirstByTwoThreads) {
  std::thread other(GetAdminSettingsFile);
  GetAppProfileDir();
  const char16_t* const file = GetAdminSettingsFile();
  other.join();
  EXPECT_EQ(GetAdminSettingsFile(), file);
}

}  // namespace
