// What is known of a property: its name and type, limits, default and values, and when it is allowed and enabled.
//
//   if (auto definition = GetDefinition(id)) Show(definition->GetName(), definition->GetMinValue());
//
// Definitions come from definition files (definition_loader.h), whose records these are. Once loaded they are shared by
// the whole process and never change, so any number of threads reads them. One that is being made is its maker's: one
// thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/properties/property_types.h"
#include "util/serialization/serializer.h"
#include "util/values/variant.h"
#include "util/values/variant_compare.h"

namespace zorutil::properties {

/// Namespaces have the numbers 1 to kMaxNamespace.
inline constexpr int kMaxNamespace = 1023;
/// The number of the namespace that a property belongs to; 0 belongs to none.
constexpr int GetNamespaceNumber(int propertyId) noexcept {
  return static_cast<int>((static_cast<std::uint32_t>(propertyId) >> 21) & 0x3FF);
}

/// The most that one record may hold; a stream that claims more is corrupt.
/// @{
inline constexpr int kMaxEnumValues = 65'536;
inline constexpr int kMaxConditions = 4'096;
/// @}

/// A namespace, and one of its texts.
struct metadata_t {
  CString fileName;       ///< the definition file's name, without folder and extension
  CString namespaceName;  ///< the name by which people and programs know the namespace
  int number = 0;         ///< of the text; 0 when only the namespace is meant
  CString text;           ///< for people, in the language asked for; empty when there is none of that number
  bool isLoaded = false;  ///< whether the namespace's definitions have been read
};

/// One value of an enumeration.
class ZORUTIL_API IEnumValueDefinition : public ISerializable {
 public:
  ~IEnumValueDefinition() override;
  /// The number that a property of this value holds.
  virtual int GetValue() const = 0;
  /// Its text for people, in the product language.
  virtual metadata_t GetMetaData() const = 0;
  /// The number of the text within the namespace (metadata_t::number).
  virtual int GetMetaDataNumber() const = 0;
};

/// When a property is allowed or enabled: what another property must be, or must not be.
class ZORUTIL_API IPropertyCondition : public ISerializable {
 public:
  ~IPropertyCondition() override;
  /// The property that is watched; 0 for a condition that always holds.
  virtual int GetWatchedId() const = 0;
  /// EQUAL or NOT_EQUAL.
  virtual CVariantCompare::comparison_t GetOperation() const = 0;
  /// What the watched property is compared with; neither empty nor an array in a condition that can hold.
  virtual const CVariant& GetValue() const = 0;
};

/// In the order of the record; no pointer is empty once it was read.
/// @{
using enum_value_list_t = std::vector<std::shared_ptr<IEnumValueDefinition>>;
using condition_list_t = std::vector<std::shared_ptr<IPropertyCondition>>;
/// @}

/// What is known of one property: a record of a definition file, and what it says.
class ZORUTIL_API IPropertyDefinition : public ISerializable {
 public:
  /// The types, and their names as members.
  /// @{
  using type_t = property_type_t;
  using enum property_type_t;
  /// @}

