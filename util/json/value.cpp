#include "util/json/value.h"

#include "util/json/text_writer_internal.h"

namespace zorutil::json {

IValue::~IValue() = default;

scalar_t::~scalar_t() = default;

void scalar_t::Serialize(ISerializer& out) const { SerializeNode(*this, out); }

}  // namespace zorutil::json
