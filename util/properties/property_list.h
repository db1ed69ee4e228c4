// The settings of a configuration object as a flat list of properties, and those of several objects.
//
//   property_list_t changes;
//   changes.push_back(CProperty::Create(kRequestTimeout, CVariant::FromUInt(1000)));
//   if (auto name = FindProperty(kName, changes)) Rename(name->GetValue());
//
// Lists keep the order of insertion, also through a stream; nothing sorts them. Ids may repeat: a lookup takes the
// first. Copying a list copies the pointers, so that both lists hold the same properties; CopyPropertyList makes new
// ones. An empty pointer in a list stands for no property: it is never found, copied or written. One thread at a time
// uses a list and its properties.
#pragma once

#include <list>
#include <memory>

#include "platform/export.h"
#include "util/properties/property.h"
#include "util/serialization/serializer.h"

namespace zorutil::properties {

struct ZORUTIL_API property_list_t : std::list<std::shared_ptr<IProperty>>, ISerializable {
  /// What it is as a list of the standard library, with all of its constructors.
  /// @{
  using list_t = std::list<std::shared_ptr<IProperty>>;
  using list_t::list_t;
  /// @}
  property_list_t() = default;
  property_list_t(const property_list_t&) = default;
  property_list_t(property_list_t&&) = default;
  property_list_t& operator=(const property_list_t&) = default;
  property_list_t& operator=(property_list_t&&) = default;
  ~property_list_t() override;

  /// The number of properties in 4 bytes, little-endian, then each in turn.
  void Serialize(ISerializer& out) const override;
  /// Appends what it reads; a number of 0 or less appends nothing. Memory grows with the properties that really arrive.
  /// After an exception of the serializer or of a value, the properties read so far stay, the last in the state that it
  /// reached.
  void Deserialize(ISerializer& in) override;
};

/// The lists of several objects, in their order.
struct ZORUTIL_API object_list_t : std::list<property_list_t>, ISerializable {
  /// What it is as a list of the standard library, with all of its constructors.
  /// @{
  using list_t = std::list<property_list_t>;
  using list_t::list_t;
  /// @}
  object_list_t() = default;
  object_list_t(const object_list_t&) = default;
  object_list_t(object_list_t&&) = default;
  object_list_t& operator=(const object_list_t&) = default;
  object_list_t& operator=(object_list_t&&) = default;
  ~object_list_t() override;

  /// The number of objects in 4 bytes, little-endian, then the list of each.
  void Serialize(ISerializer& out) const override;
  /// As the list of one object: appends, and what was read before an exception stays.
  void Deserialize(ISerializer& in) override;
};

/// The first property of an id; an empty pointer when there is none.
ZORUTIL_API std::shared_ptr<IProperty> FindProperty(int id, const property_list_t& list);

/// Takes the first property of an id out of the list; an empty pointer, and the list as it was, when there is none.
ZORUTIL_API std::shared_ptr<IProperty> RemoveProperty(int id, property_list_t& list);

/// Replaces what `to` holds by new properties of the same ids and values, in the same order. std::bad_alloc leaves `to`
/// as it was. `from` and `to` may be one list, which then shares its properties with no other any more.
ZORUTIL_API void CopyPropertyList(const property_list_t& from, property_list_t& to);

}  // namespace zorutil::properties
