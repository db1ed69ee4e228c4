#include "tools/utilctl/source_member.h"

namespace utilctl {

namespace json = zorutil::json;
using json_ptr_t = std::shared_ptr<json::IValue>;

namespace {
std::string Quoted(std::u16string_view name) { return '"' + CString(name).ToUtf8() + '"'; }

const json::scalar_t* AsScalar(const json_ptr_t& value) { return dynamic_cast<const json::scalar_t*>(value.get()); }
}  // namespace

CMemberReader::CMemberReader(CDefinitionSource& source, const json_ptr_t& value, json_path_t path)
    : source_(source),
      value_(value),
      object_(dynamic_cast<const json::object_t*>(value.get())),
      path_(std::move(path)) {
  if (object_ == nullptr) {
    source_.Remark(path_, "expected an object");
    return;
  }
  std::uint32_t at = 0;
  for (const json::member_t& member : object_->members) {
    members_.push_back(&member);
    if (!places_.emplace(std::u16string(member.name.View()), at).second) {
      source_.Remark(path_ / at, Quoted(member.name) + " is given twice", true);
    }
    ++at;
  }
  isAsked_.resize(members_.size());
}

json_path_t CMemberReader::PathOf(const char16_t* name) const {
  const auto found = places_.find(name);
  return found == places_.end() ? path_ : path_ / found->second;
}

json_ptr_t CMemberReader::Get(const char16_t* name) {
  const auto found = places_.find(name);
  if (found == places_.end()) return nullptr;
  isAsked_[found->second] = true;
  return members_[found->second]->value;
}

std::optional<CString> CMemberReader::GetText(const char16_t* name) {
  const json_ptr_t value = Get(name);
  if (value == nullptr) return std::nullopt;
  const json::scalar_t* const scalar = AsScalar(value);
  if (scalar != nullptr && scalar->IsString()) return CString(scalar->value.GetStringView());
  Remark(name, "expected a text");
  return std::nullopt;
}

std::optional<bool> CMemberReader::GetFlag(const char16_t* name) {
  const json_ptr_t value = Get(name);
  if (value == nullptr) return std::nullopt;
  const json::scalar_t* const scalar = AsScalar(value);
  if (scalar != nullptr && scalar->IsBool()) return static_cast<bool>(scalar->value);
  Remark(name, "expected true or false");
  return std::nullopt;
}

std::optional<int> CMemberReader::GetInt(const char16_t* name, int min, int max) {
  const json_ptr_t value = Get(name);
  if (value == nullptr) return std::nullopt;
  const json::scalar_t* const scalar = AsScalar(value);
  if (scalar != nullptr && scalar->value.vt == VT_I4 && scalar->value.lVal >= min && scalar->value.lVal <= max) {
    return scalar->value.lVal;
  }
  Remark(name, "expected a whole number from " + std::to_string(min) + " to " + std::to_string(max));
  return std::nullopt;
}

const std::vector<json_ptr_t>& CMemberReader::GetArray(const char16_t* name) {
  static const std::vector<json_ptr_t> none;
  const json_ptr_t value = Get(name);
  if (value == nullptr) return none;
  if (const auto* array = dynamic_cast<const json::array_t*>(value.get())) return array->elements;
  Remark(name, "expected an array");
  return none;
}

void CMemberReader::Require(const char16_t* name) {
  if (IsObject() && !Has(name)) source_.Remark(path_, Quoted(name) + " is missing");
}

void CMemberReader::Finish() {
  for (const auto& [name, at] : places_) {
    if (isAsked_[at] || name == u"comment") continue;
    source_.Remark(path_ / at, "unknown member " + Quoted(name), true);
  }
}

}  // namespace utilctl
