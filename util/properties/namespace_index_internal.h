// The text of the namespace index: one line for each definition file, "4=motors" or "4=motors,Drives and motors".
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/properties/property_definition.h"

namespace zorutil::properties {

using namespace_map_t = std::map<int, metadata_t>;

/// The line of a file, ended by CR LF, in UTF-8. Both names only if they differ by more than letter case.
ZORUTIL_TEST_API std::string MakeIndexLine(int number, const CString& fileName, const CString& namespaceName);

/// Takes any bytes. Of each line that is not empty: the leading digits are the number (modulo 2^32, none is 0), one
/// character is skipped, and the rest is the file's name and, behind the first comma, the namespace's; without comma it
/// is both. Lines end in LF or CR LF, the last may end without. Of two lines of one number the first counts.
ZORUTIL_TEST_API namespace_map_t ReadIndexText(std::string_view text);

}  // namespace zorutil::properties
