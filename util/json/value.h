// The nodes of a JSON document: what every node answers, and the scalar.
//
//   std::shared_ptr<zorutil::json::IValue> value = std::make_shared<zorutil::json::scalar_t>(CVariant::FromInt32(5));
//   value->IsNumber();                                                // true
//   zorutil::json::ValueAsVariant(value).lVal;                        // 5  (value_conversions.h)
//
// Nodes are shared through std::shared_ptr: a node that stands in two places is one node, and a change is seen in
// both. Nothing is locked: one thread at a time builds or reads a document. scalar_t, object_t and array_t (object.h)
// are the only kinds of node.
#pragma once

#include <utility>

#include "platform/export.h"
#include "util/serialization/serializer.h"
#include "util/values/variant.h"

namespace zorutil::json {

/// What every node answers.
class ZORUTIL_API IValue {
 public:
  virtual ~IValue();

  /// Each kind of node says what it is; it is nothing else. A scalar is one of bool, number, string and null as well.
  /// @{
  virtual bool IsObject() const { return false; }
  virtual bool IsArray() const { return false; }
  virtual bool IsBool() const { return false; }
  virtual bool IsNumber() const { return false; }
  virtual bool IsString() const { return false; }
  virtual bool IsNull() const { return false; }
  virtual bool IsScalar() const { return false; }
  /// @}
  /// Writes the node as JSON text, as json_text.h tells: to a text serializer at its depth and with its indentation,
  /// to a binary one as one text record (string_serialization.h). CException -1 for a node nested too deep; then
  /// nothing was written.
  virtual void Serialize(ISerializer& out) const = 0;

 protected:
  IValue() = default;
  IValue(const IValue&) = default;
  IValue& operator=(const IValue&) = default;
};

/// A value of its own: text, number, truth value or null. Copies are independent.
class ZORUTIL_API scalar_t final : public IValue {
 public:
  /// Null.
  scalar_t() = default;
  /// The value as it is; VT_EMPTY is null.
  explicit scalar_t(CVariant content) noexcept : value(std::move(content)) {}
  ~scalar_t() override;

  bool IsBool() const override { return value.vt == VT_BOOL; }
  /// Every type that is neither bool nor string nor VT_EMPTY, dates and arrays among them.
  bool IsNumber() const override { return !IsBool() && !IsNull() && !IsString(); }
  bool IsString() const override { return value.vt == VT_BSTR; }
  /// VT_EMPTY.
  bool IsNull() const override { return value.vt == VT_EMPTY; }
  bool IsScalar() const override { return true; }
  void Serialize(ISerializer& out) const override;

  /// May be changed in place, type and all.
  CVariant value;
};

}  // namespace zorutil::json
