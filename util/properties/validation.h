// Checking property lists against their definitions, and what a definition says for one object.
//
//   CValidationContext plain;                                    // nothing is other than the definitions say
//   try {
//     ValidateProperties(changes, plain);
//   } catch (const i18n::message_exception_t& error) {           // the first failure
//     Show(error.GetText1(), error.GetMessageText(i18n::kLanguageGerman));
//   }
//   for (auto& failure : CollectValidationFailures(changes, plain))            // all of them
//     Show(failure.name, failure.message->GetMessageText(0));
//
// The definitions are those of the program (definition_loader.h), unless the context has others: a tool that looks at
// another folder makes a CValidationContext of that folder's store.
//
// Properties are checked in the order of the list. One without definition is nobody's to check, and passes; so does one
// that its definition exempts, and one that is not allowed. Of the others:
//
// - The value is of its type (ExpectedVartype), or can be converted to it without becoming another value: the text
//   "5" and the double 5 are an integer, 5.5 is none, and a number property is never empty (message 527). Types without
//   check: PropArray.
// - Numbers lie within their limits, both included (508). An empty limit is none; two equal ones are no limits at all.
//   NaN lies within no limits.
// - Dates and times are numbers: TimeOfDay counts the seconds since midnight, 0 to 86399 (536). Date counts days as OLE
//   dates do, 0 being 30 December 1899, in the years 100 to 9999 (537). DateAndTime counts the seconds since 1970, UTC,
//   and is not negative (538). Within that, the limits hold as those of numbers do.
// - Texts are as long as their limits say (539, 540), in UTF-16 units: a password when decrypted, a list of texts each
//   of its elements. Equal limits are none, and a maximum of -1 is none.
// - The value of an enumeration is one of its definition's, or one that the context offers (524).
//
// Whether a property is allowed or enabled depends on conditions, which watch other properties of the same list.
// Conditions that lead back to themselves are a fault of the definitions: zorplatform::CException -1 that names the
// ids, and in a collection a failure with message 541.
//
// What reading a definition file throws (definition_store.h) passes through. No state; any number of threads, each with
// lists and contexts of its own.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"
#include "util/properties/functor.h"
#include "util/properties/property_definition.h"
#include "util/properties/property_list.h"
#include "util/properties/property_model.h"

namespace zorutil::properties {

class CDefinitionStore;

/// What is other for a property of one object than its definition says. VT_EMPTY: nothing is.
class ZORUTIL_API IPropertyEditor {
 public:
  virtual ~IPropertyEditor();
  /// In place of the definition's answer of that name.
  virtual CVariant GetDefValue() const { return {}; }
  /// For texts the lengths.
  virtual CVariant GetMinValue() const { return {}; }
  virtual CVariant GetMaxValue() const { return {}; }
  /// A truth value in place of the definition's.
  /// @{
  virtual CVariant IsRequired() const { return {}; }
  virtual CVariant IsServerOnly() const { return {}; }
  /// @}
};

/// A value of an enumeration and its text for people.
using enum_entry_t = std::pair<int, CString>;

/// What the object whose properties are checked knows better than their definitions.
class ZORUTIL_API IValidationContext {
 public:
  virtual ~IValidationContext();
  /// Null when nothing is other.
  virtual std::shared_ptr<IPropertyEditor> GetPropertyEditor(int id) = 0;
  /// Offers the values of an enumeration that are only known at run time, until the functor has enough.
  virtual void IterateEnumValues(int id, functor_t<const enum_entry_t&>& functor);
  /// By which definitions everything is checked that is given this context; always the same store, which lives as long
  /// as the context is used. By default that of the program.
  virtual CDefinitionStore& GetDefinitions();
};

/// Nothing is other than the definitions say.
class ZORUTIL_API CValidationContext : public IValidationContext {
 public:
  /// By the definitions of the program.
  CValidationContext() = default;
  /// By those of a store, which must live as long.
  explicit CValidationContext(CDefinitionStore& definitions) noexcept : definitions_(&definitions) {}
  ~CValidationContext() override;
  std::shared_ptr<IPropertyEditor> GetPropertyEditor(int) override { return nullptr; }
  CDefinitionStore& GetDefinitions() override;

 private:
  CDefinitionStore* definitions_ = nullptr;
};

/// Looks for a value among those of an enumeration.
class ZORUTIL_API dynamicEnum final : public functor_t<const enum_entry_t&> {
 public:
  /// Looks for that value.
  explicit dynamicEnum(int value) noexcept : value_(value) {}
  ~dynamicEnum() override;
  bool operator()(const enum_entry_t& entry) override {
    const bool isSame = entry.first == value_;
    isFound_ |= isSame;
    return isSame;
  }
  /// Whether an entry with the value was offered since.
  bool IsFound() const noexcept { return isFound_; }

