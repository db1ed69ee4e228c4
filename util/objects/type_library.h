// Object types that come from plug-ins: how a plug-in offers its types, and how a program takes them.
//
//   // The plug-in, in one of its files, at namespace scope; kPump and kValve are type_description_t:
//   ZORUTIL_TYPE_LIBRARY(kPump, kValve)
//
//   // The program, before it loads a project with pumps and valves:
//   zorutil::CTypeLibrary pumps(u"\\opt\\plant\\plugins\\pumps.so");   // zorplatform::CException names the cause
//
// A plug-in is a shared library with one exported C function, ZorutilTypeLibrary, which the macro writes. It lists the
// plug-in's types, registers nothing, and need not be called twice. The program registers all of the types
// (RegisterType) or, when one of them is taken, none, and takes them back before the library is unloaded.
//
// The library is unloaded when its CTypeLibrary is destroyed, unless it is held a second time. The code of its classes
// is gone then. So a program holds its CTypeLibrary objects longer than every object of their types, every tree with
// one in it, every pointer into a description, and every exception and message whose class a plug-in brought: it
// declares them before its trees, or keeps them to its end. Nothing counts the objects. A message whose texts come from
// the plug-in's language module stays good, as the module is the library's.
//
// Plug-in and program must work with one and the same libzorutil, because types, names and pools are registered in it.
// A plug-in that is linked with the static library has a copy of its own, and is refused; a program that is linked with
// the static library cannot take plug-ins at all, and says so without loading any. It compiles the types in and calls
// RegisterType.
//
// CTypeLibrary is a resource with one owner: moved, not copied. Any number of threads may load plug-ins at once; nobody
// else may be making objects of types that are being taken back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/shared_library.h"

namespace zorutil {

struct type_description_t;

/// The version of what a plug-in is compiled against: the classes that its own derive from, type_description_t, and
/// type_library_t. It rises when one of them changes, so that a plug-in of another version is refused, not run.
inline constexpr std::uint32_t kTypeInterfaceVersion = 1;

/// What a plug-in's function gives out; constant for as long as the plug-in is loaded.
struct type_library_t {
  std::uint32_t interfaceVersion;          ///< the first member for ever; all others are read only when it fits
  std::uint32_t typeCount;                 ///< of `types`
  const void* runtime;                     ///< GetTypeRuntime() as the plug-in sees it
  const type_description_t* const* types;  ///< the types, in the order in which they are registered
};

/// An address that tells one copy of this library in the process from another.
ZORUTIL_API const void* GetTypeRuntime() noexcept;

class ZORUTIL_API CTypeLibrary {
 public:
  /// Loads a plug-in and registers its types. zorplatform::CException -1, with a text of the form "<path>: <cause>",
  /// and nothing loaded or registered, when
  /// - there is no such file, it is no library, or something that it needs is missing;
  /// - it does not offer types, or for another interface version, or it offers none;
  /// - it works with another copy of this library, or this program is linked with the static one;
  /// - its function throws;
  /// - a type number or name is registered already, by another plug-in or by this one, loaded before.
  explicit CTypeLibrary(const CString& path);
  CTypeLibrary(CTypeLibrary&& other) noexcept;
  CTypeLibrary& operator=(CTypeLibrary&&) = delete;
  CTypeLibrary(const CTypeLibrary&) = delete;
  CTypeLibrary& operator=(const CTypeLibrary&) = delete;
  /// Takes the types back and unloads the library. No object of the types may be left.
  ~CTypeLibrary();

  /// As the constructor was given it.
  const CString& GetPath() const noexcept { return library_.GetPath(); }
  /// The types, in the plug-in's order; valid as long as this object.
  std::span<const type_description_t* const> GetTypes() const noexcept;

 private:
  zorplatform::CSharedLibrary library_;
  const type_library_t* content_ = nullptr;
};

/// What ZORUTIL_TYPE_LIBRARY makes of its arguments.
template <class... Description>
std::array<const type_description_t*, sizeof...(Description)> ListTypes(const Description&... descriptions) noexcept {
  return {&descriptions...};
}

}  // namespace zorutil

/// On the function of a plug-in: exported under its plain name.
#if defined(_WIN32)
#define ZORUTIL_PLUGIN_API extern "C" __declspec(dllexport)
#else
#define ZORUTIL_PLUGIN_API extern "C" __attribute__((visibility("default")))
#endif

/// Makes a shared library a plug-in with these types (objects of type type_description_t, at namespace scope). Once in
/// a library, outside of all namespaces.
#define ZORUTIL_TYPE_LIBRARY(...)                                                                                     \
  ZORUTIL_PLUGIN_API const zorutil::type_library_t* ZorutilTypeLibrary() {                                            \
    static const auto types = zorutil::ListTypes(__VA_ARGS__);                                                        \
    static const zorutil::type_library_t content{zorutil::kTypeInterfaceVersion,                                      \
                                                 static_cast<std::uint32_t>(types.size()), zorutil::GetTypeRuntime(), \
                                                 types.data()};                                                       \
    return &content;                                                                                                  \
  }
