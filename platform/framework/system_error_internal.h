// What the system says of an error number. Not installed.
#pragma once

#include <string>

/// The text of an errno value, in English whatever the locale is, so that messages and logs do not mix languages.
std::string TextOfSystemError(int error);
