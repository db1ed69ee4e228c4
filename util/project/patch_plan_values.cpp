#include <algorithm>
#include <exception>
#include <iterator>

#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/project/json_mapping.h"
#include "util/project/patch_plan_internal.h"
#include "util/properties/property.h"

namespace zorutil::project {

namespace {

json_ptr TextNode(const CString& text) { return std::make_shared<json::scalar_t>(CVariant(text)); }

// What the object knows better than its definitions, and then what the caller does.
class CObjectContext final : public properties::IValidationContext {
 public:
  CObjectContext(CTableObj& object, const properties::property_list_t& list, properties::IValidationContext& otherwise)
      : object_(object), list_(list), otherwise_(otherwise) {}
  std::shared_ptr<properties::IPropertyEditor> GetPropertyEditor(int id) override {
    auto editor = object_.GetPropertyHelper(id, list_);
    return editor != nullptr ? std::move(editor) : otherwise_.GetPropertyEditor(id);
  }
  void IterateEnumValues(int id, properties::functor_t<const properties::enum_entry_t&>& functor) override {
    otherwise_.IterateEnumValues(id, functor);
  }
  properties::CDefinitionStore& GetDefinitions() override { return otherwise_.GetDefinitions(); }

 private:
  CTableObj& object_;
  const properties::property_list_t& list_;
  properties::IValidationContext& otherwise_;
};

// What the definitions and the object itself say against its properties.
std::vector<properties::validation_failure_t> FailuresOf(CTableObj& object, properties::IValidationContext& context) {
  properties::property_list_t list;
  object.GetProperties(list);
  CObjectContext own(object, list, context);
  auto failures = properties::CollectValidationFailures(list, own);
  try {
    object.ValidateProperties(list, own);
  } catch (i18n::message_exception_t& error) {
    properties::validation_failure_t failure{error.GetNumber(), error.GetText1(), error.DetachMessage()};
    if (failure.message == nullptr) failure.message = i18n::MakeNonLocalizedMessage(error.what());
    failures.push_back(std::move(failure));
  }
  return failures;
}

// Setters mark nothing as long as it lives: what is marked in the end is said elsewhere.
class untracked_t {
 public:
  explicit untracked_t(CTableObj& object) : object_(object), wasTracking_(object.IsTrackingMods()) {
    object.SetTrackMods(false);
  }
  untracked_t(const untracked_t&) = delete;
  untracked_t& operator=(const untracked_t&) = delete;
  ~untracked_t() { object_.SetTrackMods(wasTracking_); }

 private:
  CTableObj& object_;
  const bool wasTracking_;
};

}  // namespace

// --- settings --------------------------------------------------------------------------------------------------------

CDescribedObj& CPatchPlan::GetOwn(item_t& item) {
  if (item.isNew) return *item.object;
  if (item.copy == nullptr) item.copy.reset(CTableObj::CopyObject(*item.object, CTableObj::kCopyObject));
  CDescribedObj* const copy = AsDescribed(item.copy.get());
  if (copy == nullptr) {
    throw patch_stop_t{i18n::MakeLocalizedMessage(i18n::IDS_TYPE_NOT_DESCRIBED, {CVariant(item.GetType().name)})};
  }
  return *copy;
}

void CPatchPlan::SetField(item_t& item, const field_t& field, field_value_t value) {
  field_value_t taken = value;
  if (!field.set(GetOwn(item), taken)) throw patch_stop_t{MakeFieldMessage(field, field_result_t::REFUSED)};
  if (!item.isNew) item.changes.push_back({&field, std::move(value), current_});
  item.by = current_;
}

// As in an object that was just made.
void CPatchPlan::ResetField(item_t& item, const field_t& field) {
  const owned_obj_ptr fresh(item.GetType().factory());
  field_value_t value;
  field.get(*fresh, value);
  SetField(item, field, std::move(value));
}

void CPatchPlan::SetDescription(item_t& item, const CString& text) {
  if (text.Find(u'\0') >= 0) {
    throw patch_stop_t{i18n::MakeLocalizedMessage(i18n::IDS_SETTING_TYPE, {CVariant(u"Description")})};
  }
  GetOwn(item).SetDescription(text.GetString());
  if (!item.isNew) item.description = text;
  item.by = current_;
}

void CPatchPlan::Rename(item_t& item, const CString& name) {
  if (item.place != nullptr) {
    if (name == item.name) return;
    CheckPlace(item, *item.place, name, nullptr);
    return Come(item, *item.place, name);
  }
  if (name.Find(u'\0') >= 0 || !item.object->IsValidName(name.GetString())) {
    throw patch_stop_t{i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant(name)})};
  }
  // The object at the top may be one of many.
  const CTable* const table = item.object->GetTable();
  const CTableObj* const other = table == nullptr ? nullptr : table->FindRecord(name.GetString());
  if (other != nullptr && other != item.object) {
    throw patch_stop_t{i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_TAKEN, {CVariant(name)})};
  }
  item.name = name;
  item.by = current_;
}

