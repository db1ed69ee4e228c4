// JSON patches (RFC 6902): a list of operations on a document, which is carried out whole or not at all.
//
//   std::shared_ptr<IValue> patch;                     // [{"op": "replace", "path": "/name", "value": "pump 2"}]
//   if (const auto error = zorutil::json::ReadText(text, patch)) return Report(error.ToString());
//   if (const auto error = zorutil::json::ApplyPatch(*patch, document)) {
//     Report(error.ToString());                        // "operation 3, /tags/9: there is no such element"
//   }
//
// The operations are add, remove, replace, move, copy and test; paths are pointers (pointer.h). Members of an operation
// that are not asked for are ignored; of members with one name the first counts. A value of the patch is copied, so
// that patch and document share nothing afterwards, and `copy` makes a second value. `test` compares numbers as numbers
// (1 equals 1.0), texts unit by unit, objects whatever the order of their members. Members that are added have line 0.
//
// The document is changed in place: whoever shares one of its nodes sees the change. One thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/json/root.h"

namespace zorutil::json {

/// Why a patch was not applied; false when it was.
struct ZORUTIL_API patch_error_t {
  std::string cause;  ///< empty when there is no error
  int operation = 0;  ///< from 1; 0 when the patch as a whole is none
  CString path;       ///< of the operation ("from" when that one is at fault); empty when it has none

  /// True for an error.
  explicit operator bool() const noexcept { return !cause.empty(); }
  /// "operation 3, /tags/9: cause"; empty without an error.
  std::string ToString() const;
};

/// What a patch may do.
struct patch_options_t {
  /// Values that all operations together may copy. A short patch can double a document with every operation.
  std::size_t maxCopies = 1'000'000;
};

/// Carries the patch, an array of operations, out on a value of any kind. After an error or std::bad_alloc the document
/// is as it was. The patch must not be part of the document. A result nested deeper than kMaxDepth is refused.
[[nodiscard]] ZORUTIL_API patch_error_t ApplyPatch(const IValue& patch, std::shared_ptr<IValue>& document,
                                                   const patch_options_t& options = {});
/// The same on an object, which the patch cannot make anything else.
[[nodiscard]] ZORUTIL_API patch_error_t ApplyPatch(const IValue& patch, object_t& document,
                                                   const patch_options_t& options = {});
/// The same on the only object of a document; one with none or several is refused.
[[nodiscard]] ZORUTIL_API patch_error_t ApplyPatch(const IValue& patch, root_t& document,
                                                   const patch_options_t& options = {});

/// Equality as `test` has it. An empty pointer equals null. False for values nested deeper than kMaxDepth.
ZORUTIL_API bool AreEqual(const IValue* a, const IValue* b);

}  // namespace zorutil::json
