#include "util/objects/type_library.h"

#include <exception>
#include <string>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "platform/zorplatform/exception.h"
#include "util/objects/type_description.h"

namespace zorutil {

using zorplatform::CException;

namespace {

[[noreturn]] void Refuse(const CString& path, const std::string& cause) {
  CException::Throw(CException::kEndOfStream, zorplatform::ToNativePath(path).string() + ": " + cause);
}

#if !defined(ZORUTIL_STATIC)

using entry_point_t = const type_library_t*();
constexpr char kEntryPoint[] = "ZorutilTypeLibrary";

zorplatform::CSharedLibrary LoadLibrary(const CString& path) {
  try {
    return zorplatform::CSharedLibrary(path);
  } catch (const CFileException& error) {
    const std::string what = error.what(), known = path.ToUtf8() + ": ";
    Refuse(path, what.starts_with(known) ? what.substr(known.size()) : what);
  }
}

// What the plug-in throws is gone when this returns: its class may be one of the plug-in's, which is about to be
// unloaded.
const type_library_t* Ask(entry_point_t& entryPoint, std::string& cause) {
  try {
    const type_library_t* const content = entryPoint();
    if (content == nullptr) cause = "the plug-in offers no types";
    return content;
  } catch (const std::exception& error) {
    cause = std::string("the plug-in failed when it was asked for its types: ") + error.what();
  } catch (...) {
    cause = "the plug-in failed when it was asked for its types";
  }
  return nullptr;
}

// Why the content is not to be used; empty when it is.
std::string FindFault(const type_library_t& content) {
  if (content.interfaceVersion != kTypeInterfaceVersion) {
    return "the plug-in was made for version " + std::to_string(content.interfaceVersion) +
           " of the interface for object types, and this program has version " + std::to_string(kTypeInterfaceVersion) +
           "; compile it again";
  }
  if (content.runtime != GetTypeRuntime()) {
    return "the plug-in works with another copy of the library than this program; link it with the same shared library";
  }
  if (content.typeCount == 0) return "the plug-in offers no types";
  return {};
}

void Unregister(std::span<const type_description_t* const> types) noexcept {
  for (const type_description_t* const type : types) UnregisterType(*type);
}

// All, or none with the reason.
std::string Register(std::span<const type_description_t* const> types) {
  std::size_t count = 0;
  try {
    for (; count < types.size(); ++count) RegisterType(*types[count]);
    return {};
  } catch (const std::exception& error) {
    Unregister(types.first(count));
    return "the type \"" + CString(types[count]->name).ToUtf8() + "\" cannot be registered: " + error.what();
  }
}

#endif

}  // namespace

const void* GetTypeRuntime() noexcept {
  static const char here = 0;
  return &here;
}

CTypeLibrary::CTypeLibrary(const CString& path) {
#if defined(ZORUTIL_STATIC)
  Refuse(path, "this program is linked with the static library, and can take no plug-ins");
#else
  library_ = LoadLibrary(path);
  auto* const entryPoint = library_.FindFunction<entry_point_t>(kEntryPoint);
  if (entryPoint == nullptr)
    Refuse(path, std::string("this is no plug-in with object types: it has no ") + kEntryPoint);
  std::string cause;
  const type_library_t* const content = Ask(*entryPoint, cause);
  if (content != nullptr) cause = FindFault(*content);
  if (cause.empty()) cause = Register({content->types, content->typeCount});
  if (!cause.empty()) Refuse(path, cause);
  content_ = content;
#endif
}

CTypeLibrary::CTypeLibrary(CTypeLibrary&& other) noexcept
    : library_(std::move(other.library_)), content_(std::exchange(other.content_, nullptr)) {}

CTypeLibrary::~CTypeLibrary() {
#if !defined(ZORUTIL_STATIC)
  Unregister(GetTypes());
#endif
}

std::span<const type_description_t* const> CTypeLibrary::GetTypes() const noexcept {
  if (content_ == nullptr) return {};
  return {content_->types, content_->typeCount};
}

}  // namespace zorutil
