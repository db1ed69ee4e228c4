// Writing a definition file, as the tool that compiles definitions does.
//
//   auto speed = std::make_shared<property_def_t>(MakePropertyId(4, 1), u"speed", TYPE_INTEGER);
//   speed->SetLimits(CVariant::FromUInt(0), CVariant::FromUInt(3000));
//   WriteDefinitionFile(GetPropertiesDir() + CString(u"motors.prop"), {4, u"Motors", {speed}});
//   CreateIndexFile();
//
// No state; any number of threads.
#pragma once

#include <memory>
#include <type_traits>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/properties/property_definition.h"
#include "util/serialization/serializer.h"

namespace zorutil::properties {

namespace detail {
/// Not constexpr, so that a constant that calls it does not compile.
inline void IsNoPropertyId() noexcept {}
}  // namespace detail

/// The id of a property: `namespaceNumber` lies in 0 to 1023, `number` in 0 to 2^21 - 1 and tells it from the others of
/// its namespace. Of larger numbers the low bits count; in a constant they do not compile.
constexpr int MakePropertyId(int namespaceNumber, int number) noexcept {
  if (std::is_constant_evaluated() && ((namespaceNumber & ~0x3FF) != 0 || (number & ~0x1FFFFF) != 0))
    detail::IsNoPropertyId();
  return static_cast<int>((static_cast<std::uint32_t>(namespaceNumber) & 0x3FF) << 21 |
                          (static_cast<std::uint32_t>(number) & 0x1FFFFF));
}

/// What a definition file is to hold.
struct definition_file_t {
  int namespaceNumber = 0;  ///< 1 to kMaxNamespace
  /// Empty: the namespace has the file's name.
  CString namespaceName;
  /// In the order of the file; each belongs to the namespace by its id.
  std::vector<std::shared_ptr<IPropertyDefinition>> definitions;
};

/// Writes the file beside the one that may be there, and puts it in its place whole. CInvalidArgException when it could
/// not be read back or found: a namespace number outside 1 to kMaxNamespace; a namespace name of more than
/// kMaxNamespaceNameBytes in UTF-8, or with a zero or a line break; more than kMaxDefinitions; an empty pointer; a
/// definition whose id belongs to another namespace; a file name without ".prop", or that IsIndexable refuses. What
/// files and values throw passes through. Then the old file stands.
ZORUTIL_API void WriteDefinitionFile(const CString& path, const definition_file_t& file);
/// The content of the file; of the refusals, all but those of the file's name.
ZORUTIL_API void WriteDefinitionStream(ISerializer& out, const definition_file_t& file);

/// Whether the index can name a definition file: its name without folder and extension holds no comma and no line
/// break, and is not empty.
ZORUTIL_API bool IsIndexable(const CString& fileName);

}  // namespace zorutil::properties
