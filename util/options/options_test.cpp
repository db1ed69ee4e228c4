#include "util/options/options.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "platform/framework/file.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/xml_document.h"
#include "util/options/options_testing.h"
#include "util/options/value_cache_internal.h"

namespace {

constexpr auto kLevel = COptions::LEVEL_1;
constexpr auto kText = COptionsContainer::FORMAT_TEXT;

COptionsContainer& Container() { return COptionsContainer::GetInstance(); }

TEST(Options, RememberWhatTheyReadByTheAddressOfTheName) {
  const COpenOptions group, other;
  LoadSettings("[s]\nnumber=42\nEmpty=\nWord=x\nMinus=-1\nHuge=99999999999\nSent=@xxxyyyzzz!&*#$%");
  const char16_t *const number = u"Number", *const text = u"Text", copy[] = u"Number";
  EXPECT_EQ(group.ReadDWord(number, 7), 42u);
  EXPECT_EQ(group.ReadDWord(u"Empty", 7) + group.ReadDWord(u"Word", 7) + group.ReadDWord(u"Minus", 7), 7u);
  EXPECT_EQ(group.ReadDWord(u"Huge", 7), 4294967295u);
  EXPECT_EQ(group.ReadString(u"Empty", u"def") + group.ReadString(u"None", nullptr), "");
  EXPECT_TRUE(group.IsDefined(u"Empty") && !group.IsDefined(u"Sent") && !group.IsDefined(u"Missing"));
  EXPECT_EQ(group.ReadString(text, u"first"), "first");
  EXPECT_EQ(group.ReadString(text, u"second"), "first") << "the default is remembered";
  other.WriteDWord(number, 43);
  EXPECT_EQ(group.ReadDWord(number, 7), 42u) << "another object's write is not seen";
  EXPECT_EQ(group.ReadDWord(copy, 7), 43u) << "at another address";
  EXPECT_TRUE(group.WriteString(u"no=name", u"")) << "refused, but what this object remembers is cleared";
  EXPECT_EQ(group.ReadDWord(number, 7), 43u);
  for (const int pairAt : {0, 254}) {
    CString value(u'x', 300);
    value.Insert(pairAt, u"\U0001F600");
    group.WriteString(text, value);
    EXPECT_EQ(group.ReadString(text, u""), value);
    EXPECT_EQ(group.ReadString(text, u""), value.Left(pairAt == 254 ? 254 : 255)) << "no half of a pair";
  }
  COpenOptions(static_cast<COptions::level_t>(7)).WriteDWord(u"K", 7);
  EXPECT_EQ(COpenOptions(COptions::LEVEL_0).ReadDWord(u"K", 0) + COpenOptions(COptions::LEVEL_3).ReadDWord(u"K", 0),
            7u);
}

TEST(Options, TellEveryHandlerWhateverTheOthersDo) {
  auto first = std::make_unique<COpenOptions>();
  struct : COpenOptions {
    void OnSettingsChanged() override { throw 1; }
  } bad;
  COpenOptions second, third, later(COptions::LEVEL_2), odd(static_cast<COptions::level_t>(7));
  std::uint32_t seen = 0;
  CCountingHandler handlers[] = {CCountingHandler([] { throw 1; }),
                                 CCountingHandler([&] { first->UnregisterChangeHandler(&handlers[1]); }),
                                 CCountingHandler([&] { first->UnregisterChangeHandler(&handlers[3]); }),
                                 CCountingHandler(), CCountingHandler([&] {
                                   seen = first->ReadDWord(u"K", 0);
                                   LoadSettings("[S]\nK=3", COptions::LEVEL_2);
                                 })};
  CCountingHandler last([&] { first.reset(); }), ofThird, ofLater;
  for (int i = 4; i >= 0; --i) first->RegisterChangeHandler(&handlers[i]);
  second.RegisterChangeHandler(&last);
  third.RegisterChangeHandler(&ofThird);
  for (COpenOptions* each : {&later, &odd}) each->RegisterChangeHandler(&ofLater);
  LoadSettings("[S]\nK=1");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(handlers[i].calls, i == 3 ? 0 : 1) << i;
  LoadSettings("", COptions::LEVEL_0);
  Container().SetDefaults(kLevel);
  EXPECT_FALSE(second.IsDefined(u"K"));
  EXPECT_TRUE(seen == 1 && last.calls == 2 && ofThird.calls == 2 && ofLater.calls == 1) << seen << last.calls;
  EXPECT_EQ(Container().Find(u"s"), &bad) << "the destroyed one is gone";
}

TEST(Options, StayAsTheyAreWhenALoadOrASaveFails) {
  const CTempFolder temp;
  COpenOptions group;
  CCountingHandler handler;
  LoadSettings("");
  group.RegisterChangeHandler(&handler);
  group.WriteString(u"K", u"\u00E9");
  EXPECT_THROW(Container().SaveSettings(kLevel, temp.PathOf("no/x.ini")), CFileException);
  EXPECT_TRUE(Container().IsModified(kLevel));
  CMemFile stream;
  Container().SaveSettings(kLevel, &stream, kText);
  EXPECT_FALSE(Container().IsModified(kLevel));
  group.WriteDWord(u"K", 6);
  CMemFile ini;
  Container().SaveSettings(kLevel, &ini, COptionsContainer::FORMAT_INI);
  EXPECT_TRUE(ini.GetLength() == std::string_view("[S]\nK=6\n").size() && !Container().IsModified(kLevel));
  for (std::size_t length = 0; length < stream.GetLength(); ++length) {
    CMemFile cut(stream.GetContent().first(length));
    EXPECT_THROW(Container().LoadSettings(kLevel, &cut, kText), zorplatform::CException) << length;
  }
  EXPECT_EQ(group.ReadString(u"K", u""), handler.calls == 0 ? "6" : "");
  stream.SeekToBegin();
  Container().LoadSettings(kLevel, &stream, kText);
  EXPECT_EQ(group.ReadString(u"K", u""), "\u00E9");
  Container().LoadSettings(kLevel, temp.PathOf("none.ini"));
  EXPECT_EQ(group.ReadString(u"K", u"none"), handler.calls == 2 ? "none" : "");
}

TEST(Options, ComeBackFromStructuredDocuments) {
  const COpenOptions group;
  for (const char16_t* const top : {u"<P/>", u""}) {
    LoadSettings("[S]\nK=\" 5 \"\nGone=\n[None]\n[E]\nEmpty=\n");
    CXmlDocument document;
    document.SetXml(top);
    Container().SaveSettings(kLevel, &document, u"urn:o");
    const CString xml = document.GetXml();
    EXPECT_EQ(xml.Find(u"None") + xml.Find(u"Gone") + xml.Find(u"Empty"), -3) << xml;
    EXPECT_GT(xml.Find(u"<Section Name=\"E\"/>"), xml.Find(u"<Options xmlns=\"urn:o\">")) << xml;
    LoadSettings("[S]\nOther=1\n");
    Container().LoadSettings(kLevel, &document, u"urn:o");
    EXPECT_EQ(group.ReadString(u"K", u"") + group.ReadString(u"Other", u"gone"), " 5 gone");
  }
  CXmlDocument empty;
  Container().LoadSettings(kLevel, &empty, nullptr);
  Container().SaveSettings(kLevel, &empty, nullptr);
  EXPECT_FALSE(empty.IsValid() || group.IsDefined(u"K"));
  empty.SetXml(u"<Options><Section Name=\"S\"><Value Name=\"K\"/><Value Name=\"L\">1</Value></Section></Options>");
  Container().LoadSettings(kLevel, &empty, nullptr);
  EXPECT_TRUE(group.IsDefined(u"L") && !group.IsDefined(u"K"));
}

TEST(Options, AreAllOldOrAllNewWhileAnotherThreadReadsThemAndSwapsTheFile) {
  const CTempFolder temp;
  const COpenOptions group;
  const char16_t *const a = u"A", *const b = u"B", *const written = u"W";
  std::atomic<bool> done{false};
  std::thread other([&] {
    CIniFile file;
    for (unsigned i = 0; !done; ++i) {
      for (const char16_t* key : {a, b}) file.WriteValue(u"S", key, CString().AssignInteger(i));
      file.Save(temp.PathOf("x.ini"));
      for (int k = 0; k < 1000; ++k) group.ReadDWord(a, 0), group.ReadString(b, u""), group.ReadDWord(written, 0);
    }
  });
  for (std::set<std::uint32_t> seen; seen.size() < 20; seen.insert(group.ReadDWord(a, 0))) {
    Container().LoadSettings(kLevel, temp.PathOf("x.ini"));
    EXPECT_EQ(group.ReadString(b, u"0"), CString().AssignInteger(group.ReadDWord(a, 0)));
    for (unsigned i = 0; i < 500; ++i) {
      group.WriteDWord(written, i);
      EXPECT_EQ(group.ReadDWord(written, 0), i);
    }
  }
  done = true;
  other.join();
}

TEST(ValueCache, RemembersSoManyNamesAndNothingReadBeforeItWasCleared) {
  zorutil::options::CValueCache cache;
  const char16_t* const key = u"K";
  const auto clearing = [&](auto value) { return [&cache, value] { return cache.Clear(), value; }; };
  cache.GetNumber(key, clearing(1u));
  EXPECT_EQ(cache.GetNumber(key, [] { return 2u; }), 2u);
  EXPECT_EQ(cache.GetNumber(key, [] { return 3u; }), 2u);
  cache.GetText(key, clearing(CString("1")));
  EXPECT_EQ(cache.GetText(key, [] { return CString("2"); }), "2");
  const std::u16string names(5000, u'x');
  for (unsigned i = 0; i < names.size(); ++i) cache.GetNumber(&names[i], [&] { return i; });
  for (unsigned i = 0; i < names.size(); ++i)
    EXPECT_EQ(cache.GetNumber(&names[i], [] { return 1u; }), i < 4095 ? i : 1u);
}

}  // namespace
