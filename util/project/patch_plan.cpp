#include <algorithm>
#include <exception>
#include <new>

#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/json/json_text.h"
#include "util/json/patch.h"
#include "util/objects/type_registry.h"
#include "util/objects/unordered_table.h"
#include "util/project/json_mapping.h"
#include "util/project/patch_plan_internal.h"

namespace zorutil::project {

namespace {

// The JSON form nests two levels for each object, and one more for a variant and for the name of the root.
constexpr int kMaxDepth = json::kMaxDepth / 2 - 1;

[[noreturn]] void Stop(unsigned id, std::vector<CVariant> arguments = {}, bool isFrom = false) {
  throw patch_stop_t{i18n::MakeLocalizedMessage(id, std::move(arguments)), isFrom};
}

CString TextOf(const json_ptr& value, const char16_t* name) {
  if (value == nullptr || !value->IsString()) Stop(i18n::IDS_SETTING_TYPE, {CVariant(name)});
  return CString(static_cast<const json::scalar_t&>(*value).value.GetStringView());
}

}  // namespace

CPatchPlan::CPatchPlan(CTableObj& root, const patch_options_t& options, patch_result_t& result)
    : rootReference_(&root), options_(options), result_(result), rootLock_(root), budget_(options.maxObjects) {
  CDescribedObj* const described = AsDescribed(&root);
  if (described == nullptr) {
    Tell(nullptr, i18n::MakeLocalizedMessage(i18n::IDS_TYPE_NOT_DESCRIBED, {CVariant(root.GetObjectName())}));
    return;
  }
  root_ = &ItemOf(root, nullptr);
}

// The locks go first, then what was made and is not in the tree.
CPatchPlan::~CPatchPlan() { rootLock_.reset(); }

void CPatchPlan::Tell(const patch_operation_t* by, message_ptr message, CString object, bool isFrom) {
  if (result_.failures.size() >= std::max<std::size_t>(1, options_.maxErrors)) return;
  patch_failure_t& failure = result_.failures.emplace_back();
  failure.message = std::move(message);
  if (by != nullptr) {
    failure.operation = by->number;
    failure.path = isFrom ? by->from : by->path;
  }
  failure.object = std::move(object);
}

// The exception that is being handled; one of memory goes on.
void CPatchPlan::TellException(const patch_operation_t* by) {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (i18n::message_exception_t& error) {
    auto message = error.DetachMessage();
    if (message == nullptr) message = i18n::MakeLocalizedMessage(i18n::IDS_PATCH_THREW, {CVariant(error.what())});
    Tell(by, std::move(message));
  } catch (const std::exception& error) {
    Tell(by, i18n::MakeLocalizedMessage(i18n::IDS_PATCH_THREW, {CVariant(error.what())}));
  }
}

// --- finding ---------------------------------------------------------------------------------------------------------

CPatchPlan::item_t& CPatchPlan::ItemOf(CTableObj& object, slot_t* place) {
  if (const auto known = itemOf_.find(&object); known != itemOf_.end()) return *known->second;
  CDescribedObj* const described = AsDescribed(&object);
  if (described == nullptr) Stop(i18n::IDS_TYPE_NOT_DESCRIBED, {CVariant(object.GetObjectName())});
  item_t& item = items_.emplace_back();
  item.object = described;
  item.place = place;
  item.name = object.GetName();
  item.isNew = place != nullptr && place->owner.isNew;
  itemOf_.emplace(&object, &item);
  return item;
}

CPatchPlan::slot_t& CPatchPlan::SlotOf(item_t& owner, const child_table_t& description) {
  CTable& table = description.get(*owner.object);
  if (const auto known = slotOf_.find(&table); known != slotOf_.end()) return *known->second;
  changes_.Lock(table);
  slot_t& slot =
      slots_.emplace_back(table, owner, description, dynamic_cast<const CUnorderedTable*>(&table) != nullptr);
  slotOf_.emplace(&table, &slot);
  return slot;
}

bool CPatchPlan::Stands(const slot_t& slot, CTableObj& record) const {
  const auto known = itemOf_.find(&record);
  return known == itemOf_.end() || (known->second->place == &slot && !known->second->isMoved);
}

// The record of exactly that name, or of one that the table takes for the same.
CTableObj* CPatchPlan::FindLive(slot_t& slot, const CString& name) {
  if (!slot.isUnordered) return slot.table.FindRecord(name.GetString());
  if (!slot.index) {
    slot.index.emplace();
    for (unsigned i = 0; i < slot.table.GetCount(); ++i) {
      CTableObj* const record = slot.table.GetRecord(i);
      slot.index->emplace(record->GetName(), record);  // of several the first
    }
  }
  const auto found = slot.index->find(name);
  return found == slot.index->end() ? nullptr : found->second;
}

CPatchPlan::item_t* CPatchPlan::Find(slot_t& slot, const CString& name) {
  const auto come = slot.comes.find(name);
  if (come != slot.comes.end()) return come->first == name ? come->second : nullptr;
  CTableObj* const record = FindLive(slot, name);
  return record != nullptr && record->GetName() == name && Stands(slot, *record) ? &ItemOf(*record, &slot) : nullptr;
}

bool CPatchPlan::IsTaken(slot_t& slot, const CString& name, const item_t* except) {
  const auto come = slot.comes.find(name);
  if (come != slot.comes.end()) return come->second != except;
  CTableObj* const record = FindLive(slot, name);
  return record != nullptr && Stands(slot, *record) && (except == nullptr || except->object != record);
}

// Every record that the table then has.
std::vector<CPatchPlan::item_t*> CPatchPlan::RecordsOf(slot_t& slot) {
  std::vector<item_t*> records;
  for (unsigned i = 0; CTableObj* const record = slot.table.GetRecord(i); ++i) {
    if (Stands(slot, *record)) records.push_back(&ItemOf(*record, &slot));
  }
  const auto come = static_cast<std::ptrdiff_t>(records.size());
  for (const auto& [name, item] : slot.comes) records.push_back(item);
  std::sort(records.begin() + come, records.end(),
            [](const item_t* a, const item_t* b) { return a->arrival < b->arrival; });
  return records;
}

CPatchPlan::target_t CPatchPlan::Resolve(std::span<const CString> tokens) {
  item_t* item = root_;
  slot_t* slot = nullptr;
  for (std::size_t i = 0; i < tokens.size();) {
    const CString& token = tokens[i++];
    const type_description_t& type = item->GetType();
    const child_table_t* const table = type.FindTable(token.View());
    if (table == nullptr) {
      const field_t* const field = type.FindField(token.View());
      const auto kind = field != nullptr          ? target_kind_t::FIELD
                        : token == u"Name"        ? target_kind_t::NAME
                        : token == u"Type"        ? target_kind_t::TYPE
                        : token == u"Description" ? target_kind_t::DESCRIPTION
                                                  : target_kind_t::MISSING;
      if (kind == target_kind_t::MISSING) Stop(i18n::IDS_SETTING_UNKNOWN, {CVariant(type.name), CVariant(token)});
      if (i < tokens.size()) Stop(i18n::IDS_PATCH_INSIDE, {CVariant(token)});
      return {kind, item, slot, field, item->name};
    }
    slot = &SlotOf(*item, *table);
    if (i == tokens.size()) return {target_kind_t::TABLE, nullptr, slot, nullptr, {}};
    const CString& name = tokens[i++];
    item_t* const found = Find(*slot, name);
    if (found == nullptr) {
      if (i < tokens.size()) Stop(i18n::IDS_PATCH_NO_OBJECT, {CVariant(name)});
      return {target_kind_t::MISSING, nullptr, slot, nullptr, name};
    }
    item = found;
  }
  return {target_kind_t::OBJECT, item, slot, nullptr, item->name};
}

CPatchPlan::item_t& CPatchPlan::RequireItem(const target_t& target) {
  if (target.item == nullptr) Stop(i18n::IDS_PATCH_NO_OBJECT, {CVariant(target.name)});
  if (target.item == root_) Stop(i18n::IDS_PATCH_ROOT);
  return *target.item;
}

// --- structure -------------------------------------------------------------------------------------------------------

void CPatchPlan::Leave(item_t& item) {
  if (item.isMoved && item.place != nullptr) item.place->comes.erase(item.name);
  item.place = nullptr;
}

void CPatchPlan::LeaveAll(slot_t& slot) {
  for (item_t* const item : RecordsOf(slot)) {
    Leave(*item);
    item->by = current_;
  }
}

void CPatchPlan::Come(item_t& item, slot_t& slot, const CString& name) {
  Leave(item);
  slot.comes.emplace(name, &item);
  item.place = &slot;
  item.name = name;
  item.isMoved = true;
  item.arrival = ++arrivals_;
  item.by = current_;
}

bool CPatchPlan::CanNest(const child_table_t& table) {
  const auto [known, isNew] = canNest_.emplace(&table, true);
  if (isNew && !table.accepts.empty()) {
    known->second = false;
    for (const CTypeRegistry::type_t& type : CTypeRegistry::GetTypes()) {
      if (!table.Takes(CTableObj::TypeFromFullType(type.fullType))) continue;
      known->second |= type.description == nullptr || !type.description->tables.empty();
    }
  }
  return known->second;
}

// The levels of objects from this one on.
int CPatchPlan::HeightOf(item_t& item) {
  int height = 1;
  for (const child_table_t& table : item.GetType().tables) {
    height = std::max(height, 2);
    if (!CanNest(table)) continue;
    for (item_t* const child : RecordsOf(SlotOf(item, table))) height = std::max(height, 1 + HeightOf(*child));
  }
  return height;
}

// Whether the object may come there in the place of another one or of none.
void CPatchPlan::CheckPlace(item_t& item, slot_t& slot, const CString& name, const item_t* replaced) {
  const type_description_t& type = item.GetType();
  if (!slot.description.Takes(type.type)) {
    Stop(i18n::IDS_TYPE_NOT_TAKEN, {CVariant(type.name), CVariant(slot.description.name)});
  }
  if (name.IsEmpty()) Stop(i18n::IDS_OBJECT_NAME_MISSING);
  if (name.Find(u'\0') >= 0 || !item.object->IsValidName(name.GetString())) {
    Stop(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant(name)});
  }
  if ((replaced == nullptr || replaced->place != &slot || replaced->name != name) && IsTaken(slot, name, &item)) {
    Stop(i18n::IDS_OBJECT_NAME_TAKEN, {CVariant(name)});
  }
  int depth = 0;
  for (const slot_t* at = &slot; at != nullptr; at = at->owner.place) {
    if (&at->owner == &item) Stop(i18n::IDS_PATCH_INTO_ITSELF);
    ++depth;
  }
  if (depth + HeightOf(item) > kMaxDepth) Stop(i18n::IDS_PATCH_DEPTH);
}

