// What a diff looks like: lines of text, and a patch.
#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/json/json_text.h"
#include "util/json/pointer.h"
#include "util/objects/described_object.h"
#include "util/objects/table.h"
#include "util/project/json_mapping.h"
#include "util/project/project_diff.h"

namespace zorutil::project {

// --- text ------------------------------------------------------------------------------------------------------------

namespace {

const type_description_t* TypeOf(const CTableObj& object) {
  const CDescribedObj* const described = AsDescribed(&object);
  return described == nullptr ? nullptr : &described->GetTypeDescription();
}

std::string JsonText(const CVariant& value) { return json::WriteText(json::scalar_t(value), {.indent = 0}); }

// One line, whatever the names hold.
void AppendPath(CString& text, const CString& path) {
  const std::u16string_view view = path.View();
  const bool isPlain = std::none_of(view.begin(), view.end(), [](char16_t unit) { return unit < u' '; });
  text += isPlain ? path : CString(JsonText(CVariant(path)));
}

void AppendValue(CString& text, const field_t* field, const CVariant& value) {
  const bool isReal = value.vt == VT_R4 || value.vt == VT_R8;
  const bool isNoNumber =
      isReal && !std::isfinite(value.vt == VT_R4 ? static_cast<double>(value.fltVal) : value.dblVal);
  const bool isOwnType = field != nullptr && field->kind == field_kind_t::VALUE && value.vt != VT_BSTR;
  if (!isNoNumber && !isOwnType) {
    text += CString(JsonText(value));
    return;
  }
  const field_t real{0, u"", 0, field_kind_t::REAL8, properties::TYPE_NONE, nullptr, nullptr};
  field_value_t converted;
  converted.value = value;
  if (isReal) converted.real = value.vt == VT_R4 ? static_cast<double>(value.fltVal) : value.dblVal;
  CString asText;
  FieldToText(isOwnType ? *field : real, converted, asText);
  text += asText;
}

void AppendWhole(CString& text, const object_change_t& change, const CTableObj& object) {
  AppendPath(text, change.path);
  text += u" (";
  text += object.GetObjectName();
  text += u")";
  if (change.below == 0) return;
  text += u", with ";
  text += CString(std::to_string(change.below));
  text += change.below == 1 ? u" object below it" : u" objects below it";
}

}  // namespace

CString project_diff_t::ToString() const {
  CString text;
  for (const object_change_t& change : changes_) {
    switch (change.kind) {
      case change_t::ADDED:
        text += u"+ ";
        AppendWhole(text, change, *change.after);
        break;
      case change_t::REMOVED:
        text += u"- ";
        AppendWhole(text, change, *change.before);
        break;
      case change_t::MOVED:
        text += u"> ";
        AppendPath(text, change.path);
        text += u" -> ";
        AppendPath(text, change.toPath);
        break;
      case change_t::CHANGED: {
        text += u"~ ";
        AppendPath(text, change.path);
        const type_description_t* const type = TypeOf(*change.before);
        for (const property_change_t& property : change.properties) {
          text += u"\n    ";
          text += property.name;
          if (property.isPassword) {
            text += u": changed";
            continue;
          }
          const field_t* const field = type != nullptr ? type->FindField(property.id) : nullptr;
          text += u": ";
          AppendValue(text, field, property.before);
          text += u" -> ";
          AppendValue(text, field, property.after);
        }
        break;
      }
    }
    text += u'\n';
  }
  return text;
}

// --- patch -----------------------------------------------------------------------------------------------------------

namespace {

using json_ptr = std::shared_ptr<json::IValue>;

json_ptr TextNode(const CString& text) { return std::make_shared<json::scalar_t>(CVariant(text)); }

class CPatchWriter {
 public:
  void Add(const char16_t* op, const CString& path, json_ptr value = nullptr) {
    json::object_t& operation = AddOperation(op);
    operation.members.emplace_back(u"path", TextNode(path), 0);
    if (value != nullptr) operation.members.emplace_back(u"value", std::move(value), 0);
  }
  void AddMove(const CString& from, const CString& to) {
    json::object_t& operation = AddOperation(u"move");
    operation.members.emplace_back(u"from", TextNode(from), 0);
    operation.members.emplace_back(u"path", TextNode(to), 0);
  }
  json_ptr Take() { return patch_; }

