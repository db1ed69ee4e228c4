#include "util/project/project_diff.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/framework/sync.h"
#include "util/json/pointer.h"
#include "util/objects/described_object.h"
#include "util/objects/table.h"
#include "util/objects/unordered_table.h"
#include "util/properties/property.h"

namespace zorutil::project {

namespace {

const type_description_t* TypeOf(const CTableObj& object) {
  const CDescribedObj* const described = AsDescribed(&object);
  return described == nullptr ? nullptr : &described->GetTypeDescription();
}

// The tables of two objects of one type, locked together; the one at the lower address first, so that two who compare
// the same objects do not wait for each other.
class CBothLocks {
 public:
  CBothLocks(CSyncObject* a, CSyncObject* b)
      : first_(std::less<>()(a, b) ? a : b), second_(std::less<>()(a, b) ? b : a) {
    first_->Lock();
    second_->Lock();
  }
  CBothLocks(const CBothLocks&) = delete;
  CBothLocks& operator=(const CBothLocks&) = delete;
  ~CBothLocks() {
    second_->Unlock();
    first_->Unlock();
  }

 private:
  CSyncObject* first_;
  CSyncObject* second_;
};

std::size_t CountBelow(const CTableObj& object) {
  std::size_t count = 0;
  for (unsigned i = 0; const CTable* const table = object.GetChildTable(i); ++i) {
    const CSingleLock lock(table->GetLock());
    for (unsigned index = 0; const CTableObj* const record = table->GetRecord(index); ++index) {
      count += 1 + CountBelow(*record);
    }
  }
  return count;
}

// A number of the content of an object and all below it, without its name.
class CContentHash {
 public:
  std::uint64_t Of(const CTableObj& object) {
    hash_ = 0;
    AddObject(object);
    return hash_;
  }

 private:
  void Add(std::uint64_t value) {
    hash_ = (hash_ ^ value) * 0x9E3779B97F4A7C15;
    hash_ ^= hash_ >> 29;
  }
  void Add(std::u16string_view text) { Add(std::hash<std::u16string_view>()(text)); }
  void AddObject(const CTableObj& object) {
    Add(static_cast<std::uint32_t>(object.GetFullType()));
    Add(object.GetDescription().View());
    if (const type_description_t* const type = TypeOf(object)) {
      for (const field_t& field : type->fields) {
        field.get(object, value_);
        FieldToText(field, value_, text_);
        Add(text_.View());
      }
    }
    for (unsigned i = 0; const CTable* const table = object.GetChildTable(i); ++i) {
      const CSingleLock lock(table->GetLock());
      Add(table->GetCount());
      for (unsigned index = 0; const CTableObj* const record = table->GetRecord(index); ++index) {
        Add(record->GetName().View());
        AddObject(*record);
      }
    }
  }

  std::uint64_t hash_ = 0;
  field_value_t value_;
  CString text_;
};

}  // namespace

class CDiffer {
 public:
  // A search for the first difference ends there, and leaves the roots' names out.
  explicit CDiffer(project_diff_t& diff, bool isSearch = false) : diff_(diff), isSearch_(isSearch) {}

  void Run(const CTableObj& a, const CTableObj& b) {
    const CBothLocks locks(a.GetLock(), b.GetLock());
    const CStep step(*this, &a, &b, nullptr);
    Compare(a, b, true);
    if (!isSearch_) FindMoves();
  }

 private:
  bool IsOver() const { return isSearch_ && !diff_.changes_.empty(); }

  // Where the walk is: an object of each tree, or of one of them, in a table of that name (null: a root). Paths are
  // made of it when there is something to tell.
  struct step_t {
    const CTableObj* a;
    const CTableObj* b;
    const CString* table;
  };
  class CStep {
   public:
    CStep(CDiffer& differ, const CTableObj* a, const CTableObj* b, const CString* table) : steps_(differ.steps_) {
      steps_.push_back({a, b, table});
    }
    CStep(const CStep&) = delete;
    CStep& operator=(const CStep&) = delete;
    ~CStep() { steps_.pop_back(); }

   private:
    std::vector<step_t>& steps_;
  };

