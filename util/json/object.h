// The inner nodes of a JSON document: objects with their members, and arrays.
//
//   zorutil::json::object_t device;
//   device.FindMember(u"name").value = std::make_shared<zorutil::json::scalar_t>(u"pump 1");   // added by the search
//
//   const zorutil::json::object_t& known = device;
//   if (const auto* rate = known.FindMember(u"ScanRate")) use(rate->value, rate->line);        // adds nothing
//
// Copies copy the pointers: the values are then shared. Moving leaves the source empty. One thread at a time.
// Nodes are freed and counted through by recursion, so nest by the hundred (the text form takes 128 levels), not by
// the hundred thousand, and never a node inside itself.
#pragma once

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/json/node_memory.h"
#include "util/json/value.h"
#include "util/properties/property_list.h"

namespace zorutil::json {

class object_t;

/// A named value of an object.
struct ZORUTIL_API member_t {
  /// No name, no value, line 0.
  member_t() = default;
  /// The object is moved into a shared node.
  member_t(CString memberName, object_t&& object, int sourceLine);
  /// The value is shared with whoever holds it.
  member_t(CString memberName, std::shared_ptr<IValue> content, int sourceLine) noexcept
      : name(std::move(memberName)), value(std::move(content)), line(sourceLine) {}
  /// Replaces the value by the object, moved into a shared node.
  member_t& operator=(object_t&& object);

  /// As ValueAsObject: CException -1 when the value is none.
  object_t& AsObject();
  const object_t& AsObject() const;

  /// Any text; names of one object may repeat.
  CString name;
  std::shared_ptr<IValue> value;  ///< may be empty; written as null
  int line = 0;                   ///< where the member began in the text it was read from, counted from 1; 0 if in none
};

/// Members in their order; references and iterators stay valid while others are added.
using member_list_t = std::list<member_t, node_allocator_t<member_t>>;

class ZORUTIL_API object_t final : public IValue {
 public:
  /// Without members.
  object_t() = default;
  /// `content` becomes the members; the rest are the fields below, of which isKind1Or3 follows from the kind.
  explicit object_t(int objectKind, member_list_t content = {}, int first = 0, int second = 0, int third = 0);
  ~object_t() override;
  object_t(const object_t&) = default;
  object_t(object_t&&) noexcept = default;
  object_t& operator=(const object_t&) = default;
  object_t& operator=(object_t&&) noexcept = default;

  /// The first member of that name, letter case aside. A name that is missing is added: a new last member with an
  /// empty value and line 0.
  member_t& FindMember(const CString& name);
  /// The same search, and null for a name that is missing.
  const member_t* FindMember(const CString& name) const;
  /// Removes the first member of that name, letter case aside, if there is one.
  void EraseMember(const CString& name);
  /// Adds `delta` to the line of every member, those of nested objects included. A node that stands in two places
  /// is moved twice.
  void AdjustLineNumbers(int delta);

  bool IsObject() const override { return true; }
  void Serialize(ISerializer& out) const override;

  member_list_t members;  ///< in the order of text or insertion; names may repeat
  /// For the mapping of configuration objects, which gives them their meaning. The text form has none of them.
  /// @{
  int kind = 0;
  bool isKind1Or3 = false;  ///< set by the constructor
  int number1 = 0;
  int number2 = 0;
  int number3 = 0;
  /// @}
  properties::property_list_t properties;  ///< of the configuration object it stands for; empty at first
};

/// An array of values of any kind.
class ZORUTIL_API array_t final : public IValue {
 public:
  /// Without elements.
  array_t() = default;
  /// The values are shared with whoever holds them.
  explicit array_t(std::vector<std::shared_ptr<IValue>> content) noexcept : elements(std::move(content)) {}
  /// One scalar for each element of the array inside the variant, in their order; none for another variant.
  explicit array_t(const CVariant& values);
  ~array_t() override;
  array_t(const array_t&) = default;
  array_t(array_t&&) noexcept = default;
  array_t& operator=(const array_t&) = default;
  array_t& operator=(array_t&&) noexcept = default;

  /// Appends the object, moved into a shared node.
  void AddObject(object_t&& object);

  bool IsArray() const override { return true; }
  void Serialize(ISerializer& out) const override;

  std::vector<std::shared_ptr<IValue>> elements;  ///< an empty pointer is written as null
};

}  // namespace zorutil::json
