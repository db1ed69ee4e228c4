// What a node is worth, for callers that know what they expect.
//
//   const CString name = ValueAsString(device.FindMember(u"name").value);
//   for (const auto& tag : ValueAsArray(device.FindMember(u"tags").value).elements) ...
//
// One thread at a time reads a document.
#pragma once

#include <memory>

#include "platform/export.h"
#include "util/json/object.h"

namespace zorutil::json {

/// A scalar's own value. For anything else, and for an empty pointer, one empty variant that all threads share and that
/// each such call empties again: copy what you need at once, and never write to it.
ZORUTIL_API CVariant& ValueAsVariant(const std::shared_ptr<IValue>& value);
/// The truth of a scalar's variant; false for anything else.
ZORUTIL_API bool ValueAsBool(const std::shared_ptr<IValue>& value);
/// The normal text of a scalar's variant, the compact JSON text of an object or array, an empty text for an empty
/// pointer. CException -1 for a node nested too deep.
ZORUTIL_API CString ValueAsString(const std::shared_ptr<IValue>& value);

/// The node as what it is; CException -1 when it is something else or missing.
/// @{
ZORUTIL_API object_t& ValueAsObject(const std::shared_ptr<IValue>& value);
ZORUTIL_API array_t& ValueAsArray(const std::shared_ptr<IValue>& value);
ZORUTIL_API scalar_t& ValueAsScalar(const std::shared_ptr<IValue>& value);
/// @}

}  // namespace zorutil::json
