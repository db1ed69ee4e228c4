// Objects on top of a serializer, for copies and clipboards.
//
//   zorutil::CSerializationBuffer clipboard;
//   zorutil::SerializeHierarchy(device, clipboard);                  // with everything below it
//   zorutil::DeserializeHierarchy(other, clipboard);
//
// The form is the length of the object's binary record (table_obj.h) in 4 bytes, little-endian, and the record. None of
// these changes what an object or its children say about being modified, but for the target, which is read like a file:
// it is unmodified after success. Each takes the object's lock.
#pragma once

#include "platform/export.h"
#include "util/serialization/serializer.h"

class CTableObj;

namespace zorutil {

/// The object alone. False, and nothing is written, when the object does not write itself. Exceptions of the serializer
/// pass through.
ZORUTIL_API bool Serialize(const CTableObj& object, ISerializer& out);
/// Reads into an object of the same type: name, description and data. A name that is taken in the object's table is not
/// taken over. False when the record is newer than the object's class or the object refuses it; CException -1 for a
/// record of another type or a corrupt one, the serializer's own at the end of data. Then the object is as far as its
/// own OnLoad got. Memory grows with the bytes that really arrive.
ZORUTIL_API bool Deserialize(CTableObj& object, ISerializer& in);

/// The same with all children.
/// @{
ZORUTIL_API bool SerializeHierarchy(const CTableObj& object, ISerializer& out);
ZORUTIL_API bool DeserializeHierarchy(CTableObj& object, ISerializer& in);
/// @}

}  // namespace zorutil