// --- values ----------------------------------------------------------------------------------------------------------

json_ptr CPatchPlan::ValueOf(const target_t& target) {
  switch (target.kind) {
    case target_kind_t::OBJECT: return JsonOf(*target.item);
    case target_kind_t::TABLE: return JsonOf(*target.slot);
    case target_kind_t::FIELD: return FieldToJson(target.item->GetCurrent(), *target.field);
    case target_kind_t::DESCRIPTION: return TextNode(target.item->GetCurrent().GetDescription());
    case target_kind_t::NAME: return TextNode(target.item->name);
    case target_kind_t::TYPE: return TextNode(target.item->GetType().name);
    case target_kind_t::MISSING: break;
  }
  throw patch_stop_t{i18n::MakeLocalizedMessage(i18n::IDS_PATCH_NO_OBJECT, {CVariant(target.name)})};
}

json_ptr CPatchPlan::JsonOf(item_t& item) {
  if (budget_ == 0) {
    const auto most = static_cast<std::int32_t>(std::min<std::size_t>(options_.maxObjects, INT32_MAX));
    throw patch_stop_t{i18n::MakeLocalizedMessage(i18n::IDS_PATCH_COPIES, {CVariant::FromInt32(most)})};
  }
  --budget_;
  auto out = std::make_shared<json::object_t>(ObjectToJson(item.GetCurrent(), false));
  for (const child_table_t& table : item.GetType().tables) {
    json_ptr records = JsonOf(SlotOf(item, table));
    if (static_cast<const json::object_t&>(*records).members.empty()) continue;
    out->members.emplace_back(table.name, std::move(records), 0);
  }
  return out;
}

json_ptr CPatchPlan::JsonOf(slot_t& slot) {
  auto out = std::make_shared<json::object_t>();
  for (item_t* const item : RecordsOf(slot)) out->members.emplace_back(item->name, JsonOf(*item), 0);
  return out;
}

// --- checking the whole ----------------------------------------------------------------------------------------------

void CPatchPlan::ValidateNew(CTableObj& object, const item_t& item, properties::IValidationContext& context,
                             const CString& path) {
  for (auto& failure : FailuresOf(object, context)) Tell(item.by, std::move(failure.message), path);
  for (unsigned i = 0; const CTable* const table = object.GetChildTable(i); ++i) {
    for (unsigned index = 0; CTableObj* const record = table->GetRecord(index); ++index) {
      CString below = path;
      if (!below.IsEmpty()) below += u'.';
      ValidateNew(*record, item, context, below += record->GetName().View());
    }
  }
}

// What was wrong before and is not touched is not the patch's fault.
void CPatchPlan::ValidateChanged(item_t& item, properties::IValidationContext& context) {
  const auto before = FailuresOf(*item.object, context);
  CDescribedObj& copy = GetOwn(item);
  copy.SetName(item.name.GetString());
  for (auto& failure : FailuresOf(copy, context)) {
    const patch_operation_t* by = nullptr;
    for (const change_t& change : item.changes) {
      if (change.field->id == failure.id) by = change.by;
    }
    const bool isOld = std::any_of(before.begin(), before.end(), [&](const auto& earlier) {
      return earlier.id == failure.id && earlier.message->GetMessageId() == failure.message->GetMessageId();
    });
    if (by != nullptr || !isOld) Tell(by != nullptr ? by : item.by, std::move(failure.message));
  }
}

void CPatchPlan::Validate(properties::IValidationContext& context) {
  for (item_t& item : items_) {
    current_ = item.by;
    try {
      if (item.made != nullptr && item.place != nullptr) ValidateNew(*item.made, item, context, {});
      if (!item.isNew && (IsChanged(item) || HasMoved(item))) ValidateChanged(item, context);
    } catch (patch_stop_t& stop) {
      Tell(item.by, std::move(stop.message));
    } catch (const std::exception&) {
      TellException(item.by);
    }
  }
}

