// One text of a library's language resources: which module, which number.
//
//   CString none = i18n::CLocalizedResource(i18n::IDS_SCALING_NONE).GetText(i18n::kLanguageGerman);   // "Keine"
//
// A value of two pointers and a number, which keeps its module alive. One thread at a time changes it, any number may
// read it.
#pragma once

#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/language_module.h"

namespace zorutil {
class ISerializer;
}

namespace i18n {

class ZORUTIL_API CLocalizedResource {
 public:
  /// No text: not valid.
  CLocalizedResource() noexcept = default;
  /// A text of this library (message_ids.h).
  explicit CLocalizedResource(unsigned id);
  /// A text of a module; without one the resource is not valid.
  CLocalizedResource(std::shared_ptr<const CLanguageModule> module, unsigned id) noexcept;

  /// Whether it names a module, be it registered or not.
  bool IsValid() const noexcept { return module_ != nullptr || !name_.IsEmpty(); }
  /// The number of the text in its module; 0 for no text.
  unsigned GetId() const noexcept { return id_; }
  /// Empty when it is not valid.
  const CString& GetModuleName() const noexcept { return module_ != nullptr ? module_->GetName() : name_; }
  /// The text in a language, 0 being the product's; empty when the module has none of that number, and when no module
  /// of that name is registered.
  CString GetText(unsigned short languageId) const;

  /// The module's name in the form of CString (empty when not valid), then the number in 4 bytes, little-endian.
  void Serialize(zorutil::ISerializer& out) const;
  /// CException as CString's own; then it is as it was. A name is only ever compared with those of registered modules:
  /// nothing is opened by it. One that is not registered, or not yet, is kept and written as it came.
  void Deserialize(zorutil::ISerializer& in);

 private:
  std::shared_ptr<const CLanguageModule> module_;
  CString name_;  // while no module of that name is registered
  unsigned id_ = 0;
};

}  // namespace i18n
