// An object whose settings are a property list: what this folder asks of the objects of the configuration tree.
//
// One thread at a time uses an object, as its own class documents.
#pragma once

#include <memory>

#include "platform/export.h"
#include "util/properties/property_list.h"

namespace zorutil::properties {

class IPropertyEditor;
class IValidationContext;

class ZORUTIL_API IPropertyModel {
 public:
  virtual ~IPropertyModel();
  /// Appends the object's settings to the list.
  virtual void GetProperties(property_list_t& list) const = 0;
  virtual void SetProperties(const property_list_t& list) = 0;
  /// What this object checks beyond the definitions of its properties; i18n::message_exception_t for what it refuses.
  virtual void ValidateProperties(const property_list_t& list, IValidationContext& context) const = 0;
  /// What is other for a property of this object than its definition says; null when nothing is.
  virtual std::shared_ptr<IPropertyEditor> GetPropertyHelper(int id, const property_list_t& list) = 0;
  /// Whether the object has children that come and go by themselves, so that who shows them looks again.
  virtual bool MayChildrenChange() const;
};

}  // namespace zorutil::properties
