#include "platform/zorplatform/file_search.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <string>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/app_dir.h"

namespace {

using zorplatform::CFileSearch;

struct names_t : CFileSearch::ICallback {
  bool OnFile(const zorplatform::found_file_t& file) override {
    names += file.name.ToUtf8() + ";";
    return file.name != u"b.prop";
  }
  std::string names;
};

TEST(FileSearch, FindsTheFilesOfAFolderByPattern) {
  const CTempFolder temp;
  const CString folder = temp.GetPath() + u"a\\b\\";
  ASSERT_TRUE(zorplatform::CreatePath(folder + u"x.prop\\") && zorplatform::CreatePath(folder));
  for (const char* name : {"b.prop", "a.prop", "c.propx", "A.PROP", ".prop", "aXbXb.txt"}) {
    CFile(folder + name, CFile::modeCreate | CFile::modeWrite);
  }
  std::ofstream(zorplatform::ToNativePath(folder) / "a\\b.prop");
  EXPECT_FALSE(zorplatform::CreatePath(folder + u"b.prop\\below"));
  // The search ends with b.prop.
  for (const auto& [mask, names] : {std::pair("*.prop", ".prop;a.prop;b.prop;"),
                                    {"?.prop", "a.prop;b.prop;"},
                                    {"a*Xb.t?t", "aXbXb.txt;"},
                                    {"a*b", ""},
                                    {"*", ".prop;A.PROP;a.prop;aXbXb.txt;b.prop;"},
                                    {"", ""},
                                    {"none\\*", ""}}) {
    names_t found;
    EXPECT_EQ(CFileSearch::FindFile(folder + mask, found), *names != '\0') << mask;
    EXPECT_EQ(found.names, names) << mask;
  }
  EXPECT_FALSE(zorplatform::FileExists(folder + u"x.prop"));  // a folder
  EXPECT_TRUE(zorplatform::FileExists(folder + u"b.prop"));
  EXPECT_TRUE(zorplatform::RemoveFile(folder + u"b.prop"));
  EXPECT_THROW(zorplatform::RemoveFile(folder + u"x.prop"), CFileException);
}

TEST(AppDir, IsSetOrInTheEnvironmentOrTheProgramsFolder) {
  const CString program = zorplatform::GetAppDir();
  EXPECT_TRUE(zorplatform::FileExists(program + u"platform_zorplatform_test"));
  ::setenv("ZORUTIL_APP_DIR", "/opt/plant", 1);
  EXPECT_EQ(zorplatform::GetAppDir(), u"\\opt\\plant\\");
  zorplatform::SetAppDir(u"/srv/plant\\");
  EXPECT_EQ(zorplatform::GetAppDir(), u"\\srv\\plant\\");
  zorplatform::SetAppDir(nullptr);
  ::unsetenv("ZORUTIL_APP_DIR");
  EXPECT_EQ(zorplatform::GetAppDir(), program);
}

}  // namespace
