#include "util/i18n/language.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/invalid_arg.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/i18n/language_module.h"
#include "util/i18n/message_ids.h"
#include "util/i18n/message_template.h"
#include "util/values/value_testing.h"

namespace i18n {
namespace {

namespace fs = std::filesystem;

constexpr unsigned short kAustrian = 0x0C07;
constexpr char kEnglish[] = "[Texts]\n1 = one\n2 = two %s\n3 = three %d %s\n";
const fs::path kLanguageFolder = fs::path(ZORUTIL_SOURCE_DIR) / "util/i18n/lang";

// Two folders of the environment, which go at the end; then it lists again that of this library's own files.
class LanguageFiles : public testing::Test {
 protected:
  LanguageFiles() {
    fs::create_directories(folder_ / "first");
    fs::create_directories(folder_ / "second");
    SetFolders("::" + (folder_ / "first").string() + ":" + (folder_ / "second").string() + ":/no/such/folder");
  }
  ~LanguageFiles() override { SetFolders(kLanguageFolder.string()); }
  static void SetFolders(const std::string& list) { setenv("ZORUTIL_LANG_DIR", list.c_str(), 1); }
  void Write(const std::string& name, std::string_view content) const { temp_.Put(name, content); }
  static std::string Texts(const CLanguageModule& module, unsigned short language) {
    std::string texts;
    for (const unsigned id : {1U, 2U, 3U, 4U}) texts += (id > 1 ? "|" : "") + module.GetText(id, language).ToUtf8();
    return texts;
  }

