#include "util/objects/table_obj.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/xml_document.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/objects/object_serialization.h"
#include "util/objects/tree_testing.h"
#include "util/properties/validation.h"
#include "util/serialization/serialization_buffer.h"
#include "util/serialization/stream_testing.h"

namespace {

using namespace tree_testing;
using stream_testing::Bytes;
using zorplatform::CException;
using zorutil::ref_counted_obj_ptr;

template <class Call>
int CodeOf(Call call) {
  try {
    call();
  } catch (const CException& error) {
    return error.GetCode();
  }
  return 0;
}

// root: parts "b", "c"; boxes "b" with a part "x", "inner" with a box "root" with a part "c".
struct TableObj : testing::Test {
  TableObj() {
    partB = root->Add(MakePart(u"b", 1));
    partC = root->Add(MakePart(u"c", 2));
    boxB = root->Add(MakeBox(u"b"));
    partX = boxB->Add(MakePart(u"x", 3));
    deep = root->Add(MakeBox(u"inner"))->Add(MakeBox(u"root"))->Add(MakePart(u"c", 4));
  }
  types_t types;
  owned_t<CBox> root = MakeBox(u"root");
  CPart *partB, *partC, *partX, *deep;
  CBox* boxB;
};

TEST(TableObjTypes, ANegativeSubtypeFillsTheTypeWithOnes) {
  const struct {
    short type, subtype;
    std::int32_t full;
    short typeOfFull;
  } cases[] = {{1, -1, -1, -1}, {2, 3, 0x20003, 2}, {-2, 0, -0x20000, -2}, {5, -32768, -32768, -1}};
  for (const auto& c : cases) {
    EXPECT_EQ(CTableObj::MakeFullType(c.type, c.subtype), c.full);
    EXPECT_EQ(CTableObj::TypeFromFullType(c.full), c.typeOfFull);
    EXPECT_EQ(CTableObj::SubTypeFromFullType(c.full), c.subtype);
  }
  CPart part(200);
  EXPECT_EQ(part.GetVersion(), 72);
  part.SetSubtype(-1);
  EXPECT_EQ(part.GetFullType(), 0x7FFFF);  // only the low half
  part.SetType(9);
  EXPECT_EQ(part.GetFullType(), 0x90000);
  EXPECT_EQ(CTableObj::GetFullType(nullptr), -1);
}

TEST(TableObjNames, ValidOnesAreToldAndOldOnesRepaired) {
  const struct {
    const char16_t* name;
    bool isValid;
    const char16_t* repaired;
  } cases[] = {{u"", false, u"noname"},   {u"   ", false, u"noname"}, {u"_a.b", false, u"Ua_b"},
               {u"_x.y", false, u"Ux_y"}, {u" . ", false, u"U"},      {u" a", false, u"a"},
               {u"a\"b", false, u"a\"b"}, {u"a_b c", true, u"a_b c"}, {u"a ", true, u"a"},
               {u"\ta", true, u"a"}};
  for (const auto& c : cases) {
    CString name = c.name;
    EXPECT_EQ(CTableObj::IsValidBaseName(c.name), c.isValid) << name;
    EXPECT_EQ(CTableObj::FixUpLegacyName(name), c.repaired);
  }
  EXPECT_FALSE(CTableObj::IsValidBaseName(nullptr));
}

TEST_F(TableObj, RenamingMovesTheRecordAndNeverLosesIt) {
  root->SetModified(false);
  EXPECT_TRUE(partB->SetName(u"b"));
  EXPECT_FALSE(partB->SetName(u"C"));  // another's
  EXPECT_FALSE(root->IsModified());
  EXPECT_EQ(partB->GetName(), u"b");
  EXPECT_EQ(root->parts.FindRecord(u"b"), partB);
  EXPECT_TRUE(partB->SetName(u"B"));
  EXPECT_TRUE(root->IsModified());
  partB->AddRef();
  EXPECT_TRUE(partB->SetName(u"z"));
  EXPECT_EQ(root->parts.GetRecord(1), partB);
  EXPECT_EQ(root->GetRefCount(), 1);
  partB->RemoveRef();
}

TEST_F(TableObj, CopiesTakeWhatTheyShallAndNoMore) {
  partX->SetDescription(u"text");
  partX->SetParam(this);
  partX->SetCustomBit(7, true);
  EXPECT_TRUE(partX->GetCustomBit(7) && !partX->GetCustomBit(6) && !partX->GetCustomBit(8 + 7));
  CPart copy(*partX);
  EXPECT_TRUE(copy == *partX && copy.GetDescription() == u"text" && !copy.IsInTable() && copy.IsTrackingMods());
  EXPECT_TRUE(copy.GetParam() == nullptr && !copy.GetCustomBit(7) && !copy.IsModified());
  copy.value = 9;
  EXPECT_FALSE(copy == *partX);
  copy.SetTrackMods(false);
  *partB = copy;
  EXPECT_EQ(root->parts.FindRecord(u"x"), partB);  // renamed in its table
  EXPECT_TRUE(partB->GetDescription() == u"text" && !partB->IsTrackingMods() && partB->value == 9);
  partB->SetModified(true);
  EXPECT_FALSE(partB->IsModified());
  partB->SetDescription(nullptr);
  EXPECT_FALSE(partB->HaveDescription());
}

TEST_F(TableObj, ChangesClimbAndClearingDoesNot) {
  CMemFile file;
  const auto clear = [&] {
    root->Save(&file, false);
    return !root->IsModified() && !boxB->IsModified() && !partX->IsModified() && !root->boxes.IsModified();
  };
  ASSERT_TRUE(clear());
  partX->SetDescription(u"d");
  EXPECT_TRUE(partX->IsModified() && boxB->parts.IsModified() && boxB->IsModified() && root->IsModified());
  partX->SetModified(false);
  EXPECT_TRUE(root->IsModified());
  ASSERT_TRUE(clear());
  const CTableObj::serialization_scope_t scope(*partX, false, true);
  partX->SetModified(true);
  EXPECT_TRUE(partX->IsModified() && !boxB->IsModified());
}

TEST_F(TableObj, ReferencesCountForAllAboveAndKeepADeletedTree) {
  ref_counted_obj_ptr held[] = {partX, partX, partX};
  EXPECT_EQ(boxB->parts.GetRefCount() + boxB->GetRefCount() + root->GetRefCount(), 9);
  boxB->parts.Remove(partX);
  EXPECT_EQ(partX->GetRefCount(), 3);
  EXPECT_EQ(boxB->parts.GetRefCount() + boxB->GetRefCount() + root->GetRefCount(), 0);
  ASSERT_TRUE(boxB->AddObject(partX));
  EXPECT_EQ(boxB->parts.GetRefCount() + boxB->GetRefCount() + root->GetRefCount(), 9);
  boxB->Delete();
  root.reset();
  EXPECT_EQ(alive, 2);
  EXPECT_TRUE(boxB->IsDeletePending());
  CString path;
  EXPECT_EQ(held[0]->GetPath(path), u"b.x");
  held[2] = nullptr;
  held[1] = held[0] = nullptr;
  EXPECT_EQ(alive, 0);
  CTableObj* const alone = new CPart;
  ref_counted_obj_ptr last = alone;
  alone->Delete();
  EXPECT_EQ(alive, 1);
  last = nullptr;
  EXPECT_EQ(alive, 0);
}

TEST_F(TableObj, FindsByPathThroughAllTables) {
  const struct {
    const CTableObj* from;
    const char16_t* path;
    short type;
    const CTableObj* found;
  } cases[] = {{root.get(), u"b", -1, partB},
               {root.get(), u"B", kBox, boxB},
               {root.get(), u"b.x", -1, partX},
               {root.get(), u"root.b.X", kPart, partX},
               {root.get(), u"root", -1, root.get()},
               {root.get(), u"root", kPart, nullptr},
               {root.get(), u"inner.root.c", -1, deep},
               {root.get(), u"b.x.y", -1, nullptr},
               {root.get(), u"b.x", kBox, nullptr},
               {root.get(), u"", -1, nullptr},
               {root.get(), nullptr, -1, nullptr},
               {root.get(), u"b..x", -1, nullptr},
               {root.get(), u"b.", -1, nullptr},
               {boxB, u"x", -1, partX},
               {boxB, u"b.x", -1, nullptr}};
  for (const auto& c : cases) EXPECT_EQ(c.from->FindObject(c.path, c.type, -1), c.found) << CString(c.path);
  for (const CTableObj* each : {partB, partC, partX, deep}) {
    CString path;
    EXPECT_EQ(root->FindObject(each->GetPath(path), kPart, kPartSubtype), each) << path;
    EXPECT_FALSE(root->FindObject(path, kPart, 4));
  }
}

TEST_F(TableObj, SearchesByNameAndTypeInAnyDepth) {
  struct visitor_t : zorutil::ITableObjVisitor {
    bool Visit(CTableObj& object) override { return ++seen, &object == wanted; }
    int seen = 0;
    const CTableObj* wanted = nullptr;
  } visitor;
  EXPECT_FALSE(root->FindObjectByName(u"C", visitor));
  EXPECT_EQ(visitor.seen, 2);
  visitor.wanted = deep;
  EXPECT_EQ(root->FindObjectByName(u"c", visitor), deep);
  visitor = {};
  EXPECT_FALSE(zorutil::VisitObjectsBelow(*root, visitor));
  EXPECT_EQ(visitor.seen, 7);
  EXPECT_EQ(root->GetChildObjects(-1, -1).size(), 4U);
  EXPECT_EQ(root->GetChildObjects(kPart, kPartSubtype).size(), 2U);
  EXPECT_EQ(root->GetChildObjects(kPart, 4).size(), 0U);
  EXPECT_EQ(root->GetRefCount(), 0);
}

TEST_F(TableObj, FactoriesAreFoundByNumberNameAndList) {
  EXPECT_EQ(CodeOf([] { CTableObj::Register(kBox, 0, types_t::NewPart); }), -1);
  EXPECT_EQ(CodeOf([] { CTableObj::CreateObject(99); }), -1);
  EXPECT_EQ(CodeOf([] { CTableObj::CreateObject(u"nothing"); }), -1);
  EXPECT_EQ(CodeOf([] { zorutil::CTypeRegistry::Register(50, u"BOX"); }), -1);
  EXPECT_EQ(zorutil::owned_obj_ptr(CTableObj::CreateObject(u"bOX"))->GetObjectName(), u"Box");
  CTableObj::property_list_t list;
  partX->GetProperties(list);
  EXPECT_EQ(zorutil::owned_obj_ptr(CTableObj::CreateObject(list))->GetFullType(), partX->GetFullType());
  EXPECT_EQ(CodeOf([] { CTableObj::CreateObject(CTableObj::property_list_t()); }), -1);

  CTableObj* (*const failing)() = []() -> CTableObj* { throw std::bad_alloc(); };
  CTableObj::Register(20, 1, failing);
  CTableObj::Register(20, 0, failing);
  EXPECT_THROW(CTableObj::CreateObject(20, 0), std::bad_alloc);
  std::thread([] { CTableObj::Delete(CTableObj::CreateObject(kBox, 0)); }).join();  // the lock is free
  CTableObj::Unregister(failing);
  EXPECT_EQ(CodeOf([] { CTableObj::CreateObject(20, 0); }), -1);
  EXPECT_THROW(CTableObj::CreateObject(20, 1), std::bad_alloc);
  CTableObj::Unregister(failing);
}

TEST_F(TableObj, PropertiesRefuseNamesThatAreTakenOrNotValid) {
  CTableObj::property_list_t list;
  partC->GetProperties(list);
  EXPECT_THROW(partB->SetProperties(list), i18n::message_exception_t);
  EXPECT_EQ(partB->GetName(), u"b");
  list.front()->SetValue(CVariant(u"new"));
  partB->SetProperties(list);
  EXPECT_EQ(root->parts.FindRecord(u"new"), partB);
  list.front()->SetValue(CVariant(u"a.b"));
  zorutil::properties::CValidationContext context;
  EXPECT_THROW(partB->ValidateProperties(list, context), i18n::message_exception_t);
}

// --- records -------------------------------------------------------------------------------------------------------

TEST_F(TableObj, RecordsOfEveryFormatAreRead) {
  CTableObj::Register(kPart, 0, types_t::NewPart);
  CTableObj::Register(kPart, 9, types_t::NewPart);
  const struct {
    const char16_t *name, *description;
    int value, extra;
  } cases[] = {{u"Ux_y", u"", 42, 0},
               {u"P.1", u"", 7, 0},
               {u"Pump", u"old", -1, 0x102},
               {u"Pump", u"", 5, 6},
               {u"Pump 7", u"\u00E4\u00F6", 123456789, -1}};
  for (int format = 0; format <= 4; ++format) {
    SCOPED_TRACE(format);
    const auto& c = cases[format];
    const std::string bytes =
        FileText(ZORUTIL_SOURCE_DIR "/tests/data/object_records/format" + std::to_string(format) + ".bin");
    CMemFile file(std::as_bytes(std::span(bytes)));
    CPart part;
    part.SetDescription(u"before");
    EXPECT_EQ(part.Load(&file, true) != 0, c.value != -1);
    EXPECT_TRUE(part.GetName() == c.name && part.GetDescription() == c.description) << part.GetName();
    EXPECT_TRUE(part.value == c.value && part.extra == c.extra && part.GetVersion() == 2);
    EXPECT_EQ(part.IsModified(), c.value == -1);
    stream_testing::ExpectFileRefusesDamage(stream_testing::Hex(file.GetContent()), [](CFile* in) {
      CPart direct;
      const int result = direct.Load(in, true);
      in->SeekToBegin();
      const zorutil::owned_obj_ptr made(CTableObj::CreateObject(in));
      EXPECT_EQ(made->Load(in, true), result);
      EXPECT_EQ(made->GetName(), direct.GetName());
      EXPECT_EQ(made->GetVersion(), 2);
    });
    CMemFile written;
    part.Save(&written, true);
    EXPECT_EQ(stream_testing::Hex(written.GetContent()) == stream_testing::Hex(file.GetContent()), format == 4);
  }
  CTableObj::Unregister(types_t::NewPart);
  CTableObj::Unregister(types_t::NewPart);
}

TEST_F(TableObj, RecordsThatDoNotFitAreRefusedAsFarAsTheyGo) {
  const struct {
    const char* hex;
    int code, result;
    const char16_t* name;
  } cases[] = {{"0400 03000700 0300 02000080 4142", 0, 0, u"AB"},                // newer: no data is read
               {"0100 0800 0100 BB 02000080 4142 01000000", 0, 1, u"AB"},        // old formats do not check the type
               {"0200 03000800 0100 BB 02000080 4142 01000000", -1, 0, u"old"},  // another type
               {"0500 03000700 0100 02000080 4142 01000000", -1, 0, u"old"},     // another format
               {"0400 FFFFFFFF 0100 02000080 4142 01000000", -1, 0, u"old"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.hex);
    auto part = MakePart(u"old");
    CMemFile file(Bytes(c.hex));
    EXPECT_EQ(CodeOf([&] { EXPECT_EQ(part->Load(&file, true), c.result); }), c.code);
    EXPECT_EQ(part->GetName(), c.name);
    EXPECT_TRUE(part->GetVersion() == 2 && part->IsTrackingMods() && !part->IsSerializing());
    EXPECT_EQ(part->IsModified(), c.result == 0);
  }
  CFile closed;
  EXPECT_EQ(root->Load(&closed, false) + root->Save(&closed, false) + root->Load(nullptr, false), 0);
  EXPECT_EQ(CTableObj::CreateObject(&closed), nullptr);
}

TEST_F(TableObj, AScopeTellsWhatIsUnderWay) {
  using scope_t = CTableObj::serialization_scope_t;
  std::string seen;
  onData = [&](const CTableObj& part) {
    seen += {part.IsSerializing() ? 'S' : '-',
             part.IsRecursing() ? 'R' : '-',
             part.IsSerializingBinary() ? 'B' : '-',
             scope_t::sm_bRootSerializing ? 'T' : '-',
             static_cast<char>('0' + scope_t::sm_uRecursionCount),
             ' '};
  };
  CMemFile file;
  CXmlDocument xml;
  partX->Save(&file, true);
  partX->Save(&xml, nullptr, nullptr, false);
  boxB->Save(&file, false);
  root->Save(&file, false);
  onData = nullptr;
  EXPECT_EQ(seen, "S-B-1 SR--1 SRB-2 SRBT2 SRBT2 SRBT3 SRBT4 ");
  EXPECT_FALSE(partX->IsSerializing() || scope_t::sm_bRootSerializing || scope_t::sm_uRecursionCount != 0);
}

TEST_F(TableObj, NestingHasALimitBothWays) {
  CBox* innermost = root.get();
  unsigned depth = 1;
  for (; depth < CTableObj::kMaxDepth; ++depth) innermost = innermost->Add(MakeBox(u"n"));
  CMemFile file;
  EXPECT_NE(root->Save(&file, false), 0);
  file.SeekToBegin();
  EXPECT_NE(MakeBox(u"")->Load(&file, false), 0);
  innermost->Add(MakeBox(u"n"));
  EXPECT_EQ(CodeOf([&] { root->Save(&file, false); }), -1);
  CMemFile hostile;
  const auto level = Bytes("0400 00000800 0100 00000000 0100 00000000 0100 01000000");  // no parts, a box
  for (int i = 0; i < 100000; ++i) hostile.Write(level.data(), static_cast<unsigned>(level.size()));
  hostile.SeekToBegin();
  EXPECT_EQ(CodeOf([&] { MakeBox(u"")->Load(&hostile, false); }), -1);
}

// --- documents -----------------------------------------------------------------------------------------------------

TEST_F(TableObj, DocumentsHoldTheTreeAndRepairNames) {
  CXmlDocument xml;
  ASSERT_NE(root->Save(&xml, nullptr, nullptr, false), 0);
  auto read = MakeBox(u"");
  void* const top = xml.GetElementByName(nullptr, nullptr, u"Box", false);
  ASSERT_NE(read->Load(&xml, top, nullptr, false), 0) << xml.GetLastErrorText();
  EXPECT_TRUE(*read == *root && !read->IsModified());
  EXPECT_TRUE(read->FindObject(u"root.inner.root.c"));

  const struct {
    const char16_t *stored, *name;
    unsigned error;
  } cases[] = {{u"_a.b", u"Ua_b", 0}, {u"", u"noname", 0}, {u"a\"b", u"old", i18n::IDS_OBJECT_NAME_NOT_VALID}};
  for (const auto& c : cases) {
    CXmlDocument one;
    void* const element = one.WriteElement(nullptr, nullptr, u"Part", false, u"");
    one.WriteElement(element, nullptr, u"Name", true, c.stored);
    one.WriteElement(element, nullptr, u"Value", true, 5);
    auto part = MakePart(u"old");
    EXPECT_EQ(part->Load(&one, element, nullptr, true), c.error == 0);
    EXPECT_TRUE(part->GetName() == c.name && part->IsTrackingMods());
    const auto error = one.RemoveLastError();
    EXPECT_EQ(error != nullptr ? error->GetMessageId() : 0, c.error);
    one.ReleaseElement(element);
  }
  xml.ReleaseElement(top);
  partX->SetSubtype(77);
  EXPECT_EQ(partX->Save(&xml, nullptr, nullptr, true), 0);
  EXPECT_EQ(xml.RemoveLastError()->GetMessageId(), unsigned{i18n::IDS_OBJECT_TYPE_WITHOUT_NAME});
}

// --- copying -------------------------------------------------------------------------------------------------------

TEST_F(TableObj, ACopyIsEqualAndTheSourceStaysAsItWas) {
  partX->SetDescription(u"d");
  root->AddRef();
  const owned_t<CBox> copy(static_cast<CBox*>(CTableObj::CopyObject(*root, CTableObj::kCopyHierarchy)));
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(*copy == *root && copy->IsModified() && copy->GetRefCount() == 0);
  EXPECT_EQ(copy->FindObject(u"root.b.x")->GetDescription(), u"d");
  EXPECT_TRUE(partX->IsModified() && boxB->IsModified() && root->boxes.IsModified() && !CTableObj::IsCopying());
  root->RemoveRef();

  EXPECT_EQ(
      zorutil::owned_obj_ptr(CTableObj::CopyObject(*root, CTableObj::kCopyObject))->GetChildObjects(-1, -1).size(), 0U);
  EXPECT_TRUE(CTableObj::CopyObject(*partX, *partB, CTableObj::kCopyObject));
  EXPECT_TRUE(*partX == *partB && root->parts.FindRecord(u"x") == partB);
  EXPECT_TRUE(CTableObj::CopyObject(*partX, *partC, CTableObj::kCopyObject));
  EXPECT_TRUE(partC->value == 3 && partC->GetName() == u"c");  // the name is taken there
  EXPECT_FALSE(CTableObj::CopyObject(*partX, *boxB, CTableObj::kCopyObject));
  EXPECT_FALSE(CTableObj::CopyObject(*partX, nullptr, CTableObj::kCopyObject));
  deep->value = -1;
  EXPECT_EQ(CTableObj::CopyObject(*root, CTableObj::kCopyHierarchy), nullptr);
  CTableObjNp plain(3);
  plain.SetTrackMods(true);
  plain.SetModified(true);
  CMemFile file;
  EXPECT_TRUE(plain.Save(&file, true) == 0 && plain.IsModified() && plain.GetVersion() == 99);
  EXPECT_FALSE(CTableObj::CopyObject(plain, plain, CTableObj::kCopyObject));
}

TEST_F(TableObj, FailedAllocationsLeaveNothingBehind) {
  CMemFile file;
  root->Save(&file, false);
  const int before = alive;
  const std::function<void()> calls[] = {
      [&] { CTableObj::Delete(CTableObj::CopyObject(*root, CTableObj::kCopyHierarchy)); },
      [&] {
        CMemFile out;
        root->Save(&out, false);
      },
      [&] {
        file.SeekToBegin();
        const zorutil::owned_obj_ptr made(CTableObj::CreateObject(&file));
        EXPECT_NE(made->Load(&file, false), 0);
      },
      [&] { partC->SetName(partC->GetName() == u"c" ? u"a long name that needs memory" : u"c"); },
      [&] { partC->SetDescription(u"a long text that needs memory"); }};
  for (const auto& call : calls) {
    for (int left = 0;; ++left) {
      ASSERT_LT(left, 10000);
      allocation_testing::allocationsLeft = left;
      try {
        call();
        allocation_testing::allocationsLeft = -1;
        break;
      } catch (const std::bad_alloc&) {
        allocation_testing::allocationsLeft = -1;
      }
      EXPECT_EQ(alive, before) << left;
      EXPECT_EQ(root->parts.FindRecord(partC->GetName()), partC);
      EXPECT_TRUE(root->IsTrackingMods() && !root->IsSerializing() && !CTableObj::IsCopying());
    }
  }
  EXPECT_EQ(partC->GetDescription(), u"a long text that needs memory");
}

// --- threads -------------------------------------------------------------------------------------------------------

// Run under the thread sanitizer, these are what the rules at the top of the header rest on.

// `work` runs again and again on two threads while `call` runs `rounds` times on this one.
void Together(int rounds, const std::function<void(unsigned)>& work, const std::function<void(unsigned)>& call) {
  std::atomic<bool> isDone{false};
  std::atomic<unsigned> worked{0};
  const auto run = [&] {
    for (unsigned i = 0; !isDone; ++i, ++worked) work(i);
  };
  std::thread threads[] = {std::thread(run), std::thread(run)};
  for (int i = 0; i < rounds || worked < 100; ++i) call(static_cast<unsigned>(i));
  isDone = true;
  for (std::thread& thread : threads) thread.join();
}

TEST_F(TableObj, ThreadsReadRenameDeleteAndCountAtOnce) {
  CMemFile file;
  Together(
      2000,
      [&](unsigned i) {
        const ref_counted_obj_ptr found = root->FindObject(i % 2 == 0 ? u"b.x" : u"b.y");
        if (!found) return;
        CString path;
        const ref_counted_obj_ptr again = found;
        found->SetCustomBit(i % 8, true);
        found->SetDescription(i % 16 == 0 ? u"seen" : nullptr);
        if (i % 32 == 0) found->SetName(u"y");
        EXPECT_TRUE(!found->GetDisplayName().IsEmpty() && !found->GetPath(path).IsEmpty());
      },
      [&](unsigned i) {
        const ref_counted_obj_ptr box = root->FindObject(u"b", kBox, -1);
        const ref_counted_obj_ptr part = root->FindObject(i % 8 < 4 ? u"b.x" : u"b.y");
        if (i % 4 == 0 && part) part->Delete();
        if (i % 4 == 1) static_cast<CBox*>(box.get())->Add(MakePart(u"x"));
        if (i % 4 == 2) {
          root->boxes.Remove(box.get());  // with whoever counts below it just now
          ASSERT_TRUE(root->AddObject(box.get()));
        }
        if (i % 16 != 3) return;
        root->Add(MakeBox(u"b2"))->Add(MakePart(u"x"));
        box->Delete();
        root->FindObject(u"b2")->SetName(u"b");
        file.SeekToBegin();
        EXPECT_NE(root->Save(&file, false), 0);
      });
  EXPECT_EQ(root->GetRefCount() + root->boxes.GetRefCount() + root->parts.GetRefCount(), 0);
  root.reset();
  EXPECT_EQ(alive, 0);
}

TEST_F(TableObj, CountsAddUpWhileTheObjectMoves) {
  CBox* const boxes[] = {boxB, root->Add(MakeBox(u"b2"))};
  Together(
      20000,
      [&](unsigned i) {
        partX->AddRef();
        partX->SetCustomBit(i % 8, i % 3 == 0);
        EXPECT_EQ(partX->GetDisplayName().GetLength(), 1);
        partX->RemoveRef();
      },
      [&](unsigned i) {
        boxes[i % 2]->parts.Remove(partX);
        partX->SetName(i % 3 == 0 ? u"x" : u"y");
        boxes[(i + 1) % 2]->AddObject(partX);
        const zorutil::object_lock_t guard(*partX);
        EXPECT_EQ(partX->GetLock(), boxes[(i + 1) % 2]->parts.GetLock());
      });
  for (const CTableObj* each : {static_cast<CTableObj*>(partX), static_cast<CTableObj*>(boxes[0]),
                                static_cast<CTableObj*>(boxes[1]), static_cast<CTableObj*>(root.get())}) {
    EXPECT_EQ(each->GetRefCount(), 0);
  }
}

// One thread gives the last reference back, or deletes, just while another takes the record and its parent away.
TEST_F(TableObj, WhatIsDeletedTwiceAtOnceEndsOnce) {
  const int before = alive;
  std::atomic<CTableObj*> handed{nullptr};
  Together(
      20000,
      [&](unsigned i) {
        CTableObj* const part = handed.exchange(nullptr);
        if (part == nullptr) return;
        if (i % 2 == 0) part->Delete();
        part->RemoveRef();
      },
      [&](unsigned i) {
        auto box = MakeBox(u"box");
        const ref_counted_obj_ptr part = box->Add(MakePart(u"part"));
        part->AddRef();
        if (CTableObj* const left = handed.exchange(part.get())) {
          left->Delete();
          left->RemoveRef();
        }
        if (i % 2 == 0) box->parts.Remove(part.get());
        part->Delete();
      });
  if (CTableObj* const left = handed.exchange(nullptr)) left->RemoveRef();
  EXPECT_EQ(alive, before);
}

}  // namespace
