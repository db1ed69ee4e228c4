// What the commands over projects have in common: the plug-ins that bring the types, and reading a project with all of
// its errors told.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "tools/utilctl/command.h"
#include "util/project/project_file.h"

namespace utilctl {

/// Loads the plug-ins of --types, into the call, which outlives everything that comes of them. CException for one that
/// is none.
void LoadTypes(CCall& call);

/// A project as it was read; without a root when anything was wrong with it, which the report of the call then says.
struct project_input_t {
  std::string path;
  std::string content;
  zorutil::project::form_t form = zorutil::project::form_t::BINARY;
  zorutil::owned_obj_ptr root;
};
/// "-" is standard input. CFileException when the file cannot be read. `isLenient`: with a root in spite of errors, if
/// there is one.
project_input_t ReadProject(CCall& call, const std::string& path, bool isLenient = false);

/// The form that an option names; usage_error_t when it names none.
zorutil::project::form_t FormOfOption(const CCall& call, std::string_view option);
/// Puts a project into the file of `path`; for an empty path, or "-", into the call's output.
void WriteProjectTo(CCall& call, const CTableObj& root, const std::string& path, zorutil::project::form_t form);

inline std::span<const std::byte> BytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

}  // namespace utilctl