  ~IPropertyDefinition() override;
  /// The namespace's number in the upper bits, the one within it below.
  virtual int GetId() const = 0;
  /// Its name within its namespace.
  virtual const CString& GetName() const = 0;
  /// "namespace.name" in a definition that was loaded; not part of the record.
  virtual const CString& GetQualifiedName() const = 0;
  /// Which values it takes, and how they are checked; any number when a damaged file says so.
  virtual type_t GetType() const = 0;
  /// Whether the property is neither validated nor compared by value.
  virtual bool IsExempt() const = 0;
  /// Kept for whoever writes it; nothing here looks at it.
  virtual bool GetSecondFlag() const = 0;
  /// Whether an object needs the property before it is of use. Said by the definition, and left to programs to ask for.
  virtual bool IsRequired() const = 0;
  /// Whether only the server itself sets it. Said by the definition, and left to programs to keep to.
  virtual bool IsServerOnly() const = 0;
  /// Its text for people, in the product language.
  virtual metadata_t GetMetaData() const = 0;
  /// Kept for whoever writes them; nothing here looks at them.
  /// @{
  virtual int GetSecondNumber() const = 0;
  virtual int GetThirdNumber() const = 0;
  virtual int GetFourthNumber() const = 0;
  /// @}
  /// The value of a new object; VT_EMPTY when the definition names none.
  virtual const CVariant& GetDefaultValue() const = 0;
  /// For numbers the lowest and the highest value, for texts the lengths; VT_EMPTY is no limit.
  virtual const CVariant& GetMinValue() const = 0;
  virtual const CVariant& GetMaxValue() const = 0;
  /// In UTF-16 units: the limits as integers. 0 without a lower one; -1, for any length, without an upper one.
  virtual int GetMinLength() const = 0;
  virtual int GetMaxLength() const = 0;
  /// In the order of the file; empty but for TYPE_ENUMERATION.
  virtual const enum_value_list_t& GetEnumValues() const = 0;
  /// When the property is looked at, and when a form lets people change it; empty: always. In the order of the record.
  /// @{
  virtual const condition_list_t& GetAllowConditions() const = 0;
  virtual const condition_list_t& GetEnableConditions() const = 0;
  /// @}
  /// Empty records for this definition to read.
  /// @{
  virtual std::shared_ptr<IEnumValueDefinition> NewEnumValue() const = 0;
  virtual std::shared_ptr<IPropertyCondition> NewCondition() const = 0;
  /// @}
  /// The number of the text within the namespace (metadata_t::number).
  virtual int GetMetaDataNumber() const = 0;
};

// --- the records of definition files ---------------------------------------------------------------------------------
// All numbers have 4 bytes, little-endian, flags 1 byte. Reading: CException -1 for a corrupt record, the serializer's
// own at the end of data; the object is then as it was. Memory grows with the bytes that really arrive.

/// One value of an enumeration, as it stands in a definition file.
class ZORUTIL_API enumeration_def_t final : public IEnumValueDefinition {
 public:
  /// The namespace is that of the definition it belongs to.
  explicit enumeration_def_t(int namespaceNumber, int value = 0, int metaDataNumber = 0) noexcept
      : namespaceNumber_(namespaceNumber), value_(value), metaDataNumber_(metaDataNumber) {}
  ~enumeration_def_t() override;

  int GetValue() const override { return value_; }
  metadata_t GetMetaData() const override;
  int GetMetaDataNumber() const override { return metaDataNumber_; }

  /// The value, the number of its text.
  void Serialize(ISerializer& out) const override;
  void Deserialize(ISerializer& in) override;

 private:
  int namespaceNumber_;
  int value_;
  int metaDataNumber_;
};

/// A condition, as it stands in a definition file.
class ZORUTIL_API property_condition_t final : public IPropertyCondition {
 public:
  /// Always holds.
  property_condition_t() = default;
  /// As Set.
  property_condition_t(int watchedId, CVariantCompare::comparison_t operation, CVariant value)
      : watchedId_(watchedId), operation_(operation), value_(std::move(value)) {}
  ~property_condition_t() override;

  /// Watches a property; the operation is EQUAL or NOT_EQUAL.
  void Set(int watchedId, CVariantCompare::comparison_t operation, CVariant value);
  int GetWatchedId() const override { return watchedId_; }
  CVariantCompare::comparison_t GetOperation() const override { return operation_; }
  const CVariant& GetValue() const override { return value_; }

  /// The watched id, the operation, the value.
  void Serialize(ISerializer& out) const override;
  void Deserialize(ISerializer& in) override;

 private:
  int watchedId_ = 0;
  CVariantCompare::comparison_t operation_ = CVariantCompare::EQUAL;
  CVariant value_;
};

/// EQUAL gives "==", everything else "!=".
ZORUTIL_API const char16_t* ConditionOperationToString(CVariantCompare::comparison_t operation) noexcept;
/// "==" gives EQUAL, everything else, null too, NOT_EQUAL.
ZORUTIL_API CVariantCompare::comparison_t ConditionOperationFromString(const char16_t* text) noexcept;

/// A definition, as it stands in a definition file, and to be made by hand.
class ZORUTIL_API property_def_t final : public IPropertyDefinition {
 public:
  /// No id, no name, TYPE_NONE.
  property_def_t() = default;
  /// The rest is empty, 0 or false.
  property_def_t(int id, CString name, type_t type) noexcept : id_(id), name_(std::move(name)), type_(type) {}
  ~property_def_t() override;

