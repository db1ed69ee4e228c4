// Definitions back into the form of a definition source.
#pragma once

#include "tools/utilctl/definition_checks.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/definition_source.h"
#include "util/json/object.h"

namespace utilctl {

/// The source that compiles into the same definition file. Its properties stand in
/// the order of the content; `find` gives definitions of other namespaces.
zorutil::json::object_t MakeSource(const definition_file_content_t& content, const text_table_t& texts,
                                   const find_by_id_t& find);

}  // namespace utilctl
