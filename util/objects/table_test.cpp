#include "util/objects/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <mutex>
#include <random>
#include <thread>

#include "platform/framework/allocation_testing.h"
#include "util/docs/xml_document.h"
#include "util/i18n/message_ids.h"
#include "util/objects/surrogate_table.h"
#include "util/objects/table_testing.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/objects/unordered_table.h"

using namespace table_testing;
using tree_testing::FindBroken;

namespace {

class TableTest : public testing::Test {
 protected:
  TableTest() { RegisterTypes(); }
  // Whatever a test did, the tree is whole, and nothing is left when the test is over.
  ~TableTest() override {
    EXPECT_EQ(FindBroken(root), "");
    root.children.Reset();
    EXPECT_EQ(living, livingBefore);
  }
  CNode root{u"root"};
  CHookedTable& table = root.children;
  const int livingBefore = living;
};

TEST_F(TableTest, KeepsRecordsInNameOrderAndNamesApart) {
  EXPECT_EQ(Add(table, "tag2 Ärger Tag1 alarm Zone tag10 | tAG1 ÄRGER tag\0012"), 7);
  EXPECT_EQ(Names(table), "| alarm Ärger Tag1 tag10 tag2 Zone");
  unsigned index = 77;
  EXPECT_TRUE(table.FindRecord(nullptr, &index) == nullptr && table.FindRecord(u"tag3", &index) == nullptr);
  EXPECT_EQ(index, 77U);
  EXPECT_EQ(table.FindRecord(u"ZONE", &index), table.GetRecord(6));
  EXPECT_EQ(index, 6U);
  EXPECT_EQ(table.Insert(nullptr), CTable::invalid_index);
  EXPECT_EQ(table.Insert(table.GetRecord(0)), CTable::invalid_index) << "it is a record already";
  EXPECT_TRUE(table.FindRecord(u"tag3") == nullptr && Add(table, "Beta") == 1);  // another than was looked for last
}

struct falling_t : CTable {
  falling_t() : CTable(0, true, 0) {}
  int OnCompare(const char16_t* a, const char16_t* b) const override { return CTable::OnCompare(b, a); }
};

TEST_F(TableTest, GoesByTheOrderOfADerivedTable) {
  falling_t falling;
  std::string numbers;
  for (int i = 1000; i < 3000; ++i) numbers += std::to_string(i * 7919 % 2000 + 1000) + " ";
  EXPECT_EQ(Add(falling, numbers + "1000 2000"), 2000);
  EXPECT_EQ(Names(falling).substr(0, 10), "2999 2998 ");
  EXPECT_NE(falling.FindRecord(u"1234"), nullptr);
  CUnorderedTable unordered(0, true, 1);
  EXPECT_EQ(Add(unordered, "b A a c"), 4);
  unsigned index = 9;
  EXPECT_EQ(unordered.FindRecord(u"a", &index), unordered.GetRecord(1));
  EXPECT_EQ(index, 1U);
  CTableObj::Delete(unordered.GetRecord(2));
  EXPECT_EQ(Names(unordered), "b A c");
}

// Tables of one block and of many.
TEST_F(TableTest, StaysInOrderWhateverOrderRecordsComeAndGoIn) {
  for (const int count : {7, 256, 257, 2000}) {
    for (const std::string order : {"numbers", "falling", "names", "random"}) {
      SCOPED_TRACE(std::to_string(count) + " " + order);
      std::mt19937 random(1);
      std::vector<CString> names;
      for (int i = 0; i < count; ++i) names.push_back(CString("Tag" + std::to_string(i)));
      if (order == "falling") std::reverse(names.begin(), names.end());
      if (order == "names") std::sort(names.begin(), names.end());
      if (order == "random") std::shuffle(names.begin(), names.end(), random);
      for (const CString& name : names) ASSERT_EQ(table.GetRecord(table.Insert(new CLeaf(name)))->GetName(), name);
      ASSERT_EQ(FindBroken(root), "");
      for (int i = 0; i < count / 2; ++i) table.Delete(table.FindRecord(names[static_cast<std::size_t>(i)]));
      for (int i = 0; i < count / 4; ++i) CTableObj::Delete(table.GetRecord(0));
      ASSERT_EQ(table.GetCount(), static_cast<unsigned>(count - count / 2 - count / 4));
      ASSERT_EQ(FindBroken(root), "");
      table.Reset();
    }
  }
}

TEST_F(TableTest, MakesNamesFreeByCountingUp) {
  const auto generated = [&](const char* taken, const char* name, unsigned maxLength = 256) {
    CHookedTable other;
    Add(other, taken);
    CString text = name;
    const bool isFree = other.GenerateName(text, maxLength) != 0;
    EXPECT_EQ(other.FindRecord(text) == nullptr, isFree);
    return isFree ? text.ToUtf8() : "none, and still " + text.ToUtf8();
  };
  EXPECT_EQ(generated("Channel", "channel"), "channel1");
  EXPECT_EQ(generated("Tag007", "Tag007"), "Tag008");
  EXPECT_EQ(generated("Tag9", "Tag9"), "Tag10");
  EXPECT_EQ(generated("Abcde Abcd1", "Abcde", 5), "Abcd2");
  EXPECT_EQ(generated("T2147483647", "T2147483647"), "T0000000001");
  EXPECT_EQ(generated("T99999999999999999999", "T99999999999999999999"), "T00000000000000000001");
  EXPECT_EQ(generated("ab9 ab", "ab9", 4), "ab10");
  EXPECT_EQ(generated("Abc Ab1 Ab2 Ab3 Ab4 Ab5 Ab6 Ab7 Ab8 Ab9", "Abc", 3), "A10");
  EXPECT_EQ(generated("x😀y", "x😀y", 3), "x1");
  EXPECT_EQ(generated("x😀 x😀1 x😀2 x😀3 x😀4 x😀5 x😀6 x😀7 x😀8 x😀9", "x😀", 4), "x10");
  EXPECT_EQ(generated("abc12", "abc12", 5), "abc2") << "the last unit is cut before the digits are split off";
  EXPECT_EQ(generated("a 1 2 3 4 5 6 7 8 9", "a", 1), "none, and still a");
  // The next one of the same text goes on behind the last, even when that was not used.
  Add(table, "Tag Tag1 Tag2 New New1");
  for (const char16_t* expected : {u"Tag3", u"Tag4", u"Tag5", u"New2"}) {
    CString name = CString(expected).Left(3);
    EXPECT_EQ(table.GenerateName(name, 256), 1);
    EXPECT_EQ(name, expected);
  }
  table.Reset();
  Add(table, "Tag Tag1");
  CString afresh = u"Tag";
  table.GenerateName(afresh, 256);
  EXPECT_EQ(afresh, u"Tag2");
}

TEST_F(TableTest, WritesTheRecordsThatItIsToWrite) {
  Add(table, "A");
  const std::string_view expected(
      "\1\0\1\0\0\0\4\0\0\0\1\1\1\0\1\0\0\x80"
      "A\0\0\0\0",
      23);
  EXPECT_TRUE(std::ranges::equal(Saved(table), std::as_bytes(std::span(expected))));
  Add(table, "B C");
  table.onSave = [](unsigned index) { return index != 1; };
  const bytes_t two = Saved(table);
  EXPECT_EQ(two[2], std::byte{2});
  CMemFile file;
  EXPECT_EQ(table.Save(&file), 1);
  EXPECT_EQ(file.GetPosition(), two.size());
  EXPECT_FALSE(table.IsModified());
  EXPECT_EQ(Load(table, two), 1);
  EXPECT_EQ(Names(table), "A C");
  EXPECT_EQ(table.saves * 10 + table.resets, 31);
  CFile closed;
  EXPECT_EQ(table.Save(&closed) + table.Load(&closed), 0);
  table.Insert(new CLeaf(u"refused", kRefused));
  EXPECT_EQ(table.Save(&file), 0);
}

TEST_F(TableTest, ReadsBothFormatsAndRefusesWhateverIsCutOrFalse) {
  for (const auto& [name, names] : {std::pair("format0.bin", "b Ux_y"), std::pair("format1.bin", "a b B1 node")}) {
    SCOPED_TRACE(name);
    std::ifstream in(std::string(ZORUTIL_SOURCE_DIR "/tests/data/tables/") + name, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    bytes_t bytes(std::as_bytes(std::span(text)).begin(), std::as_bytes(std::span(text)).end());
    table.loads = 0;
    std::string created;
    table.onCreate = [&](CTableObj* object) { created += object->GetName().ToUtf8() + "."; };
    ASSERT_EQ(Load(table, bytes), 1);
    EXPECT_EQ(Names(table), names);
    EXPECT_EQ(created, std::string(table.GetCount(), '.'));
    table.onCreate = nullptr;
    EXPECT_EQ(table.loads, 1);
    EXPECT_EQ(Load(table, Saved(CHookedTable())) * 10 + table.loads, 11) << "OnLoad is for tables with records";
    ASSERT_EQ(Load(table, bytes), 1);
    EXPECT_FALSE(root.IsModified() || table.IsModified());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      ASSERT_EQ(Load(table, std::span(bytes).first(length)), 0) << length;
      ASSERT_EQ(table.GetCount(), 0U) << length;
    }
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {  // counts of thousands of millions among them
      const std::byte mask = std::byte{1} << bit % 8;
      bytes[bit / 8] ^= mask;
      Load(table, bytes);
      ASSERT_EQ(FindBroken(root), "") << bit;
      bytes[bit / 8] ^= mask;
    }
    table.canHold = [](const CTableObj& object) { return object.GetParent() != nullptr; };
    EXPECT_EQ(Load(table, bytes), 0);
    table.canHold = nullptr;
  }
}

struct forgetful_t : CUnorderedTable {
  forgetful_t() : CUnorderedTable(0, true, 1) {}
  void OnRecordLoad(unsigned index) override { index == 1 ? Delete(GetRecord(0)) : void(); }
};

// Names that are equal by turns, names that are equal but for what does not count, and a text that gets shorter.
TEST_F(TableTest, LoadsEqualNamesUnderNamesOfTheirOwn) {
  CUnorderedTable source(0, true, 16);
  const std::string lengthy(255, 'x');
  for (int i = 0; i < 1000; ++i) Add(source, "Tag tag0\1 " + lengthy);
  const bytes_t bytes = Saved(source);
  ASSERT_EQ(Load(table, bytes), 1);
  EXPECT_EQ(table.GetCount(), 3000U);
  EXPECT_NE(table.FindRecord(CString(lengthy + "1")), nullptr) << "of 256 units";
  ASSERT_EQ(Load(source, bytes), 1);
  EXPECT_EQ(source.GetRecord(3)->GetName(), u"Tag1");
  EXPECT_FALSE(source.GetRecord(3)->IsModified());
  source.Reset();
  Add(source, "Tag Tag Tag007 Tag007 Tag");
  ASSERT_EQ(Load(table, Saved(source)), 1);
  EXPECT_EQ(Names(table), "Tag Tag007 Tag008 Tag1 Tag9") << "one text, one last number";
  source.Reset();
  Add(source, "b b b");
  forgetful_t forgetful;
  ASSERT_EQ(Load(forgetful, Saved(source)), 1);
  EXPECT_EQ(Names(forgetful), "b") << "the name of a record that a hook deleted is free";
}

TEST_F(TableTest, StandsHooksThatChangeIt) {
  Add(table, "b d f h");
  const bytes_t bytes = Saved(table);
  std::string loaded;
  table.onInsert = [&](unsigned index) {
    const CString name = table.GetRecord(index)->GetName();
    if (name == u"d") Add(table, "a");                        // the record moves up
    if (name == u"f") table.Delete(table.GetRecord(index));   // it is gone before it is loaded
    if (name == u"h") table.GetRecord(index)->SetName(u"0");  // to another place
  };
  table.onLoad = [&](unsigned index) { loaded += table.GetRecord(index)->GetName().ToUtf8(); };
  ASSERT_EQ(Load(table, bytes), 1);
  EXPECT_EQ(Names(table), "0 a b d");
  EXPECT_EQ(loaded, "bd0");
  EXPECT_EQ(FindBroken(root), "");
  table.onInsert = nullptr;
  table.onLoad = [&](unsigned) { table.Reset(); };
  EXPECT_EQ(Load(table, bytes), 1);
  EXPECT_EQ(table.GetCount(), 0U);
  table.onLoad = [&](unsigned index) { index == 1 ? throw std::bad_alloc() : void(); };
  EXPECT_THROW(Load(table, bytes), std::bad_alloc);
  EXPECT_EQ(table.GetCount(), 0U);
  table.onLoad = nullptr;
  table.onLoadAll = [&](int) { throw std::bad_alloc(); };
  EXPECT_THROW(Load(table, bytes), std::bad_alloc);
  EXPECT_EQ(table.GetCount(), 0U);
  Add(table, "a b c");
  table.onRemove = [&](unsigned index) { index == 1 ? table.Delete(table.GetRecord(0)) : void(); };
  CTableObj::Delete(table.GetRecord(1));
  EXPECT_EQ(Names(table), "c");
}

TEST_F(TableTest, MarksItselfAndItsOwnerForWhateverComesAndGoes) {
  const auto marks = [&](const std::function<void()>& change) {
    root.SetModified(false);
    table.SetModified(false);
    change();
    return 10 * table.IsModified() + root.IsModified();
  };
  EXPECT_EQ(marks([&] { Add(table, "a b c d"); }), 11);
  EXPECT_EQ(marks([&] { table.Delete(table.GetRecord(0)); }), 11);
  EXPECT_EQ(marks([&] { table = CHookedTable(table); }), 11);
  EXPECT_EQ(marks([&] { table.Reset(); }), 0);
  table.SetTrackMods(false);
  EXPECT_EQ(marks([&] { Add(table, "e"); }), 0);
  table.SetTrackMods(true), table.SetModified(true), table.SetTrackMods(false);
  EXPECT_TRUE(Load(table, Saved(CHookedTable())) == 1 && table.IsModified()) << "the mark is what it was";
}

TEST_F(TableTest, RenamesInOneStepOrNotAtAll) {
  table.Insert(new CLeaf(u""));
  Add(table, "a c e");
  std::string heard;
  table.onRemove = [&](unsigned index) { heard += "-" + std::to_string(index); };
  table.onInsert = [&](unsigned index) { heard += "+" + std::to_string(index); };
  root.SetModified(false);
  EXPECT_FALSE(table.Rename(table.GetRecord(1), u"C"));
  EXPECT_FALSE(root.IsModified());
  EXPECT_TRUE(table.GetRecord(1)->SetName(u"A"));
  EXPECT_TRUE(table.GetRecord(0)->SetName(u"d"));
  EXPECT_EQ(Names(table) + heard, "A c d e-1+1-0+2");
  EXPECT_TRUE(root.IsModified());
}

TEST_F(TableTest, CarriesReferencesUpTheTree) {
  auto* const node = new CNode(u"node");
  table.Insert(node);
  Add(node->children, "leaf");
  CTableObj* const leaf = node->children.GetRecord(0);
  for (int i = 0; i < 3; ++i) leaf->AddRef();
  node->children.AddRef();
  EXPECT_EQ(root.GetRefCount(), 4);
  table.Remove(node);
  EXPECT_EQ(root.GetRefCount(), 0);
  table.Insert(node);
  node->children.Remove(0U);
  EXPECT_EQ(root.GetRefCount(), 1);
  {
    CSurrogateTable lent(node, leaf);
    const CSurrogateTable second(nullptr, leaf);
    EXPECT_EQ(leaf->GetParent(), node);
    EXPECT_EQ(root.GetRefCount(), 4);
    EXPECT_EQ(second.GetCount(), 0U);
    CLeaf other(u"other");
    EXPECT_EQ(lent.Insert(&other), CTable::invalid_index) << "it would be destroyed with the table";
  }
  EXPECT_EQ(leaf->GetRefCount(), 3);
  node->children.Insert(leaf);
  node->children.Reset();
  EXPECT_EQ(node->children.GetRefCount(), 1) << "held from outside";
  EXPECT_EQ(node->children.RemoveRef(), 0);
}

TEST_F(TableTest, LivesInDocuments) {
  Add(table, "b");
  auto* const node = new CNode(u"a");
  table.Insert(node);
  Add(node->children, "x");
  CXmlDocument document;
  void* const top = document.WriteElement(nullptr, u"urn:t", u"Top", false, u"");
  ASSERT_EQ(table.Save(&document, top, u"urn:t"), 1);
  ASSERT_EQ(table.Load(&document, top, u"urn:t"), 1);
  EXPECT_EQ(Names(table) + Names(*table.GetRecord(0)->GetChildTable(0)), "a bx");
  document.ReleaseElement(top);

  // "q" and a record that fails; the second time with somebody who wants to hear of all that is wrong.
  const auto check = [&](const std::string& name, const char* value, unsigned id, const std::string& type = "Leaf") {
    SCOPED_TRACE(type + " " + name);
    const std::string record = "<" + type + "><Name>" + name + "</Name><Value>" + value + "</Value></" + type + ">";
    const CString text("<Top><Children><Leaf><Name>q</Name><Value>1</Value></Leaf>" + record + "</Children><Children>" +
                       (id != 0 ? record : "") + "</Children></Top>");
    CXmlDocument loaded;
    ASSERT_EQ(loaded.SetXml(text), 1);
    void* const element = loaded.GetElementByName(nullptr, nullptr, nullptr, false);
    EXPECT_EQ(table.Load(&loaded, element, u""), id == 0 ? 1 : 0);
    EXPECT_EQ(table.GetCount(), id == 0 ? 2U : 0U);
    const auto message = loaded.RemoveLastError();
    EXPECT_EQ(message != nullptr ? message->GetMessageId() : 0, id);
    errors_t errors;
    const zorutil::CLoadErrorScope scope(&errors);
    EXPECT_EQ(table.Load(&loaded, element, u""), 1);
    EXPECT_EQ(errors.ids, std::vector<unsigned>(id != 0 ? 2 : 0, id));
    EXPECT_EQ(Names(table), id == 0 ? "q " + name : "q");
  };
  table.canHold = [](const CTableObj& object) { return object.GetType() == kLeaf; };
  check("r", "2", 0);
  check("Q", "2", i18n::IDS_OBJECT_NAME_TAKEN);
  check("r", "57005", i18n::IDS_OBJECT_NOT_READ);
  check("a&quot;b", "2", i18n::IDS_OBJECT_NAME_NOT_VALID);
  check("r", "2", i18n::IDS_TYPE_NOT_TAKEN, "Node");
  check("r", "2", i18n::IDS_TYPE_UNKNOWN, "Pump");
}

// Each allocation fails once: what was not done leaves no trace.
TEST_F(TableTest, IsWholeWhicheverAllocationFails) {
  CNode source(u"source");
  for (int i = 0; i < 300; ++i) Add(source.children, "T" + std::to_string(i));
  const bytes_t bytes = Saved(source.children);
  Add(table, "alone");
  CLeaf* leaf = new CLeaf(u"more");
  const auto failEach = [&](const char* what, const std::function<void()>& run) {
    SCOPED_TRACE(what);
    const std::string before = Names(table);
    bool isDone = false;
    for (int allowed = 0; !isDone; allowed += allowed > 200 ? 98 : 1) {
      allocation_testing::allocationsLeft = allowed;
      try {
        run();
        isDone = true;
      } catch (const std::bad_alloc&) {
      }
      allocation_testing::allocationsLeft = -1;
      ASSERT_EQ(FindBroken(root), "");
      ASSERT_TRUE(isDone || Names(table) == before) << Names(table);
    }
  };
  failEach("rename", [&] { table.Rename(table.GetRecord(0), u"other name, of some length"); });
  failEach("insert", [&] { table.Insert(leaf); });
  failEach("assign", [&] { table = source.children; });
  EXPECT_EQ(table.GetCount(), 300U);
  source.children.Insert(new CLeaf(u"x", kRefused));
  EXPECT_THROW(table = source.children, zorplatform::CException);
  table.Reset();
  failEach("load", [&] { Load(table, bytes); });
  // A record that is alone in its block, between full ones, goes to a full one.
  table.Reset();
  for (int i = 1000; i < 2024; ++i) Add(table, std::to_string(i));
  for (int i = 0; i < 255; ++i) CTableObj::Delete(table.GetRecord(256));
  failEach("rename from a block of one", [&] { table.Rename(table.GetRecord(256), u"1900x"); });
  source.children.Reset();
}

// For the thread sanitizer above all: records come, go and change their names while others hold and look them up.
TEST_F(TableTest, CountsAddUpWhateverThreadsDoTogether) {
  Add(table, "T0 T1 T2 T3 T4 T5 T6 T7");
  std::atomic<bool> stop{false};
  const auto hold = [&](unsigned seed) {
    for (std::mt19937 random(seed); !stop;) {
      CTableObj* held = nullptr;
      {
        const std::lock_guard lock(*table.GetLock());
        held = table.GetRecord(random() % 8);
        held->AddRef();
      }
      CString name = u"T1";
      table.GenerateName(name, 20);
      held->RemoveRef();
    }
  };
  std::thread first(hold, 1);
  std::thread second(hold, 2);
  std::mt19937 random(7);
  for (int i = 0; i < 3000; ++i) {
    const std::lock_guard lock(*table.GetLock());
    CTableObj* const record = table.GetRecord(random() % 8);
    record->SetName(CString("T" + std::to_string(random() % 99)));
    table.Remove(record);
    table.Insert(record);
  }
  stop = true;
  first.join();
  second.join();
  EXPECT_EQ(table.GetCount(), 8U);
}

}  // namespace
