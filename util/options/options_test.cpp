#include "util/options/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/string_array.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/xml_document.h"
#include "util/options/options_container.h"
#include "util/options/value_cache_internal.h"
#include "util/serialization/string_serialization.h"

namespace {

class CGroup : public COptions {
 public:
  explicit CGroup(const char16_t* section = u"S", int level = 1) : COptions(section, static_cast<level_t>(level)) {}
  void QueryKeys(CStringArray&) const override {}
  void OnSettingsChanged() override {
    COptions::OnSettingsChanged();
    if (throws) throw std::runtime_error("from an override");
  }
  using COptions::ReadDWord;
  using COptions::ReadString;
  using COptions::WriteDWord;
  using COptions::WriteString;

  bool throws = false;
};

class CHandler : public COptions::IChangeHandler {
 public:
  explicit CHandler(std::function<void()> action = {}) : action_(std::move(action)) {}
  void OnOptionsChanged(COptions&) override {
    ++calls;
    if (action_) action_();
  }
  int calls = 0;

 private:
  std::function<void()> action_;
};

constexpr auto kLevel = COptions::LEVEL_1;
constexpr auto kText = COptionsContainer::FORMAT_TEXT;

COptionsContainer& Container() { return COptionsContainer::GetInstance(); }

void Load(const std::string& ini, COptions::level_t level = kLevel) {
  CMemFile file(std::as_bytes(std::span(ini)));
  Container().LoadSettings(level, &file, COptionsContainer::FORMAT_INI);
}

class Options : public testing::Test {
 protected:
  ~Options() override {
    for (int level = 0; level <= 3; ++level) Container().SetDefaults(static_cast<COptions::level_t>(level));
  }
};

TEST_F(Options, RememberWhatTheyReadByTheAddressOfTheName) {
  const CGroup group;
  const char16_t* const key = u"Number";
  Load("[s]\nnumber=42\nEmpty=\nWord=x\nMinus=-1\nHuge=99999999999\nSent=@xxxyyyzzz!&*#$%");
  EXPECT_EQ(group.ReadDWord(key, 7), 42u);
  EXPECT_EQ(group.ReadDWord(u"Empty", 7), 7u);
  EXPECT_EQ(group.ReadDWord(u"Word", 7), 0u);
  EXPECT_EQ(group.ReadDWord(u"Minus", 7), 0u);
  EXPECT_EQ(group.ReadDWord(u"Huge", 7), 4294967295u);
  EXPECT_EQ(group.ReadString(u"Empty", u"def"), "");
  EXPECT_TRUE(group.IsDefined(u"Empty"));
  EXPECT_FALSE(group.IsDefined(u"Sent"));
  EXPECT_FALSE(group.IsDefined(u"Missing"));

  const char16_t *const text = u"Text", *const none = u"None";
  EXPECT_EQ(group.ReadString(text, u"first"), "first");
  EXPECT_EQ(group.ReadString(text, u"second"), "first") << "the default is remembered";
  EXPECT_EQ(group.ReadString(none, nullptr), "");
  const CGroup other;
  other.WriteDWord(key, 43);
  EXPECT_EQ(group.ReadDWord(key, 7), 42u) << "another object's write is not seen";
  const char16_t copy[] = u"Number";
  EXPECT_EQ(group.ReadDWord(copy, 7), 43u) << "another address";
  EXPECT_TRUE(group.WriteString(u"Any", u"")) << "clears what this object remembers";
  EXPECT_EQ(group.ReadDWord(key, 7), 43u);
  EXPECT_EQ(group.ReadString(text, u"second"), "second");
  EXPECT_TRUE(group.WriteString(u"no=name", u"x"));
  EXPECT_FALSE(group.IsDefined(u"no=name"));

  CString value(u'x', 300);
  value.SetAt(254, u'\xD83D');
  value.SetAt(255, u'\xDE00');
  for (const CString& each : {CString(u'x', 300), value}) {
    group.WriteString(text, each);
    EXPECT_EQ(group.ReadString(text, u""), each);
    EXPECT_EQ(group.ReadString(text, u""),
              CString(u'x', &each == &value ? 254 : 255).Left(each[254] == u'x' ? 255 : 254));
  }
}

TEST_F(Options, OfOtherLevelsAreOtherValues) {
  const CGroup zero(u"S", 0), one(u"S", 1), three(u"S", 3), seven(u"S", 7);
  one.WriteDWord(u"K", 1);
  seven.WriteDWord(u"K", 7);
  EXPECT_EQ(zero.ReadDWord(u"K", 0), 7u);
  EXPECT_EQ(three.ReadDWord(u"K", 0), 0u);
  EXPECT_EQ(one.ReadDWord(u"K", 0), 1u);
  EXPECT_TRUE(Container().IsModified(static_cast<COptions::level_t>(-1)));
  EXPECT_FALSE(Container().IsModified(COptions::LEVEL_3));
  EXPECT_EQ(Container().Find(u"s"), &zero);
  EXPECT_EQ(Container().Find(u"T"), nullptr);
}

TEST_F(Options, TellEveryHandlerWhateverTheOthersDo) {
  auto first = std::make_unique<CGroup>();
  CGroup second, later(u"S", 2);
  std::unique_ptr<CGroup> made;
  const char16_t* const key = u"K";
  std::vector<std::uint32_t> seen;
  CHandler handlers[] = {CHandler([] { throw 1; }), CHandler([&] { first->UnregisterChangeHandler(&handlers[1]); }),
                         CHandler([&] { first->UnregisterChangeHandler(&handlers[3]); }), CHandler(), CHandler([&] {
                           seen.push_back(first->ReadDWord(key, 0));
                           made = std::make_unique<CGroup>();
                           if (later.ReadDWord(key, 0) == 0) Load("[S]\nK=3", COptions::LEVEL_2);
                         })};
  CHandler last([&] { first.reset(); }), ofLater;
  for (int i = 4; i >= 0; --i) first->RegisterChangeHandler(&handlers[i]);
  first->RegisterChangeHandler(&handlers[0]);
  first->throws = true;
  second.RegisterChangeHandler(&last);
  later.RegisterChangeHandler(&ofLater);
  Load("[S]\nK=1");
  EXPECT_FALSE(first);
  EXPECT_EQ(later.ReadDWord(key, 0), 3u);
  Load("[S]\nK=2");
  EXPECT_EQ(seen, std::vector<std::uint32_t>{1});
  const int calls[] = {1, 1, 1, 0, 1};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(handlers[i].calls, calls[i]) << i;
  EXPECT_EQ(last.calls, 2);
  EXPECT_EQ(ofLater.calls, 1) << "only its own level";
  EXPECT_EQ(Container().Find(u"S"), &second) << "the destroyed one is gone";
}

TEST_F(Options, SurviveFilesThatAreMissingCutOrCannotBeWritten) {
  const CTempFolder temp;
  const CGroup group;
  group.WriteDWord(u"K", 5);
  EXPECT_THROW(Container().SaveSettings(kLevel, temp.PathOf("no/x.ini")), CFileException);
  std::thread([] { EXPECT_TRUE(Container().IsModified(kLevel)); }).join();  // neither locked nor saved
  Container().SaveSettings(kLevel, temp.PathOf("x.ini"));
  EXPECT_FALSE(Container().IsModified(kLevel));
  EXPECT_EQ(temp.Get("x.ini"), "[S]\nK=5\n");

  CMemFile stream;
  group.WriteString(u"L", u"\u00E9");
  Container().SaveSettings(kLevel, &stream, kText);
  EXPECT_FALSE(Container().IsModified(kLevel));
  CString text;
  stream.SeekToBegin();
  zorutil::ReadCString(&stream, text);
  EXPECT_EQ(text, "[S]\nK=5\nL=\u00E9\n");
  const std::vector bytes(stream.GetContent().begin(), stream.GetContent().end());
  CHandler handler;
  CGroup other;
  other.RegisterChangeHandler(&handler);
  group.WriteDWord(u"K", 6);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    CMemFile cut(std::span<const std::byte>(bytes.data(), length));
    EXPECT_THROW(Container().LoadSettings(kLevel, &cut, kText), zorplatform::CException) << length;
  }
  EXPECT_EQ(group.ReadDWord(u"K", 0), 6u);
  EXPECT_EQ(handler.calls, 0);
  CMemFile whole{std::span(bytes)};
  Container().LoadSettings(kLevel, &whole, kText);
  EXPECT_EQ(group.ReadDWord(u"K", 0), 5u);
  Container().LoadSettings(kLevel, temp.PathOf("none.ini"));
  EXPECT_FALSE(group.IsDefined(u"K"));
  EXPECT_EQ(handler.calls, 2);
}