  CString GetPath(bool isSecond) const {
    CString path;
    for (const step_t& step : steps_) {
      if (!path.IsEmpty()) path += u'.';
      path += (isSecond || step.a == nullptr ? step.b : step.a)->GetName().View();
    }
    return path;
  }
  CString GetPointer() const {
    CString pointer;
    for (const step_t& step : steps_) {
      if (step.table == nullptr) continue;
      json::AppendPointerToken(pointer, step.table->View());
      json::AppendPointerToken(pointer, (step.a == nullptr ? step.b : step.a)->GetName().View());
    }
    return pointer;
  }

  object_change_t& Add(change_t kind, const CTableObj* a, const CTableObj* b) {
    object_change_t& change = diff_.changes_.emplace_back();
    change.kind = kind;
    change.before = const_cast<CTableObj*>(a);
    change.after = const_cast<CTableObj*>(b);
    if (isSearch_) return change;
    change.path = GetPath(kind == change_t::ADDED);
    change.pointer = GetPointer();
    return change;
  }
  void AddWhole(change_t kind, const CTableObj& object, bool mayMove = true) {
    const bool isAdded = kind == change_t::ADDED;
    object_change_t& change = Add(kind, isAdded ? nullptr : &object, isAdded ? &object : nullptr);
    if (isSearch_) return;
    change.below = CountBelow(object);
    if (mayMove) moveable_.push_back(diff_.changes_.size() - 1);
  }

  void Compare(const CTableObj& a, const CTableObj& b, bool isRoot) {
    if (IsOver()) return;
    const type_description_t* const type = TypeOf(a);
    if (a.GetFullType() != b.GetFullType() || type != TypeOf(b)) {
      AddWhole(change_t::REMOVED, a, false);
      AddWhole(change_t::ADDED, b, false);
      return;
    }
    std::vector<property_change_t> properties;
    if (a.GetName() != b.GetName() && !(isRoot && isSearch_)) {
      properties.push_back({kObjectName, u"Name", CVariant(a.GetName()), CVariant(b.GetName())});
    }
    if ((a.HaveDescription() || b.HaveDescription()) && a.GetDescription() != b.GetDescription()) {
      properties.push_back(
          {kObjectDescription, u"Description", CVariant(a.GetDescription()), CVariant(b.GetDescription())});
    }
    if (type != nullptr) {
      CompareFields(*type, a, b, properties);
    } else {
      CompareLists(a, b, properties);
    }
    if (!properties.empty()) Add(change_t::CHANGED, &a, &b).properties = std::move(properties);
    for (unsigned i = 0;; ++i) {
      const CTable* const tableA = a.GetChildTable(i);
      const CTable* const tableB = b.GetChildTable(i);
      if (tableA == nullptr || tableB == nullptr || IsOver()) return;
      CompareTables(*tableA, *tableB, type != nullptr ? CString(type->tables[i].name) : tableA->GetTableName());
    }
  }

  void CompareFields(const type_description_t& type, const CTableObj& a, const CTableObj& b,
                     std::vector<property_change_t>& properties) {
    for (const field_t& field : type.fields) {
      field.get(a, valueA_);
      field.get(b, valueB_);
      if (AreSame(field, valueA_, valueB_)) continue;
      property_change_t& change = properties.emplace_back();
      change.id = field.id;
      change.name = field.name;
      change.isPassword = field.kind == field_kind_t::PASSWORD;
      if (change.isPassword) continue;
      change.before = FieldToVariant(field, valueA_);
      change.after = FieldToVariant(field, valueB_);
    }
  }

