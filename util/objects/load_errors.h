// Who hears of what is wrong in a project while it is loaded.
//
// A document names its errors by its error slot, and loading ends at the first. Who wants all of them opens a scope:
// then objects and tables tell each error to it, leave out what is wrong, and go on.
//
//   zorutil::CLoadErrorScope scope(&report);                     // load_report.h of util/project is one
//   root.Load(&document, element, nullptr, false);               // 1: read to the end
//
// In a load function:
//
//   if (zorutil::ILoadErrors* errors = zorutil::ILoadErrors::GetCurrent()) {
//     errors->Add(element, std::move(message));                  // and go on
//   } else {
//     document.SetLastError(std::move(message));
//     return 0;
//   }
//
// Scopes belong to the thread that opens them, and nest; the innermost counts.
#pragma once

#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"

namespace zorutil {

/// Who hears of the errors; called on the thread that loads.
class ZORUTIL_API ILoadErrors {
 public:
  virtual ~ILoadErrors();
  /// An error at an element of the document that is being read (null: at the object), within the objects that are
  /// entered.
  virtual void Add(void* element, std::unique_ptr<i18n::ILocalizedMessage> message) = 0;
  /// The objects around what is read next, from the outside in; what an error's path is made of.
  /// @{
  virtual void EnterObject(const CString& name) = 0;
  virtual void LeaveObject() noexcept = 0;
  /// @}
  /// Loading or saving of this object failed, and with it its parent's will: called from the inside out, for objects
  /// that are not entered.
  virtual void OnFailedObject(const CString& name) noexcept = 0;

  /// Of the innermost scope of this thread; null when there is none.
  static ILoadErrors* GetCurrent() noexcept;
};

/// As long as it lives, errors of this thread go to its listener.
class ZORUTIL_API CLoadErrorScope {
 public:
  /// `errors` outlives the scope. Null: nobody hears, as without a scope.
  explicit CLoadErrorScope(ILoadErrors* errors) noexcept;
  CLoadErrorScope(const CLoadErrorScope&) = delete;
  CLoadErrorScope& operator=(const CLoadErrorScope&) = delete;
  ~CLoadErrorScope();

 private:
  ILoadErrors* earlier_;
};

}  // namespace zorutil
