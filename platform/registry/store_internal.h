// The connections of the process, the transaction of each thread, and what names are well-formed.
#pragma once

#include <functional>

#include "platform/registry/database_internal.h"

namespace registry {

using work_t = std::function<status_t(CDatabase&)>;

/// Runs `work` in the transaction of this thread, or else in one of its own, which is committed when `work` returns
/// success and undone when not. `work` may throw failure_t. What is returned is the status of all of it.
status_t Run(purpose_t purpose, const work_t& work);

/// Whether a path or a name can be: success, or why not.
status_t CheckPath(hive_t hive, std::u16string_view path);
status_t CheckName(std::u16string_view name);

}  // namespace registry
