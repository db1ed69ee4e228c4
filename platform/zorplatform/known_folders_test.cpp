#include "platform/zorplatform/known_folders.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>

#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/user_dirs_internal.h"

namespace {

using zorplatform::GetKnownFolder;
using zorplatform::known_folder_t;

// The environment of a test: only these are set.
class CEnvironment {
 public:
  explicit CEnvironment(std::initializer_list<std::pair<const char*, std::string>> variables) {
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
      if (const char* const value = ::getenv(kNames[i])) old_[i] = value;
      ::unsetenv(kNames[i]);
    }
    for (const auto& [name, value] : variables) ::setenv(name, value.c_str(), 1);
  }
  ~CEnvironment() {
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
      old_[i].empty() ? ::unsetenv(kNames[i]) : ::setenv(kNames[i], old_[i].c_str(), 1);
    }
  }

 private:
  static constexpr const char* kNames[] = {"HOME",
                                           "XDG_DATA_HOME",
                                           "XDG_CONFIG_HOME",
                                           "XDG_DOCUMENTS_DIR",
                                           "ZORUTIL_USER_DATA_DIR",
                                           "ZORUTIL_DOCUMENTS_DIR",
                                           "ZORUTIL_MACHINE_DATA_DIR"};
  std::string old_[std::size(kNames)];
};

TEST(KnownFolders, TakesTheFirstVariableThatNamesAnAbsolutePath) {
  constexpr auto kUser = known_folder_t::userData, kDocuments = known_folder_t::documents;
  constexpr auto kMachine = known_folder_t::machineData;
  const struct {
    known_folder_t folder;
    CEnvironment (*environment)();
    const char* path;
    const char* source;
  } cases[] = {
      {kUser,
       [] {
         return CEnvironment{{"HOME", "/h"}};
       },
       "\\h\\.local\\share", "the home folder"},
      {kUser,
       [] {
         return CEnvironment{{"HOME", "/h"}, {"XDG_DATA_HOME", "/x/"}};
       },
       "\\x", "XDG_DATA_HOME"},
      {kUser,
       [] {
         return CEnvironment{{"HOME", "/h"}, {"XDG_DATA_HOME", "x"}};
       },
       "\\h\\.local\\share", "the home folder"},
      {kUser,
       [] {
         return CEnvironment{{"XDG_DATA_HOME", "/x\\y"}, {"HOME", "/h"}};
       },
       "\\h\\.local\\share", "the home folder"},
      {kUser,
       [] {
         return CEnvironment{{"HOME", "/x\\y"}};
       },
       "", ""},
      {kUser,
       [] {
         return CEnvironment{{"ZORUTIL_USER_DATA_DIR", "/u"}, {"XDG_DATA_HOME", "/x"}};
       },
       "\\u", "ZORUTIL_USER_DATA_DIR"},
      {kDocuments,
       [] {
         return CEnvironment{{"HOME", "/h"}};
       },
       "\\h\\Documents", "the home folder"},
      {kDocuments,
       [] {
         return CEnvironment{{"HOME", "/h"}, {"XDG_DOCUMENTS_DIR", "/d//"}};
       },
       "\\d", "XDG_DOCUMENTS_DIR"},
      {kMachine,
       [] {
         return CEnvironment{{"HOME", "/h"}};
       },
       "\\var\\lib", "the system"},
      {kMachine,
       [] {
         return CEnvironment{{"ZORUTIL_MACHINE_DATA_DIR", "/"}};
       },
       "\\", "ZORUTIL_MACHINE_DATA_DIR"},
  };
  for (const auto& c : cases) {
    const CEnvironment environment = c.environment();
    const auto place = zorplatform::FindKnownFolder(c.folder);
    EXPECT_EQ(place.path, c.path);
    EXPECT_EQ(place.source, c.source);
  }
}

TEST(KnownFolders, FindsDocumentsWhereTheDesktopSays) {
  const CTempFolder temp;
  temp.Put("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
  const CEnvironment environment{{"HOME", "/h"}, {"XDG_CONFIG_HOME", temp.Native().string()}};
  EXPECT_EQ(GetKnownFolder(known_folder_t::documents), "\\h\\Papers");
  zorplatform::SetKnownFolder(known_folder_t::documents, u"\\elsewhere\\");
  EXPECT_EQ(GetKnownFolder(known_folder_t::documents), "\\elsewhere");
  zorplatform::SetKnownFolder(known_folder_t::documents, u"");
  EXPECT_EQ(GetKnownFolder(known_folder_t::documents), "\\h\\Papers");
}

TEST(UserDirs, ReadsTheLastGoodLineOfTheName) {
  const struct {
    const char* text;
    const char* path;
  } cases[] = {
      {"A=\"/x\"", "/x"},
      {" A\t= \"$HOME/My \\\"Docs\\\"\" # why", "/h/My \"Docs\""},
      {"A=\"/x\"\nA=\"/y\"\r\nA=/z\nA=\"z\"\n#A=\"/c\"\nAB=\"/b\"\n", "/y"},
      {"A=\"$HOME\"", "/h"},
      {"A=\"$HOMES/x\"", ""},
      {"A=\"/x", ""},
      {"A=\"/x\\", ""},
      {"A=\"/x\\\"", ""},
      {"A=\"\"", ""},
      {"A=", ""},
      {"A", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(zorplatform::user_dirs::Find(c.text, "A", "/h"), c.path) << c.text;
  EXPECT_EQ(zorplatform::user_dirs::Find("A=\"$HOME/x\"", "A", ""), "");
}

}  // namespace