  // Objects without description have their property lists, in one order.
  static void CompareLists(const CTableObj& a, const CTableObj& b, std::vector<property_change_t>& properties) {
    const auto valuesOf = [](const CTableObj& object) {
      properties::property_list_t list;
      object.GetProperties(list);
      std::map<int, CVariant> values;
      for (const auto& property : list) {
        const int id = property->GetId();
        if (id != kObjectName && id != kObjectDescription) values.insert_or_assign(id, property->GetValue());
      }
      return values;
    };
    const auto before = valuesOf(a);
    auto after = valuesOf(b);
    const field_t any{0, u"", 0, field_kind_t::VALUE, properties::TYPE_NONE, nullptr, nullptr};
    for (const auto& [id, value] : before) {
      field_value_t valueA, valueB;
      valueA.value = value;
      const auto found = after.find(id);
      if (found != after.end()) valueB.value = found->second;
      if (found != after.end()) after.erase(found);
      if (AreSame(any, valueA, valueB)) continue;
      properties.push_back({id, CString(std::to_string(id)), valueA.value, valueB.value});
    }
    for (const auto& [id, value] : after) properties.push_back({id, CString(std::to_string(id)), CVariant(), value});
  }

  void CompareTables(const CTable& a, const CTable& b, const CString& name) {
    const CBothLocks locks(a.GetLock(), b.GetLock());
    if (dynamic_cast<const CUnorderedTable*>(&a) != nullptr) {
      CompareUnordered(a, b, name);
    } else {
      CompareOrdered(a, b, name);
    }
  }

  void CompareRecords(const CTableObj& a, const CTableObj& b, const CString& table) {
    const CStep step(*this, &a, &b, &table);
    Compare(a, b, false);
  }
  void AddRecord(change_t kind, const CTableObj& record, const CString& table) {
    const bool isAdded = kind == change_t::ADDED;
    const CStep step(*this, isAdded ? nullptr : &record, isAdded ? &record : nullptr, &table);
    AddWhole(kind, record);
  }

  void CompareOrdered(const CTable& a, const CTable& b, const CString& name) {
    const unsigned countA = a.GetCount(), countB = b.GetCount();
    unsigned indexB = 0;
    for (unsigned indexA = 0; indexA < countA && !IsOver(); ++indexA) {
      const CTableObj& recordA = *a.GetRecord(indexA);
      const CTableObj* recordB = b.GetRecord(indexB);
      if (recordB == nullptr || recordA.GetName() != recordB->GetName()) {
        // The table itself knows what it takes for the same name.
        unsigned found = CTable::invalid_index;
        recordB = b.FindRecord(recordA.GetName(), &found);
        if (recordB == nullptr || found < indexB) {
          while (const CTableObj* const before = b.GetRecord(indexB)) {
            if (before->GetName().CompareNoCase(recordA.GetName()) >= 0 || a.FindRecord(before->GetName())) break;
            AddRecord(change_t::ADDED, *before, name);
            ++indexB;
          }
          AddRecord(change_t::REMOVED, recordA, name);
          continue;
        }
        while (indexB < found) AddRecord(change_t::ADDED, *b.GetRecord(indexB++), name);
      }
      CompareRecords(recordA, *recordB, name);
      ++indexB;
    }
    while (indexB < countB && !IsOver()) AddRecord(change_t::ADDED, *b.GetRecord(indexB++), name);
  }

  // By exact names, the second of a name with the second of that name. Who comes is put behind the others, so what can
  // stay is the longest beginning of the second table that the first has in this order.
  void CompareUnordered(const CTable& a, const CTable& b, const CString& name) {
    struct places_t {
      std::vector<unsigned> indexes;
      std::size_t next = 0;
    };
    std::unordered_map<std::u16string_view, places_t> places;
    for (unsigned i = 0; const CTableObj* const record = a.GetRecord(i); ++i) {
      places_t& of = places[record->GetName().View()];
      of.indexes.push_back(i);
      if (of.indexes.size() > 1) SetAmbiguous(*record, name);
    }
    std::vector<std::pair<const CTableObj*, unsigned>> pairs;  // of the second table, with the index in the first
    std::vector<bool> isKept(a.GetCount());
    std::unordered_set<std::u16string_view> names;
    for (unsigned i = 0; const CTableObj* const record = b.GetRecord(i); ++i) {
      if (!names.insert(record->GetName().View()).second) SetAmbiguous(*record, name);
      const auto found = places.find(record->GetName().View());
      unsigned index = CTable::invalid_index;
      if (found != places.end() && found->second.next < found->second.indexes.size()) {
        index = found->second.indexes[found->second.next++];
        isKept[index] = true;
      }
      pairs.emplace_back(record, index);
    }
    for (unsigned i = 0; const CTableObj* const record = a.GetRecord(i); ++i) {
      if (!isKept[i]) AddRecord(change_t::REMOVED, *record, name);
    }
    bool stays = true;
    unsigned next = 0;
    for (const auto& [record, index] : pairs) {
      if (IsOver()) return;
      if (index == CTable::invalid_index) {
        stays = false;
        AddRecord(change_t::ADDED, *record, name);
        continue;
      }
      stays = stays && index >= next;
      next = index + 1;
      const CTableObj& recordA = *a.GetRecord(index);
      CompareRecords(recordA, *record, name);
      if (stays) continue;
      const CStep step(*this, &recordA, record, &name);
      object_change_t& change = Add(change_t::MOVED, &recordA, record);
      change.toPath = GetPath(true);
      change.toPointer = change.pointer;
    }
  }

