// The file in which desktops keep where the user's folders lie.
//
//   # a comment
//   XDG_DOCUMENTS_DIR="$HOME/Papers"
//
#pragma once

#include <string>
#include <string_view>

#include "platform/export.h"

namespace zorplatform::user_dirs {

/// The absolute path that the last good line of that name gives; empty without one. A value is quoted, begins with / or
/// with $HOME, and has \ before a character that stands for itself. `home` begins with /, or is empty.
ZORPLATFORM_TEST_API std::string Find(std::string_view fileText, std::string_view name, std::string_view home);

}  // namespace zorplatform::user_dirs