void CPatchPlan::AddObject(slot_t& slot, const CString& name, const json_ptr& value, int line) {
  load_report_t report;
  owned_obj_ptr made = ObjectFromJson(name, value, line, report);
  for (load_error_t& error : report.TakeErrors()) {
    if (error.path == name) error.path.Empty();
    Tell(current_, std::move(error.message), error.path);
  }
  if (made == nullptr || report.HasErrors()) throw patch_stop_t{};
  item_t& item = ItemOf(*made, nullptr);
  item.made = std::move(made);
  item.isNew = true;
  item_t* const replaced = Find(slot, name);
  CheckPlace(item, slot, name, replaced);
  if (replaced != nullptr) Leave(*replaced);
  Come(item, slot, name);
}

void CPatchPlan::MoveObject(item_t& item, const target_t& to) {
  if (to.item == root_) Stop(i18n::IDS_PATCH_ROOT);
  CheckPlace(item, *to.slot, to.name, to.item);
  if (to.item != nullptr) {
    Leave(*to.item);
    to.item->by = current_;
  }
  Come(item, *to.slot, to.name);
}

void CPatchPlan::MoveTable(slot_t& from, slot_t& to) {
  LeaveAll(to);
  for (item_t* const item : RecordsOf(from)) {
    CheckPlace(*item, to, item->name, nullptr);
    Come(*item, to, CString(item->name));
  }
}