  void SetAmbiguous(const CTableObj& record, const CString& table) {
    const CStep step(*this, &record, nullptr, &table);
    if (diff_.ambiguous_.IsEmpty()) diff_.ambiguous_ = GetPath(false);
  }

  // What was removed and what was added with the same content, when there is only one of each.
  void FindMoves() {
    struct found_t {
      std::size_t removed = 0, added = 0;  // the index
      unsigned removedCount = 0, addedCount = 0;
    };
    const auto isOf = [&](change_t kind) {
      return std::any_of(moveable_.begin(), moveable_.end(),
                         [&](std::size_t index) { return diff_.changes_[index].kind == kind; });
    };
    if (!isOf(change_t::REMOVED) || !isOf(change_t::ADDED)) return;
    std::unordered_map<std::uint64_t, found_t> contents;
    CContentHash hash;
    for (const std::size_t index : moveable_) {
      const object_change_t& change = diff_.changes_[index];
      const bool isAdded = change.kind == change_t::ADDED;
      found_t& found = contents[hash.Of(isAdded ? *change.after : *change.before)];
      ++(isAdded ? found.addedCount : found.removedCount);
      (isAdded ? found.added : found.removed) = index;
    }
    std::vector<bool> isGone(diff_.changes_.size());
    for (const auto& [content, found] : contents) {
      if (found.removedCount != 1 || found.addedCount != 1) continue;
      object_change_t& removed = diff_.changes_[found.removed];
      object_change_t& added = diff_.changes_[found.added];
      project_diff_t differences;
      CDiffer(differences, true).Run(*removed.before, *added.after);
      if (!differences.IsEmpty()) continue;
      added.kind = change_t::MOVED;
      added.toPath = std::exchange(added.path, removed.path);
      added.toPointer = std::exchange(added.pointer, removed.pointer);
      added.before = removed.before;
      isGone[found.removed] = true;
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < isGone.size(); ++i) {
      if (isGone[i]) continue;
      if (kept != i) diff_.changes_[kept] = std::move(diff_.changes_[i]);
      ++kept;
    }
    diff_.changes_.resize(kept);
  }

  project_diff_t& diff_;
  const bool isSearch_;
  std::vector<step_t> steps_;
  std::vector<std::size_t> moveable_;
  field_value_t valueA_, valueB_;
};

project_diff_t::project_diff_t() = default;
project_diff_t::project_diff_t(const project_diff_t&) = default;
project_diff_t::project_diff_t(project_diff_t&&) noexcept = default;
project_diff_t& project_diff_t::operator=(const project_diff_t&) = default;
project_diff_t& project_diff_t::operator=(project_diff_t&&) noexcept = default;
project_diff_t::~project_diff_t() = default;

project_diff_t DiffTrees(const CTableObj& a, const CTableObj& b) {
  project_diff_t diff;
  CDiffer(diff).Run(a, b);
  return diff;
}

std::size_t project_diff_t::Count(change_t kind) const noexcept {
  return static_cast<std::size_t>(std::count_if(changes_.begin(), changes_.end(),
                                                [&](const object_change_t& change) { return change.kind == kind; }));
}

}  // namespace zorutil::project
