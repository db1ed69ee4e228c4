// For tests of trees: parts, boxes that hold parts and boxes, how many of them there are, and a small plant of them.
//
//   tree_testing::plant_t plant;
//   plant.boxB->Add(tree_testing::MakePart(u"a", 5));
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "platform/framework/file.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/structured_doc.h"
#include "util/objects/object_search.h"
#include "util/objects/table.h"
#include "util/objects/table_obj.h"
#include "util/objects/type_registry.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"

namespace tree_testing {

inline constexpr short kPart = 7;
inline constexpr short kPartSubtype = 3;
inline constexpr short kBox = 8;

/// Objects of these types that exist.
inline std::atomic<int> alive{0};
/// Called with each part that loads or saves its own data, when it is set.
inline std::function<void(const CTableObj&)> onData;

struct counted_t {
  counted_t() { ++alive; }
  counted_t(const counted_t&) { ++alive; }
  ~counted_t() { --alive; }
  counted_t& operator=(const counted_t&) = default;
};

/// Version 2: a value (4 bytes) and, from version 2 on, an extra (2 bytes). A value of -1 does not load or save.
class CPart : public CTableObj {
 public:
  CPart() : CPart(2) {}
  explicit CPart(unsigned short version) : CTableObj(kPart, true, version) { SetSubtype(kPartSubtype); }
  CPart(const CPart&) = default;
  CPart& operator=(const CPart&) = default;
  using CTableObj::SetSubtype;
  using CTableObj::SetType;

  void GetProperties(property_list_t& list) const override {
    CTableObj::GetProperties(list);
    list.push_back(zorutil::properties::CProperty::Create(256, CVariant::FromInt32(value)));
  }
  void PostCreate(const property_list_t& list) override { SetProperties(list); }
  int OnSave(CFile* file) const override {
    Tell();
    zorutil::file_serializer_t out(file);
    zorutil::primitives::WriteLittle(out, value);
    zorutil::primitives::WriteLittle(out, extra);
    return value != -1;
  }
  int OnLoad(CFile* file) override {
    Tell();
    zorutil::file_serializer_t in(file);
    value = zorutil::primitives::ReadLittle<std::int32_t>(in);
    extra = GetVersion() < 2 ? std::int16_t{0} : zorutil::primitives::ReadLittle<std::int16_t>(in);
    return value != -1;
  }
  int OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const override {
    Tell();
    return doc->WriteElement(element, ns, u"Value", true, value) != nullptr;
  }
  int OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) override {
    Tell();
    return doc->ReadElement(element, ns, u"Value", true, value) != nullptr;
  }

  std::int32_t value = 0;
  std::int16_t extra = 0;

 private:
  void Tell() const {
    if (onData) onData(*this);
  }
  counted_t counted_;
};

/// A table that belongs to an object.
class COwnedTable : public CTable {
 public:
  COwnedTable(CTableObj& owner, CString name) : CTable(0, true, 4), name_(std::move(name)) { SetOwner(&owner); }
  CString GetTableName() const override { return name_; }

 private:
  CString name_;
};

class CBox : public CTableObj {
 public:
  CBox() : CTableObj(kBox, true, 1) {}
  /// Takes the object; null when its name is taken.
  template <class T>
  T* Add(std::unique_ptr<T, zorutil::obj_deleter_t> object) {
    return AddObject(object.get()) ? object.release() : nullptr;
  }

  bool AddObject(CTableObj* object) override {
    return (object->GetType() == kPart ? parts : boxes).Insert(object) != CTable::invalid_index;
  }
  CTable* GetChildTable(unsigned index) const override {
    COwnedTable* const tables[] = {&parts, &boxes};
    return index < 2 ? tables[index] : nullptr;
  }
  zorutil::ref_counted_obj_ptr FindObjectByName(const char16_t* name,
                                                zorutil::ITableObjVisitor& visitor) const override {
    return zorutil::FindObjectBelow(*this, name, visitor);
  }
  zorutil::ref_counted_obj_ptr_vec_t GetChildObjects(short type, short subtype) override {
    return zorutil::GetChildObjectsOf(*this, type, subtype);
  }
  int OnSave(CFile* file) const override { return !IsRecursing() || (parts.Save(file) != 0 && boxes.Save(file) != 0); }
  int OnLoad(CFile* file) override { return !IsRecursing() || (parts.Load(file) != 0 && boxes.Load(file) != 0); }
  int OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const override {
    return !IsRecursing() || (parts.Save(doc, element, ns) != 0 && boxes.Save(doc, element, ns) != 0);
  }
  int OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) override {
    return !IsRecursing() || (parts.Load(doc, element, ns) != 0 && boxes.Load(doc, element, ns) != 0);
  }

  mutable COwnedTable parts{*this, u"Parts"};
  mutable COwnedTable boxes{*this, u"Boxes"};

 private:
  counted_t counted_;
};

template <class T>
using owned_t = std::unique_ptr<T, zorutil::obj_deleter_t>;

inline owned_t<CPart> MakePart(const char16_t* name, std::int32_t value = 0) {
  owned_t<CPart> part(new CPart);
  part->SetName(name);
  part->value = value;
  return part;
}
inline owned_t<CBox> MakeBox(const char16_t* name) {
  owned_t<CBox> box(new CBox);
  box->SetName(name);
  return box;
}

struct types_t {
  types_t() {
    CTableObj::Register(kPart, kPartSubtype, NewPart);
    CTableObj::Register(kBox, 0, NewBox);
    zorutil::CTypeRegistry::Register(CTableObj::MakeFullType(kPart, kPartSubtype), u"Part");
    zorutil::CTypeRegistry::Register(CTableObj::MakeFullType(kBox, 0), u"Box");
  }
  types_t(const types_t&) = delete;
  types_t& operator=(const types_t&) = delete;
  ~types_t() {
    CTableObj::Unregister(NewPart);
    CTableObj::Unregister(NewBox);
    zorutil::CTypeRegistry::Unregister(CTableObj::MakeFullType(kPart, kPartSubtype));
    zorutil::CTypeRegistry::Unregister(CTableObj::MakeFullType(kBox, 0));
  }
  static CTableObj* NewPart() { return new CPart; }
  static CTableObj* NewBox() { return new CBox; }
};

/// root: parts "b", "c"; boxes "b" with a part "x", "inner" with a box "root" with a part "c".
struct plant_t {
  plant_t() {
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

/// References on an object, its table and what holds that.
inline int SumOfCounts(const CTableObj& object) {
  const CTable* const table = object.GetTable();
  return object.GetRefCount() + (table == nullptr ? 0 : table->GetRefCount() + SumOfCounts(*table->GetOwner()));
}

/// The code of the CException that a call ends with; 0 without.
template <class Call>
int ErrorOf(Call call) {
  try {
    call();
  } catch (const zorplatform::CException& error) {
    return error.GetCode();
  }
  return 0;
}

/// Fails each allocation of `call` in turn, until it gets through; `check` after each failure.
inline void FailEachAllocation(int& allocationsLeft, const std::function<void()>& call,
                               const std::function<void()>& check) {
  for (int left = 0;; ++left) {
    allocationsLeft = left;
    try {
      call();
      allocationsLeft = -1;
      return;
    } catch (const std::bad_alloc&) {
      allocationsLeft = -1;
    }
    check();
  }
}

/// `work` runs again and again on two threads while `call` runs `rounds` times on this one, and on until they worked.
inline void Together(int rounds, const std::function<void(unsigned)>& work, const std::function<void(unsigned)>& call) {
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

}  // namespace tree_testing
