// What a patch makes of a tree, before anything is changed: the objects and tables that its operations name, as they
// will be. Not installed.
//
// An item stands for an object: a live one, or one that the patch makes. A slot stands for a table. Neither is there
// for what no operation names, so a record without item stands where it is. A live object's settings are changed in a
// copy of it; a new object, which nobody else knows, is changed itself.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"
#include "util/json/value.h"
#include "util/objects/described_object.h"
#include "util/objects/table_changes_internal.h"
#include "util/project/load_report.h"
#include "util/project/project_patch.h"

namespace zorutil::project {

using json_ptr = std::shared_ptr<json::IValue>;
using message_ptr = std::unique_ptr<i18n::ILocalizedMessage>;

enum class operation_t { ADD, REMOVE, REPLACE, MOVE, COPY, TEST };

/// An operation that was read: `from` is there for move and copy, `value` for the others but remove.
struct patch_operation_t {
  operation_t kind;
  int number;
  CString path, from;
  std::vector<CString> pathTokens, fromTokens;
  json_ptr value;
};

/// Ends an operation.
struct patch_stop_t {
  message_ptr message;  ///< null: everything is told already
  bool isFrom = false;  ///< the operation's "from" is at fault
};

class CPatchPlan {
 public:
  /// Tells failures to `result`.
  CPatchPlan(CTableObj& root, const patch_options_t& options, patch_result_t& result);
  CPatchPlan(const CPatchPlan&) = delete;
  CPatchPlan& operator=(const CPatchPlan&) = delete;
  ~CPatchPlan();

  /// False: the operation failed, which is told. It outlives the plan.
  bool Plan(const patch_operation_t& operation);
  /// By the definitions.
  void Validate(properties::IValidationContext& context);
  void Count();
  /// Makes the changes, all or none. A refusal is told.
  void CarryOut();

 private:
  struct slot_t;
  struct change_t {
    const field_t* field;
    field_value_t value;
    const patch_operation_t* by;
  };
  struct item_t {
    CDescribedObj* object = nullptr;
    owned_obj_ptr made;       // the object, when it is new and in no table
    owned_obj_ptr copy;       // of a live one, when it has changes
    slot_t* place = nullptr;  // null for the root, and for what is removed
    CString name;
    bool isNew = false;     // the object, or what it is in, was made by the patch
    bool isMoved = false;   // it came to its place by the patch
    bool isMoving = false;  // the tree has it elsewhere, or under another name
    std::size_t arrival = 0;
    std::vector<change_t> changes;
    std::optional<CString> description;
    const patch_operation_t* by = nullptr;  // the last that named it as its target

    const type_description_t& GetType() const { return object->GetTypeDescription(); }
    const CTableObj& GetCurrent() const { return copy != nullptr ? *copy : *object; }
  };
  struct name_less_t {
    bool isExact;
    bool operator()(const CString& a, const CString& b) const { return isExact ? a < b : a.CompareNoCase(b) < 0; }
  };
  struct slot_t {
    slot_t(CTable& t, item_t& o, const child_table_t& d, bool isExact)
        : table(t), owner(o), description(d), isUnordered(isExact), comes(name_less_t{isExact}) {}
    CTable& table;
    item_t& owner;
    const child_table_t& description;
    bool isUnordered;  // it tells names exactly, and keeps the order of arrival
    std::map<CString, item_t*, name_less_t> comes;
    std::optional<std::map<CString, CTableObj*>> index;  // of an unordered table's records
  };
  enum class target_kind_t { OBJECT, MISSING, TABLE, FIELD, DESCRIPTION, NAME, TYPE };
  struct target_t {
    target_kind_t kind;
    item_t* item = nullptr;  // the object, or whose member it is
    slot_t* slot = nullptr;  // the table, or where the object is or would be; null for the root
    const field_t* field = nullptr;
    CString name;  // of the object
  };

  // --- finding
  target_t Resolve(std::span<const CString> tokens);
  item_t& ItemOf(CTableObj& object, slot_t* place);
  slot_t& SlotOf(item_t& owner, const child_table_t& description);
  item_t* Find(slot_t& slot, const CString& name);
  CTableObj* FindLive(slot_t& slot, const CString& name);
  bool Stands(const slot_t& slot, CTableObj& record) const;
  bool IsTaken(slot_t& slot, const CString& name, const item_t* except);
  std::vector<item_t*> RecordsOf(slot_t& slot);

  // --- structure
  void Leave(item_t& item);
  void LeaveAll(slot_t& slot);
  void Come(item_t& item, slot_t& slot, const CString& name);
  void AddObject(slot_t& slot, const CString& name, const json_ptr& value, int line);
  void CheckPlace(item_t& item, slot_t& slot, const CString& name, const item_t* replaced);
  int HeightOf(item_t& item);
  bool CanNest(const child_table_t& table);
  void MoveObject(item_t& item, const target_t& to);
  void MoveTable(slot_t& from, slot_t& to);

  // --- values
  CDescribedObj& GetOwn(item_t& item);
  void SetField(item_t& item, const field_t& field, field_value_t value);
  void SetDescription(item_t& item, const CString& text);
  void Rename(item_t& item, const CString& name);
  void ResetField(item_t& item, const field_t& field);
  json_ptr ValueOf(const target_t& target);
  json_ptr JsonOf(item_t& item);
  json_ptr JsonOf(slot_t& slot);

  // --- operations
  void Run(const patch_operation_t& operation);
  void Put(const target_t& target, const json_ptr& value);
  void Remove(const target_t& target);
  void Move(const patch_operation_t& operation);
  void Touch(const target_t& target) { (target.item != nullptr ? *target.item : target.slot->owner).by = current_; }
  item_t& RequireItem(const target_t& target);

  // --- the end
  void Tell(const patch_operation_t* by, message_ptr message, CString object = {}, bool isFrom = false);
  void TellException(const patch_operation_t* by);
  void ValidateNew(CTableObj& object, const item_t& item, properties::IValidationContext& context, const CString& path);
  void ValidateChanged(item_t& item, properties::IValidationContext& context);
  bool IsInTree(const item_t& item) const { return item.place != nullptr || &item == root_; }
  bool IsChanged(const item_t& item) const { return IsInTree(item) && (!item.changes.empty() || item.description); }
  bool HasMoved(const item_t& item) const;
  void CollectChanges();
  bool MakeSettings();
  void TakeSettingsBack() noexcept;

  const ref_counted_obj_ptr rootReference_;
  const patch_options_t& options_;
  patch_result_t& result_;
  std::optional<object_lock_t> rootLock_;
  std::deque<item_t> items_;
  std::deque<slot_t> slots_;
  std::unordered_map<const CTableObj*, item_t*> itemOf_;
  std::unordered_map<const CTable*, slot_t*> slotOf_;
  std::unordered_map<const child_table_t*, bool> canNest_;
  item_t* root_ = nullptr;
  const patch_operation_t* current_ = nullptr;
  std::size_t budget_;
  std::size_t arrivals_ = 0;
  std::vector<item_t*> coming_;  // in the order in which they come

  struct made_setting_t {
    CTableObj* object;
    const field_t* field;  // null: the description
    field_value_t earlier;
  };
  std::vector<made_setting_t> settings_;
  CTableChanges changes_;  // last: the locks are given back before anything is freed
};

}  // namespace zorutil::project
