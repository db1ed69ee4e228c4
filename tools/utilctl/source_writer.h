// Definitions back into the form of a definition source.
#pragma once

#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/definition_source.h"
#include "util/json/object.h"

namespace utilctl {

/// The source that compiles into the same definition file.
zorutil::json::object_t MakeSource(const definition_file_content_t& content, const text_table_t& texts);
/// One property of it.
zorutil::json::object_t MakePropertySource(const definition_file_content_t& content, const text_table_t& texts,
                                           const zorutil::properties::IPropertyDefinition& definition);

}  // namespace utilctl
