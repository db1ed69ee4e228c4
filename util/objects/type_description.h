// What a type of object stores, said once: from its description come its records, documents, property lists, copies and
// comparisons (described_object.h), so that none of them can forget a setting that another has.
//
//   class CPump : public zorutil::CDescribedObj {
//    public:
//     static const zorutil::type_description_t kType;
//     CPump() : CDescribedObj(kType) {}
//     int GetMode() const;
//     bool SetMode(int mode);                       // false: refused
//    private:
//     static const zorutil::field_t kFields[];
//     static const zorutil::child_table_t kTables[];
//     std::uint32_t maxSpeed_ = 1500;
//     zorutil::CChildTable valves_{*this};
//   };
//   // In the .cpp. Members of the class may name its private members.
//   constexpr zorutil::field_t CPump::kFields[] = {
//       Field<&CPump::maxSpeed_>(MakePropertyId(12, 256), u"MaxSpeed"),
//       Field<&CPump::GetMode, &CPump::SetMode>(MakePropertyId(12, 512), u"Mode", 2)};    // since version 2
//   constexpr zorutil::child_table_t CPump::kTables[] = {ChildTable<&CPump::valves_, kValve>(u"Valves")};
//   constexpr zorutil::type_description_t CPump::kType = {
//       kPump, 0, 2, u"Pump", &CreateDescribed<CPump>, kFields, kTables};
//
//   zorutil::RegisterType(CPump::kType);            // when the program or plug-in starts
//   zorutil::UnregisterType(CPump::kType);          // before the plug-in goes, and after the last of its objects
//
// Fields can have these types: bool, the integers, enumerations, float, double, CString, CVariant. A getter gives one
// of them (or a reference), a setter takes it; both are member functions, or functions over a reference to the object.
//
// A new version of a type appends or inserts fields with `since`: records of older versions do not have them, and the
// object keeps what its constructor gave them. Fields are never removed from a description and never change their kind:
// a record has no names. Numbers and names never change.
//
// Descriptions are constants: they outlive every object of theirs, never change, and any number of threads reads them.
#pragma once

#include <cstdint>
#include <span>
#include <type_traits>

#include "platform/export.h"
#include "util/objects/field_value.h"
#include "util/properties/definition_writer.h"  // MakePropertyId
#include "util/properties/property_types.h"

class CTable;
class CTableObj;

namespace zorutil {

using properties::MakePropertyId;

/// One setting. Made by Field and Password.
struct field_t {
  int id;                ///< its property
  const char16_t* name;  ///< in documents; a name of XML, without blanks
  std::uint16_t since;   ///< the version of the type that first has it
  field_kind_t kind;     ///< how the value is held
  /// What its definition is expected to say; decides the type of its value in property lists.
  properties::property_type_t type;
  /// Gives the value of an object, whose class must be the field's.
  void (*get)(const CTableObj& object, field_value_t& out);
  /// False when the object refuses the value. The value is anything afterwards.
  bool (*set)(CTableObj& object, field_value_t& value);
};

/// One kind of children. Made by ChildTable.
struct child_table_t {
  const char16_t* name;               ///< in documents
  std::span<const short> accepts;     ///< the types of its records, whatever their subtype; empty: all
  std::uint16_t since;                ///< the version of the type that first has it
  CTable& (*get)(CTableObj& object);  ///< the table of an object, whose class must be the field's

  /// Whether it takes records of a type, whatever their subtype.
  ZORUTIL_API bool Takes(short childType) const noexcept;
};

/// One type: number, name, version, how it is made, what it stores.
struct type_description_t {
  short type;                                  ///< chosen once, and nobody else's
  short subtype;                               ///< 0 as a rule; not negative
  std::uint16_t version;                       ///< 0 to 127
  const char16_t* name;                        ///< of the type, in documents; a name of XML
  CTableObj* (*factory)();                     ///< makes one, in no table; the caller's
  std::span<const field_t> fields = {};        ///< in the order of the record
  std::span<const child_table_t> tables = {};  ///< in the order of the record, behind the fields

