#include "platform/zorplatform/known_folders.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/user_dirs_internal.h"

namespace {

using zorplatform::FindKnownFolder;
using zorplatform::known_folder_t;

void SetVariable(const char* name, const char* value) {
  value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1);
}

TEST(KnownFolders, AreTheFirstThatNameAnAbsolutePath) {
  // The home folder, the desktop's variable, our own; where data and documents lie.
  const char* const cases[][5] = {{"/h", nullptr, nullptr, "\\h\\.local\\share", "\\h\\Documents"},
                                  {"/h", "/x//", nullptr, "\\x", "\\x"},
                                  {"/h", "x", "", "\\h\\.local\\share", "\\h\\Documents"},
                                  {"/h", "/a\\b", nullptr, "\\h\\.local\\share", "\\h\\Documents"},
                                  {"/a\\b", nullptr, nullptr, "", ""},
                                  {"/h", "/x", "/o/", "\\o", "\\o"}};
  for (const auto& [home, desktop, own, data, documents] : cases) {
    SetVariable("HOME", home);
    for (const char* name : {"XDG_DATA_HOME", "XDG_DOCUMENTS_DIR"}) SetVariable(name, desktop);
    for (const char* name : {"ZORUTIL_USER_DATA_DIR", "ZORUTIL_DOCUMENTS_DIR"}) SetVariable(name, own);
    EXPECT_EQ(FindKnownFolder(known_folder_t::userData).path, data);
    EXPECT_EQ(FindKnownFolder(known_folder_t::documents).path, documents);
  }
  EXPECT_EQ(FindKnownFolder(known_folder_t::machineData).path, "\\var\\lib");
  const CTempFolder temp;
  temp.Put("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
  for (const char* name : {"ZORUTIL_DOCUMENTS_DIR", "XDG_DOCUMENTS_DIR"}) SetVariable(name, nullptr);
  SetVariable("XDG_CONFIG_HOME", temp.Native().c_str());
  EXPECT_EQ(FindKnownFolder(known_folder_t::documents).path, "\\h\\Papers");
  zorplatform::SetKnownFolder(known_folder_t::documents, u"\\elsewhere\\");
  EXPECT_EQ(FindKnownFolder(known_folder_t::documents).path, "\\elsewhere");
}

TEST(UserDirs, GivesTheLastGoodLineOfTheName) {
  const char* const cases[][2] = {{" A\t= \"$HOME/a \\\"b\\\\\" # c", "/h/a \"b\\"},
                                  {"A=\"/x\"\nA=/y\n#A=\"/z\"\r\nAB=\"/b\"\nA=\"c\"", "/x"},
                                  {"A=\"/x\"\nA=\"$HOME\"", "/h"}};
  for (const auto& [text, path] : cases) EXPECT_EQ(zorplatform::user_dirs::Find(text, "A", "/h"), path) << text;
  for (const char* const bad : {"A=\"$HOMES/x\"", "A=\"/x\\\"", "A=\"/x\\", "A=\"", "A"}) {
    EXPECT_EQ(zorplatform::user_dirs::Find(bad, "A", "/h"), "") << bad;
  }
  EXPECT_EQ(zorplatform::user_dirs::Find("A=\"$HOME/x\"", "A", ""), "");
}

}  // namespace
