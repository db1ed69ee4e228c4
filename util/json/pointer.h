// JSON pointers (RFC 6901): the place of a value in a document, as text.
//
//   std::shared_ptr<IValue> document = ...;
//   if (auto* place = zorutil::json::ResolvePointer(document, u"/channels/0/name")) *place = other;
//   CString text;
//   zorutil::json::AppendPointerToken(text, u"a/b");                  // "/a~1b"
//
// Names are matched exactly, code unit by code unit, as the RFC has it; unlike object_t::FindMember, which ignores
// letter case and adds what is missing, nothing here changes the document. Of members with one name the first is meant.
// One thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/json/object.h"

namespace zorutil::json {

/// The tokens of a pointer, unescaped; none for the empty pointer, which is the whole document. Nothing for a text that
/// is no pointer: one that does not begin with "/", or with a "~" that is neither "~0" nor "~1".
ZORUTIL_API std::optional<std::vector<CString>> ParsePointer(std::u16string_view pointer);

/// Appends "/" and the name, with "~" and "/" escaped.
ZORUTIL_API void AppendPointerToken(CString& pointer, std::u16string_view name);

/// Where the value is held: in `document` itself, in a member or in an array. Null when there is no such place or the
/// text is no pointer. Valid until the object or array that holds it is changed.
ZORUTIL_API std::shared_ptr<IValue>* ResolvePointer(std::shared_ptr<IValue>& document, std::u16string_view pointer);
/// The value at a place of an object (not the object itself, which nothing here shares); empty when there is none.
ZORUTIL_API std::shared_ptr<IValue> ResolvePointer(const object_t& object, std::u16string_view pointer);

}  // namespace zorutil::json