// --- the changes -----------------------------------------------------------------------------------------------------

bool CPatchPlan::HasMoved(const item_t& item) const {
  if (&item == root_) return item.name != item.object->GetName();
  if (!item.isMoved || item.place == nullptr || item.made != nullptr) return false;
  const bool isInPlace = item.object->GetTable() == &item.place->table && item.name == item.object->GetName();
  return !isInPlace || item.place->isUnordered;
}

void CPatchPlan::Count() {
  for (const item_t& item : items_) {
    if (item.made != nullptr && item.place != nullptr) ++result_.added;
    if (item.isNew) continue;
    if (!IsInTree(item)) ++result_.removed;
    if (HasMoved(item)) ++result_.moved;
    if (IsChanged(item)) ++result_.changed;
  }
}

void CPatchPlan::CollectChanges() {
  std::size_t settings = 0;
  for (item_t& item : items_) {
    item.isMoving = !item.isNew && HasMoved(item);
    if (IsInTree(item)) settings += item.changes.size() + 1;
    if (&item == root_) {
      if (HasMoved(item)) changes_.Place(*item.object, item.object->GetTable(), item.name);
    } else if (item.place == nullptr) {
      if (item.made == nullptr) changes_.Remove(*item.object);
    } else if (item.made != nullptr || HasMoved(item)) {
      coming_.push_back(&item);
    }
  }
  std::sort(coming_.begin(), coming_.end(), [](const item_t* a, const item_t* b) { return a->arrival < b->arrival; });
  for (item_t* const item : coming_) changes_.Place(*item->object, &item->place->table, item->name);
  settings_.reserve(settings);
}

// Descriptions that end wait for the end, for they come back only with new memory.
bool CPatchPlan::MakeSettings() {
  for (item_t& item : items_) {
    if (!IsChanged(item)) continue;
    CDescribedObj& object = *item.object;
    const untracked_t untracked(object);
    for (change_t& change : item.changes) {
      current_ = change.by;
      field_value_t earlier;
      field_value_t value = change.value;
      change.field->get(object, earlier);
      settings_.push_back({&object, change.field, std::move(earlier)});
      if (!change.field->set(object, value)) {
        Tell(change.by, MakeFieldMessage(*change.field, field_result_t::REFUSED));
        return false;
      }
    }
    if (!item.description || item.description->IsEmpty()) continue;
    field_value_t earlier;
    earlier.text = object.GetDescription();
    settings_.push_back({&object, nullptr, std::move(earlier)});
    CTableChanges::SetDescription(object, *item.description);
  }
  return true;
}

void CPatchPlan::TakeSettingsBack() noexcept {
  while (!settings_.empty()) {
    made_setting_t& setting = settings_.back();
    const untracked_t untracked(*setting.object);
    if (setting.field == nullptr) {
      CTableChanges::SetDescription(*setting.object, setting.earlier.text);
    } else {
      try {
        setting.field->set(*setting.object, setting.earlier);
      } catch (...) {  // a setter that does not take its own earlier value
      }
    }
    settings_.pop_back();
  }
}

void CPatchPlan::CarryOut() {
  CollectChanges();
  current_ = nullptr;
  try {
    if (!MakeSettings()) return TakeSettingsBack();
    current_ = nullptr;
    const CTableObj* const refused = changes_.Make([this] {
      for (item_t& item : items_) {
        current_ = item.by;
        if (item.made != nullptr && item.place != nullptr) item.object->OnLoadComplete();
        if (item.isMoving) item.object->OnObjMove();
      }
    });
    if (refused != nullptr) {
      TakeSettingsBack();
      const item_t& item = *itemOf_.at(refused);
      return Tell(item.by, i18n::MakeLocalizedMessage(i18n::IDS_PATCH_THREW, {CVariant(item.name)}));
    }
  } catch (const std::exception&) {
    TakeSettingsBack();
    return TellException(current_);
  } catch (...) {
    TakeSettingsBack();
    throw;
  }
  for (item_t& item : items_) {
    if (item.made != nullptr && item.place != nullptr) {
      static_cast<void>(item.made.release());
      continue;
    }
    if (item.description && item.description->IsEmpty() && IsInTree(item)) {
      CTableChanges::SetDescription(*item.object, CString());
    }
    if (IsChanged(item) || item.isMoving) item.object->SetModified(true);
  }
}

}  // namespace zorutil::project
