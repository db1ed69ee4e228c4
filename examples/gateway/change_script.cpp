#include "examples/gateway/change_script.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "platform/zorplatform/exception.h"
#include "util/i18n/message_exception.h"
#include "util/json/json_text.h"
#include "util/json/object.h"
#include "util/json/value_conversions.h"
#include "util/objects/described_object.h"
#include "util/project/json_mapping.h"
#include "util/project/project_file.h"
#include "util/project/project_patch.h"
#include "util/properties/property.h"
#include "util/properties/validation.h"

namespace gateway {
namespace {

namespace json = zorutil::json;
namespace project = zorutil::project;
namespace properties = zorutil::properties;
using zorutil::object_lock_t;
using zorutil::ref_counted_obj_ptr;

constexpr const char* kNoSuchObject = "there is no such object";

// The member of that name, exactly; null when there is none.
const json::member_t* Find(const json::object_t& object, const char16_t* name) {
  for (const json::member_t& member : object.members) {
    if (member.name == name) return &member;
  }
  return nullptr;
}

bool IsOfKind(const json::member_t* member, bool (json::IValue::*kind)() const) {
  return member != nullptr && member->value != nullptr && (member->value.get()->*kind)();
}

std::string Rename(CTableObj& object, const CString& name) {
  if (!object.IsValidName(name)) return "the name is not valid";
  return object.SetName(name) ? "" : "the name is taken";
}

// How many objects stand within each other, this one included.
unsigned HeightOf(const CTableObj& object) {
  unsigned height = 0;
  for (unsigned i = 0; const CTable* const table = object.GetChildTable(i); ++i) {
    for (unsigned index = 0; index < table->GetCount(); ++index) {
      height = std::max(height, HeightOf(*table->GetRecord(index)));
    }
  }
  return height + 1;
}

unsigned DepthOf(const CTableObj& object) {
  unsigned depth = 0;
  for (const CTableObj* above = &object; above != nullptr; above = above->GetParent()) ++depth;
  return depth;
}

// Puts a new object below a parent. The parent is held by the caller.
std::string AddTo(CTableObj& parent, zorutil::owned_obj_ptr object) {
  if (DepthOf(parent) + HeightOf(*object) > CTableObj::kMaxDepth) return "objects would be nested too deep to be saved";
  if (!parent.CanAddObject(object.get())) return "the object does not belong there";
  if (!parent.AddObject(object.get())) return "the name is taken";
  object.release()->OnInitialCreation();
  return {};
}

std::string Copy(const CTableObj& source, const CString& name) {
  ref_counted_obj_ptr parent;
  {
    const object_lock_t lock(source);
    parent = source.GetParent();
  }
  if (!parent) return "the object has no parent";
  zorutil::owned_obj_ptr copy(CTableObj::CopyObject(source, CTableObj::kCopyHierarchy));
  if (copy == nullptr) return "the object cannot be copied";
  const std::string fault = Rename(*copy, name);
  return fault.empty() ? AddTo(*parent, std::move(copy)) : fault;
}

std::string Add(CTableObj& parent, const json::object_t& objects, unsigned short languageId) {
  for (const json::member_t& member : objects.members) {
    project::load_report_t report;
    zorutil::owned_obj_ptr object = project::ObjectFromJson(member.name, member.value, member.line, report);
    if (object == nullptr || report.HasErrors()) return report.ToString(languageId).ToUtf8();
    const std::string fault = AddTo(parent, std::move(object));
    if (!fault.empty()) return member.name.ToUtf8() + ": " + fault;
  }
  return {};
}

// Checks the settings as they would be, so that conditions see the others of the object, then takes the new ones.
std::string Set(CTableObj& object, const json::object_t& settings, unsigned short languageId,
                properties::CDefinitionStore& definitions) {
  zorutil::CDescribedObj* const described = zorutil::AsDescribed(&object);
  if (described == nullptr) return "the object has no settings";
  properties::property_list_t changes;
  for (const json::member_t& member : settings.members) {
    const zorutil::field_t* const field = described->GetTypeDescription().FindField(member.name.View());
    if (field == nullptr) return "there is no setting " + readings::Quoted(member.name.ToUtf8());
    if (member.value == nullptr || !member.value->IsScalar()) {
      return readings::Quoted(member.name.ToUtf8()) + " takes a text, a number or a truth value";
    }
    changes.push_back(properties::CProperty::Create(field->id, json::ValueAsVariant(member.value)));
  }
  const object_lock_t lock(object);
  properties::property_list_t all;
  object.GetProperties(all);
  for (const auto& change : changes) {
    properties::RemoveProperty(change->GetId(), all);
    all.push_back(change);
  }
  properties::CValidationContext plain(definitions);
  for (const auto& failure : properties::CollectValidationFailures(all, plain)) {
    return failure.name.ToUtf8() + ": " + failure.message->GetMessageText(languageId).ToUtf8();
  }
  object.ValidateProperties(all, plain);
  object.SetProperties(changes);
  return {};
}

std::string Save(const CTableObj& root, const CString& file) {
  const auto form = project::FormFromName(file);
  if (!form) return "the name tells no form";
  project::SaveProject(root, zorplatform::FromNativePath(file.ToUtf8()), *form);
  return {};
}

}  // namespace

bool CChangeScript::Read(std::string_view text, const std::string& name, readings::CProblemLog& log) {
  std::shared_ptr<json::IValue> script;
  if (const auto error = json::ReadText(text, script)) {
    log.Add(name + ": " + error.ToString());
    return false;
  }
  if (script == nullptr || !script->IsArray()) {
    log.Add(name + ": expected an array of changes");
    return false;
  }
  bool isGood = true;
  for (const auto& entry : json::ValueAsArray(script).elements) {
    change_t change;
    std::string fault;
    if (entry != nullptr && ReadChange(*entry, change, fault)) {
      changes_.push_back(std::move(change));
      continue;
    }
    isGood = false;
    const std::string place = change.line == 0 ? "" : ", line " + std::to_string(change.line);  // no object, no line
    log.Add(name + place + ": " + (fault.empty() ? "expected a change" : fault));
  }
  std::stable_sort(changes_.begin(), changes_.end(),
                   [](const change_t& a, const change_t& b) { return a.atMs < b.atMs; });
  return isGood;
}

bool CChangeScript::ReadChange(const json::IValue& entry, change_t& change, std::string& fault) const {
  using value_kind_t = bool (json::IValue::*)() const;
  const struct {
    const char16_t* name;
    kind_t kind;
    value_kind_t of;        // what it takes
    const char16_t* other;  // what else is needed; null: nothing
    const char* expected;
  } kKinds[] = {{u"rename", kind_t::rename, &json::IValue::IsString, u"to", "\"rename\": path, \"to\": name"},
                {u"delete", kind_t::remove, &json::IValue::IsString, nullptr, "\"delete\": path"},
                {u"copy", kind_t::copy, &json::IValue::IsString, u"to", "\"copy\": path, \"to\": name"},
                {u"add", kind_t::add, &json::IValue::IsObject, u"to", "\"add\": objects by their names, \"to\": path"},
                {u"set", kind_t::set, &json::IValue::IsObject, u"of", "\"set\": settings by their names, \"of\": path"},
                {u"patch", kind_t::patch, &json::IValue::IsArray, nullptr, "\"patch\": operations"},
                {u"save", kind_t::save, &json::IValue::IsString, nullptr, "\"save\": file"}};
  if (!entry.IsObject()) return false;
  const auto& object = static_cast<const json::object_t&>(entry);
  if (!object.members.empty()) change.line = object.members.front().line;
  const json::member_t* const at = Find(object, u"at");
  if (!IsOfKind(at, &json::IValue::IsNumber)) {
    fault = "expected \"at\": seconds since the first reading";
    return false;
  }
  change.atMs = std::llround(std::clamp(json::ValueAsVariant(at->value).GetAsDouble(), 0.0, 1e9) * 1000);
  for (const auto& kind : kKinds) {
    const json::member_t* const member = Find(object, kind.name);
    if (member == nullptr) continue;
    const json::member_t* const other = kind.other == nullptr ? nullptr : Find(object, kind.other);
    if (!IsOfKind(member, kind.of) || (kind.other != nullptr && !IsOfKind(other, &json::IValue::IsString))) {
      fault = std::string("expected ") + kind.expected;
      return false;
    }
    change.kind = kind.kind;
    const bool namesItself = member->value->IsString();
    if (namesItself) {
      change.path = json::ValueAsString(member->value);
      if (other != nullptr) change.name = json::ValueAsString(other->value);
    } else {
      change.value = member->value;
      if (other != nullptr) change.path = json::ValueAsString(other->value);
    }
    return true;
  }
  fault = "expected one of rename, delete, copy, add, set, patch, save";
  return false;
}

std::string CChangeScript::Describe(const change_t& change) {
  const std::string path = change.path.IsEmpty() ? "the project" : change.path.ToUtf8();
  switch (change.kind) {
    case kind_t::rename: return "rename " + path + " to " + change.name.ToUtf8();
    case kind_t::remove: return "delete " + path;
    case kind_t::copy: return "copy " + path + " to " + change.name.ToUtf8();
    case kind_t::save: return "save as " + path;
    case kind_t::patch:
      if (const std::size_t count = json::ValueAsArray(change.value).elements.size(); count != 1) {
        return "patch of " + std::to_string(count) + " operations";
      }
      return "patch of one operation";
    default: break;
  }
  std::string names;
  for (const json::member_t& member : json::ValueAsObject(change.value).members) {
    names += (names.empty() ? "" : ", ") + member.name.ToUtf8();
  }
  return (change.kind == kind_t::add ? "add " + names + " to " : "set " + names + " of ") + path;
}

std::string CChangeScript::Apply(CTableObj& root, const change_t& change, unsigned short languageId,
                                 properties::CDefinitionStore& definitions) {
  if (change.kind == kind_t::patch) {
    properties::CValidationContext plain(definitions);
    const auto result = project::ApplyPatch(*change.value, root, {.context = &plain});
    std::string lines = result.ToString(languageId).ToUtf8();
    if (lines.ends_with('\n')) lines.pop_back();  // an entry of a log ends without
    return lines;
  }
  if (change.kind == kind_t::save) return Save(root, change.path);
  const ref_counted_obj_ptr found = root.FindObject(change.path);
  CTableObj* const object = change.path.IsEmpty() ? &root : found.get();
  if (object == nullptr) return kNoSuchObject;
  switch (change.kind) {
    case kind_t::rename: return Rename(*object, change.name);
    case kind_t::remove:
      if (object == &root) return "the project itself stays";
      object->Delete();
      return {};
    case kind_t::copy: return Copy(*object, change.name);
    case kind_t::add: return Add(*object, json::ValueAsObject(change.value), languageId);
    default: return Set(*object, json::ValueAsObject(change.value), languageId, definitions);
  }
}

std::vector<change_report_t> CChangeScript::ApplyDue(CTableObj& root, std::int64_t elapsedMs, unsigned short languageId,
                                                     properties::CDefinitionStore& definitions) {
  std::vector<change_report_t> reports;
  for (; next_ < changes_.size() && changes_[next_].atMs < elapsedMs; ++next_) {
    const change_t& change = changes_[next_];
    std::string fault;
    try {
      fault = Apply(root, change, languageId, definitions);
    } catch (const i18n::message_exception_t& error) {
      fault = error.GetText1().ToUtf8() + ": " + error.GetMessageText(languageId).ToUtf8();
    } catch (const zorplatform::CException& error) {
      fault = error.what();
    } catch (const CFileException& error) {
      fault = error.what();
    }
    if (!fault.empty()) ++failed_;
    reports.push_back({change.atMs, Describe(change) + (fault.empty() ? "" : ": not done: " + fault)});
  }
  return reports;
}

}  // namespace gateway
