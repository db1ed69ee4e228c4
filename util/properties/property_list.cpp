#include "util/properties/property_list.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "util/serialization/primitives_internal.h"

namespace zorutil::properties {

namespace {

auto IsOfId(int id) {
  return
      [id](const std::shared_ptr<IProperty>& property) { return property.get() != nullptr && property->GetId() == id; };
}

void WriteCount(ISerializer& out, std::ptrdiff_t count) {
  if (count > std::numeric_limits<std::int32_t>::max()) throw std::length_error("list too long");
  primitives::WriteLittle(out, static_cast<std::int32_t>(count));
}

}  // namespace

property_list_t::~property_list_t() = default;

void property_list_t::Serialize(ISerializer& out) const {
  const auto isProperty = [](const std::shared_ptr<IProperty>& property) { return property.get() != nullptr; };
  WriteCount(out, std::count_if(begin(), end(), isProperty));
  for (const auto& property : *this) {
    if (isProperty(property)) property->Serialize(out);
  }
}

void property_list_t::Deserialize(ISerializer& in) {
  for (auto count = primitives::ReadLittle<std::int32_t>(in); count > 0; --count) {
    push_back(CProperty::Create());
    back()->Deserialize(in);
  }
}

object_list_t::~object_list_t() = default;

void object_list_t::Serialize(ISerializer& out) const {
  WriteCount(out, static_cast<std::ptrdiff_t>(size()));
  for (const property_list_t& object : *this) object.Serialize(out);
}

void object_list_t::Deserialize(ISerializer& in) {
  for (auto count = primitives::ReadLittle<std::int32_t>(in); count > 0; --count) emplace_back().Deserialize(in);
}

std::shared_ptr<IProperty> FindProperty(int id, const property_list_t& list) {
  const auto found = std::find_if(list.begin(), list.end(), IsOfId(id));
  return found == list.end() ? nullptr : *found;
}

std::shared_ptr<IProperty> RemoveProperty(int id, property_list_t& list) {
  const auto found = std::find_if(list.begin(), list.end(), IsOfId(id));
  if (found == list.end()) return nullptr;
  std::shared_ptr<IProperty> removed = std::move(*found);
  list.erase(found);
  return removed;
}

void CopyPropertyList(const property_list_t& from, property_list_t& to) {
  property_list_t copies;
  for (const auto& property : from) {
    if (property != nullptr) copies.push_back(CProperty::Create(property->GetId(), property->GetValue()));
  }
  to.swap(copies);
}

}  // namespace zorutil::properties