TEST_F(Options, ComeBackFromStructuredDocuments) {
  const char* const kXml =
      "<P><Options xmlns=\"urn:o\"><Section Name=\"S\"><Value Name=\"K\"> 5 </Value></Section>"
      "<Section Name=\"E\"/></Options></P>";
  const CGroup group;
  for (const bool hasTop : {true, false}) {
    Load("[S]\nK=\" 5 \"\nGone=\n[None]\n[E]\nEmpty=\n");
    CXmlDocument document;
    if (hasTop) document.ReleaseElement(document.WriteElement(nullptr, u"", u"P", false, u""));
    Container().SaveSettings(kLevel, &document, u"urn:o");
    std::string xml = document.GetXml().ToUtf8();
    xml.erase(0, xml.find("?>") + 2);
    for (const char* const layout : {"\n", "  <"}) {
      for (std::size_t at; (at = xml.find(layout)) != std::string::npos;) xml.erase(at, *layout == '\n' ? 1 : 2);
    }
    EXPECT_TRUE(!hasTop || xml == kXml) << xml;
    Load("[S]\nOther=1\n");
    Container().LoadSettings(kLevel, &document, u"urn:o");
    EXPECT_EQ(group.ReadString(u"K", u""), " 5 ");
    EXPECT_FALSE(group.IsDefined(u"Other"));
    EXPECT_TRUE(Container().IsModified(kLevel));
    Container().LoadSettings(kLevel, &document, u"urn:another");
    EXPECT_EQ(group.IsDefined(u"K"), !hasTop);
  }
  CXmlDocument foreign, empty;
  foreign.SetXml(u"<P><Options>text<X Name='S'><Y Name='a'>1</Y><Y>2</Y></X><X><Z Name='b'>3</Z></X></Options></P>");
  Container().LoadSettings(kLevel, &foreign, nullptr);
  EXPECT_EQ(group.ReadDWord(u"a", 0), 1u);
  EXPECT_EQ(CGroup(u"").ReadDWord(u"b", 0), 3u);
  Container().LoadSettings(kLevel, &empty, nullptr);
  EXPECT_FALSE(group.IsDefined(u"a"));
  Container().SaveSettings(kLevel, &empty, nullptr);
  EXPECT_FALSE(empty.IsValid());
}

