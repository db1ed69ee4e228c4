#include "util/objects/table_obj.h"

#include <gtest/gtest.h>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/objects/tree_testing.h"
#include "util/serialization/stream_testing.h"

namespace {

using namespace tree_testing;
using zorutil::ref_counted_obj_ptr;

struct TableObj : testing::Test, plant_t {};

using text_t = const char16_t*;

TEST(TableObjTypes, ANegativeSubtypeFillsTheTypeWithOnes) {
  EXPECT_EQ(CTableObj::MakeFullType(1, -1), -1);
  EXPECT_EQ(CTableObj::TypeFromFullType(-1) + CTableObj::SubTypeFromFullType(0x28003), -1 - 0x7FFD);
  CPart part(200);
  part.SetSubtype(-1);
  EXPECT_TRUE(part.GetVersion() == 72 && part.GetFullType() == 0x7FFFF);  // only the low half
}

TEST(TableObjNames, ValidOnesAreToldAndOldOnesRepaired) {
  const std::tuple<text_t, bool, text_t> cases[] = {
      {u"", false, u"noname"}, {u"   ", false, u"noname"}, {u"_a.b", false, u"Ua_b"},  {u" . ", false, u"U"},
      {u" a", false, u"a"},    {u"a\"b", false, u"a\"b"},  {u"a_b c", true, u"a_b c"}, {nullptr, false, u"noname"}};
  for (const auto& [name, isValid, repaired] : cases) {
    CString text = name;
    EXPECT_EQ(CTableObj::IsValidBaseName(name), isValid) << text;
    EXPECT_EQ(CTableObj::FixUpLegacyName(text), repaired);
  }
}

TEST_F(TableObj, RenamingMovesTheRecordAndNeverLosesIt) {
  root->SetModified(false);
  EXPECT_TRUE(partB->SetName(u"b") && !partB->SetName(u"C") && !root->IsModified());  // another's
  const ref_counted_obj_ptr held = partB;
  EXPECT_TRUE(partB->SetName(u"B") && partB->SetName(u"z") && root->IsModified());
  EXPECT_TRUE(root->parts.GetRecord(1) == partB && SumOfCounts(*partB) == 3);
}

TEST_F(TableObj, CopiesTakeWhatTheyShallAndNoMore) {
  partX->SetDescription(u"text");
  partX->SetCustomBit(7, true);
  CPart copy(*partX);
  EXPECT_TRUE(copy == *partX && copy.GetDescription() == u"text" && copy.GetVersion() == 2 && copy.IsTrackingMods() &&
              partX->GetCustomBit(7));
  EXPECT_FALSE(copy.IsInTable() || copy.GetCustomBit(7) || copy.IsModified());
  copy.value = 9;
  copy.SetTrackMods(false);
  partB->SetCustomBit(0, true);
  *partB = copy;
  EXPECT_EQ(root->parts.FindRecord(u"x"), partB);  // renamed in its table
  partB->SetModified(true);
  EXPECT_FALSE(partB->IsTrackingMods() || partB->IsModified() || partB->GetCustomBit(0) || *partB == *partX);
  partB->SetDescription(nullptr);
  EXPECT_FALSE(partB->HaveDescription());
}

TEST_F(TableObj, ChangesClimbAndClearingDoesNot) {
  CMemFile file;
  root->Save(&file, false);
  EXPECT_FALSE(root->IsModified() || root->boxes.IsModified() || boxB->IsModified() || partX->IsModified());
  {
    const CTableObj::serialization_scope_t scope(*partX, false, true);
    partX->SetModified(true);
    EXPECT_TRUE(partX->IsModified() && !boxB->IsModified());
  }
  partX->SetDescription(u"d");
  partX->SetModified(false);
  EXPECT_TRUE(boxB->parts.IsModified() && boxB->IsModified() && root->IsModified());
}

TEST_F(TableObj, ReferencesCountForAllAboveAndKeepADeletedTree) {
  ref_counted_obj_ptr held[] = {partX, partX, partX};
  EXPECT_EQ(SumOfCounts(*partX), 15);
  boxB->parts.Remove(partX);
  EXPECT_EQ(SumOfCounts(*partX) * 100 + SumOfCounts(*boxB), 300);
  EXPECT_TRUE(boxB->AddObject(partX) && SumOfCounts(*partX) == 15);
  boxB->Delete();
  root.reset();
  EXPECT_EQ(alive, 2);
  CString path;
  EXPECT_EQ(held[0]->GetPath(path), u"b.x");
  for (ref_counted_obj_ptr& each : held) each = nullptr;
  EXPECT_EQ(alive, 0);
}

TEST_F(TableObj, FindsByPathThroughAllTables) {
  CBox* const top = root.get();
  const std::tuple<CTableObj*, text_t, int, CTableObj*> cases[] = {
      {top, u"b", -1, partB},           {top, u"B", kBox, boxB},      {top, u"b.x", -1, partX},
      {top, u"root.b.X", kPart, partX}, {top, u"root", -1, top},      {top, u"root", kPart, nullptr},
      {top, u"inner.root.c", -1, deep}, {top, u"b.x.y", -1, nullptr}, {top, u"b.x", kBox, nullptr},
      {top, u"", -1, nullptr},          {top, nullptr, -1, nullptr},  {top, u"b..x", -1, nullptr},
      {boxB, u"x", -1, partX},          {boxB, u"b.x", -1, nullptr}};
  for (const auto& [from, path, type, found] : cases) {
    EXPECT_EQ(from->FindObject(path, static_cast<short>(type), -1), found) << CString(path);
  }
  CString path;
  EXPECT_EQ(root->FindObject(deep->GetPath(path), kPart, kPartSubtype), deep);
  EXPECT_TRUE(boxB->CanDeleteObject(partX) && !root->CanDeleteObject(partX) && !root->CanDeleteObject(nullptr));
  EXPECT_EQ(partX->GetLock(), boxB->parts.GetLock());
}

TEST_F(TableObj, SearchesByNameAndTypeInAnyDepth) {
  struct visitor_t : zorutil::ITableObjVisitor {
    bool Visit(CTableObj& object) override { return ++seen, &object == wanted; }
    int seen = 0;
    const CTableObj* wanted = nullptr;
  } visitor;
  EXPECT_TRUE(!root->FindObjectByName(u"C", visitor) && visitor.seen == 2);
  EXPECT_TRUE(!zorutil::VisitObjectsBelow(*root, visitor) && visitor.seen == 2 + 7);
  visitor.wanted = deep;
  EXPECT_EQ(root->FindObjectByName(u"c", visitor), deep);
  EXPECT_TRUE(root->GetChildObjects(-1, -1).size() == 4 && root->GetChildObjects(kPart, 4).empty());
}

TEST_F(TableObj, FactoriesAreFoundByNumberNameAndList) {
  EXPECT_EQ(ErrorOf([] { CTableObj::Register(kBox, 0, types_t::NewPart); }), -1);
  EXPECT_EQ(ErrorOf([] { zorutil::CTypeRegistry::Register(50, u"BOX"); }), -1);
  EXPECT_EQ(zorutil::owned_obj_ptr(CTableObj::CreateObject(u"bOX"))->GetObjectName(), u"Box");
  CTableObj::property_list_t list;
  partX->GetProperties(list);
  const zorutil::owned_obj_ptr made(CTableObj::CreateObject(list));
  EXPECT_TRUE(made->GetFullType() == partX->GetFullType() && made->GetName() == u"x");
  const auto create = [](int type) {
    const CTableObj::property_list_t only{
        zorutil::properties::CProperty::Create(zorutil::kObjectType, CVariant::FromInt32(type))};
    return ErrorOf([&] { CTableObj::Delete(CTableObj::CreateObject(only)); });
  };
  EXPECT_EQ(create(kBox) * 10 + create(0x10000 + kBox), -1);  // subtype 0; no number of 16 bits

  CTableObj* (*const failing)() = []() -> CTableObj* { throw std::bad_alloc(); };
  for (const short subtype : {short{1}, short{0}}) CTableObj::Register(20, subtype, failing);
  EXPECT_THROW(CTableObj::CreateObject(20, 0), std::bad_alloc);
  CTableObj::Unregister(failing);
  EXPECT_EQ(ErrorOf([] { CTableObj::CreateObject(20, 0); }), -1);
  EXPECT_THROW(CTableObj::CreateObject(20, 1), std::bad_alloc);
  std::thread([] { CTableObj::Delete(CTableObj::CreateObject(kBox, 0)); }).join();  // the lock is free
  CTableObj::Unregister(failing);
}

// --- records, documents, copies ------------------------------------------------------------------------------------

TEST_F(TableObj, RecordsOfEveryFormatAreRead) {
  for (const short subtype : {short{0}, short{9}}) CTableObj::Register(kPart, subtype, types_t::NewPart);
  int format = 0;
  const std::tuple<text_t, text_t, int, int> cases[] = {{u"Ux_y", u"", 42, 0},
                                                        {u"P.1", u"", 7, 0},
                                                        {u"Pump", u"old", -1, 0x102},
                                                        {u"Pump", u"", 5, 6},
                                                        {u"Pump 7", u"\u00E4\u00F6", 123456789, -1}};
  for (const auto& [name, description, value, extra] : cases) {
    SCOPED_TRACE(format);
    const std::string bytes =
        FileText(ZORUTIL_SOURCE_DIR "/tests/data/object_records/format" + std::to_string(format) + ".bin");
    CMemFile file(std::as_bytes(std::span(bytes)));
    CPart part;
    part.SetDescription(u"before");
    EXPECT_EQ(part.Load(&file, true) != 0, value != -1);
    EXPECT_TRUE(part.GetName() == name && part.GetDescription() == description);
    EXPECT_TRUE(part.value == value && part.extra == extra && part.IsModified() == (value == -1));
    stream_testing::ExpectFileRefusesDamage(stream_testing::Hex(file.GetContent()), [](CFile* in) {
      CPart direct;
      const int result = direct.Load(in, true);
      in->SeekToBegin();
      const zorutil::owned_obj_ptr made(CTableObj::CreateObject(in));
      EXPECT_EQ(made->Load(in, true), result);
      EXPECT_TRUE(made->GetName() == direct.GetName() && made->GetVersion() == 2);
      in->SeekToBegin();
      EXPECT_EQ(made->Load(in, true), result);  // now with the type
    });
    CMemFile written;
    part.Save(&written, true);
    EXPECT_EQ(stream_testing::Hex(written.GetContent()) == stream_testing::Hex(file.GetContent()), format++ == 4);
  }
  for (int i = 0; i < 2; ++i) CTableObj::Unregister(types_t::NewPart);
}

TEST_F(TableObj, RecordsThatDoNotFitAreRefusedAsFarAsTheyGo) {
  const std::tuple<const char*, int, int, text_t> cases[] = {
      {"0400 03000700 0300 02000080 4142", 0, 0, u"AB"},                // newer: no data is read
      {"0100 0800 0100 BB 02000080 4142 01000000", 0, 1, u"AB"},        // old formats do not check the type
      {"0200 03000800 0100 BB 02000080 4142 01000000", -1, 0, u"old"},  // another type
      {"0500 03000700 0100 02000080 4142 01000000", -1, 0, u"old"}};
  for (const auto& [hex, code, result, name] : cases) {
    SCOPED_TRACE(hex);
    auto part = MakePart(u"old");
    CMemFile file(stream_testing::Bytes(hex));
    int loaded = 0;
    EXPECT_EQ(ErrorOf([&] { loaded = part->Load(&file, true); }), code);
    EXPECT_TRUE(loaded == result && part->GetName() == name && part->IsModified() == (result == 0));
    EXPECT_TRUE(part->GetVersion() == 2 && part->IsTrackingMods() && !part->IsSerializing());
  }
}

TEST_F(TableObj, AScopeTellsWhatIsUnderWay) {
  using scope_t = CTableObj::serialization_scope_t;
  std::string seen;
  onData = [&](const CTableObj& part) {
    const int flags = part.IsRecursing() * 100 + part.IsSerializingBinary() * 10 + scope_t::sm_bRootSerializing;
    seen += std::to_string(flags) + ':' + std::to_string(scope_t::sm_uRecursionCount) + ' ';
  };
  CMemFile file;
  CXmlDocument xml;
  partX->Save(&file, true);
  partX->Save(&xml, nullptr, nullptr, false);
  boxB->Save(&file, false);
  root->Save(&file, false);
  onData = nullptr;
  EXPECT_FALSE(scope_t::sm_bRootSerializing);
  {
    const scope_t outer(*partX, true, true);
    { const scope_t inner(*partX, false, false); }
    EXPECT_TRUE(partX->IsSerializing() && !partX->IsRecursing() && !partX->IsSerializingBinary());
  }
  EXPECT_EQ(seen, "10:1 100:1 110:2 111:2 111:2 111:3 111:4 ");
}

TEST_F(TableObj, NestingHasALimitBothWays) {
  CBox* innermost = root.get();
  for (unsigned depth = 1; depth < CTableObj::kMaxDepth; ++depth) innermost = innermost->Add(MakeBox(u"n"));
  CMemFile file, hostile;
  EXPECT_NE(root->Save(&file, false), 0);
  innermost->Add(MakeBox(u"n"));
  EXPECT_EQ(ErrorOf([&] { root->Save(&file, false); }), -1);
  const auto level =
      stream_testing::Bytes("0400 00000800 0100 00000000 0100 00000000 0100 01000000");  // no parts, a box
  for (int i = 0; i < 100000; ++i) hostile.Write(level.data(), static_cast<unsigned>(level.size()));
  hostile.SeekToBegin();
  EXPECT_EQ(ErrorOf([&] { MakeBox(u"")->Load(&hostile, false); }), -1);
}

TEST_F(TableObj, DocumentsHoldTheTreeAndRepairNames) {
  CXmlDocument xml;
  ASSERT_NE(root->Save(&xml, nullptr, nullptr, false), 0);
  auto read = MakeBox(u"");
  ASSERT_NE(read->Load(&xml, xml.GetElementByName(nullptr, nullptr, u"Box", false), nullptr, false), 0);
  EXPECT_TRUE(*read == *root && !read->IsModified() && read->FindObject(u"root.inner.root.c"));
  const std::tuple<text_t, text_t, unsigned> cases[] = {
      {u"_a.b", u"Ua_b", 0}, {u"", u"noname", 0}, {u"a\"b", u"old", i18n::IDS_OBJECT_NAME_NOT_VALID}};
  for (const auto& [stored, name, error] : cases) {
    CXmlDocument one;
    void* const element = one.WriteElement(nullptr, nullptr, u"Part", false, u"");
    one.WriteElement(element, nullptr, u"Name", true, stored);
    auto box = MakeBox(u"old");
    EXPECT_EQ(box->Load(&one, element, nullptr, true), error == 0);
    EXPECT_TRUE(box->GetName() == name && box->IsTrackingMods());
    EXPECT_TRUE(error == 0 || one.RemoveLastError()->GetMessageId() == error);
  }
  partX->SetSubtype(77);
  partX->Save(&xml, nullptr, nullptr, true);
  EXPECT_EQ(xml.RemoveLastError()->GetMessageId(), unsigned{i18n::IDS_OBJECT_TYPE_WITHOUT_NAME});
}

TEST_F(TableObj, ACopyIsEqualAndTheSourceStaysAsItWas) {
  partX->SetDescription(u"d");
  const zorutil::owned_obj_ptr copy(CTableObj::CopyObject(*root, CTableObj::kCopyHierarchy));
  EXPECT_TRUE(*copy == *root && copy->IsModified());
  EXPECT_EQ(copy->FindObject(u"root.b.x")->GetDescription(), u"d");
  EXPECT_TRUE(partX->IsModified() && boxB->IsModified() && root->boxes.IsModified());
  EXPECT_TRUE(CTableObj::CopyObject(*root, *copy, CTableObj::kCopyObject) && copy->FindObject(u"root.b.x"));  // as was
  EXPECT_TRUE(CTableObj::CopyObject(*partX, *partB, CTableObj::kCopyObject));
  EXPECT_TRUE(*partX == *partB && root->parts.FindRecord(u"x") == partB);
  partC->SetSubtype(9);
  EXPECT_TRUE(CTableObj::CopyObject(*partX, *partC, CTableObj::kCopyObject));
  EXPECT_TRUE(partC->value == 3 && partC->GetSubType() == 9 && partC->GetName() == u"c");  // the name is taken there
  EXPECT_FALSE(CTableObj::CopyObject(*partX, *boxB, CTableObj::kCopyObject));
  deep->value = -1;
  EXPECT_EQ(CTableObj::CopyObject(*root, CTableObj::kCopyHierarchy), nullptr);
}

TEST_F(TableObj, FailedAllocationsLeaveNothingBehind) {
  CMemFile file;
  root->Save(&file, false);
  const int before = alive;
  for (const auto& call : std::initializer_list<std::function<void()>>{
           [&] { CTableObj::Delete(CTableObj::CopyObject(*root, CTableObj::kCopyHierarchy)); },
           [&] {
             file.SeekToBegin();
             const zorutil::owned_obj_ptr made(CTableObj::CreateObject(&file));
             EXPECT_NE(made->Load(&file, false), 0);
           },
           [&] { partC->SetName(u"a long name that needs memory"); },
           [&] { partC->SetDescription(u"a long text that needs memory"); }}) {
    FailEachAllocation(allocation_testing::allocationsLeft, call, [&] {
      EXPECT_TRUE(alive == before && root->parts.FindRecord(partC->GetName()) == partC && !CTableObj::IsCopying());
    });
  }
}

// --- threads: under the thread sanitizer, these are what the rules at the top of the header rest on ----------------

TEST_F(TableObj, ThreadsReadRenameDeleteAndCountAtOnce) {
  const auto work = [&](unsigned i) {
    CString path;
    const ref_counted_obj_ptr found = root->FindObject(i % 2 == 0 ? u"b.x" : u"b.y");
    if (!found) return;
    found->SetDescription(i % 16 == 0 ? u"seen" : nullptr);
    if (i % 32 == 0) found->SetName(u"y");
    EXPECT_FALSE(found->GetPath(path).IsEmpty());
  };
  CMemFile file;
  Together(2000, work, [&](unsigned i) {
    const ref_counted_obj_ptr box = root->FindObject(u"b", kBox, -1);
    const ref_counted_obj_ptr part = root->FindObject(i % 8 < 4 ? u"b.x" : u"b.y");
    if (i % 4 == 0 && part) part->Delete();
    if (i % 4 == 1) static_cast<CBox*>(box.get())->Add(MakePart(u"x"));
    if (i % 16 != 3) return;
    root->Add(MakeBox(u"b2"))->Add(MakePart(u"x"));
    box->Delete();
    root->FindObject(u"b2")->SetName(u"b");
    file.SeekToBegin();
    EXPECT_NE(root->Save(&file, false), 0);
  });
  EXPECT_EQ(root->GetRefCount() + root->boxes.GetRefCount(), 0);
  root.reset();
  EXPECT_EQ(alive, 0);
}

TEST_F(TableObj, CountsAddUpWhileTheObjectMoves) {
  CBox* const boxes[] = {boxB, root->Add(MakeBox(u"b2"))};
  ref_counted_obj_ptr first = partX;  // without which the others could not take theirs
  const auto work = [&](unsigned i) {
    const ref_counted_obj_ptr held = partX;
    partX->SetCustomBit(i % 8, partX->GetDisplayName() == u"x");
  };
  Together(20000, work, [&](unsigned i) {
    boxes[i % 2]->parts.Remove(partX);
    partX->SetName(i % 3 == 0 ? u"x" : u"y");
    boxes[(i + 1) % 2]->AddObject(partX);
    const zorutil::object_lock_t guard(*partX);
  });
  first = nullptr;
  EXPECT_EQ(SumOfCounts(*partX) + SumOfCounts(*boxes[0]) + SumOfCounts(*boxes[1]), 0);
}

TEST_F(TableObj, ANameIsGivenToARecordThatMovesMeanwhile) {
  std::thread renaming;
  {
    const std::lock_guard guard(*boxB->parts.GetLock());
    renaming = std::thread([&] { EXPECT_TRUE(partX->SetName(u"y")); });
    while (boxB->parts.GetRefCount() == 0) std::this_thread::yield();  // it waits for the lock
    boxB->parts.Remove(partX);
    root->AddObject(partX);
  }
  renaming.join();
  EXPECT_EQ(root->parts.FindRecord(u"y"), partX);
}

// One thread gives the last reference back, or deletes, just while another takes the record and its parent away.
TEST_F(TableObj, WhatIsDeletedTwiceAtOnceEndsOnce) {
  const int before = alive;
  std::atomic<CTableObj*> handed{nullptr};
  const auto work = [&](unsigned i) {
    CTableObj* const part = handed.exchange(nullptr);
    if (part == nullptr) return;
    if (i % 2 == 0) part->Delete();
    part->RemoveRef();
  };
  Together(20000, work, [&](unsigned i) {
    auto box = MakeBox(u"box");
    const ref_counted_obj_ptr part = box->Add(MakePart(u"part"));
    part->AddRef();
    if (CTableObj* const left = handed.exchange(part.get())) left->RemoveRef();
    if (i % 2 == 0) box->parts.Remove(part.get());
    part->Delete();
  });
  work(1);
  EXPECT_EQ(alive, before);
}

}  // namespace
