#include "platform/framework/replace_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "platform/framework/file.h"
#include "platform/framework/temp_folder_testing.h"

namespace {

namespace fs = std::filesystem;
using zorplatform::CReplaceFile;

class ReplaceFileTest : public testing::Test {
 protected:
  CString PathOf(const std::string& name) const { return temp_.PathOf(name); }
  void Put(const std::string& name, const std::string& text) const { temp_.Put(name, text); }
  std::string Get(const std::string& name) const { return temp_.Get(name); }
  void Replace(const std::string& name, const std::string& text) const {
    CReplaceFile file(PathOf(name));
    file.GetFile().Write(text.data(), static_cast<unsigned>(text.size()));
    file.Commit();
  }
  std::ptrdiff_t CountFiles() const { return std::distance(fs::directory_iterator(folder_), {}); }

  const CTempFolder temp_;
  const fs::path& folder_ = temp_.Native();
};

TEST_F(ReplaceFileTest, TheOldFileStandsUntilCommitAndForeverWithoutIt) {
  Put("a", "old");
  {
    CReplaceFile file(PathOf("a"));
    file.GetFile().Write("new", 3);
    file.GetFile().Flush();
    EXPECT_EQ(Get("a"), "old");
  }
  { CReplaceFile never(PathOf("b")); }
  EXPECT_EQ(Get("a"), "old");
  EXPECT_EQ(CountFiles(), 1);
  Replace("a", "new");
  Replace("b", std::string(200'000, 'x'));
  Replace(std::string(255, 'n'), "long name");
  EXPECT_EQ(Get("a"), "new");
  EXPECT_EQ(Get("b").size(), 200'000U);
  EXPECT_EQ(CountFiles(), 3);
}

TEST_F(ReplaceFileTest, KeepsPermissionsOrTakesThoseOfNewFiles) {
  const mode_t before = ::umask(027);
  Replace("new", "x");
  ::umask(before);
  EXPECT_EQ(static_cast<unsigned>(fs::status(folder_ / "new").permissions()), 0640U);
  for (const unsigned mode : {0600U, 0664U, 04755U}) {
    fs::permissions(folder_ / "new", static_cast<fs::perms>(mode));
    {
      CReplaceFile file(PathOf("new"));
      for (const auto& entry : fs::directory_iterator(folder_)) {
        if (entry.path().filename() != "new") {
          EXPECT_EQ(static_cast<unsigned>(entry.status().permissions()), 0600U);
        }
      }
      file.Commit();
    }
    EXPECT_EQ(static_cast<unsigned>(fs::status(folder_ / "new").permissions()), mode);
  }
}

TEST_F(ReplaceFileTest, FollowsLinksEvenToWhatIsMissing) {
  fs::create_directory(folder_ / "deep");
  Put("deep/real", "old");
  fs::create_symlink("deep/real", folder_ / "one");
  fs::create_symlink(folder_ / "one", folder_ / "two");
  fs::create_symlink("deep/missing", folder_ / "dangling");
  fs::create_symlink("loop", folder_ / "loop");
  Replace("two", "new");
  Replace("dangling", "made");
  EXPECT_TRUE(fs::is_symlink(folder_ / "one") && fs::is_symlink(folder_ / "two"));
  EXPECT_EQ(Get("deep/real"), "new");
  EXPECT_EQ(Get("deep/missing"), "made");
  EXPECT_THROW(Replace("loop", ""), CFileException);
}

TEST_F(ReplaceFileTest, FailuresNameTheCallersPathAndLeaveNothingBehind) {
  Put("file", "x");
  const struct {
    CString path;
    int cause;
  } cases[] = {
      {PathOf("missing\\a"), ENOENT},
      {PathOf("file\\a"), ENOTDIR},
      {PathOf("."), EISDIR},
      {PathOf(""), EISDIR},
      {u"", ENOENT},
      {u"\\dev\\null", EINVAL},
      {PathOf("a") + CString(u'\0', 1) + u"b", EINVAL},
  };
  for (const auto& [path, cause] : cases) {
    try {
      CReplaceFile file(path);
      ADD_FAILURE() << path;
    } catch (const CFileException& failure) {
      EXPECT_EQ(failure.GetSystemError(), cause) << path;
      EXPECT_EQ(failure.GetPath(), path);
    }
  }
  CReplaceFile file(PathOf("file"));
  EXPECT_EQ(file.GetFile().GetFilePath(), PathOf("file"));
  fs::remove(folder_ / "file");
  fs::create_directories(folder_ / "file" / "full");
  try {
    file.Commit();
    ADD_FAILURE() << "a folder was replaced";
  } catch (const CFileException& failure) {
    EXPECT_EQ(failure.GetPath(), PathOf("file"));
  }
  EXPECT_EQ(CountFiles(), 1);
  EXPECT_THROW(file.Commit(), CFileException);
  EXPECT_THROW(file.GetFile().Write("x", 1), CFileException);
}

TEST_F(ReplaceFileTest, TheLastOfTwoWritersToCommitWins) {
  std::optional<CReplaceFile> first(PathOf("a")), second(PathOf("a"));
  first->GetFile().Write("first and longer", 16);
  second->GetFile().Write("second", 6);
  second->Commit();
  EXPECT_EQ(Get("a"), "second");
  first->Commit();
  first.reset();
  second.reset();
  EXPECT_EQ(Get("a"), "first and longer");
  EXPECT_EQ(CountFiles(), 1);
}

}  // namespace