TEST_F(Options, AreReadByOneThreadWhileAnotherReplacesThem) {
  const CGroup group;
  const char16_t *const number = u"Number", *const text = u"Text";
  std::atomic<bool> begun{false}, done{false};
  std::thread reader([&] {
    begun = true;
    for (bool odd = false; !done; odd = !odd)
      odd ? void(group.ReadDWord(number, 0)) : void(group.ReadString(text, u""));
  });
  while (!begun) std::this_thread::yield();
  for (std::uint32_t i = 1; i <= 20000; ++i) {
    const CString wanted = CString().AssignInteger(i);
    if (i % 64 == 0) {
      Load("[S]\nNumber=" + std::to_string(i) + "\nText=" + std::to_string(i));
    } else {
      group.WriteString(i % 2 == 0 ? number : text, wanted);
    }
    if (i % 2 == 0 && group.ReadDWord(number, 0) != i) ADD_FAILURE() << "stale number in round " << i;
    if (i % 2 == 1 && group.ReadString(text, u"") != wanted) ADD_FAILURE() << "stale text in round " << i;
  }
  done = true;
  reader.join();
}

TEST_F(Options, OfAFileThatIsSwappedAreAllOldOrAllNew) {
  const CTempFolder temp;
  const CGroup group;
  std::atomic<bool> done{false};
  std::thread swapper([&] {
    CIniFile file;
    for (int i = 0; !done; ++i) {
      file.FromText("[S]\nA=" + std::to_string(i) + "\n" + std::string(50000, ';') + "\nB=" + std::to_string(i));
      file.Save(temp.PathOf("x.ini"));
    }
  });
  std::set<CString> seen;
  while (seen.size() < 20) {
    Container().LoadSettings(kLevel, temp.PathOf("x.ini"));
    seen.insert(group.ReadString(u"A", u"none"));
    EXPECT_EQ(group.ReadString(u"A", u"none"), group.ReadString(u"B", u"none"));
  }
  done = true;
  swapper.join();
}

TEST(ValueCache, DoesNotRememberWhatWasReadBeforeItWasCleared) {
  zorutil::options::CValueCache cache;
  const char16_t* const key = u"K";
  const auto clearing = [&](auto value) { return [&cache, value] { return cache.Clear(), value; }; };
  EXPECT_EQ(cache.GetNumber(key, clearing(1u)), 1u);
  EXPECT_EQ(cache.GetNumber(key, [] { return 2u; }), 2u);
  EXPECT_EQ(cache.GetNumber(key, [] { return 3u; }), 2u);
  EXPECT_EQ(cache.GetText(key, clearing(CString("1"))), "1");
  EXPECT_EQ(cache.GetText(key, [] { return CString("2"); }), "2");
  EXPECT_EQ(cache.GetText(key, [] { return CString("3"); }), "2");
  EXPECT_EQ(cache.GetNumber(key, [] { return 3u; }), 3u);
}

TEST(NumberCache, FindsEveryNameAsItGrowsAndTakesNoMoreThanItMay) {
  constexpr std::size_t kMost = zorutil::options::CNumberCache::kMostNames;
  zorutil::options::CNumberCache cache;
  const std::u16string names(kMost + 10, u'x');
  for (int round = 0; round < 2; ++round) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_FALSE(cache.Find(&names[i], number));
      cache.Store(&names[i], static_cast<std::uint32_t>(i));
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (cache.Find(&names[i], number) != (i < kMost) || (i < kMost && number != i)) ADD_FAILURE() << i;
    }
    EXPECT_FALSE(cache.Find(nullptr, number));
    cache.Clear();
  }
}

}  // namespace
