// Changes of a live tree of objects by a patch (RFC 6902), all of them or none.
//
//   [{"op": "replace", "path": "/Channels/Boiler/Devices/PLC1/Tags/FT101/ScanRate", "value": 250},
//    {"op": "move", "from": "/Channels/Boiler/Devices/PLC1/Tags/FT102",
//                   "path": "/Channels/Boiler/Devices/PLC2/Tags/F2"}]
//
//   properties::CValidationContext context;
//   const auto result = zorutil::project::ApplyPatch(text, *plant, {.context = &context});
//   if (!result) Report(result.ToString());           // "operation 2, /Channels/...: There is no object "PLC2"."
//
// Pointers address the JSON form of the tree (json_mapping.h), from the given object on: "" is that object, whatever
// its name. Names are matched exactly. What they lead to:
//
// - An object: add (also in the place of one), replace, remove, move, copy, test. Its value is as in the JSON form,
//   with all that is below. `move` renames, or brings the object under another parent: it stays the same object, and
//   the references on it hold. `add` and `replace` put a new one in the place of the old. The object at the top is
//   only tested and copied.
// - A table: add and replace put new records in the place of all that there are, remove takes all away. A table
//   without records is there, although the JSON form leaves it out.
// - A field: add and replace set it, remove gives it the value that a new object has, move and copy take it along.
// - "Description": the same; none is the empty one. "Name", which the JSON form does not have: test, add and replace,
//   so also the object at the top gets another name. "Type": test alone.
//
// Nothing lies inside the value of a field. Operations see what those before them have done.
//
// First everything is checked, without a change that anybody could see: pointers, names, types, values against their
// fields, and what setters say, asked on copies. With `context`, every object that was changed or made is checked
// against the definitions too (validation.h), by what the patch as a whole makes of it. Then the changes are made. A
// setter or hook that refuses or throws only then, and std::bad_alloc at any moment, take back what was done: the tree,
// its order and the references are as they were. Objects of a patch that failed are gone.
//
// The tables in which something is looked at or changed are locked from the first look to the end, downwards, so that
// others see all changes or none; removed objects are deleted (CTableObj::Delete) after that. Any number of threads may
// patch and read the same tree by the rules of table_obj.h. Hooks of tables are called when the structure of the whole
// patch is known to come about: OnRecordRemove before it is changed, OnRecordInsert after; they must not patch the
// tree.
//
// The tree is not copied: time and memory are those of the patch and of what it names (a `copy` or `test` of an object
// takes all that is below it).
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"
#include "util/json/value.h"
#include "util/properties/validation.h"

class CTableObj;

namespace zorutil::project {

/// What a patch may do, and how it is checked.
struct patch_options_t {
  /// Objects that change are checked against the definitions, with what it knows better and what each object does
  /// (CTableObj::GetPropertyHelper, which comes first). Null: not by the definitions.
  properties::IValidationContext* context = nullptr;
  /// Only to check: nothing is changed.
  bool isCheck = false;
  /// Objects that all `copy` and `test` operations together may go through. A short patch can double a tree with every
  /// operation.
  std::size_t maxObjects = 1'000'000;
  /// Errors that are told.
  std::size_t maxErrors = 100;
};

/// Why a patch was not carried out, or one of the reasons.
struct patch_failure_t {
  int operation = 0;  ///< from 1; 0 when the patch as a whole is none
  CString path;       ///< of the operation ("from" when that one is at fault); empty when it has none
  CString object;  ///< within the operation's value: the names down to the object at fault; empty for the value itself
  std::unique_ptr<i18n::ILocalizedMessage> message;  ///< never null
};

/// What became of a patch.
struct ZORUTIL_API patch_result_t {
  /// Empty: it was carried out. Otherwise all that could be told: of operations that go where an earlier one failed
  /// nothing is, and nothing behind a `test` that failed.
  std::vector<patch_failure_t> failures;
  std::size_t added = 0;    ///< objects that are new; as the others, told of a check too
  std::size_t removed = 0;  ///< objects that are gone, without those below them
  std::size_t moved = 0;    ///< objects under another name or parent
  std::size_t changed = 0;  ///< objects with other settings

  /// True when the patch was carried out, or would be.
  explicit operator bool() const noexcept { return failures.empty(); }
  /// A line for each failure, in the language (0: the product's): "operation 2, /Tags/FT101: ...".
  CString ToString(unsigned short languageId = 0) const;
};

/// Carries the patch, an array of operations, out on the tree below `root`, whose types are described. The caller holds
/// a reference on `root`, or it is its own. Exceptions other than those of memory that setters and hooks throw become
/// failures.
[[nodiscard]] ZORUTIL_API patch_result_t ApplyPatch(const json::IValue& patch, CTableObj& root,
                                                    const patch_options_t& options = {});
/// The same with the JSON text of a patch, of which each error is told.
[[nodiscard]] ZORUTIL_API patch_result_t ApplyPatch(std::string_view patchText, CTableObj& root,
                                                    const patch_options_t& options = {});

}  // namespace zorutil::project
