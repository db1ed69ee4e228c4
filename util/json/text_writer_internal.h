// What a node does with a serializer. Not installed.
#pragma once

#include "util/json/root.h"
#include "util/json/value.h"
#include "util/serialization/serializer.h"

namespace zorutil::json {

void SerializeNode(const IValue& node, ISerializer& out);
void SerializeDocument(const root_t& document, bool asArray, ISerializer& out);

}  // namespace zorutil::json