 private:
  int value_;
  bool isFound_ = false;
};

// --- what holds for a property of one object -------------------------------------------------------------------------
// The editor's answer, else the definition's. Without either: an empty value, the lengths 0 and -1, false.

/// For property `id` of the object whose context it is.
/// @{
ZORUTIL_API CVariant GetDefValue(int id, IValidationContext& context);
ZORUTIL_API CVariant GetMinValue(int id, IValidationContext& context);
ZORUTIL_API CVariant GetMaxValue(int id, IValidationContext& context);
/// @}
/// The limits of the editor as they are, or the lengths of the definition as VT_INT.
/// @{
ZORUTIL_API CVariant GetMinLength(int id, IValidationContext& context);
ZORUTIL_API CVariant GetMaxLength(int id, IValidationContext& context);
/// @}
/// Of the object's editor, as its truth, or of the definition.
/// @{
ZORUTIL_API bool IsRequired(int id, IValidationContext& context);
ZORUTIL_API bool IsServerOnly(int id, IValidationContext& context);
/// @}

// --- conditions ------------------------------------------------------------------------------------------------------

/// Whether one condition holds. The property that it watches is the first of the list whose id is the watched one with
/// the bits of `byte` added, or else the watched one itself. It must be there and be allowed, and its value must stand
/// to the condition's as the operation says (CVariantCompare::Values: neither is empty or an array). What is allowed is
/// told here, and by EvaluateConditions, from the definitions of the program.
ZORUTIL_API bool EvaluateCondition(const IPropertyCondition& condition, unsigned char byte,
                                   const property_list_t& list);
/// Whether the conditions of a property hold; `byte` is the low byte of its id. They are evaluated in order, up to the
/// first "==" that holds or "!=" that does not, and the last one evaluated decides; without conditions it is true.
ZORUTIL_API bool EvaluateConditions(const std::shared_ptr<IProperty>& property, const condition_list_t& conditions,
                                    const property_list_t& list);
/// By the conditions of the property's definition; true without a definition.
/// @{
ZORUTIL_API bool IsAllowed(const std::shared_ptr<IProperty>& property, const property_list_t& list,
                           IValidationContext& context);
ZORUTIL_API bool IsEnabled(const std::shared_ptr<IProperty>& property, const property_list_t& list,
                           IValidationContext& context);
/// @}

// --- checking --------------------------------------------------------------------------------------------------------

/// Checks a value, its conditions and the exempt flag aside; null when it is right. For a form that checks what is
/// being typed, and for a tool that checks the defaults of definitions.
ZORUTIL_API std::unique_ptr<i18n::ILocalizedMessage> CheckValue(const IPropertyDefinition& definition,
                                                                const IProperty& property, IValidationContext& context);

/// The code of the exceptions of a validation: E_INVALIDARG.
inline constexpr int kValidationFailed = static_cast<int>(0x80070057);

/// i18n::message_exception_t for the first failure: the property's name and qualified name as context texts, its id as
/// context number.
ZORUTIL_API void ValidateProperties(const property_list_t& list, IValidationContext& context);
/// The same, and then what the object itself checks. It may be null.
ZORUTIL_API void ValidateProperties(const IPropertyModel* object, const property_list_t& list,
                                    IValidationContext& context);

/// One property that is not right.
struct validation_failure_t {
  int id;                                            ///< of the property
  CString name;                                      ///< within its namespace
  std::unique_ptr<i18n::ILocalizedMessage> message;  ///< never null
};
/// All failures, in the order of the list, one a property at most.
ZORUTIL_API std::vector<validation_failure_t> CollectValidationFailures(const property_list_t& list,
                                                                        IValidationContext& context);

/// The current properties with the changes made: a change takes the place of the first property of its id, and the
/// changes of ids that are not there follow at the end, in their order. Of two changes of one id the later counts. The
/// result shares the property objects of both lists, which stay as they are.
ZORUTIL_API property_list_t MergeProperties(const property_list_t& current, const property_list_t& changes);
/// Replaces `merged` by the merged list if that passes ValidateProperties; after its exception `merged` is as it was.
/// It may be one of the other two.
ZORUTIL_API void MergeAndValidateProperties(const property_list_t& current, const property_list_t& changes,
                                            property_list_t& merged, IValidationContext& context);
/// The same with the properties of one object as the current ones (none if it is null), and validated for another, such
/// as the copy that is to take them (null: by the definitions only). `target` itself is not changed.
ZORUTIL_API void MergeAndValidateProperties(const IPropertyModel* current, const IPropertyModel* target,
                                            const property_list_t& changes, property_list_t& merged,
                                            IValidationContext& context);

}  // namespace zorutil::properties