 private:
  json::object_t& AddOperation(const char16_t* op) {
    auto operation = std::make_shared<json::object_t>();
    operation->members.emplace_back(u"op", TextNode(op), 0);
    patch_->elements.push_back(operation);
    return *operation;
  }
  std::shared_ptr<json::array_t> patch_ = std::make_shared<json::array_t>();
};

[[noreturn]] void Throw(unsigned id, std::vector<CVariant> arguments = {}) {
  i18n::message_exception_t::Throw(i18n::MakeLocalizedMessage(id, std::move(arguments)), E_INVALIDARG);
}

// The pointer with another last name.
CString WithName(const CString& pointer, const CString& name) {
  CString result = pointer.Left(pointer.ReverseFind(u'/'));
  json::AppendPointerToken(result, name.View());
  return result;
}

CString Member(const CString& pointer, const CString& name) {
  CString result = pointer;
  json::AppendPointerToken(result, name.View());
  return result;
}

// A name that no sibling has, for a record that leaves its place and comes back to it at the end.
CString FreeName(const CTableObj& before, const CTableObj& after) {
  const auto isTaken = [](const CTableObj& record, const CString& name) {
    const CTable* const table = record.GetTable();
    return table != nullptr && table->FindRecord(name.GetString()) != nullptr;
  };
  const CString base = before.GetDisplayName();
  CString name = base;
  for (unsigned number = 1; isTaken(before, name) || isTaken(after, name); ++number) {
    name = CString(base.ToUtf8() + "~" + std::to_string(number));
  }
  return name;
}

void AddProperties(CPatchWriter& patch, const object_change_t& change) {
  const type_description_t* const type = TypeOf(*change.after);
  if (type == nullptr) Throw(i18n::IDS_TYPE_NOT_DESCRIBED, {CVariant(change.after->GetObjectName())});
  const object_lock_t lock(*change.after);
  for (const property_change_t& property : change.properties) {
    if (property.id == kObjectName) continue;
    const CString pointer = Member(change.pointer, property.name);
    if (property.id == kObjectDescription) {
      const CString text = change.after->GetDescription();
      if (text.IsEmpty()) {
        patch.Add(u"remove", pointer);
      } else {
        patch.Add(property.before.GetStringView().empty() ? u"add" : u"replace", pointer, TextNode(text));
      }
    } else if (const field_t* const field = type->FindField(property.id)) {
      patch.Add(u"replace", pointer, FieldToJson(*change.after, *field));
    }
  }
}

}  // namespace

// Names in other letter case come last, from the leaves to the root: until then the first tree's pointers hold.
std::shared_ptr<json::IValue> project_diff_t::ToPatch() const {
  if (!ambiguous_.IsEmpty()) Throw(i18n::IDS_DIFF_NO_POINTER, {CVariant(ambiguous_)});
  CPatchWriter patch;
  for (const object_change_t& change : changes_) {
    switch (change.kind) {
      case change_t::ADDED: {
        if (change.pointer.IsEmpty()) Throw(i18n::IDS_PATCH_ROOT);
        const object_lock_t lock(*change.after);
        patch.Add(u"add", change.pointer, std::make_shared<json::object_t>(ObjectToJson(*change.after)));
        break;
      }
      case change_t::REMOVED:
        if (change.pointer.IsEmpty()) Throw(i18n::IDS_PATCH_ROOT);
        patch.Add(u"remove", change.pointer);
        break;
      case change_t::MOVED:
        if (change.pointer == change.toPointer) {
          const CString aside = WithName(change.pointer, FreeName(*change.before, *change.after));
          patch.AddMove(change.pointer, aside);
          patch.AddMove(aside, change.toPointer);
        } else {
          patch.AddMove(change.pointer, change.toPointer);
        }
        break;
      case change_t::CHANGED: AddProperties(patch, change); break;
    }
  }
  for (auto change = changes_.rbegin(); change != changes_.rend(); ++change) {
    if (change->kind != change_t::CHANGED || change->properties.front().id != kObjectName) continue;
    const CString name = change->properties.front().after.ToString();
    if (change->pointer.IsEmpty()) {
      patch.Add(u"replace", u"/Name", TextNode(name));
    } else {
      patch.AddMove(change->pointer, WithName(change->pointer, name));
    }
  }
  return patch.Take();
}

}  // namespace zorutil::project
