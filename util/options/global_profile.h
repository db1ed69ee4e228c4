// Values of the product that hold for the whole machine, whoever runs it: in the machine-wide registry.
//
//   zorutil::WriteGlobalProfileDWORD(u"Licence", u"Tags", 500);
//   std::uint32_t tags = zorutil::GetGlobalProfileDWORD(u"Licence", u"Tags", 30);
//
// They lie in the hive of the machine under "Software\<company>\<product>\<version>\<section>" (product_identity.h); a
// section that is null or empty is the key of the version itself. Reading makes nothing. No failure is told: a key or
// value that is not there or is of another type, a registry that cannot be opened, read or written; reading then gives
// the default, and writing does nothing. What a setting of options.h has is another matter: neither looks in the
// other's place.
//
// No state. Any number of threads and processes.
#pragma once

#include <cstdint>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/growable_buffer.h"

namespace zorutil {

/// REG_DWORD. A negative int is stored as its 32 bits.
/// @{
ZORUTIL_API std::uint32_t GetGlobalProfileDWORD(const char16_t* section, const char16_t* name, std::uint32_t def);
ZORUTIL_API void WriteGlobalProfileDWORD(const char16_t* section, const char16_t* name, std::uint32_t value);
ZORUTIL_API int GetGlobalProfileInt(const char16_t* section, const char16_t* name, int def);
ZORUTIL_API void WriteGlobalProfileInt(const char16_t* section, const char16_t* name, int value);
/// @}

/// REG_SZ, or REG_EXPAND_SZ, which is not expanded. One that does not end in a NUL is of another type. `def` may be
/// null: an empty text.
ZORUTIL_API void GetGlobalProfileString(const char16_t* section, const char16_t* name, const char16_t* def,
                                        CString& out);
/// REG_SZ. Null writes nothing.
ZORUTIL_API void WriteGlobalProfileString(const char16_t* section, const char16_t* name, const char16_t* value);

/// REG_BINARY. `out` is untouched when there is no such value.
/// @{
ZORUTIL_API void GetGlobalProfileBinary(const char16_t* section, const char16_t* name, CGrowableBuffer& out);
ZORUTIL_API void WriteGlobalProfileBinary(const char16_t* section, const char16_t* name, const CGrowableBuffer& value);
/// @}

/// Removes the section with all below it; of a null or empty one, everything that this version of the product wrote.
ZORUTIL_API void ClearGlobalProfile(const char16_t* section);

}  // namespace zorutil