  /// Null when there is none of that id or name. Names are compared exactly.
  ZORUTIL_API const field_t* FindField(int id) const noexcept;
  ZORUTIL_API const field_t* FindField(std::u16string_view fieldName) const noexcept;
  /// Null when there is none of that name, which is compared exactly.
  ZORUTIL_API const child_table_t* FindTable(std::u16string_view tableName) const noexcept;
  /// The first table that takes objects of a type; null when none does.
  ZORUTIL_API const child_table_t* FindTableFor(short childType) const noexcept;
};

/// Makes the type known: its factory, which serves this type only, its name and this description. CInvalidArgException
/// for a description that cannot work: a version above 127, a negative subtype, a name that no XML element can have or
/// that is taken within the description ("Name", "Type" and "Description" are), an id of no namespace or of two fields,
/// a field or table newer than the type. CException -1 when the number or name of the type is taken. Then nothing is
/// registered.
ZORUTIL_API void RegisterType(const type_description_t& description);
/// Nothing happens when it is not registered.
ZORUTIL_API void UnregisterType(const type_description_t& description);

/// The factory of a type that is made without arguments.
template <class T>
CTableObj* CreateDescribed() {
  return new T;
}

namespace description_detail {

template <class T>
struct member_traits;
template <class C, class T>
struct member_traits<T C::*> {
  using object_t = C;
  using value_t = T;
};
template <class C, class T>
struct member_traits<T (C::*)() const> {
  using object_t = C;
  using value_t = std::remove_cvref_t<T>;
};
template <class C, class T>
struct member_traits<T (C::*)() const noexcept> : member_traits<T (C::*)() const> {};
template <class C, class T>
struct member_traits<T (*)(const C&)> : member_traits<T (C::*)() const> {};

template <class T>
constexpr bool kUnknownType = false;

template <class T>
constexpr field_kind_t KindOf() {
  if constexpr (std::is_enum_v<T>) {
    return KindOf<std::underlying_type_t<T>>();
  } else if constexpr (std::is_same_v<T, bool>) {
    return field_kind_t::BOOL;
  } else if constexpr (std::integral<T>) {
    constexpr int width = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 2 : sizeof(T) == 4 ? 4 : 6;
    return static_cast<field_kind_t>(static_cast<int>(field_kind_t::INT8) + width + (std::is_unsigned_v<T> ? 1 : 0));
  } else if constexpr (std::is_same_v<T, float>) {
    return field_kind_t::REAL4;
  } else if constexpr (std::is_same_v<T, double>) {
    return field_kind_t::REAL8;
  } else if constexpr (std::is_same_v<T, CString>) {
    return field_kind_t::TEXT;
  } else if constexpr (std::is_same_v<T, CVariant>) {
    return field_kind_t::VALUE;
  } else {
    static_assert(kUnknownType<T>, "a field of this type is not known");
  }
}

template <class T>
constexpr properties::property_type_t TypeOf() {
  if constexpr (std::is_enum_v<T>) {
    return properties::TYPE_ENUMERATION;
  } else if constexpr (std::is_same_v<T, bool>) {
    return properties::TYPE_YES_NO;
  } else if constexpr (std::integral<T>) {
    return std::is_unsigned_v<T> ? properties::TYPE_INTEGER : properties::TYPE_SIGNED_INTEGER;
  } else if constexpr (std::is_same_v<T, float>) {
    return properties::TYPE_REAL4;
  } else if constexpr (std::is_same_v<T, double>) {
    return properties::TYPE_REAL8;
  } else if constexpr (std::is_same_v<T, CString>) {
    return properties::TYPE_STRING;
  } else {
    return properties::TYPE_NONE;
  }
}

template <auto GET>
using value_of_t = typename member_traits<decltype(GET)>::value_t;
template <auto GET>
using object_of_t = typename member_traits<decltype(GET)>::object_t;

template <auto GET>
void GetField(const CTableObj& object, field_value_t& out) {
  const auto& self = static_cast<const object_of_t<GET>&>(object);
  if constexpr (std::is_member_object_pointer_v<decltype(GET)>) {
    out.Set(self.*GET);
  } else if constexpr (std::is_member_function_pointer_v<decltype(GET)>) {
    out.Set<value_of_t<GET>>((self.*GET)());
  } else {
    out.Set<value_of_t<GET>>(GET(self));
  }
}

template <auto GET, auto SET>
bool SetField(CTableObj& object, field_value_t& value) {
  auto& self = static_cast<object_of_t<GET>&>(object);
  if constexpr (std::is_member_object_pointer_v<decltype(SET)>) {
    self.*SET = value.Take<value_of_t<GET>>();
    return true;
  } else {
    const auto call = [&] {
      if constexpr (std::is_member_function_pointer_v<decltype(SET)>) {
        return (self.*SET)(value.Take<value_of_t<GET>>());
      } else {
        return SET(self, value.Take<value_of_t<GET>>());
      }
    };
    if constexpr (std::is_same_v<decltype(call()), bool>) {
      return call();
    } else {
      call();
      return true;
    }
  }
}

template <short... TYPES>
inline constexpr short kTypes[sizeof...(TYPES) + 1] = {TYPES..., 0};

template <auto TABLE>
CTable& GetTable(CTableObj& object) {
  return static_cast<object_of_t<TABLE>&>(object).*TABLE;
}

}  // namespace description_detail

/// A field over a member, or over a getter and a setter. A setter that returns a bool says by false that it refuses the
/// value; of other setters the result does not count. `type` tells dates, times, file names and the like from plain
/// numbers and texts; documents hold them as what the member is, so a date in a double as its number of days.
template <auto GET, auto SET = GET>
constexpr field_t Field(
    int id, const char16_t* name, std::uint16_t since = 0,
    properties::property_type_t type = description_detail::TypeOf<description_detail::value_of_t<GET>>()) {
  using value_t = description_detail::value_of_t<GET>;
  return {id,
          name,
          since,
          description_detail::KindOf<value_t>(),
          type,
          &description_detail::GetField<GET>,
          &description_detail::SetField<GET, SET>};
}

/// A field over a CString that holds a password in its encrypted form: a plain text that is put in by a property list
/// or a document is encrypted on the way. A text that already begins as the encrypted ones do is kept as it is, whoever
/// has its key.
template <auto GET, auto SET = GET>
constexpr field_t Password(int id, const char16_t* name, std::uint16_t since = 0) {
  static_assert(std::is_same_v<description_detail::value_of_t<GET>, CString>);
  return {id,
          name,
          since,
          field_kind_t::PASSWORD,
          properties::TYPE_PASSWORD,
          &description_detail::GetField<GET>,
          &description_detail::SetField<GET, SET>};
}

/// A table of children over a member, which is a CChildTable (described_object.h).
template <auto TABLE, short... TYPES>
constexpr child_table_t ChildTable(const char16_t* name, std::uint16_t since = 0) {
  return {name, std::span<const short>(description_detail::kTypes<TYPES...>, sizeof...(TYPES)), since,
          &description_detail::GetTable<TABLE>};
}

}  // namespace zorutil
