// Searching the tree below an object: what object types answer their queries with.
//
//   ref_counted_obj_ptr CPlant::FindObjectByName(const char16_t* name, ITableObjVisitor& visitor) const {
//     return zorutil::FindObjectBelow(*this, name, visitor);
//   }
//
// All of them go through CTableObj::GetChildTable, take the lock of one table at a time, and hold none while a visitor
// runs. Objects that come, go or are renamed meanwhile are found or not. The object that is searched is held by the
// caller.
#pragma once

#include "platform/export.h"
#include "util/objects/object_ref.h"

namespace zorutil {

/// Stands for any type, or any subtype, in searches.
inline constexpr short kAnyType = -1;

/// Whether the object is of the type and the subtype; kAnyType in either fits every object.
ZORUTIL_API bool IsOfType(const CTableObj& object, short type, short subtype) noexcept;

/// The object that lies `path` below `from`: the names of records joined by ".", each compared as its table compares
/// names. Where several tables hold a name, each is tried in turn; only the last object must be of the type and
/// subtype. Empty for no such object, and for an empty path or name.
ZORUTIL_API ref_counted_obj_ptr FindObjectByPath(const CTableObj& from, const char16_t* path, short type = kAnyType,
                                                 short subtype = kAnyType);
/// The first object at any depth below `from` that has the name and that the visitor accepts. Parents come before their
/// children.
ZORUTIL_API ref_counted_obj_ptr FindObjectBelow(const CTableObj& from, const char16_t* name, ITableObjVisitor& visitor);
/// Shows the visitor every object below `from`, parents before their children, each table in its order, until it
/// accepts one; that one, or empty.
ZORUTIL_API ref_counted_obj_ptr VisitObjectsBelow(const CTableObj& from, ITableObjVisitor& visitor);
/// The records of the child tables of `from` that are of the type and subtype, table by table.
ZORUTIL_API ref_counted_obj_ptr_vec_t GetChildObjectsOf(const CTableObj& from, short type = kAnyType,
                                                        short subtype = kAnyType);

}  // namespace zorutil