// --- operations ------------------------------------------------------------------------------------------------------

bool CPatchPlan::Plan(const patch_operation_t& operation) {
  if (root_ == nullptr) return false;
  current_ = &operation;
  try {
    Run(operation);
    return true;
  } catch (patch_stop_t& stop) {
    if (stop.message != nullptr) Tell(&operation, std::move(stop.message), {}, stop.isFrom);
  } catch (const std::exception&) {
    TellException(&operation);
  }
  return false;
}

void CPatchPlan::Run(const patch_operation_t& operation) {
  if (operation.kind == operation_t::MOVE) return Move(operation);
  json_ptr value = operation.value;
  if (operation.kind == operation_t::COPY) {
    try {
      value = ValueOf(Resolve(operation.fromTokens));
    } catch (patch_stop_t& stop) {
      stop.isFrom = true;
      throw;
    }
  }
  const target_t target = Resolve(operation.pathTokens);
  switch (operation.kind) {
    case operation_t::TEST:
      if (!json::AreEqual(ValueOf(target).get(), value.get())) Stop(i18n::IDS_PATCH_TEST);
      return;
    case operation_t::REMOVE: return Remove(target);
    case operation_t::REPLACE:
      if (target.kind == target_kind_t::MISSING) Stop(i18n::IDS_PATCH_NO_OBJECT, {CVariant(target.name)});
      [[fallthrough]];
    default: return Put(target, value);
  }
}

