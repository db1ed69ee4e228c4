// What the comparison of properties asks of their definitions.
#pragma once

namespace zorutil::properties {

/// Whether the definition of a property exempts it from being checked and compared; false without a definition.
bool IsExempt(int id);

}  // namespace zorutil::properties