  int GetId() const override { return id_; }
  const CString& GetName() const override { return name_; }
  const CString& GetQualifiedName() const override { return qualifiedName_; }
  type_t GetType() const override { return type_; }
  bool IsExempt() const override { return isExempt_; }
  bool GetSecondFlag() const override { return secondFlag_; }
  bool IsRequired() const override { return isRequired_; }
  bool IsServerOnly() const override { return isServerOnly_; }
  metadata_t GetMetaData() const override;
  int GetSecondNumber() const override { return secondNumber_; }
  int GetThirdNumber() const override { return thirdNumber_; }
  int GetFourthNumber() const override { return fourthNumber_; }
  const CVariant& GetDefaultValue() const override { return default_; }
  const CVariant& GetMinValue() const override { return min_; }
  const CVariant& GetMaxValue() const override { return max_; }
  int GetMinLength() const override;
  int GetMaxLength() const override;
  const enum_value_list_t& GetEnumValues() const override { return enumValues_; }
  const condition_list_t& GetAllowConditions() const override { return allow_; }
  const condition_list_t& GetEnableConditions() const override { return enable_; }
  std::shared_ptr<IEnumValueDefinition> NewEnumValue() const override;
  std::shared_ptr<IPropertyCondition> NewCondition() const override;
  int GetMetaDataNumber() const override { return metaDataNumber_; }

  /// What the functions of IPropertyDefinition tell of the same name; for whoever makes a definition.
  /// @{
  void SetQualifiedName(CString name) noexcept { qualifiedName_ = std::move(name); }
  void SetExempt(bool isExempt) noexcept { isExempt_ = isExempt; }
  void SetSecondFlag(bool flag) noexcept { secondFlag_ = flag; }
  void SetRequired(bool isRequired) noexcept { isRequired_ = isRequired; }
  void SetServerOnly(bool isServerOnly) noexcept { isServerOnly_ = isServerOnly; }
  void SetMetaDataNumber(int number) noexcept { metaDataNumber_ = number; }
  void SetSecondNumber(int number) noexcept { secondNumber_ = number; }
  void SetThirdNumber(int number) noexcept { thirdNumber_ = number; }
  void SetFourthNumber(int number) noexcept { fourthNumber_ = number; }
  void SetDefaultValue(CVariant value) noexcept { default_ = std::move(value); }
  void SetLimits(CVariant min, CVariant max) noexcept {
    min_ = std::move(min);
    max_ = std::move(max);
  }
  /// @}
  /// Written only with TYPE_ENUMERATION.
  void SetEnumValues(enum_value_list_t values) noexcept { enumValues_ = std::move(values); }
  /// What GetAllowConditions and GetEnableConditions give.
  /// @{
  void SetAllowConditions(condition_list_t conditions) noexcept { allow_ = std::move(conditions); }
  void SetEnableConditions(condition_list_t conditions) noexcept { enable_ = std::move(conditions); }
  /// @}

  /// The name in the form of a CVariant; id, type, the numbers of the text, second, third and fourth; the flags exempt,
  /// second, required, server-only; default, minimum, maximum; for TYPE_ENUMERATION the count of its values and these;
  /// the counts of allow and enable conditions, each followed by these. CInvalidArgException, and nothing is written,
  /// for an empty pointer among them and for more than kMaxEnumValues or kMaxConditions.
  void Serialize(ISerializer& out) const override;
  void Deserialize(ISerializer& in) override;

 private:
  int id_ = 0;
  CString name_;
  CString qualifiedName_;
  type_t type_ = TYPE_NONE;
  bool isExempt_ = false;
  bool secondFlag_ = false;
  bool isRequired_ = false;
  bool isServerOnly_ = false;
  int metaDataNumber_ = 0;
  int secondNumber_ = 0;
  int thirdNumber_ = 0;
  int fourthNumber_ = 0;
  CVariant default_;
  CVariant min_;
  CVariant max_;
  enum_value_list_t enumValues_;
  condition_list_t allow_;
  condition_list_t enable_;
};

}  // namespace zorutil::properties
