#include "util/options/product_identity.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/known_folders.h"
#include "platform/zorplatform/program_info.h"
#include "util/options/product_description.h"
#include "util/options/product_identity_internal.h"

namespace {

namespace fs = std::filesystem;
using namespace zorutil;
using zorplatform::known_folder_t;

class ProductIdentity : public testing::Test {
 protected:
  ProductIdentity() {
    zorplatform::SetAppDir(temp_.PathOf("bin"));
    zorplatform::SetKnownFolder(known_folder_t::userData, temp_.PathOf("user"));
    zorplatform::SetKnownFolder(known_folder_t::documents, temp_.PathOf("documents"));
    zorplatform::SetKnownFolder(known_folder_t::machineData, temp_.PathOf("machine"));
    fs::create_directory(temp_.Native("bin"));
    Start("");
  }
  // As a process that finds this product file.
  void Start(const std::string& productFile) const {
    temp_.Put("bin/product.ini", productFile);
    identity::Forget();
  }
  // A path text without the folder of the test, and with a mark when there is no such folder.
  std::string Rest(const char16_t* path) const {
    std::error_code error;
    const std::string text = CString(path).ToUtf8(), folder = temp_.GetPath().ToUtf8();
    const bool isThere = fs::is_directory(zorplatform::ToNativePath(path), error);
    return (text.starts_with(folder) ? text.substr(folder.size()) : text) + (isThere ? "" : "!");
  }

  const CTempFolder temp_;
};

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
  const char16_t* const old = GetProductName();
  SetProductName(u"UTIL_options_test");
  EXPECT_EQ(GetProductName(), old) << "letter case aside, it is the same";
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
    const fs::path path = zorplatform::ToNativePath(GetSharedAppProfileDir(false)).lexically_normal();
    if (!path.string().starts_with((temp_.Native("machine") / "").string())) ADD_FAILURE() << name << " is " << path;
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
  SetAppVersion(2);
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\\\P\\V2\\") << "nothing has changed";
  SetAppVersion(3);
  EXPECT_EQ(Rest(GetAppProfileDir()), "user\\C\\P\\V3\\");
  EXPECT_EQ(Rest(GetProjectBackupDataDir()), "machine\\C\\P\\V3\\Project Backups\\");
  EXPECT_EQ(Rest(GetAdminSettingsFile()), "machine\\C\\P\\V2\\settings.ini!") << "files stay";
}

TEST_F(ProductIdentity, TakesTheSharedBaseFromTheProductFile) {
  const std::string folder = temp_.Native().string(), pathText = temp_.GetPath().ToUtf8();
  const std::pair<std::string, std::string> cases[] = {{"installdir", "bin"},
                                                       {pathText + "a\\", "a"},
                                                       {folder + "/a/b", "a\\b"},
                                                       {pathText + "a,b", "a_b"},
                                                       {"rel\\x/y", "rel\\x_y"}};
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
