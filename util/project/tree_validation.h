// Checking the objects of a tree against their definitions, and by their own checks.
//
//   for (auto& failure : zorutil::project::ValidateTree(*plant))
//     Show(failure.path, failure.failure.name, failure.failure.message->GetMessageText(0));
//
// Of each object the property list is checked (CollectValidationFailures), with its editors (GetPropertyHelper), then
// the object's own ValidateProperties is asked. The object comes before its children, those in the order of their
// tables. Functions without state; the tables' locks are taken on the way down.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/export.h"
#include "util/objects/table_obj.h"
#include "util/properties/validation.h"

namespace zorutil::project {

/// What is wrong with an object of the tree.
struct object_failure_t {
  CString path;  ///< of the object
  /// Of an object's own check the id and the name are the number and the first text of its exception.
  properties::validation_failure_t failure;
};

/// All failures, up to `maxFailures`. By the definitions of a store, which must live as long, or those of the program
/// (null).
ZORUTIL_API std::vector<object_failure_t> ValidateTree(const CTableObj& root, std::size_t maxFailures = 1000,
                                                       properties::CDefinitionStore* definitions = nullptr);

}  // namespace zorutil::project
