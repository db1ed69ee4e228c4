// One setting of a configuration object: the number of a property, and its value.
//
//   std::shared_ptr<IProperty> timeout = CProperty::Create(kRequestTimeout, CVariant::FromUInt(1000));
//   list.push_back(timeout);                                       // property_list.h
//   list.push_back(MakePasswordProperty(kPassword, u"secret"));    // stored encrypted, see password.h
//
// Properties live behind std::shared_ptr only and may stand in several lists at once; whoever changes the value changes
// it for all of them. One thread at a time uses a property; the pointers may be copied and dropped on any thread.
#pragma once

#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/serialization/serializer.h"
#include "util/values/variant.h"

namespace zorutil::properties {

class ZORUTIL_API IProperty : public ISerializable {
 public:
  ~IProperty() override;

  /// The number of the namespace in the upper bits, the one within it below (GetNamespaceNumber).
  virtual int GetId() const = 0;
  /// The value itself, not a copy; valid as long as the property. A password is in its encrypted form.
  virtual const CVariant& GetValue() const = 0;
  virtual CVariant& GetValue() = 0;
  /// Replaces the value by a copy; std::bad_alloc leaves it as it was. An array in a raw record was made by a CVariant.
  virtual void SetValue(const CVariant& value) = 0;
  virtual void SetValue(const tagVARIANT& value) = 0;

  /// The value becomes a VT_BSTR of the text as EncryptPassword (password.h) writes it. If it was a VT_BSTR, its memory
  /// is wiped, for it may have held the password as plain text. What EncryptPassword throws leaves the value as it was.
  void SetEncryptedString(const CString& plainText);
  /// The text of the value (CVariant::ToString), decrypted when it is an encrypted one and unchanged when it is not:
  /// plain text that stands in a password property passes through. Throws as DecryptPassword. The result is the
  /// caller's to wipe.
  CString GetDecryptedString() const;

 protected:
  IProperty() = default;
  IProperty(const IProperty&) = default;
  IProperty& operator=(const IProperty&) = default;
};

/// The properties that this library makes.
class ZORUTIL_API CProperty final : public IProperty {
  // Keeps the constructor to Create, which must reach it through std::make_shared.
  struct key_t {
    explicit key_t() = default;
  };

 public:
  /// The property and its count are one allocation. The pointer is to the interface, for == to mean what it says below.
  static std::shared_ptr<IProperty> Create(int id = 0, CVariant value = {});
  /// For Create alone.
  CProperty(key_t, int id, CVariant&& value) noexcept;
  CProperty(const CProperty&) = delete;
  CProperty& operator=(const CProperty&) = delete;
  ~CProperty() override;

  int GetId() const override { return id_; }
  const CVariant& GetValue() const override { return value_; }
  CVariant& GetValue() override { return value_; }
  void SetValue(const CVariant& value) override { value_ = value; }
  void SetValue(const tagVARIANT& value) override { value_ = value; }

  /// The id in 4 bytes, little-endian, then the value in its own form. What a value throws passes through.
  void Serialize(ISerializer& out) const override;
  /// Replaces both. After an exception of the serializer or the value, what was read before stays: neither, or the
  /// id beside an empty value.
  void Deserialize(ISerializer& in) override;

 private:
  int id_;
  CVariant value_;
};

/// Whether two properties say the same: one object, or the same id and equal values. Values of one type are compared
/// as operator== of CVariant compares them, values of two types by CVariantCompare::Values, so that the number 5 and
/// the text "5" are equal. A property whose definition exempts it (property_definition.h) equals any other of its id.
/// Two empty pointers are equal. Comparing pointers with == means this; their addresses are told apart by get(). What
/// reading a definition file throws (definition_store.h) passes through when the values differ.
ZORUTIL_API bool operator==(const std::shared_ptr<IProperty>& a, const std::shared_ptr<IProperty>& b);

/// A new property whose value is the encrypted text, as SetEncryptedString makes it.
ZORUTIL_API std::shared_ptr<IProperty> MakePasswordProperty(int id, const CString& plainText);

}  // namespace zorutil::properties
