#include "util/properties/definition_lookup_internal.h"

namespace zorutil::properties {

bool IsExempt(int) { return false; }

}  // namespace zorutil::properties
