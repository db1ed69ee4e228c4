#include "util/objects/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <mutex>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/mem_file.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/xml_document.h"
#include "util/i18n/message_ids.h"
#include "util/objects/load_errors.h"
#include "util/objects/surrogate_table.h"
#include "util/objects/table_testing.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/objects/unordered_table.h"

using namespace table_testing;
using tree_testing::FindBroken;

namespace {

CLeaf* Add(CTable& table, const CString& name, std::uint32_t value = 0) {
  auto* const leaf = new CLeaf(name, value);
  if (table.Insert(leaf) != CTable::invalid_index) return leaf;
  delete leaf;
  return nullptr;
}

// "a b c": the names in the order of the records.
std::string Names(const CTable& table) {
  std::string names;
  for (unsigned i = 0; i < table.GetCount(); ++i) names += (i == 0 ? "" : " ") + table.GetRecord(i)->GetName().ToUtf8();
  return names;
}

std::vector<std::byte> Bytes(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}
std::vector<std::byte> FileBytes(const char* name) {
  std::ifstream in(std::string(ZORUTIL_SOURCE_DIR "/tests/data/tables/") + name, std::ios::binary);
  return Bytes(std::string(std::istreambuf_iterator<char>(in), {}));
}
std::vector<std::byte> Saved(const CTable& table) {
  CMemFile file;
  EXPECT_EQ(table.Save(&file), 1);
  return {file.GetContent().begin(), file.GetContent().end()};
}
int LoadFrom(CTable& table, std::span<const std::byte> bytes) {
  CMemFile file(bytes);
  return table.Load(&file);
}
// 0 for a failure of any kind.
int TryLoad(CTable& table, std::span<const std::byte> bytes) {
  try {
    return LoadFrom(table, bytes);
  } catch (const zorplatform::CException&) {
    return 0;
  }
}

class TableTest : public testing::Test {
 protected:
  TableTest() { RegisterTypes(); }
  const int livingBefore = living;
};

TEST_F(TableTest, KeepsRecordsInNameOrderAndNamesApart) {
  CNode root(u"root");
  CTable& table = root.children;
  for (const char16_t* name : {u"tag2", u"Ärger", u"Tag1", u"alarm", u"Zone", u"tag10"})
    ASSERT_NE(Add(table, name), nullptr);
  for (const char16_t* name : {u"tAG1", u"ÄRGER", u"tag\u00012"}) EXPECT_EQ(Add(table, name), nullptr) << CString(name);
  EXPECT_EQ(Names(table), "alarm Ärger Tag1 tag10 tag2 Zone");
  unsigned index = 77;
  EXPECT_EQ(table.FindRecord(nullptr, &index), nullptr);
  EXPECT_EQ(table.FindRecord(u"tag3", &index), nullptr);
  EXPECT_EQ(index, 77U);
  EXPECT_EQ(table.FindRecord(u"ZONE", &index), table.GetRecord(5));
  EXPECT_EQ(index, 5U);
  EXPECT_EQ(table.Insert(nullptr), CTable::invalid_index);
  EXPECT_EQ(table.Insert(table.GetRecord(0)), CTable::invalid_index) << "it is a record already";
  EXPECT_EQ(FindBroken(root), "");
}

// Every order of coming and going, over tables of one block and of many.
TEST_F(TableTest, StaysInOrderWhateverOrderRecordsComeAndGoIn) {
  for (const int count : {7, 1024, 1025, 5000}) {
    for (const char* order : {"numeric", "falling", "names", "random"}) {
      SCOPED_TRACE(std::to_string(count) + " " + order);
      std::mt19937 random(1);
      std::vector<CString> names;
      for (int i = 0; i < count; ++i) names.push_back(CString("Tag" + std::to_string(i)));
      if (*order == 'f') std::reverse(names.begin(), names.end());
      if (*order == 'n' && order[1] == 'a') std::sort(names.begin(), names.end());
      if (*order == 'r') std::shuffle(names.begin(), names.end(), random);
      CNode root(u"root");
      CTable& table = root.children;
      for (const CString& name : names) {
        const unsigned index = table.Insert(new CLeaf(name));
        ASSERT_EQ(table.GetRecord(index)->GetName(), name);
      }
      ASSERT_EQ(FindBroken(root), "");
      for (int i = 0; i < count / 2; ++i) table.Delete(table.FindRecord(names[static_cast<std::size_t>(i)]));
      for (int i = 0; i < count / 4; ++i) {
        CTableObj* const record = table.GetRecord(0);
        table.Remove(0U);
        delete record;
      }
      ASSERT_EQ(table.GetCount(), static_cast<unsigned>(count - count / 2 - count / 4));
      ASSERT_EQ(FindBroken(root), "");
    }
  }
  EXPECT_EQ(living, livingBefore);
}

TEST_F(TableTest, MakesNamesFreeByCountingUp) {
  const struct {
    std::u16string taken;
    const char16_t* name;
    unsigned maxLength;
    const char16_t* expected;
  } cases[] = {{u"Channel", u"Device", 256, u"Device"},
               {u"Channel", u"channel", 256, u"channel1"},
               {u"Tag007", u"Tag007", 256, u"Tag008"},
               {u"Tag9", u"Tag9", 256, u"Tag10"},
               {u"Tag099,Tag100", u"Tag099", 256, u"Tag101"},
               {u"Abcde,Abcd1", u"Abcde", 5, u"Abcd2"},
               {u"42", u"42", 256, u"43"},
               {u"T2147483647", u"T2147483647", 256, u"T0000000001"},
               {u"T99999999999999999999", u"T99999999999999999999", 256, u"T00000000000000000001"},
               {u"ab9,a9,a10", u"ab9", 4, u"ab10"},
               {u"a9", u"a9", 3, u"a10"},
               {u"9,a", u"a", 1, u"1"},
               {u"a", u"a", 0, nullptr},
               {u"Abc,Ab1,Ab2,Ab3,Ab4,Ab5,Ab6,Ab7,Ab8,Ab9", u"Abc", 3, u"A10"},
               {u"x😀y", u"x😀y", 3, u"x1"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(CString(c.name).ToUtf8());
    CHookedTable table;
    for (std::size_t at = 0; at <= c.taken.size();) {
      const std::size_t end = std::min(c.taken.find(u',', at), c.taken.size());
      Add(table, CString(c.taken.substr(at, end - at)));
      at = end + 1;
    }
    CString name = c.name;
    EXPECT_EQ(table.GenerateName(name, c.maxLength), c.expected != nullptr ? 1 : 0);
    EXPECT_EQ(name, c.expected != nullptr ? c.expected : c.name);
  }
  // The next one of the same text goes on behind the last, even when that was not used.
  CHookedTable table;
  for (const char16_t* name : {u"Tag", u"Tag1", u"Tag2"}) Add(table, name);
  for (const char16_t* expected : {u"Tag3", u"Tag4", u"Tag5"}) {
    CString name = u"Tag";
    EXPECT_EQ(table.GenerateName(name, 256), 1);
    EXPECT_EQ(name, expected);
  }
}

TEST_F(TableTest, WritesTheBytesThatItReads) {
  CHookedTable table;
  Add(table, u"A", 7);
  const std::string_view expected(
      "\1\0\1\0\0\0\4\0\0\0\1\1\1\0\1\0\0\x80"
      "A\7\0\0\0",
      23);
  EXPECT_EQ(Saved(table), Bytes(expected));
  for (const char16_t* name : {u"B", u"C"}) Add(table, name);
  table.onSave = [](unsigned index) { return index != 1; };
  const auto two = Saved(table);
  EXPECT_EQ(two[2], std::byte{2});
  EXPECT_FALSE(table.IsModified());
  CHookedTable again;
  EXPECT_EQ(LoadFrom(again, two), 1);
  EXPECT_EQ(Names(again), "A C");
  CFile closed;
  EXPECT_EQ(table.Save(&closed), 0);
  EXPECT_EQ(again.Load(&closed), 0);
  EXPECT_EQ(again.GetCount(), 0U);
}

TEST_F(TableTest, ReadsBothFormatsAndRefusesWhateverIsCutOrFalse) {
  const struct {
    const char* file;
    const char* names;
  } cases[] = {{"format0.bin", "b Ux_y"}, {"format1.bin", "a b B1 node"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    CNode root(u"root");
    CHookedTable& table = root.children;
    auto bytes = FileBytes(c.file);
    ASSERT_EQ(LoadFrom(table, bytes), 1);
    EXPECT_EQ(Names(table), c.names);
    EXPECT_EQ(FindBroken(root), "");
    EXPECT_FALSE(root.IsModified() || table.IsModified() || table.IsLoading());
    EXPECT_EQ(table.loads, 1);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      Add(table, u"old");
      ASSERT_EQ(TryLoad(table, std::span(bytes).first(length)), 0) << length;
      ASSERT_TRUE(table.GetCount() == 0 && !table.IsLoading()) << length;
    }
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {  // counts of thousands of millions among them
      bytes[bit / 8] ^= std::byte{1} << bit % 8;
      TryLoad(table, bytes);
      ASSERT_EQ(FindBroken(root), "") << bit;
      bytes[bit / 8] ^= std::byte{1} << bit % 8;
    }
  }
  CHookedTable table;
  Add(table, u"A");
  Add(table, u"B", kRefused);
  CMemFile file;
  EXPECT_EQ(table.Save(&file), 0);
  EXPECT_EQ(LoadFrom(table, file.GetContent()), 0);
  EXPECT_EQ(table.GetCount(), 0U);
  Add(table, u"A");
  const auto saved = Saved(table);
  table.canHold = [](const CTableObj&) { return false; };
  EXPECT_EQ(LoadFrom(table, saved), 0);
  EXPECT_EQ(living, livingBefore);
}

// Names that are equal by turns, names that are equal but for what does not count, and a text that gets shorter.
TEST_F(TableTest, LoadsEqualNamesUnderNamesOfTheirOwn) {
  CUnorderedTable source(0, true, 16);
  const CString lengthy(std::u16string(255, u'x'));
  for (int i = 0; i < 3000; ++i)
    Add(source, i % 3 == 0 ? CString(u"Tag") : i % 3 == 1 ? CString(u"tag0\u0001") : lengthy);
  const auto bytes = Saved(source);
  CNode root(u"root");
  ASSERT_EQ(LoadFrom(root.children, bytes), 1);
  EXPECT_EQ(root.children.GetCount(), 3000U);
  EXPECT_EQ(FindBroken(root), "");
  EXPECT_NE(root.children.FindRecord(u"Tag999"), nullptr);
  ASSERT_EQ(LoadFrom(source, bytes), 1);
  EXPECT_EQ(source.GetRecord(3)->GetName(), u"Tag1");
  CString name = u"Tag";
  EXPECT_EQ(source.GenerateName(name, 256), 1);
}

TEST_F(TableTest, StandsHooksThatChangeIt) {
  CNode source(u"source");
  for (const char16_t* name : {u"b", u"d", u"f", u"h"}) Add(source.children, name);
  const auto bytes = Saved(source.children);
  CNode root(u"root");
  CHookedTable& table = root.children;
  std::string loaded;
  table.onInsert = [&](unsigned index) {
    const CString name = table.GetRecord(index)->GetName();
    if (name == u"d") Add(table, u"a");                       // the record moves up
    if (name == u"f") table.Delete(table.GetRecord(index));   // it is gone before it is loaded
    if (name == u"h") table.GetRecord(index)->SetName(u"0");  // to another place
  };
  table.onLoad = [&](unsigned index) { loaded += table.GetRecord(index)->GetName().ToUtf8(); };
  ASSERT_EQ(LoadFrom(table, bytes), 1);
  EXPECT_EQ(Names(table), "0 a b d");
  EXPECT_EQ(loaded, "bd0");
  EXPECT_EQ(FindBroken(root), "");
  table.onLoad = [&](unsigned) { table.Reset(); };
  EXPECT_EQ(LoadFrom(table, bytes), 1);
  EXPECT_EQ(table.GetCount(), 0U);
  table.onInsert = [&](unsigned index) {
    if (index == 1) throw std::bad_alloc();
  };
  table.onLoad = nullptr;
  EXPECT_THROW(LoadFrom(table, bytes), std::bad_alloc);
  EXPECT_TRUE(table.GetCount() == 0 && !table.IsLoading());
  table.onInsert = nullptr;
  for (const char16_t* name : {u"a", u"b", u"c"}) Add(table, name);
  table.onRemove = [&](unsigned index) {
    if (index == 1) table.Delete(table.GetRecord(0));
  };
  CTableObj* const second = table.GetRecord(1);
  table.Remove(1U);
  EXPECT_EQ(Names(table), "c");
  EXPECT_EQ(FindBroken(root), "");
  delete second;
}

TEST_F(TableTest, RenamesInOneStepOrNotAtAll) {
  CNode root(u"root");
  CHookedTable& table = root.children;
  for (const char16_t* name : {u"", u"a", u"c", u"e"}) Add(table, name);
  std::string heard;
  table.onRemove = [&](unsigned index) { heard += "-" + std::to_string(index); };
  table.onInsert = [&](unsigned index) { heard += "+" + std::to_string(index); };
  root.SetModified(false);
  EXPECT_FALSE(table.Rename(table.GetRecord(1), u"C"));
  CLeaf stranger(u"x");
  EXPECT_FALSE(table.Rename(&stranger, u"y"));
  EXPECT_FALSE(root.IsModified());
  EXPECT_TRUE(table.GetRecord(1)->SetName(u"A"));
  EXPECT_TRUE(table.GetRecord(0)->SetName(u"d"));
  EXPECT_EQ(Names(table), "A c d e");
  EXPECT_EQ(heard, "-1+1-0+2");
  EXPECT_TRUE(root.IsModified());
  EXPECT_EQ(FindBroken(root), "");
}

TEST_F(TableTest, CarriesReferencesUpTheTree) {
  CNode root(u"root");
  auto* const node = new CNode(u"node");
  ASSERT_EQ(root.children.Insert(node), 0U);
  CLeaf* const leaf = Add(node->children, u"leaf");
  for (int i = 0; i < 3; ++i) leaf->AddRef();
  node->children.AddRef();
  EXPECT_EQ(root.GetRefCount(), 4);
  root.children.Remove(node);
  EXPECT_EQ(root.GetRefCount(), 0);
  EXPECT_EQ(node->GetRefCount(), 4);
  root.children.Insert(node);
  node->children.Remove(0U);
  EXPECT_EQ(leaf->GetRefCount(), 3);
  EXPECT_EQ(root.GetRefCount(), 1);
  node->children.Insert(leaf);
  node->children.Reset();
  EXPECT_EQ(node->children.GetRefCount(), 1) << "held from outside";
  EXPECT_EQ(node->children.RemoveRef(), 0);
  EXPECT_EQ(FindBroken(root), "");
}

TEST_F(TableTest, CopiesItsRecordsOrNone) {
  CNode root(u"root");
  Add(root.children, u"a");
  auto* const node = new CNode(u"n");
  root.children.Insert(node);
  Add(node->children, u"x", kRefused);
  CHookedTable other;
  Add(other, u"old");
  EXPECT_THROW(other = root.children, zorplatform::CException);
  EXPECT_EQ(Names(other), "old");
  node->children.Reset();
  Add(node->children, u"y");
  const CHookedTable copy(root.children);
  other = root.children;
  EXPECT_EQ(Names(copy) + "," + Names(other), "a n,a n");
  EXPECT_EQ(Names(*other.GetRecord(1)->GetChildTable(0)), "y");
}

TEST_F(TableTest, KeepsInsertionOrderAndEqualNamesWhereNothingIsSorted) {
  CUnorderedTable table(0, true, 1);
  for (const char16_t* name : {u"b", u"A", u"a", u"c"}) Add(table, name);
  unsigned index = 9;
  EXPECT_EQ(table.FindRecord(u"a", &index), table.GetRecord(1));
  EXPECT_EQ(index, 1U);
  CTableObj* const second = table.GetRecord(2);
  table.Remove(second);
  EXPECT_EQ(Names(table), "b A c");
  delete second;
}

TEST_F(TableTest, LendsAParentToARecord) {
  CNode parent(u"parent");
  CLeaf leaf(u"leaf");
  leaf.AddRef();
  {
    const CSurrogateTable table(&parent, &leaf);
    const CSurrogateTable second(nullptr, &leaf);
    EXPECT_EQ(leaf.GetParent(), &parent);
    EXPECT_EQ(parent.GetRefCount(), 1);
    EXPECT_EQ(table.GetTableName(), u"Surrogate");
    EXPECT_EQ(second.GetCount(), 0U);
  }
  EXPECT_FALSE(leaf.IsInTable());
  EXPECT_EQ(parent.GetRefCount(), 0);
  EXPECT_EQ(leaf.RemoveRef(), 0);
}

// What a load tells about, by number.
struct errors_t : zorutil::ILoadErrors {
  void Add(void*, std::unique_ptr<i18n::ILocalizedMessage> message) override { ids.push_back(message->GetMessageId()); }
  void EnterObject(const CString&) override {}
  void LeaveObject() noexcept override {}
  void OnFailedObject(const CString&) noexcept override {}
  std::vector<unsigned> ids;
};

TEST_F(TableTest, LivesInDocuments) {
  CNode root(u"root");
  Add(root.children, u"b", 2);
  auto* const node = new CNode(u"a");
  root.children.Insert(node);
  Add(node->children, u"x", 3);
  CXmlDocument document;
  void* const top = document.WriteElement(nullptr, u"urn:t", u"Top", false, u"");
  ASSERT_EQ(root.children.Save(&document, top, u"urn:t"), 1);
  CHookedTable again;
  ASSERT_EQ(again.Load(&document, top, u"urn:t"), 1);
  EXPECT_EQ(Names(again) + Names(*again.GetRecord(0)->GetChildTable(0)), "a bx");
  document.ReleaseElement(top);

  const auto leaf = [](const char* name, const char* value = "1") {
    return std::string("<Leaf><Name>") + name + "</Name><Value>" + value + "</Value></Leaf>";
  };
  const auto load = [&](const std::string& text) {
    CXmlDocument loaded;
    EXPECT_EQ(loaded.SetXml(CString("<Top><Children>" + text + "</Children></Top>")), 1);
    void* const element = loaded.GetElementByName(nullptr, nullptr, nullptr, false);
    const int result = again.Load(&loaded, element, u"");
    loaded.ReleaseElement(element);
    const auto message = loaded.RemoveLastError();
    return message != nullptr ? message->GetMessageId() : static_cast<unsigned>(result);
  };
  const struct {
    std::string text;
    unsigned id;
    const char* kept;
  } cases[] = {{leaf("q") + "<Pump/>" + leaf("r"), i18n::IDS_TYPE_UNKNOWN, "q r"},
               {leaf("q") + leaf("Q"), i18n::IDS_OBJECT_NAME_TAKEN, "q"},
               {leaf("q") + leaf("r", "57005"), i18n::IDS_OBJECT_NOT_READ, "q"},
               {leaf("q") + leaf("a&quot;b"), i18n::IDS_OBJECT_NAME_NOT_VALID, "q"},
               {leaf("q") + "<Node><Name>n</Name><Value>1</Value></Node>", i18n::IDS_TYPE_NOT_TAKEN, "q"}};
  again.canHold = [](const CTableObj& object) { return object.GetType() == kLeaf; };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(load(c.text), c.id);
    EXPECT_EQ(again.GetCount(), 0U);
    errors_t errors;
    const zorutil::CLoadErrorScope scope(&errors);
    EXPECT_EQ(load(c.text), 1U);
    EXPECT_EQ(errors.ids, std::vector<unsigned>{c.id});
    EXPECT_EQ(Names(again), c.kept);
  }
  EXPECT_EQ(load("</Children><Other/><Children>"), 1U);
}

// Each allocation fails once: what was not done leaves no trace.
TEST_F(TableTest, IsWholeWhicheverAllocationFails) {
  CNode source(u"source");
  for (int i = 0; i < 1030; ++i) Add(source.children, CString("T" + std::to_string(i)));
  const auto many = Saved(source.children);
  const auto few = FileBytes("format1.bin");
  CNode root(u"root");
  CTable& table = root.children;
  Add(table, u"alone");
  CLeaf* leaf = new CLeaf(u"more");
  const struct {
    const char* what;
    std::function<void()> run;
    std::function<std::string()> state;
  } cases[] = {{"rename", [&] { table.Rename(table.GetRecord(0), u"other name, of some length"); },
                [&] { return Names(table); }},
               {"insert",
                [&] {
                  if (table.Insert(leaf) != CTable::invalid_index) leaf = nullptr;
                },
                [&] { return Names(table) + std::to_string(table.GetRefCount()); }},
               {"load", [&] { LoadFrom(table, few); }, [] { return ""; }},
               {"assign", [&] { root.children = source.children; }, [&] { return Names(table); }}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    bool isDone = false;
    const std::string before = c.state();
    for (int allowed = 0; !isDone; ++allowed) {
      allocation_testing::allocationsLeft = allowed;
      try {
        c.run();
        isDone = true;
      } catch (const std::bad_alloc&) {
      }
      allocation_testing::allocationsLeft = -1;
      ASSERT_EQ(FindBroken(root), "");
      ASSERT_TRUE(isDone || c.state() == before) << c.state();
      if (allowed > 200) allowed += 97;
    }
  }
  EXPECT_EQ(table.GetCount(), 1030U);
  delete leaf;
}

// For the thread sanitizer above all: records come, go and change their names while others hold and look them up.
TEST_F(TableTest, CountsAddUpWhateverThreadsDoTogether) {
  CNode root(u"root");
  auto* const node = new CNode(u"node");
  root.children.Insert(node);
  CHookedTable& table = node->children;
  for (int i = 0; i < 8; ++i) Add(table, CString("T" + std::to_string(i)));
  std::atomic<bool> stop{false};
  std::vector<std::thread> holders;
  for (unsigned seed = 0; seed < 2; ++seed) {
    holders.emplace_back([&, seed] {
      std::mt19937 random(seed);
      while (!stop) {
        CTableObj* held = nullptr;
        {
          const std::lock_guard lock(*table.GetLock());
          held = table.GetRecord(random() % 8);
          if (held != nullptr) held->AddRef();
        }
        CString name = u"T1";
        table.GenerateName(name, 20);
        if (held != nullptr) held->RemoveRef();
      }
    });
  }
  std::mt19937 random(7);
  for (int i = 0; i < 3000; ++i) {
    const std::lock_guard lock(*table.GetLock());
    CTableObj* const record = table.GetRecord(random() % 8);
    if (i % 3 == 0) {
      record->SetName(CString("T" + std::to_string(random() % 99)));
    } else {
      table.Remove(record);
      table.Insert(record);
    }
  }
  stop = true;
  for (std::thread& holder : holders) holder.join();
  EXPECT_EQ(FindBroken(root), "");
  EXPECT_EQ(table.GetCount(), 8U);
}

}  // namespace
