#include "util/options/product_identity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
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
  ~ProductIdentity() override {
    Start("");
    zorplatform::SetAppDir({});
    for (const auto each : {known_folder_t::userData, known_folder_t::documents, known_folder_t::machineData}) {
      zorplatform::SetKnownFolder(each, {});
    }
  }

  // As a process that finds this product file.
  void Start(const std::string& productFile) const {
    temp_.Put("bin/product.ini", productFile);
    zorplatform::SetApplicationName({});
    zorplatform::CVersionInfo::SetProgramVersion({});
    zorutil::identity::Forget();
  }
  // A path text without the folder of the test.
  std::string Rest(const char16_t* path) const {
    std::string text = CString(path).ToUtf8();
    const std::string folder = temp_.GetPath().ToUtf8();
    return text.starts_with(folder) ? text.substr(folder.size()) : text;
  }
  static bool Exists(const char16_t* path) {
    std::error_code error;
    return fs::is_directory(zorplatform::ToNativePath(path), error);
  }

  const CTempFolder temp_;
};

TEST_F(ProductIdentity, ComesFromTheFirstPlaceThatNamesIt) {
  zorplatform::SetApplicationName(u"Framework");
  EXPECT_EQ(CString(zorutil::GetProductName()), "Framework");
  Start("[Product]\nName=Filed\nCompany=Acme\nVersion=6\n");
  zorplatform::SetApplicationName(u"Framework");
  EXPECT_EQ(CString(zorutil::GetProductName()), "Filed");
  EXPECT_EQ(CString(zorutil::GetCompanyName()), "Acme");
  EXPECT_EQ(CString(zorutil::GetAppVersion()), "V6");
  const char16_t* const old = zorutil::GetProductName();
  zorutil::SetProductName(u"FILED");
  EXPECT_EQ(zorutil::GetProductName(), old) << "letter case aside, it is the same";
  zorutil::SetProductName(u"Set");
  EXPECT_EQ(CString(zorutil::GetProductName()), "Set");
  EXPECT_EQ(CString(old), "Filed") << "what was given out stays";

  for (const char* const version : {"0", "x", "", "0x7"}) {
    Start(std::string("[Product]\nVersion=") + version + "\n");
    zorplatform::CVersionInfo::SetProgramVersion({5, 1, 2, 3});
    EXPECT_EQ(CString(zorutil::GetAppVersion()), "V5") << version;
  }
  Start("[Product]\nVersion=99999999999\n");
  EXPECT_EQ(CString(zorutil::GetAppVersion()), "V4294967295");
  EXPECT_EQ(CString(zorutil::GetCompanyName()), "Velnora");
  Start(std::string("\xFF\xFE[\0P\0", 6) + "\xD8");
  EXPECT_EQ(CString(zorutil::GetProductName()), "util_options_test");
  EXPECT_EQ(CString(zorutil::GetAppVersion()), "V0");
  fs::remove(temp_.Native("bin/product.ini"));
  fs::create_directory(temp_.Native("bin/product.ini"));
  EXPECT_EQ(CString(zorutil::GetCompanyName()), "Velnora");
  fs::remove(temp_.Native("bin/product.ini"));
}

TEST_F(ProductIdentity, KeepsEveryNameBelowItsBase) {
  const struct {
    const char16_t* name;
    const char* folder;
  } cases[] = {{u"A/B, C?", "A_B_ C_"}, {u"/,?<>\"|*:", "________:"},
               {u"..", "__"},           {u"...", "___"},
               {u". .", "_ _"},         {u"A\\..\\..\\..\\B", "A\\__\\__\\__\\B"},
               {u"\\..\\", "\\__\\"},   {u"../..", ".._.."},
               {u"..A", "..A"},         {u"\u00E9\U0001F600", "\u00E9\U0001F600"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.folder);
    zorutil::SetProductName(c.name);
    zorutil::SetCompanyName(c.name);
    zorutil::SetAppVersion(6);
    const std::string both = std::string(c.folder) + "\\" + c.folder + "\\V6\\";
    EXPECT_EQ(Rest(zorutil::GetSharedAppProfileDir(true)), "machine\\" + both);
    EXPECT_EQ(Rest(zorutil::GetAppProfileDir()), "user\\" + both);
    EXPECT_TRUE(Exists(zorutil::GetSharedAppProfileDir(false)));
    const std::string real = fs::canonical(zorplatform::ToNativePath(zorutil::GetAppProfileDir())).string();
    EXPECT_TRUE(real.starts_with(fs::canonical(temp_.Native("user")).string() + "/")) << real;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(temp_.Native()), {}), 3) << "bin, machine and user";

  // Every name of up to five of these.
  constexpr std::u16string_view kUnits = u".\\ A";
  const std::string base = (temp_.Native("machine") / "").string();
  for (unsigned n = 0; n < 4 * 4 * 4 * 4 * 4; ++n) {
    CString each;
    for (unsigned rest = n; rest != 0; rest /= 4) each += kUnits[rest % 4];
    zorutil::SetProductName(each);
    const fs::path path = zorplatform::ToNativePath(zorutil::GetSharedAppProfileDir(false)).lexically_normal();
    if (!path.string().starts_with(base)) ADD_FAILURE() << each << " leads to " << path;
  }

  CString name(u'x', 300);
  zorutil::SetProductName(name);
  EXPECT_EQ(CString(zorutil::GetProductName()), name.Left(259));
  zorutil::GetAppProfileDir();  // no file system takes it: nothing is made, and nothing fails
  EXPECT_FALSE(Exists(zorutil::GetSharedAppProfileDir(true)));
  name.Insert(258, u"\U0001F600");
  zorutil::SetProductName(name);
  EXPECT_EQ(CString(zorutil::GetProductName()).GetLength(), 258) << "no half of a pair";
}