void CPatchPlan::Put(const target_t& target, const json_ptr& value) {
  Touch(target);
  switch (target.kind) {
    case target_kind_t::OBJECT:
      if (target.item == root_) Stop(i18n::IDS_PATCH_ROOT);
      [[fallthrough]];
    case target_kind_t::MISSING: return AddObject(*target.slot, target.name, value, 0);
    case target_kind_t::TABLE: {
      if (value == nullptr || !value->IsObject()) Stop(i18n::IDS_OBJECT_EXPECTED);
      LeaveAll(*target.slot);
      bool isGood = true;
      for (const json::member_t& member : static_cast<const json::object_t&>(*value).members) {
        try {
          if (Find(*target.slot, member.name) != nullptr) Stop(i18n::IDS_OBJECT_NAME_TAKEN, {CVariant(member.name)});
          AddObject(*target.slot, member.name, member.value, member.line);
        } catch (patch_stop_t& stop) {
          if (stop.message != nullptr) Tell(current_, std::move(stop.message), member.name);
          isGood = false;
        }
      }
      if (!isGood) throw patch_stop_t{};
      return;
    }
    case target_kind_t::FIELD: {
      field_value_t converted;
      if (auto message = FieldFromJson(*target.field, value, converted)) throw patch_stop_t{std::move(message)};
      return SetField(*target.item, *target.field, std::move(converted));
    }
    case target_kind_t::DESCRIPTION: return SetDescription(*target.item, TextOf(value, u"Description"));
    case target_kind_t::NAME: return Rename(*target.item, TextOf(value, u"Name"));
    case target_kind_t::TYPE:
      if (TextOf(value, u"Type") != target.item->GetType().name) Stop(i18n::IDS_PATCH_FIXED, {CVariant(u"Type")});
      return;
  }
}

void CPatchPlan::Remove(const target_t& target) {
  switch (target.kind) {
    case target_kind_t::OBJECT:
    case target_kind_t::MISSING: {
      item_t& item = RequireItem(target);
      item.by = current_;
      return Leave(item);
    }
    case target_kind_t::TABLE: return LeaveAll(*target.slot);
    case target_kind_t::FIELD: return ResetField(*target.item, *target.field);
    case target_kind_t::DESCRIPTION: return SetDescription(*target.item, CString());
    case target_kind_t::NAME: Stop(i18n::IDS_PATCH_FIXED, {CVariant(u"Name")});
    case target_kind_t::TYPE: Stop(i18n::IDS_PATCH_FIXED, {CVariant(u"Type")});
  }
}

void CPatchPlan::Move(const patch_operation_t& operation) {
  const auto& from = operation.fromTokens;
  const auto& to = operation.pathTokens;
  target_t source{};
  json_ptr value;
  const bool isInside = to.size() > from.size() && std::equal(from.begin(), from.end(), to.begin());
  try {
    source = Resolve(from);
    if (source.kind == target_kind_t::OBJECT || source.kind == target_kind_t::MISSING) RequireItem(source);
    if (isInside) Stop(i18n::IDS_PATCH_INTO_ITSELF);
    if (from == to) return;
    if (source.kind != target_kind_t::OBJECT && source.kind != target_kind_t::TABLE) {
      value = ValueOf(source);
      Remove(source);
      source.item->by = current_;
    }
  } catch (patch_stop_t& stop) {
    stop.isFrom = true;
    throw;
  }
  const target_t target = Resolve(to);
  const bool isObject = target.kind == target_kind_t::OBJECT || target.kind == target_kind_t::MISSING;
  if (source.kind == target_kind_t::OBJECT && isObject) return MoveObject(*source.item, target);
  if (source.kind == target_kind_t::TABLE && target.kind == target_kind_t::TABLE) {
    return MoveTable(*source.slot, *target.slot);
  }
  if (value == nullptr) value = ValueOf(source);
  Put(target, value);
  if (source.kind == target_kind_t::OBJECT || source.kind == target_kind_t::TABLE) Remove(source);
}

}  // namespace zorutil::project