  const CTempFolder temp_;
  const fs::path& folder_ = temp_.Native();
};

TEST(Language, HasAnIdentifierAndATag) {
  for (const auto& row : value_testing::Rows(R"(de|1031|de-DE;DE_at|3079|de-AT;en|1033|en-US;zh|2052|zh-CN;
      zh-TW|1028|zh-TW;sr-latn|9242|sr-Latn-RS;es|3082|es-ES;ar|1025|ar-SA;d|0|;de-XX|0|;de-|0|;|0|)")) {
    const unsigned short id = LanguageIdFromTag(row[0]);
    EXPECT_EQ(std::to_string(id) + TagFromLanguageId(id), row[1] + row[2]) << row[0];
  }
  EXPECT_EQ(TagFromLanguageId(0x0007), "de");
  EXPECT_EQ(TagFromLanguageId(0xFFFF), "");
}

TEST_F(LanguageFiles, OfThisLibraryAreComplete) {
  SetFolders(kLanguageFolder.string());
  const CLanguageModule& own = *CLanguageModule::GetOwn();
  std::vector<unsigned> ids;
  for (const message_id_row_t& row : kMessageIds) ids.push_back(row.id);
  EXPECT_EQ(own.GetIds(), ids);
  const auto languages = GetAvailableLanguages();
  EXPECT_EQ(languages.size(), static_cast<std::size_t>(std::distance(fs::directory_iterator(kLanguageFolder), {})));
  for (const language_t& language : languages) {
    SCOPED_TRACE(language.tag);
    for (const auto& problem : own.GetProblems(language.id)) ADD_FAILURE() << problem.line << ": " << problem.what;
    for (const message_id_row_t& row : kMessageIds) {
      std::string kinds;
      for (const auto& argument : GetTemplateArguments(own.GetText(row.id, language.id))) kinds += argument.kind;
      EXPECT_EQ(kinds, row.arguments) << row.name;
    }
    const auto isSame = [&](unsigned a, unsigned b) {
      return own.GetText(a, language.id).CompareNoCase(own.GetText(b, language.id)) == 0;
    };
    EXPECT_FALSE(isSame(500, 501) || isSame(500, 502) || isSame(501, 502));
  }
}

TEST_F(LanguageFiles, OfTheRegionComeFirstThenThoseOfTheLanguageThenEnglish) {
  Write("first/order.de-AT.lang", "[Texts]\n1 = AT\n");
  Write("second/order.de-AT.lang", "[Texts]\n1 = not read\n2 = not read %s\n");
  Write("second/order.de.lang", "[Language]\nName = Deutsch\n[Texts]\n1 = eins\n2 = zwei %s\n");
  Write("second/order.en.lang", "[Texts]\n2 = TWO %d\n3 = THREE %d %s\n4 = four\n");
  Write("second/order.xx.lang", "[Texts]\n1 = no such language\n");
  Write("second/order..lang", "");
  const auto module = CLanguageModule::Register(u"order", kEnglish, nullptr);
  EXPECT_EQ(Texts(*module, kAustrian), "AT|zwei %s|THREE %d %s|four");
  EXPECT_EQ(Texts(*module, kLanguageGerman), "eins|zwei %s|THREE %d %s|four");
  EXPECT_EQ(Texts(*module, 0x0007), Texts(*module, kLanguageGerman));
  EXPECT_EQ(Texts(*module, 0x1807), Texts(*module, kLanguageGerman));
  for (const int language : {0x0000, 0x0809, 0x0411, 0xFFFF}) {
    EXPECT_EQ(Texts(*module, static_cast<unsigned short>(language)), "one|two %s|THREE %d %s|four");
  }
  std::string languages;
  for (const language_t& language : module->GetLanguages()) languages += language.tag + language.name.ToUtf8() + ' ';
  EXPECT_EQ(languages, "deDeutsch de-ATde-AT enEnglish ");
}

TEST_F(LanguageFiles, LieBesideTheLibrary) {
  const fs::path file = fs::canonical("/proc/self/exe").parent_path() / "beside.de.lang";
  Write(file, "[Texts]\n1 = daneben\n");
  EXPECT_EQ(Texts(*CLanguageModule::Register(u"beside", kEnglish, kEnglish), kLanguageGerman),
            "daneben|two %s|three %d %s|");
  fs::remove(file);
}

TEST_F(LanguageFiles, NeverHarmWhenTheyAreBroken) {
  Write("first/broken.de.lang",
        "[Texts]\n1 = eins\n2 = zwei %d\n3 = %2$s drei %1$d\n1 = doppelt\n9 = neun\nzehn = 10\n4294967296 = x\n"
        "01 = wieder\nrubbish\n");
  Write("first/broken.fr.lang", "[Texts]\n1 = \xFF\n2 = deux %s%s\n3 = \xC0\x80%d %s\n");
  Write("first/broken.it.lang", "[Texts]\n1 =\n2 = %s" + std::string(20000, 'x') + "\n");
  Write("first/broken.es.lang", std::string(5 << 20, '\n'));
  Write("first/broken.ja.lang", std::string("\0\1\2\xFF\xFE[Texts", 11));
  fs::create_directory(folder_ / "first/broken.sv.lang");
  ASSERT_EQ(mkfifo((folder_ / "first/broken.da.lang").c_str(), 0600), 0);
  const auto module = CLanguageModule::Register(u"broken", kEnglish, nullptr);
  EXPECT_EQ(Texts(*module, kLanguageGerman), "eins|two %s|%2$s drei %1$d|");
  for (const char* tag : {"fr", "it", "es", "ja", "sv", "da"}) {
    EXPECT_EQ(Texts(*module, LanguageIdFromTag(tag)), "one|two %s|three %d %s|") << tag;
    EXPECT_EQ(module->GetProblems(LanguageIdFromTag(tag)).empty(), tag[1] == 'v' || tag[0] == 'd') << tag;
  }
  std::multiset<std::uint32_t> lines;
  for (const language_problem_t& problem : module->GetProblems(kLanguageGerman)) lines.insert(problem.line);
  EXPECT_EQ(lines, (std::multiset<std::uint32_t>{0, 3, 5, 6, 7, 8, 9, 10}));
}

TEST_F(LanguageFiles, GiveTheSameTextsToThreadsThatAskFirst) {
  Write("first/threads.de.lang", "[Texts]\n1 = eins\n");
  for (int round = 0; round < 20; ++round) {
    const auto module = CLanguageModule::Register(u"threads", kEnglish, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&module, i] {
        EXPECT_EQ(module->GetText(1, i % 2 != 0 ? kLanguageGerman : kAustrian), u"eins");
        EXPECT_EQ(CLanguageModule::Find(u"threads"), module);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
}

TEST(LanguageModule, HasANameThatIsSafeInPaths) {
  for (const char16_t* name : {u"", u".", u"..", u".a", u"a/b", u"a\\b", u"a b", u"\u00E4", u"libutil"}) {
    EXPECT_THROW(CLanguageModule::Register(name, "", nullptr), CInvalidArgException) << CString(name);
  }
  const CString longest(u'a', 64);
  EXPECT_THROW(CLanguageModule::Register(longest + u'a', "", nullptr), CInvalidArgException);
  const auto module = CLanguageModule::Register(longest, "", nullptr);
  const auto other = CLanguageModule::Register(longest, "", nullptr);
  EXPECT_EQ(CLanguageModule::Find(longest), other);
}

}  // namespace
}  // namespace i18n
