// The order of names where no collator can be opened. Not installed: for collation.cpp and its test.
#pragma once

#include <string_view>

#include "platform/export.h"

namespace collation::internal {

/// Unit by unit after simple case folding: ASCII as CompareNoCase ranks it, everything else behind it by its
/// code. Together with the table for ASCII pairs this is one consistent order, so that sorted tables stay
/// sorted.
ZORPLATFORM_TEST_API int CompareWithoutCollator(std::u16string_view a, std::u16string_view b) noexcept;

}  // namespace collation::internal