TEST_F(ProductIdentity, AsksNobodyForTheCompanyOfPersonalFolders) {
  Start("[Product]\nName=P\nCompany=Acme\nVersion=2\n");
  EXPECT_EQ(Rest(zorutil::GetAppProfileDir()), "user\\\\P\\V2\\");
  EXPECT_EQ(Rest(zorutil::GetUserProfileDir()), "documents\\\\P\\V2\\");
  EXPECT_TRUE(Exists(zorutil::GetUserProfileDir()));
  EXPECT_EQ(Rest(zorutil::GetSharedProfileDir()), "machine\\Acme\\common\\");
  EXPECT_TRUE(Exists(zorutil::GetSharedProfileDir()));
  EXPECT_EQ(Rest(zorutil::GetAppProfileDir()), "user\\\\P\\V2\\") << "worked out already";
  zorutil::SetAppVersion(2);
  EXPECT_EQ(Rest(zorutil::GetAppProfileDir()), "user\\\\P\\V2\\") << "nothing has changed";
  EXPECT_EQ(Rest(zorutil::GetAdminSettingsFile()), "machine\\Acme\\P\\V2\\settings.ini");
  zorutil::SetAppVersion(3);
  EXPECT_EQ(Rest(zorutil::GetAppProfileDir()), "user\\Acme\\P\\V3\\");
  EXPECT_EQ(Rest(zorutil::GetUserProfileDir()), "documents\\Acme\\P\\V3\\");
  EXPECT_EQ(Rest(zorutil::GetProjectBackupDataDir()), "machine\\Acme\\P\\V3\\Project Backups\\");
  EXPECT_TRUE(Exists(zorutil::GetProjectBackupDataDir()));
  EXPECT_EQ(Rest(zorutil::GetAdminSettingsFile()), "machine\\Acme\\P\\V2\\settings.ini") << "files stay";
  EXPECT_EQ(Rest(zorutil::GetUAGatewayFile()), "machine\\Acme\\P\\V3\\ua_gateway.json");
}

TEST_F(ProductIdentity, TakesTheSharedBaseFromTheProductFile) {
  const std::string folder = temp_.Native().string(), pathText = temp_.GetPath().ToUtf8();
  const struct {
    std::string appData;
    std::string base;
  } cases[] = {{"installdir", "bin\\"},     {pathText + "a", "a\\"},     {pathText + "a\\", "a\\"},
               {folder + "/a/b", "a\\b\\"}, {pathText + "a,b", "a_b\\"}, {"", "machine\\"},
               {"rel\\x/y", "rel\\x_y\\"}};
  for (const auto& c : cases) {
    Start("[Product]\nName=P\nVersion=1\n[Paths]\nAppData=" + c.appData + "\n");
    EXPECT_EQ(Rest(zorutil::GetSharedAppProfileDir(false)), c.base + "Velnora\\P\\V1\\") << c.appData;
    EXPECT_FALSE(Exists(zorutil::GetSharedAppProfileDir(false)));
    const auto items = zorutil::DescribeProduct();
    const auto common = std::find_if(items.begin(), items.end(), [](const auto& item) {
      return item.name == std::string("shared profile directory");
    });
    EXPECT_EQ(Rest(common->value), c.base + "Velnora\\common\\");
    EXPECT_FALSE(Exists(common->value)) << "describing makes nothing";
  }
}

TEST_F(ProductIdentity, MayBeAskedFirstByManyThreads) {
  const auto ask = [] {
    for (int i = 0; i < 100; ++i) {
      zorutil::GetAppProfileDir();
      zorutil::GetAdminSettingsFile();
      zorutil::GetSharedProfileDir();
    }
  };
  std::thread other(ask);
  ask();
  other.join();
  EXPECT_EQ(Rest(zorutil::GetAdminSettingsFile()), "machine\\Velnora\\util_options_test\\V0\\settings.ini");
}

}  // namespace
