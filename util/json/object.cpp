#include "util/json/object.h"

#include <algorithm>

#include "util/json/text_writer_internal.h"
#include "util/json/value_conversions.h"
#include "util/values/safe_array.h"

namespace zorutil::json {
namespace {

template <class Members>
auto FindByName(Members& members, const CString& name) {
  return std::find_if(members.begin(), members.end(),
                      [&](const member_t& member) { return member.name.CompareNoCase(name) == 0; });
}

void AdjustLines(IValue* value, int delta) {
  if (value == nullptr) return;
  if (value->IsObject()) {
    static_cast<object_t*>(value)->AdjustLineNumbers(delta);
  } else if (value->IsArray()) {
    for (const auto& element : static_cast<array_t*>(value)->elements) AdjustLines(element.get(), delta);
  }
}

}  // namespace

// --- member_t ----------------------------------------------------------------------------------------------------

member_t::member_t(CString memberName, object_t&& object, int sourceLine)
    : name(std::move(memberName)), value(std::make_shared<object_t>(std::move(object))), line(sourceLine) {}

member_t& member_t::operator=(object_t&& object) {
  value = std::make_shared<object_t>(std::move(object));
  return *this;
}

object_t& member_t::AsObject() { return ValueAsObject(value); }

const object_t& member_t::AsObject() const { return ValueAsObject(value); }

// --- object_t ----------------------------------------------------------------------------------------------------

object_t::object_t(int objectKind, member_list_t content, int first, int second, int third)
    : members(std::move(content)),
      kind(objectKind),
      isKind1Or3(objectKind == 1 || objectKind == 3),
      number1(first),
      number2(second),
      number3(third) {}

object_t::~object_t() = default;

member_t& object_t::FindMember(const CString& name) {
  const auto found = FindByName(members, name);
  return found != members.end() ? *found : members.emplace_back(name, nullptr, 0);
}

const member_t* object_t::FindMember(const CString& name) const {
  const auto found = FindByName(members, name);
  return found != members.end() ? &*found : nullptr;
}

void object_t::EraseMember(const CString& name) {
  const auto found = FindByName(members, name);
  if (found != members.end()) members.erase(found);
}

void object_t::AdjustLineNumbers(int delta) {
  for (member_t& member : members) {
    member.line += delta;
    AdjustLines(member.value.get(), delta);
  }
}

void object_t::Serialize(ISerializer& out) const { SerializeNode(*this, out); }

// --- array_t -----------------------------------------------------------------------------------------------------

array_t::array_t(const CVariant& values) {
  const CSafeArray* const array = values.GetArray();
  if (array == nullptr) return;
  const std::uint32_t count = array->GetNumElements();
  elements.reserve(count);
  for (std::uint32_t i = 0; i != count; ++i) {
    auto element = std::make_shared<scalar_t>();
    array->GetElement(i, element->value);
    elements.push_back(std::move(element));
  }
}

array_t::~array_t() = default;

void array_t::AddObject(object_t&& object) { elements.push_back(std::make_shared<object_t>(std::move(object))); }

void array_t::Serialize(ISerializer& out) const { SerializeNode(*this, out); }

}  // namespace zorutil::json
