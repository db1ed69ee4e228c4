#include "platform/zorplatform/ini_file.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/string_array.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/text/utf.h"

namespace {

using namespace std::string_literals;

CIniFile Loaded(std::string_view bytes) {
  CMemFile file(std::as_bytes(std::span(bytes)));
  CIniFile ini;
  ini.Load(&file);
  return ini;
}

std::string Saved(CIniFile& ini) {
  CMemFile file;
  ini.Save(&file);
  return {reinterpret_cast<const char*>(file.GetContent().data()), file.GetContent().size()};
}

CString Value(const CIniFile& ini, const char16_t* section, const char16_t* key) {
  CString value = u"before";
  if (ini.ReadValue(section, key, value)) return value;
  return value.IsEmpty() ? u"(none)" : u"(not emptied)";
}

std::string Encoded(std::u16string_view text, bool bigEndian) {
  std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  }
  return bytes;
}

std::u16string Replaced(std::u16string text, std::u16string_view from, std::u16string_view to) {
  for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

TEST(IniFileRead, FindsValuesAsPeopleWriteThem) {
  const CIniFile ini = Loaded(
      "top=0\n; top=9\n[Server]\nPort = 49320 \n\tName\t=\tPlant A\t\nempty=\nb=c=d\nport=1\n"
      "quoted=\"  two\\nlines\\\\\\\"\\r\\t\\u00dcx\\q\\u12\\ud83d\\ude00 \"\nnul=\"a\\0b\"\nC:\\x=\"C:\\Users\"\n"
      "open=\"a\nbehind=\"a\"b\nslash=\"C:\\\"\nin=a \"b\"\n"
      "[ \xC3\x9C"
      "berwachung ]\n\xC3\x84 B=\xC3\xA4\n[SERVER] ; again\nlast=1 ; 2\n[open\nk=v\n[]\nbottom=1");
  const struct {
    const char16_t *section, *key;
    std::u16string_view value;
  } cases[] = {
      {nullptr, u"TOP", u"0"},
      {u"", u"bottom", u"1"},
      {u"server", u"PORT", u"49320"},
      {u"Server", u"name", u"Plant A"},
      {u"Server", u"empty", u""},
      {u"Server", u"b", u"c=d"},
      {u"Server", u"quoted", u"  two\nlines\\\"\r\t\u00dcx\\q\\u12\U0001F600 "},
      {u"Server", u"nul", std::u16string_view(u"a\0b", 3)},
      {u"Server", u"c:\\X", u"C:\\Users"},
      {u"Server", u"open", u"\"a"},
      {u"Server", u"behind", u"\"a\"b"},
      {u"Server", u"slash", u"\"C:\\\""},
      {u"Server", u"in", u"a \"b\""},
      {u"\u00fcBERWACHUNG", u"\u00e4 b", u"\u00e4"},
      {u"server", u"last", u"1 ; 2"},
      {u"OPEN", u"k", u"v"},
      {u"open", u"top", u"(none)"},
      {u"missing", u"Port", u"(none)"},
      {u"Server", nullptr, u"(none)"},
  };
  for (const auto& c : cases) EXPECT_EQ(Value(ini, c.section, c.key).View(), c.value) << CString(c.key);
  CStringArray names;
  ini.QuerySections(names);
  EXPECT_EQ(names, (CStringArray{u"", u"Server", u"\u00dcberwachung", u"open"}));
  ini.QueryKeys(u"SERVER", names);
  EXPECT_EQ(names, (CStringArray{u"Port", u"Name", u"empty", u"b", u"quoted", u"nul", u"C:\\x", u"open", u"behind",
                                 u"slash", u"in", u"last"}));
  ini.QueryKeys(nullptr, names);
  EXPECT_EQ(names, (CStringArray{u"top", u"bottom"}));
}

TEST(IniFileRead, TellsLinesWithoutMeaningByPlaceAndKeepsThem) {
  const struct {
    std::string text;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> places;
  } cases[] = {
      {"a=1\r\rrubbish\n\r\n =1\n", {{3, 8}, {5, 2}}},
      {"[a\nk=1\n[b] x\n[c]\t\n[]", {{1, 3}, {3, 5}}},
      {"\r[open\r", {{2, 6}}},
      {"a=1\nA = 2\n[s]\na=3", {{2, 1}}},
      {"\xC3\x9C=\xFFx\n;\xE0\x80\n", {{1, 3}, {2, 2}}},
      {"a=\"x\nb= \"x\" y", {{1, 3}, {2, 8}}},
      {"[x]\na\0b=1\n[y\0]\nlost=1\n\0\n[z]\na=1"s, {{2, 1}, {3, 2}, {4, 1}, {5, 2}}},
      {"\xFF\xFE"
       "a\0=\0\x31\0\n"s,
       {{1, 4}}},
      {"\xFF\xFE=\0\0\xD8"
       "a\0"s,
       {{1, 1}, {1, 2}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    CIniFile ini = Loaded(c.text);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> places;
    for (const auto& problem : ini.GetProblems()) places.emplace_back(problem.line, problem.column);
    EXPECT_EQ(places, c.places);
    EXPECT_EQ(Value(ini, u"x", u"lost"), u"(none)");
    EXPECT_EQ(Saved(ini), c.text);
  }
}

TEST(IniFileWrite, OneChangedValueChangesOneLineInEveryEncodingAndLineEnd) {
  const std::u16string text =
      u"; \u00dc \U0001F600\n\nrubbish\n[A]\n  First Key\t =  one  \nb=2\n\n[\u00dc]\nb = \"x\" \n#";
  const std::u16string after = Replaced(text, u"one", u"\u20ac 1");
  for (const std::u16string_view lineEnd : {u"\n", u"\r\n", u"\r"}) {
    for (const bool endsOpen : {true, false}) {
      const auto make = [&](std::u16string_view from) {
        return Replaced(std::u16string(from) + (endsOpen ? u"" : u"\n"), u"\n", lineEnd);
      };
      const std::u16string from = make(text), to = make(after);
      const std::pair<std::string, std::string> files[] = {
          {utf::ToUtf8(from), utf::ToUtf8(to)},
          {"\xEF\xBB\xBF" + utf::ToUtf8(from), "\xEF\xBB\xBF" + utf::ToUtf8(to)},
          {Encoded(from, false), Encoded(to, false)},
          {Encoded(from + u"\xDC00", true), Encoded(to + u"\xDC00", true)},
          {Encoded(from, true) + "!", Encoded(to, true) + "!"},
      };
      for (const auto& [before, changed] : files) {
        CIniFile ini = Loaded(before);
        EXPECT_EQ(Saved(ini), before);
        EXPECT_TRUE(ini.WriteValue(u"a", u"first key", u"one") && ini.IsModified());
        EXPECT_EQ(Saved(ini), before);
        EXPECT_FALSE(ini.IsModified());
        EXPECT_TRUE(ini.WriteValue(u"a", u"first key", u"\u20ac 1"));
        EXPECT_EQ(Saved(ini), changed);
        EXPECT_EQ(Loaded(changed).GetLine(u"\u00fc", u"B"), 9U);
      }
    }
  }
}

TEST(IniFileWrite, AddsAndDeletesLinesWhereTheyBelong) {
  const struct {
    const char* before;
    const char16_t *section, *key, *value;  // a null value deletes the key, a null key the section
    const char* after;
  } cases[] = {
      {"", u"A", u"k", u"v", "[A]\nk=v\n"},
      {"", u"A", u"k", u"\u2028", "[A]\nk=\"\\u2028\"\n"},
      {"", nullptr, u"k", u"", "k=\n"},
      {"; head\r\n[A]\r\n", u"", u"k", u"v", "k=v\r\n; head\r\n[A]\r\n"},
      {"[A]\nx = 1\n; end\n[B]\n", u"a", u"y", u"2", "[A]\nx = 1\ny = 2\n; end\n[B]\n"},
      {"[A]\n[B]\r\nx=1", u"b", u"y", u"2", "[A]\n[B]\r\nx=1\ny=2"},
      {"[A]\n;\n[B]\n[a]\nx =1\n\n", u"A", u"y", u"2", "[A]\n;\n[B]\n[a]\nx =1\ny =2\n\n"},
      {"[A]\r;", u"B", u"k", u"v", "[A]\r;\r\r[B]\rk=v"},
      {"[A]\nx=1\n\n", u"B", u"k", u"v", "[A]\nx=1\n\n[B]\nk=v\n"},
      {"[A]\n; x\nx=1\ny=2\nX=3\n", u"a", u"x", nullptr, "[A]\n; x\ny=2\n"},
      {"x=1\n;\n[A]\nx=1\n;\n[B]\n[A]\ny=2\n[C]", u"a", nullptr, nullptr, "x=1\n;\n[B]\n[C]"},
      {"x=1\n;\n[A]\nx=1\n[]\n;\ny=1\n[B]", u"", nullptr, nullptr, ";\n[A]\nx=1\n[B]"},
      {"a=1\n\xFF\xFE=2\n", u"", u"a", nullptr, "\xEF\xBB\xBF\xFF\xFE=2\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.before);
    CIniFile ini = Loaded(c.before);
    const CIniFile copy = ini;
    EXPECT_TRUE(c.value != nullptr ? ini.WriteValue(c.section, c.key, c.value)
                : c.key != nullptr ? ini.DeleteValue(c.section, c.key)
                                   : ini.DeleteSection(c.section));
    EXPECT_TRUE(ini.IsModified() && !copy.IsModified());
    EXPECT_EQ(Saved(ini), c.after);
    CIniFile unchanged = copy;
    EXPECT_EQ(Saved(unchanged), c.before);
    EXPECT_FALSE(unchanged.DeleteValue(u"z", u"z") || unchanged.DeleteSection(u"z") || unchanged.IsModified());
  }
}

TEST(IniFileWrite, EveryValueReadsBackAndInjectsNothing) {
  const std::u16string_view values[] = {u"",
                                        u" a",
                                        u"a ",
                                        u"\ta",
                                        u"\"a\"",
                                        u"a\"b",
                                        u"\\n",
                                        u"a\n[B]\nk=1",
                                        u"\r",
                                        u"C:\\new\\",
                                        u"; x",
                                        u"[x]",
                                        u"=",
                                        u"\x01\x7F\u0085\u2028",
                                        u"\xD800",
                                        u"a\xDC00\xD83D\xDE00 \\\"",
                                        u"\xD83D\xDE00",
                                        u"\uFEFF",
                                        u"\u00A0x\u00A0",
                                        u"\uFFFD"};
  for (const char* encoding : {"", "\xEF\xBB\xBF", "\xFE\xFF"}) {
    CIniFile ini = Loaded(encoding);
    for (std::size_t i = 0; i < std::size(values); ++i) {
      const CString key = CString(u"k") + CString(std::to_string(i));
      EXPECT_TRUE(ini.WriteValue(u"A", key, values[i].data()));
      CIniFile again = Loaded(Saved(ini));
      EXPECT_EQ(Value(ini, u"A", key).View(), values[i]);
      EXPECT_EQ(Value(again, u"A", key).View(), values[i]);
      CStringArray sections, keys;
      again.QuerySections(sections);
      again.QueryKeys(u"a", keys);
      EXPECT_EQ(std::pair(sections.GetSize(), keys.GetSize()), std::pair(1, static_cast<int>(i) + 1));
      CString text;
      ini.ToText(text);
      again.FromText(text);
      EXPECT_EQ(Value(again, u"A", key).View(), values[i]);
    }
  }
}

TEST(IniFileWrite, RefusesNamesThatNoLineCanHold) {
  const std::pair<const char16_t*, const char16_t*> names[] = {
      {u"A", u""},   {u"A", nullptr}, {u"A", u";a"},   {u"A", u"#a"},    {u"A", u"[a"},      {u"A", u"a=b"},
      {u"A", u" a"}, {u"A", u"a "},   {u"A", u"a\nb"}, {u"A", u"a\x01"}, {u"A", u"\uFEFFa"}, {u"A", u"\xD800"},
      {u"A]", u"a"}, {u"A\r", u"a"},  {u" A", u"a"},   {u"\tA", u"a"},   {u"A ", u"a"},      {u"\xDC00", u"a"}};
  CIniFile ini;
  for (const auto& [section, key] : names)
    EXPECT_FALSE(ini.WriteValue(section, key, u"v")) << CString(section) << CString(key);
  EXPECT_FALSE(ini.IsModified());
  EXPECT_TRUE(ini.IsEmpty());
  EXPECT_TRUE(ini.WriteValue(u"[A;#=", u"a]\\\"", u"v"));
  EXPECT_EQ(Value(Loaded(Saved(ini)), u"[a;#=", u"A]\\\""), u"v");
}

// Any changes, one after another: what the document says of itself is what its bytes say.
TEST(IniFileWrite, AfterAnyChangesTheDocumentIsWhatItsBytesAre) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    CIniFile ini = Loaded("k1=1\n;\n[S1]\nk1 = 1\nK1=2\n\n[s2]\nx\n[S1]\r\n[]\nk5=1");
    for (int step = 0; step < 400; ++step) {
      const auto name = [&](const char16_t* head, unsigned count) {
        return CString(head) + CString(std::to_string(random() % count));
      };
      const CString section = random() % 8 == 0 ? CString() : name(u"S", 5), key = name(u"\u00e4K", 8);
      const auto what = random() % 20;
      if (what == 0) {
        ini.DeleteSection(section);
      } else if (what < 6) {
        ini.DeleteValue(section, key);
      } else {
        ini.WriteValue(section, key, CString(u'v', static_cast<int>(random() % 2000)));
      }
    }
    const CIniFile again = Loaded(Saved(ini));
    CStringArray sections, sectionsAgain, keys, keysAgain;
    ini.QuerySections(sections);
    again.QuerySections(sectionsAgain);
    ASSERT_EQ(sections, sectionsAgain);
    for (const CString& section : sections) {
      ini.QueryKeys(section, keys);
      again.QueryKeys(section, keysAgain);
      ASSERT_EQ(keys, keysAgain);
      for (const CString& key : keys) {
        ASSERT_EQ(Value(ini, section, key), Value(again, section, key));
        ASSERT_EQ(ini.GetLine(section, key), again.GetLine(section, key));
      }
    }
  }
}

TEST(IniFile, HostileSizesTakeLinearTime) {
  std::string lines, duplicates, names;
  for (int i = 0; i < 200'000; ++i) {
    lines += '\r';
    duplicates += "k=1\n[s]\n";
    names += "k" + std::to_string(i) + "=1\n";
  }
  for (const std::string& text :
       {lines, duplicates, names, std::string(4'000'000, '['), std::string(4'000'000, '\0')}) {
    CIniFile ini = Loaded(text);
    EXPECT_LE(ini.GetProblems().size(), 1000U);
    EXPECT_EQ(Saved(ini), text);
  }
  CIniFile ini = Loaded(duplicates);
  EXPECT_TRUE(ini.DeleteValue(u"s", u"k") && ini.DeleteSection(u"s"));
  EXPECT_EQ(Saved(ini), "k=1\n");
  for (int i = 0; i < 100'000; ++i) ini.WriteValue(u"s", CString(std::to_string(i)), u"value");
  EXPECT_EQ(ini.GetLine(u"s", u"99999"), 100'003U);
}

TEST(IniFile, IsReplacedWholeOrStaysAsItWas) {
  const CTempFolder folder;
  const CString path = folder.PathOf("a.ini");
  CIniFile ini;
  ini.WriteValue(u"A", u"k", u"v");
  ini.Save(path);
  EXPECT_FALSE(ini.IsModified());
  const CFile reader(path, CFile::modeRead);
  ini.WriteValue(u"A", u"more", u"v");
  ini.Save(path);
  EXPECT_EQ(reader.GetLength(), 8U);  // has the old file still, whole
  ini.WriteValue(u"A", u"k", u"w");
  EXPECT_THROW(ini.Load(path + u".missing"), CFileException);
  CFile closed;
  EXPECT_THROW(ini.Load(&closed), CFileException);
  EXPECT_THROW(ini.Save(path + u"\\missing"), CFileException);
  EXPECT_TRUE(ini.IsModified());
  EXPECT_EQ(Value(ini, u"A", u"k"), u"w");
  CIniFile moved = std::move(ini);
  EXPECT_TRUE(ini.IsEmpty() && !ini.IsModified() && !moved.IsEmpty());
  ini.Load(path);
  EXPECT_EQ(Value(ini, u"A", u"k"), u"v");
  ini.Reset();
  EXPECT_TRUE(ini.IsEmpty() && ini.GetProblems().empty());
}

}  // namespace
