// A tree that is driven by bytes: objects come, go, are renamed, counted, copied, saved and loaded, with the bytes
// themselves among what is loaded. After each step everything that holds of a tree holds of this one.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "util/objects/table_testing.h"
#include "util/objects/tree_invariants_testing.h"

namespace {

using namespace table_testing;

void Require(bool claim) {
  if (!claim) std::abort();
}

class CDriver {
 public:
  explicit CDriver(std::span<const std::byte> input) : input_(input) {
    RegisterTypes();
    tables_.push_back(&root_.children);
  }
  ~CDriver() {
    for (CTableObj* const object : held_) object->RemoveRef();
  }

  void Run() {
    for (int steps = 0; at_ < input_.size() && steps < 200; ++steps) {
      Step();
      const std::string broken = tree_testing::FindBroken(root_, [this](const CTableObj& object) {
        return static_cast<std::int32_t>(std::count(held_.begin(), held_.end(), &object));
      });
      Require(broken.empty());
    }
  }

 private:
  unsigned Next() { return at_ < input_.size() ? static_cast<unsigned>(input_[at_++]) : 0; }

  // Few characters, so that names meet: of both cases, beyond ASCII, digits, and one that does not count.
  CString NextName() {
    static constexpr std::u16string_view kUnits = u"aAb19_\u0001ä\u0301字\xD800";
    CString name;
    for (unsigned length = Next() % 6; length > 0; --length) name += kUnits[Next() % kUnits.size()];
    return name;
  }
  CHookedTable& NextTable() {
    tables_.assign(1, &root_.children);
    for (std::size_t i = 0; i < tables_.size() && tables_.size() < 50; ++i) {
      for (unsigned at = 0; const CTableObj* const record = tables_[i]->GetRecord(at); ++at) {
        if (const auto* const node = dynamic_cast<const CNode*>(record)) tables_.push_back(&node->children);
      }
    }
    return *tables_[Next() % tables_.size()];
  }
  static CTableObj* AnyRecord(CTable& table, unsigned choice) {
    return table.GetRecord(table.GetCount() == 0 ? 0 : choice % table.GetCount());
  }
  void Step() {
    CHookedTable& table = NextTable();
    switch (Next() % 14) {
      case 0:
      case 1:
      case 2: Insert(table, Next() % 2 == 0); break;
      case 3: {  // many at a time, in some order
        CString name;
        const unsigned step = Next() * 2 + 1;
        for (unsigned i = 0, number = Next(); i < 300; ++i, number = (number + step) % 1024) {
          name.AssignInteger(number);
          auto* const leaf = new CLeaf(name);
          if (table.Insert(leaf) == CTable::invalid_index) delete leaf;
        }
        break;
      }
      case 4: Move(table, NextTable(), AnyRecord(table, Next())); break;
      case 5: CTableObj::Delete(AnyRecord(table, Next())); break;
      case 6: {
        CTableObj* const record = AnyRecord(table, Next());
        const CString name = NextName();
        const unsigned count = table.GetCount();
        if (record != nullptr) {
          const CTableObj* const holder = table.FindRecord(name);
          Require(record->SetName(name) == (holder == nullptr || holder == record));
        }
        Require(table.GetCount() == count);
        break;
      }
      case 7: {
        CString name = NextName();
        const unsigned most = Next() % 12;
        const CString before = name;
        if (table.GenerateName(name, most) != 0) {
          Require(table.FindRecord(name) == nullptr);
          Require(name == before || static_cast<unsigned>(name.GetLength()) <= most);
        } else {
          Require(name == before && table.FindRecord(name) != nullptr);
        }
        break;
      }
      case 8:
        if (table.GetRefCount() == 0) table.Reset();
        break;
      case 9:
        if (CTableObj* const record = AnyRecord(table, Next())) {
          record->AddRef();
          held_.push_back(record);
        }
        break;
      case 10:
        if (!held_.empty()) {
          CTableObj* const object = held_[Next() % held_.size()];
          held_.erase(std::find(held_.begin(), held_.end(), object));
          object->RemoveRef();
        }
        break;
      case 11: {  // what is saved is loaded as the same
        if (table.GetRefCount() != 0) break;
        const bytes_t saved = Saved(table);
        Require(Load(table, saved) != 0 && Saved(table) == saved);
        break;
      }
      case 12:
        if (table.GetRefCount() != 0) break;
        if (Load(table, input_.subspan(at_)) == 0) Require(table.GetCount() == 0);
        break;
      default: {
        const CHookedTable copy(table);
        Require(copy.GetCount() == table.GetCount());
        if (CTableObj* const record = AnyRecord(table, Next())) {
          zorutil::owned_obj_ptr twin(CTableObj::CopyObject(*record, CTableObj::kCopyHierarchy));
          Require(twin != nullptr && twin->GetName() == record->GetName());
        }
      }
    }
  }

  void Insert(CTable& table, bool isNode) {
    const CString name = NextName();
    CTableObj* const object = isNode ? new CNode(name, Next()) : new CLeaf(name, Next());
    const bool isTaken = table.FindRecord(name) != nullptr;
    const unsigned index = table.Insert(object);
    Require(isTaken == (index == CTable::invalid_index));
    if (isTaken) delete object;
  }
  static void Move(CTable& from, CTable& to, CTableObj* record) {
    if (record == nullptr) return;
    from.Remove(record);
    Require(!record->IsInTable() && from.GetRecord(from.GetCount()) == nullptr);
    CTable& target = record->GetType() == kLeaf ? to : from;  // no node comes below itself
    if (target.Insert(record) == CTable::invalid_index) record->Delete();
  }
  std::span<const std::byte> input_;
  std::size_t at_ = 0;
  CNode root_{u"root"};
  std::vector<CHookedTable*> tables_;
  std::vector<CTableObj*> held_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int before = living;
  CDriver({reinterpret_cast<const std::byte*>(data), size}).Run();
  Require(living == before);
  return 0;
}
